#include "util/ByteScan.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>

namespace plate_mend {
namespace {

/// Three pages, of which the middle one cannot be read. Whoever looks there is stopped by the system.
class UnreadablePage : public ::testing::Test {
  protected:
    UnreadablePage() {
        void* const memory =
            ::mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::bad_alloc();
        }
        base = static_cast<unsigned char*>(memory);
        ::mprotect(base + page, page, PROT_NONE);
    }
    ~UnreadablePage() override { ::munmap(base, 3 * page); }

    std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    unsigned char* base = nullptr;
};

constexpr std::size_t kFarthest =
    260; // A block, and the bytes with which a match may begin in the last of it.

TEST_F(UnreadablePage, IsNotReachedByAScanThatFindsItsMatchABlockBeforeIt) {
    // A search that begins anew after each match must not pay for more than what is before the next.
    const std::array<unsigned char, 4> pattern{1, 2, 3, 4};
    for (std::size_t match = 0; match + kFarthest <= page; ++match) {
        std::copy(pattern.begin(), pattern.end(), base + match);
        EXPECT_EQ(find_pattern({base, 3 * page}, pattern), match);
        EXPECT_EQ(find_pattern({base + match, 3 * page - match}, pattern), 0U);
        std::fill_n(base, page, static_cast<unsigned char>(0));
    }
}

TEST_F(UnreadablePage, AfterTheBytesIsNotReached) {
    const std::array<unsigned char, 2> pattern{1, 2};
    for (std::size_t first = 0; first < page; ++first) {
        EXPECT_EQ(find_pattern({base + first, page - first}, pattern), std::nullopt);
    }
    base[page - 1] = 1; // The second byte would be unreadable.
    EXPECT_EQ(find_pattern({base, page}, pattern), std::nullopt);
}

} // namespace
} // namespace plate_mend
