#include "e2e/RepairFixture.h"

#include <plate_mend/plate_mend.h>

#include <algorithm>

namespace test {

namespace fs = std::filesystem;

RepairFixture::RepairFixture() {
    fs::create_directory(work);
    reset_stand_ins();
    MndRawInit(utf8(folder.path()).c_str(), utf8(folder.path()).c_str(), utf8(work).c_str());
    reset_stand_ins();
}

std::int32_t RepairFixture::advance(const std::string& extension, const std::optional<Bytes>& damaged,
                                    const std::optional<Bytes>& sample) {
    damaged_path = folder / ("damaged." + extension);
    sample_path = folder / ("sample." + extension);
    output_path = folder / ("output." + extension);
    if (damaged) {
        write_file(damaged_path, *damaged);
    }
    if (sample) {
        write_file(sample_path, *sample);
    }
    return advance(damaged_path, sample_path, output_path);
}

std::int32_t RepairFixture::advance(const fs::path& damaged, const fs::path& sample, const fs::path& output) {
    return MndRawAdvanceRepair(utf8(damaged).c_str(), utf8(sample).c_str(), utf8(output).c_str());
}

std::optional<Bytes> RepairFixture::output() const {
    return fs::is_regular_file(output_path) ? std::optional(read_file(output_path)) : std::nullopt;
}

std::vector<std::string> RepairFixture::work_files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(work)) {
        names.push_back(utf8(entry.path().filename()));
    }
    std::sort(names.begin(), names.end());
    return names;
}

Bytes RepairFixture::work_file(const std::string& name) const {
    return read_file(work / name);
}

} // namespace test
