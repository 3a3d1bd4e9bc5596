#include "repair/Plan.h"

#include "platform/Names.h"
#include "text/Paths.h"

#include <map>
#include <optional>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// NAME.jpg, or NAME.EXT.jpg, with what a result beside its input has in the middle.
fs::path jpeg_name(const fs::path& photograph, const char* middle, bool is_long) {
    fs::path name = is_long ? photograph.filename() : photograph.stem();
    name += middle;
    name += ".jpg";
    return photograph.parent_path() / name;
}

fs::path repaired_name(const fs::path& photograph) {
    fs::path name = photograph.stem();
    name += ".repaired";
    name += photograph.extension();
    return photograph.parent_path() / name;
}

Outputs outputs_of(const Input& input, const Destination& destination) {
    const auto outputs = [&](const fs::path& raw, const fs::path& named_after, const char* middle) {
        const fs::path other = jpeg_name(named_after, middle, true);
        return Outputs{raw, destination.long_jpeg_names ? other : jpeg_name(named_after, middle, false),
                       other};
    };
    if (!destination.output.empty()) {
        return outputs(destination.output, destination.output, "");
    }
    if (!destination.out.empty()) {
        // In a folder of their own, results have the names of their files.
        const fs::path raw = destination.out / input.below;
        return outputs(raw, raw, "");
    }
    return outputs(repaired_name(input.path), input.path, ".salvaged");
}

/// Who has which place.
class Places {
  public:
    /// Returns the owner before, if it is another one; nothing when the place is the file's now.
    [[nodiscard]] std::optional<fs::path> take(const fs::path& place, const Input& input) {
        const auto found = owners_.emplace(platform::name_key(place), &input).first;
        return found->second == &input ? std::nullopt : std::optional(found->second->path);
    }

  private:
    std::map<std::string, const Input*> owners_; ///< By name keys.
};

std::string shared_place(const fs::path& place, const fs::path& owner) {
    return utf8_from(place) + " would be the result of " + utf8_from(owner) + " too";
}

void place_raw(PlannedFile& file, Places& places, const Protected& inputs_and_samples) {
    if (!file.input.problem.empty()) {
        return;
    }
    if (const auto owner = places.take(file.outputs.raw, file.input)) {
        file.input.problem = shared_place(file.outputs.raw, *owner);
    } else if (inputs_and_samples.covers(file.outputs.raw)) {
        file.input.problem = utf8_from(file.outputs.raw) + ": the output is also an input";
    }
}

/// After all RAW photographs: of two names that somebody else has, the other serves for both.
void place_jpeg(PlannedFile& file, Places& places) {
    Outputs& outputs = file.outputs;
    if (!file.input.problem.empty()) {
        return;
    }
    const auto owner = places.take(outputs.jpeg, file.input);
    const auto other_owner = places.take(outputs.other_jpeg, file.input);
    if (owner && other_owner) {
        file.input.problem = shared_place(outputs.other_jpeg, *other_owner);
    } else if (owner) {
        outputs.jpeg = outputs.other_jpeg;
    } else if (other_owner) {
        outputs.other_jpeg = outputs.jpeg;
    }
}

} // namespace

std::vector<PlannedFile> plan(const std::vector<Input>& inputs, const Destination& destination,
                              const Protected& inputs_and_samples) {
    std::vector<PlannedFile> files;
    std::map<std::string, std::size_t> wishes; // How many results want each name.
    for (const Input& input : inputs) {
        files.push_back({input, outputs_of(input, destination)});
        const Outputs& outputs = files.back().outputs;
        if (input.problem.empty()) {
            for (const fs::path& output : {outputs.raw, outputs.jpeg, outputs.other_jpeg}) {
                ++wishes[platform::name_key(output)];
            }
        }
    }
    Places places;
    for (PlannedFile& file : files) {
        place_raw(file, places, inputs_and_samples);
    }
    for (PlannedFile& file : files) {
        Outputs& outputs = file.outputs;
        if (wishes[platform::name_key(outputs.jpeg)] > 1 || inputs_and_samples.covers(outputs.jpeg)) {
            outputs.jpeg = outputs.other_jpeg;
        }
        place_jpeg(file, places);
    }
    return files;
}

} // namespace plate_mend::host
