#include "run/SampleSelection.h"

#include "files/FileList.h"
#include "platform/Names.h"
#include "run/LeftOut.h"
#include "text/Paths.h"

#include <set>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// The work of one call of select_samples.
class SampleSelector {
  public:
    explicit SampleSelector(const fs::path& out) : out_(out) {}

    void add(const fs::path& name) {
        std::error_code none;
        if (fs::is_directory(name, none)) {
            add_folder(name);
        } else if (fs::is_regular_file(name, none)) {
            add_file(name);
        } else {
            refuse(utf8_from(name) + ": no such file");
        }
    }

    SampleSelection result() {
        if (selection_.files.empty()) {
            refuse("there is no sample; name one with --sample or a folder of them with --samples");
        }
        return std::move(selection_);
    }

  private:
    void refuse(const std::string& reason) {
        if (selection_.refusal.empty()) {
            selection_.refusal = reason;
        }
    }

    void add_file(const fs::path& file) {
        if (seen_.insert(platform::name_key(file)).second) {
            selection_.files.push_back(file);
        }
    }

    void add_folder(const fs::path& folder) {
        const FileSelection found = files_in({folder}, {{}, {}, out_});
        selection_.notes.insert(selection_.notes.end(), found.notes.begin(), found.notes.end());
        selection_.problems.insert(selection_.problems.end(), found.problems.begin(), found.problems.end());
        const std::string left_out = describe_samples_left_out(found);
        if (found.files.empty() && found.problems.empty()) {
            refuse(utf8_from(folder) + ": no photograph in this folder could be a sample" +
                   (left_out.empty() ? left_out : "; " + left_out));
        } else if (!left_out.empty()) {
            selection_.notes.push_back(utf8_from(folder) + ": " + left_out);
        }
        for (const Input& input : found.files) {
            add_file(input.path);
        }
    }

    const fs::path& out_;
    std::set<std::string> seen_; ///< Name keys.
    SampleSelection selection_;
};

} // namespace

SampleSelection select_samples(const std::vector<fs::path>& names, const fs::path& out) {
    SampleSelector selector(out);
    for (const fs::path& name : names) {
        selector.add(name);
    }
    return selector.result();
}

} // namespace plate_mend::host
