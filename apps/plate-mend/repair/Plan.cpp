#include "repair/Plan.h"

#include "files/Formats.h"
#include "platform/Names.h"
#include "text/Paths.h"

#include <map>
#include <optional>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// NAME.jpg, or NAME.EXT.jpg, with the infix of a result beside its input.
fs::path jpeg_output(const fs::path& photograph, const char* middle, bool is_long) {
    fs::path name = is_long ? photograph.filename() : photograph.stem();
    name += middle;
    name += ".jpg";
    return photograph.parent_path() / name;
}

/// The name of the result in the folder of the damaged file, or of its counterpart.
fs::path repaired_output(const fs::path& photograph) {
    fs::path name = photograph.stem();
    name += ".repaired";
    name += photograph.extension();
    return photograph.parent_path() / name;
}

/// A path with the extension of the photograph's kind: its own up to there ("x.ARW" of "x.ARW.locked"), or
/// in place of another ("x.arw" of "x.tif"); or after all of it.
fs::path with_kind(const fs::path& path, const std::string& kind, bool is_long) {
    if (kind.empty() || extension_of(path) == kind) {
        return path;
    }
    fs::path name = path.filename();
    if (is_long) {
        name += "." + kind;
        return path.parent_path() / name;
    }
    for (; name.has_extension(); name.replace_extension()) {
        if (extension_of(name) == kind) {
            return path.parent_path() / name;
        }
    }
    return fs::path(path).replace_extension(kind);
}

/// NAME and the ending, or NAME.EXT and the ending.
fs::path mask_output(const fs::path& raw, const std::string& mask, bool is_long) {
    if (!is_mask_ending(mask)) {
        return path_from(mask);
    }
    fs::path name = is_long ? raw.filename() : raw.stem();
    name += path_from(mask);
    return raw.parent_path() / name;
}

fs::path sidecar_output(const fs::path& raw, bool is_long) {
    fs::path name = is_long ? raw.filename() : raw.stem();
    name += ".xmp";
    return raw.parent_path() / name;
}

/// With the name of a result that has another extension than its damaged file, which may be a long one.
Outputs outputs_of(const Input& input, const Destination& destination, bool is_long) {
    const auto outputs = [&](const fs::path& raw, const fs::path& named_after, const char* middle) {
        const fs::path other = jpeg_output(named_after, middle, true);
        return Outputs{raw, destination.long_jpeg_names ? other : jpeg_output(named_after, middle, false),
                       other, mask_output(raw, destination.mask, false),
                       destination.sidecars ? sidecar_output(raw, false) : fs::path()};
    };
    if (!destination.output.empty()) {
        return outputs(destination.output, destination.output, "");
    }
    if (!destination.out.empty()) {
        // In a folder of their own, results have the names of their files.
        const fs::path raw = with_kind(destination.out / input.below, input.kind, is_long);
        return outputs(raw, raw, "");
    }
    return outputs(repaired_output(with_kind(input.path, input.kind, is_long)), input.path, ".salvaged");
}

/// Which file owns which output.
class OutputOwners {
  public:
    /// Returns the previous owner, if that is another file; nothing if the output is now this file's.
    [[nodiscard]] std::optional<fs::path> take(const fs::path& output, const Input& input) {
        const auto found = owners_.emplace(platform::name_key(output), &input).first;
        return found->second == &input ? std::nullopt : std::optional(found->second->path);
    }

  private:
    std::map<std::string, const Input*> owners_; ///< By name keys.
};

std::string describe_shared_output(const fs::path& output, const fs::path& owner) {
    return utf8_from(output) + " would be the result of " + utf8_from(owner) + " too";
}

void claim_raw(PlannedFile& file, OutputOwners& owners, const Protected& inputs_and_samples) {
    if (!file.input.problem.empty()) {
        return;
    }
    if (const auto owner = owners.take(file.outputs.raw, file.input)) {
        file.input.problem = describe_shared_output(file.outputs.raw, *owner);
    } else if (inputs_and_samples.covers(file.outputs.raw)) {
        file.input.problem = utf8_from(file.outputs.raw) + ": the output is also an input";
    }
}

/// After all RAW photographs. A mask has a name that none of the file's other results may get.
void claim_mask(PlannedFile& file, OutputOwners& owners, const Protected& inputs_and_samples) {
    const Outputs& outputs = file.outputs;
    if (!file.input.problem.empty() || outputs.mask.empty()) {
        return;
    }
    const std::string key = platform::name_key(outputs.mask);
    const bool is_other_result = key == platform::name_key(outputs.raw) ||
                                 key == platform::name_key(outputs.jpeg) ||
                                 key == platform::name_key(outputs.other_jpeg);
    if (is_other_result || inputs_and_samples.covers(outputs.mask)) {
        file.input.problem = utf8_from(outputs.mask) + ": the mask would take the place of another file";
    } else if (const auto owner = owners.take(outputs.mask, file.input)) {
        file.input.problem = describe_shared_output(outputs.mask, *owner);
    }
}

/// After all other outputs: a photograph can do without.
void claim_sidecars(std::vector<PlannedFile>& files, OutputOwners& owners) {
    std::map<std::string, std::size_t> wishes;
    for (const PlannedFile& file : files) {
        ++wishes[platform::name_key(file.outputs.sidecar)];
    }
    for (PlannedFile& file : files) {
        fs::path& sidecar = file.outputs.sidecar;
        if (sidecar.empty() || !file.input.problem.empty()) {
            continue;
        }
        if (wishes[platform::name_key(sidecar)] > 1) {
            sidecar = sidecar_output(file.outputs.raw, true);
        }
        const std::string key = platform::name_key(sidecar);
        const Outputs& outputs = file.outputs;
        const bool is_other_result = key == platform::name_key(outputs.raw) ||
                                     (!outputs.mask.empty() && key == platform::name_key(outputs.mask));
        if (is_other_result || owners.take(sidecar, file.input)) {
            sidecar.clear();
        }
    }
}

/// After all RAW photographs and masks. If one of the two names is taken, the other is used for both.
void claim_jpeg(PlannedFile& file, OutputOwners& owners) {
    Outputs& outputs = file.outputs;
    if (!file.input.problem.empty()) {
        return;
    }
    const auto owner = owners.take(outputs.jpeg, file.input);
    const auto other_owner = owners.take(outputs.other_jpeg, file.input);
    if (owner && other_owner) {
        file.input.problem = describe_shared_output(outputs.other_jpeg, *other_owner);
    } else if (owner) {
        outputs.jpeg = outputs.other_jpeg;
    } else if (other_owner) {
        outputs.other_jpeg = outputs.jpeg;
    }
}

/// The files with the names that their results want. Where several want one, those with another extension
/// than their damaged files have long names.
std::vector<PlannedFile> with_wished_outputs(const std::vector<Input>& inputs,
                                             const Destination& destination) {
    std::map<std::string, std::size_t> wishes;
    for (const Input& input : inputs) {
        if (input.problem.empty()) {
            ++wishes[platform::name_key(outputs_of(input, destination, false).raw)];
        }
    }
    std::vector<PlannedFile> files;
    files.reserve(inputs.size());
    for (const Input& input : inputs) {
        Outputs outputs = outputs_of(input, destination, false);
        if (wishes[platform::name_key(outputs.raw)] > 1) {
            outputs = outputs_of(input, destination, true);
        }
        files.push_back({input, std::move(outputs)});
    }
    return files;
}

} // namespace

bool is_mask_ending(const std::string& mask) {
    return mask.starts_with('.') && mask.find_first_of("/\\") == std::string::npos;
}

std::vector<PlannedFile> plan(const std::vector<Input>& inputs, const Destination& destination,
                              const Protected& inputs_and_samples) {
    std::vector<PlannedFile> files = with_wished_outputs(inputs, destination);
    std::map<std::string, std::size_t> wishes; // How many results want each name.
    for (const PlannedFile& file : files) {
        const Outputs& outputs = file.outputs;
        if (file.input.problem.empty()) {
            for (const fs::path& output : {outputs.raw, outputs.jpeg, outputs.other_jpeg}) {
                ++wishes[platform::name_key(output)];
            }
            if (!outputs.mask.empty()) {
                ++wishes[platform::name_key(outputs.mask)];
            }
        }
    }
    OutputOwners owners;
    for (PlannedFile& file : files) {
        claim_raw(file, owners, inputs_and_samples);
    }
    for (PlannedFile& file : files) {
        if (wishes[platform::name_key(file.outputs.mask)] > 1) {
            file.outputs.mask = mask_output(file.outputs.raw, destination.mask, true);
        }
        claim_mask(file, owners, inputs_and_samples);
    }
    for (PlannedFile& file : files) {
        Outputs& outputs = file.outputs;
        if (wishes[platform::name_key(outputs.jpeg)] > 1 || inputs_and_samples.covers(outputs.jpeg)) {
            outputs.jpeg = outputs.other_jpeg;
        }
        claim_jpeg(file, owners);
    }
    claim_sidecars(files, owners);
    return files;
}

} // namespace plate_mend::host
