#include "util/MMap.h"

#include "platform/FileMapping.h"
#include "support/LogRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

// MMAP over a platform that fails at the step that a test names, and reports which calls were made.

namespace {

struct Platform {
    std::string failing_step;
    std::vector<std::string> calls;
    unsigned char byte = 0;

    bool step(const std::string& name) {
        calls.push_back(name);
        return name != failing_step;
    }
};

Platform the_platform;

constexpr plate_mend::platform::NativeHandle kFile = 7;
constexpr plate_mend::platform::NativeHandle kMapping = 8;

} // namespace

namespace plate_mend::platform {

std::uint64_t file_size(const std::filesystem::path& /*path*/) noexcept {
    return the_platform.step("size") ? 1 : 0;
}

NativeHandle open_file(const std::filesystem::path& /*path*/, MapMode /*mode*/) noexcept {
    return the_platform.step("open") ? kFile : kNoHandle;
}

NativeHandle create_mapping(NativeHandle file, MapMode /*mode*/) noexcept {
    return the_platform.step("create") && file == kFile ? kMapping : kNoHandle;
}

unsigned char* map_view(NativeHandle mapping, MapMode /*mode*/, std::uint64_t size) noexcept {
    return the_platform.step("view") && mapping == kMapping && size == 1 ? &the_platform.byte : nullptr;
}

void prefetch(std::span<const unsigned char> /*bytes*/) noexcept {}

void unmap_view(unsigned char* view, std::uint64_t size) noexcept {
    the_platform.step(view == &the_platform.byte && size == 1 ? "unmap" : "unmap something else");
}

void close_mapping(NativeHandle mapping) noexcept {
    the_platform.step(mapping == kMapping ? "close mapping" : "close another mapping");
}

void close_file(NativeHandle file) noexcept {
    the_platform.step(file == kFile ? "close file" : "close another file");
}

unsigned int last_error() noexcept {
    return 0x2AF;
}

} // namespace plate_mend::platform

namespace plate_mend {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MMapFailure : public ::testing::Test {
  protected:
    MMapFailure() { test::reset_stand_ins(); }

    /// Maps and lets go, with one step failing. Gives the size.
    static std::uint64_t size_with_failing(const std::string& step) {
        the_platform = {};
        the_platform.failing_step = step;
        MMAP map("file");
        map.close();
        return map.size();
    }

    static auto error(const std::string& text) {
        return test::ErrorLine("src/util/MMap.cpp", "MMAP::MMAP", text);
    }
};

TEST_F(MMapFailure, NoneMapsAndAllIsReleasedInReverse) {
    EXPECT_EQ(size_with_failing("none"), 1U);
    EXPECT_THAT(the_platform.calls,
                ElementsAre("size", "open", "create", "view", "unmap", "close mapping", "close file"));
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(MMapFailure, SizeOfZeroEndsItSilently) {
    EXPECT_EQ(size_with_failing("size"), 0U);
    EXPECT_THAT(the_platform.calls, ElementsAre("size"));
    EXPECT_THAT(test::logged_lines(), IsEmpty());
}

TEST_F(MMapFailure, OpeningIsLoggedWithTheSystemsNumber) {
    EXPECT_EQ(size_with_failing("open"), 0U);
    EXPECT_THAT(the_platform.calls, ElementsAre("size", "open"));
    EXPECT_THAT(test::logged_lines(), ElementsAre(error("Open File Error 2af")));
}

TEST_F(MMapFailure, CreatingTheMappingIsLoggedAndTheFileStaysOpen) {
    EXPECT_EQ(size_with_failing("create"), 0U);
    EXPECT_THAT(the_platform.calls, ElementsAre("size", "open", "create"));
    EXPECT_THAT(test::logged_lines(), ElementsAre(error("Create File Error 2af")));
}

TEST_F(MMapFailure, MappingTheViewIsLoggedAndFileAndMappingStayOpen) {
    EXPECT_EQ(size_with_failing("view"), 0U);
    EXPECT_THAT(the_platform.calls, ElementsAre("size", "open", "create", "view"));
    EXPECT_THAT(test::logged_lines(), ElementsAre(error("Map view of file 2af")));
}

} // namespace
} // namespace plate_mend
