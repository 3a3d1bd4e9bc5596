#include "Laboratory.h"

#include "support/TempDir.h"

#include <still_mend/still_mend.h>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// What the salvager needs at most, measured by the system in a process of its own.

namespace test {
namespace {

constexpr std::size_t kMebibyte = 1U << 20U;

/// The most memory a child process had at once, in bytes, while it did something.
std::size_t peak_of(const std::function<void()>& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        action();
        ::_exit(0);
    }
    int status = 0;
    struct ::rusage usage {};
    ::wait4(child, &status, 0, &usage);
    EXPECT_TRUE(WIFEXITED(status));
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

/// The same for a salvage, without what any process has and without the mapped file.
std::size_t peak_of_salvage(const Bytes& file, int* result = nullptr) {
    const TempDir folder;
    write_file(folder / "damaged", file);
    const std::string damaged = utf8(folder / "damaged");
    const std::string output = utf8(folder / "output");
    const std::size_t nothing = peak_of([] {});
    const std::size_t all = peak_of([&] { MndJpegGeneralRepair(damaged.c_str(), output.c_str()); });
    if (result != nullptr) {
        *result = MndJpegGeneralRepair(damaged.c_str(), output.c_str());
    }
    const std::size_t rest = nothing + file.size();
    return all > rest ? all - rest : 0;
}

TEST(Memory, IsAtMostFourTimesTheDecodedPictureAnd64MiB) {
    constexpr unsigned kWidth = 2560;
    constexpr unsigned kHeight = 1920;
    for (const char* name : {"baseline 4:4:4", "baseline 4:2:0", "baseline grey", "progressive grey",
                             "progressive 4:4:4, restarts", "baseline 4:2:2, restarts"}) {
        const auto& coding = coding_named(name);
        const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
        Specimen specimen{picture, 0, picture.size()};
        damage_named("three random blocks").apply(specimen, dissect(picture));
        const std::size_t decoded = std::size_t{kWidth} * kHeight * (coding.grey ? 1 : 3);
        int result = STILL_MEND_INTERNAL;
        EXPECT_LE(peak_of_salvage(specimen.file, &result), 4 * decoded + 64 * kMebibyte) << name;
        EXPECT_EQ(result, STILL_MEND_OK) << name;
    }
}

TEST(Memory, IsNoMoreWhereLostIntervalsAreSearchedForInManyPlaces) {
    constexpr unsigned kWidth = 2560;
    constexpr unsigned kHeight = 1920;
    for (const bool grey : {false, true}) {
        const Coding coding{"", 1, 1, grey, true, true, 1};
        const Bytes picture = make_coded(coding, 1, kWidth, kHeight);
        for (const std::size_t scan : {0U, 1U}) {
            const auto intervals = dissect(picture).scans[scan].intervals;
            const Bytes cut = joined(part(picture, 0, intervals[1000].first),
                                     part(picture, intervals[1000 + 7 * 8].first, picture.size()));
            const std::size_t decoded = std::size_t{kWidth} * kHeight * (grey ? 1 : 3);
            int result = STILL_MEND_INTERNAL;
            EXPECT_LE(peak_of_salvage(cut, &result), 4 * decoded + 64 * kMebibyte) << grey << ", " << scan;
            EXPECT_EQ(result, STILL_MEND_OK) << grey << ", " << scan;
        }
    }
}

TEST(Memory, IsAtMost64MiBWhereThereIsNoPicture) {
    const std::size_t size = 16 * kMebibyte;
    Bytes markers(size);
    for (std::size_t offset = 0; offset + 4 <= size; offset += 4) {
        put_bytes(markers, offset, {0x12, 0x34, 0xFF, static_cast<unsigned char>(0xD0 + offset / 4 % 8)});
    }
    const Bytes small = make_coded(coding_named("baseline 4:2:2, restarts"), 1, 64, 48);
    const Bytes header = part(small, 0, dissect(small).scan_header.last);
    Bytes headers;
    while (headers.size() < size) {
        headers.insert(headers.end(), header.begin(), header.end());
    }
    Bytes starts(size);
    for (std::size_t offset = 0; offset + 3 <= size; offset += 3) {
        put_bytes(starts, offset, {0xFF, 0xD8, 0xFF});
    }
    EXPECT_LE(peak_of_salvage(noise(size, 1)), 64 * kMebibyte);
    EXPECT_LE(peak_of_salvage(starts), 64 * kMebibyte);
    EXPECT_LE(peak_of_salvage(headers), 64 * kMebibyte);
    EXPECT_LE(peak_of_salvage(joined(header, markers)), 64 * kMebibyte);
    EXPECT_LE(peak_of_salvage(joined(header, noise(size, 2))), 64 * kMebibyte);
}

TEST(Memory, OfAHugeClaimIsBoundedByIt) {
    Bytes picture = make_coded(coding_named("baseline grey"), 1, 64, 48);
    const Anatomy anatomy = dissect(picture);
    put_u16(picture, anatomy.frame[0].first + 5, 8000, ByteOrder::kBig);
    put_u16(picture, anatomy.frame[0].first + 7, 8000, ByteOrder::kBig);
    const Bytes header = part(picture, 0, anatomy.scan_header.last);
    EXPECT_LE(peak_of_salvage(joined(header, noise(4 * kMebibyte, 1))),
              std::size_t{4} * 8000 * 8000 + 64 * kMebibyte);
}

} // namespace
} // namespace test
