#include "faults/Limits.h"
#include "faults/SalvageFixture.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

#include <sys/wait.h>
#include <unistd.h>

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20U;

/// Grows the stack now: once memory is short it cannot grow, and that cannot be reported.
void grow_stack() {
    volatile unsigned char room[kMegabyte];
    for (std::size_t at = 0; at < kMegabyte; at += 1024) {
        room[at] = 1;
    }
    (void)room[0];
}

class SalvageMemory : public SalvageFault {
  protected:
    void SetUp() override {
        if (!AddressSpaceLimit::is_possible()) {
            GTEST_SKIP() << "a sanitizer takes all address space";
        }
    }

    /// Salvages with the given bytes of address space to spare, in a process that has salvaged nothing
    /// before: it would have memory left from that. Returns the code; 1 when the process died.
    [[nodiscard]] std::int32_t code_within(std::uint64_t bytes) {
        const int status = status_of_child([&] {
            grow_stack();
            const AddressSpaceLimit limit(bytes);
            ::_exit(-salvage());
        });
        return WIFEXITED(status) ? -WEXITSTATUS(status) : 1;
    }
};

TEST_F(SalvageMemory, NoRoomToMapTheDamagedFileIsALackOfMemory) {
    damage(salvage_cases().front().file);
    fs::resize_file(damaged, 64 * kMegabyte);
    EXPECT_EQ(code_within(32 * kMegabyte), STILL_MEND_INTERNAL);
    EXPECT_EQ(names(), std::vector<std::string>{});
    // The control. All of an intact file is written, and read once more.
    EXPECT_EQ(code_within(192 * kMegabyte), STILL_MEND_OK);
}

// From no room at all up to enough of it: the lack is reported as such, wherever it comes, and nothing is
// left.
TEST_F(SalvageMemory, RunningOutAnywhereIsReportedAndLeavesNothing) {
    const Bytes picture = make_preview(Scene(1), 640, 480);
    const auto raise_room = [this](const Bytes& file, std::uint64_t step) {
        damage(file);
        std::uint64_t room = 0;
        std::int32_t code = code_within(room);
        for (; code == STILL_MEND_INTERNAL && room < 64 * kMegabyte; code = code_within(room)) {
            ASSERT_EQ(names(), std::vector<std::string>{}) << "room " << room;
            room += step;
        }
        ASSERT_EQ(code, STILL_MEND_OK) << "room " << room;
        EXPECT_GT(room, 10 * step); // Else next to nothing was tried.
        EXPECT_EQ(names(), std::vector<std::string>{"output.jpg"});
        EXPECT_TRUE(jpeg_decodes(read_file(output)));
        fs::remove(output);
    };
    raise_room(picture, 4 << 10);
    raise_room(part(picture, 0, picture.size() * 2 / 3), 32 << 10); // Coded anew, in far more memory.
}

} // namespace
} // namespace test
