#pragma once

#include "host/HostFixture.h"
#include "host/Outcome.h"

#include "record/Record.h"

#include <filesystem>
#include <map>

namespace test {

/// Runs the host on a folder "card" of damaged photographs, which is empty at first.
class BatchFixture : public HostFixture {
  protected:
    BatchFixture() {
        std::filesystem::remove(folder / "broken.arw");
        std::filesystem::create_directories(folder / "card" / "day 1");
    }

    /// Writes a file, and creates its folder if missing.
    void put(const std::filesystem::path& name, const Bytes& bytes) {
        std::filesystem::create_directories((folder / name).parent_path());
        write_file(folder / name, bytes);
    }

    /// The bytes of a file in the folder.
    [[nodiscard]] Bytes bytes_of(const std::filesystem::path& name) const { return read_file(folder / name); }

    /// Records of a JSON Lines file, by the names of their damaged files.
    [[nodiscard]] std::map<std::string, plate_mend::host::Record>
    records(const std::string& name = "records.jsonl") const {
        std::map<std::string, plate_mend::host::Record> found;
        for (auto& record : read_records(folder / name)) {
            const std::string key = utf8(std::filesystem::path(record.damaged.path).filename());
            found.insert_or_assign(key, std::move(record));
        }
        return found;
    }

    /// All files below a folder except the run's record, relative to it, sorted.
    [[nodiscard]] std::vector<std::string> files_below(const std::filesystem::path& name) const {
        std::vector<std::string> found;
        for (std::filesystem::recursive_directory_iterator entry(folder / name), end; entry != end; ++entry) {
            if (entry->path().filename() == ".plate-mend") {
                entry.disable_recursion_pending();
            } else if (!entry->is_directory()) {
                found.push_back(utf8(entry->path().lexically_relative(folder / name).generic_string()));
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    const Bytes lost_ = Bytes(3000, 7); ///< A file from which nothing can be saved.
    /// The damaged photograph without the last 30 of its 120 rows.
    const Bytes truncated_ = part(damaged, 0, damaged.size() - std::size_t{160} * 2 * 30);
};

} // namespace test
