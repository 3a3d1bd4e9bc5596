#include "cli/RepairSelection.h"

#include "cli/PathList.h"
#include "cli/UsageError.h"
#include "files/FileList.h"
#include "files/Formats.h"
#include "report/Notes.h"
#include "text/Format.h"
#include "text/Paths.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> parse_paths(const std::vector<std::string>& texts) {
    std::vector<fs::path> paths;
    std::transform(texts.begin(), texts.end(), std::back_inserter(paths), path_from);
    return paths;
}

/// Extensions as a user writes them: "ARW", ".arw".
std::vector<std::string> parse_extensions(const RepairOptions& options) {
    std::vector<std::string> extensions;
    for (const std::string& text : options.extensions) {
        const std::size_t letters = text.find_first_not_of('.');
        if (letters == std::string::npos) {
            throw UsageError("--ext " + text + ": no extension");
        }
        extensions.push_back(extension_of(path_from("x." + text.substr(letters))));
    }
    return extensions;
}

/// "5 files without a sign of a RAW photograph are left out: 3 .jpg, 2 without extension" and what to do;
/// empty for none.
std::string describe_left_out(const std::map<std::string, std::size_t>& kinds) {
    std::size_t all = 0;
    std::vector<std::string> texts;
    for (const auto& [kind, count] : kinds) {
        all += count;
        texts.push_back(std::to_string(count) + " " + kind);
    }
    return all == 0 ? ""
                    : format_count(all, "file") + " without a sign of a RAW photograph " +
                          (all == 1 ? "is" : "are") + " left out: " + join(texts, ", ") +
                          " (name them, or their extension with --ext, to try them all the same)";
}

/// The work of one call of select_photographs.
class Selector {
  public:
    Selector(const RepairOptions& options, Notes& notes) : options_(options), notes_(notes) {}

    RepairSelection run() {
        const std::vector<Input> damaged = find_damaged();
        check_single_names(damaged.size());
        find_samples();
        protect(damaged);
        selection_.files = plan(damaged,
                                {path_from(options_.out), path_from(options_.output), !options_.task.empty(),
                                 options_.mask, !options_.no_sidecar},
                                selection_.inputs);
        return std::move(selection_);
    }

  private:
    std::vector<Input> find_damaged() {
        std::vector<fs::path> paths = parse_paths(options_.paths);
        if (!options_.files_from.empty()) {
            const auto listed = paths_from_list(
                options_.files_from, options_.list_ends_in_null ? PathListForm::kNull : PathListForm::kLines);
            paths.insert(paths.end(), listed.begin(), listed.end());
        }
        FileSelection found =
            list(paths, {parse_extensions(options_), path_from(options_.root), path_from(options_.out)});
        const std::string left_out = describe_left_out(found.left_out);
        if (found.files.empty()) {
            throw UsageError("no damaged photograph was found" +
                             (left_out.empty() ? left_out : "; " + left_out));
        }
        if (!left_out.empty()) {
            notes_.add(left_out);
        }
        return std::move(found.files);
    }

    void check_single_names(std::size_t damaged) const {
        if (!options_.output.empty() && damaged != 1) {
            throw UsageError("--output names one file; for several use --out");
        }
        if (!options_.mask.empty() && !is_mask_ending(options_.mask) && damaged > 1) {
            throw UsageError("--mask names one file; for several use an ending such as .mask.png");
        }
    }

    void find_samples() {
        selection_.samples = parse_paths(options_.samples);
        for (const Input& input :
             list(parse_paths(options_.sample_folders), {{}, {}, path_from(options_.out)}).files) {
            selection_.samples.push_back(input.path);
        }
        for (const fs::path& sample : selection_.samples) {
            std::error_code none;
            if (!fs::is_regular_file(sample, none)) {
                throw UsageError(utf8_from(sample) + ": no such file");
            }
        }
        if (selection_.samples.empty()) {
            throw UsageError("there is no sample; name one with --sample or a folder of them with --samples");
        }
    }

    void protect(const std::vector<Input>& damaged) {
        for (const Input& input : damaged) {
            selection_.inputs.add(input.path);
        }
        for (const fs::path& sample : selection_.samples) {
            selection_.inputs.add(sample);
        }
        if (!options_.output.empty() && selection_.inputs.covers(path_from(options_.output))) {
            throw UsageError(options_.output + ": the output is also an input");
        }
    }

    /// Lists files. Prints notes and problems.
    FileSelection list(const std::vector<fs::path>& paths, const FileFilter& filter) {
        FileSelection found = files_in(paths, filter);
        for (const std::string& note : found.notes) {
            notes_.add(note);
        }
        for (const std::string& problem : found.problems) {
            notes_.add(problem);
            selection_.has_unread_folders = true;
        }
        return found;
    }

    const RepairOptions& options_;
    Notes& notes_;
    RepairSelection selection_;
};

} // namespace

RepairSelection select_photographs(const RepairOptions& options, Notes& notes) {
    return Selector(options, notes).run();
}

} // namespace plate_mend::host
