#include "run/RepairSelection.h"

#include "files/FileList.h"
#include "files/Formats.h"
#include "report/Notes.h"
#include "run/LeftOut.h"
#include "run/PathList.h"
#include "run/SampleSelection.h"
#include "run/UsageError.h"
#include "text/Paths.h"

#include <algorithm>
#include <iterator>
#include <utility>

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
        const std::string left_out = describe_inputs_left_out(found);
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
        std::vector<std::string> names = options_.samples;
        names.insert(names.end(), options_.sample_folders.begin(), options_.sample_folders.end());
        SampleSelection found = select_samples(parse_paths(names), path_from(options_.out));
        add_notes(found.notes, found.problems);
        if (!found.refusal.empty()) {
            throw UsageError(found.refusal);
        }
        selection_.samples = std::move(found.files);
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
        add_notes(found.notes, found.problems);
        return found;
    }

    void add_notes(const std::vector<std::string>& notes, const std::vector<std::string>& problems) {
        for (const std::string& note : notes) {
            notes_.add(note);
        }
        for (const std::string& problem : problems) {
            notes_.add(problem);
            selection_.has_unread_folders = true;
        }
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
