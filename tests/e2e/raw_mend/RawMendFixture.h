#pragma once

#include "support/Bytes.h"
#include "support/DngPhoto.h"
#include "support/TempDir.h"

#include <raw_mend/raw_mend.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// A damaged DNG, a sample from the same camera, and a place for the output.
class RawMendFixture : public ::testing::Test {
  protected:
    RawMendFixture() {
        write_file(damaged, without_head(photo));
        write_file(sample, other.bytes);
    }

    /// The photograph with zeros before its first tile.
    [[nodiscard]] static Bytes without_head(const DngPhoto& photograph) {
        return zeroed(photograph.bytes, 0, photograph.tile_offsets[0]);
    }

    std::int32_t repair() { return repair({sample}); }
    std::int32_t repair(const std::vector<std::filesystem::path>& samples) {
        std::vector<std::string> names;
        names.reserve(samples.size());
        for (const auto& path : samples) {
            names.push_back(utf8(path));
        }
        std::vector<const char*> pointers;
        pointers.reserve(names.size());
        for (const std::string& name : names) {
            pointers.push_back(name.c_str());
        }
        // What was in the report before must not survive.
        std::memset(&report, 77, sizeof report);
        return RawMendRepair(utf8(damaged).c_str(), pointers.data(),
                             static_cast<std::uint32_t>(pointers.size()), utf8(output).c_str(), &report);
    }

    /// Fails the test unless the report is all zeros and there is no output.
    void expect_nothing() const {
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(output)));
        expect_no_report();
    }

    void expect_no_report() const {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&report);
        EXPECT_TRUE(std::all_of(bytes, bytes + sizeof report, [](unsigned char byte) { return byte == 0; }));
    }

    TempDir folder;
    const std::filesystem::path damaged = folder / "damaged.dng";
    const std::filesystem::path sample = folder / "sample.dng";
    const std::filesystem::path output = folder / "output.dng";
    const DngPhoto photo{DngPhoto::Options{.number = 1}};
    const DngPhoto other{DngPhoto::Options{.number = 2, .private_data = 3000}};
    RawMendReport report{};
};

} // namespace test
