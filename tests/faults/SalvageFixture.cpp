#include "faults/SalvageFixture.h"

#include "faults/Mappings.h"
#include "support/Jpeg.h"
#include "support/Scene.h"

#include <algorithm>
#include <ostream>

namespace test {

namespace fs = std::filesystem;

const std::vector<SalvageCase>& salvage_cases() {
    static const std::vector<SalvageCase> all = [] {
        const Bytes picture = make_preview(Scene(1), 64, 48);
        const Bytes without_end = part(picture, 0, picture.size() - 2);
        const Bytes cut = part(picture, 0, picture.size() * 2 / 3);
        return std::vector<SalvageCase>{
            {"Copied", picture, 0},
            {"Completed", without_end, STILL_MEND_END_ADDED},
            {"CodedAnew", cut, STILL_MEND_REENCODED},
        };
    }();
    return all;
}

std::string salvage_name(const ::testing::TestParamInfo<SalvageCase>& info) {
    return info.param.name;
}

std::ostream& operator<<(std::ostream& stream, const SalvageCase& salvage) {
    return stream << salvage.name;
}

SalvageFault::SalvageFault() {
    fs::create_directory(output.parent_path());
    damage({});
    for (const fs::path& path : {folder.path(), output.parent_path(), damaged}) {
        fs::permissions(path, fs::perms::all);
    }
}

void SalvageFault::TearDown() {
    on_mapping(nullptr);
}

std::int32_t SalvageFault::salvage() {
    return MndJpegGeneralRepairReport(utf8(damaged).c_str(), utf8(output).c_str(), &report);
}

void SalvageFault::damage(const Bytes& file) const {
    write_file(damaged, file);
}

Bytes SalvageFault::undisturbed() {
    EXPECT_EQ(salvage(), STILL_MEND_OK);
    Bytes written = read_file(output);
    EXPECT_TRUE(jpeg_decodes(written));
    fs::remove(output);
    return written;
}

std::vector<std::string> SalvageFault::names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(output.parent_path())) {
        found.push_back(utf8(entry.path().filename()));
    }
    std::sort(found.begin(), found.end());
    return found;
}

void SalvageFault::expect_nothing_written() const {
    EXPECT_EQ(names(), std::vector<std::string>{});
    EXPECT_EQ(report.width, 0U);
    EXPECT_EQ(report.mcu_count, 0U);
}

} // namespace test
