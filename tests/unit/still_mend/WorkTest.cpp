#include "Work.h"
#include "Salvage.h"

#include "Laboratory.h"
#include "header/HeaderMarkers.h"
#include "order/OrderSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>

// How much work the salvager does, whatever the bytes: counted, and linear in the size of the file.

namespace test {
namespace {

std::uint64_t work_on(const Bytes& file) {
    const std::uint64_t before = still_mend::Work::done();
    static_cast<void>(still_mend::find_best(file));
    return still_mend::Work::done() - before;
}

/// A pattern repeated up to a size.
Bytes repeated(const Bytes& pattern, std::size_t size) {
    Bytes file(size);
    for (std::size_t offset = 0; offset < size; offset += pattern.size()) {
        std::copy_n(pattern.begin(), std::min(pattern.size(), size - offset),
                    file.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    return file;
}

/// What precedes the data of a picture, with another size in it.
Bytes header(const Bytes& picture, unsigned width, unsigned height) {
    const Anatomy anatomy = dissect(picture);
    Bytes head = part(picture, 0, anatomy.scan_header.last);
    put_u16(head, anatomy.frame[0].first + 5, static_cast<std::uint16_t>(height), ByteOrder::kBig);
    put_u16(head, anatomy.frame[0].first + 7, static_cast<std::uint16_t>(width), ByteOrder::kBig);
    return head;
}

Bytes header(const char* coding, unsigned width, unsigned height) {
    return header(make_coded(coding_named(coding), 1, 64, 48), width, height);
}

/// Restart markers with two bytes between them.
Bytes restart_flood(std::size_t size) {
    Bytes pattern;
    for (unsigned char number = 0; number < 8; ++number) {
        pattern.insert(pattern.end(), {0x12, 0x34, 0xFF, static_cast<unsigned char>(0xD0 + number)});
    }
    return repeated(pattern, size);
}

/// One good interval of a picture again and again, after markers whose numbers never follow one another, in
/// a frame with room for all of them.
Bytes scattered_intervals(std::size_t size) {
    const Bytes picture = make_coded({"", 1, 1, true, false, false, 1}, 1, 64, 48);
    const auto interval = dissect(picture).intervals.at(1); // After the first marker, FF D0.
    return joined(header(picture, 16000, 16000),
                  repeated(part(picture, interval.first, interval.last), size));
}

/// Headers of large pictures, each with one byte of data for 450 of its blocks: just enough to be a picture.
Bytes nearly_empty_pictures(std::size_t size) {
    const Bytes head = header("progressive grey", 2080, 2080);
    return repeated(joined(joined(head, Bytes(150, 0x12)), {0xFF, 0xD9}), size);
}

constexpr std::size_t kEoiSize = 2;

/// What may be a scan without its header.
Bytes noise_up_to_eoi(std::size_t size) {
    Bytes file = noise(size - kEoiSize, 1);
    std::ranges::replace(file, 0xFF, 0x55);
    return joined(file, {0xFF, 0xD9});
}

/// Bits that the standard tables decode without an error into many MCUs, so that many widths are possible.
Bytes short_mcus_up_to_eoi(std::size_t size) {
    return joined(repeated({0x00, 0x28, 0xA2, 0x8A, 0x13}, size - kEoiSize), {0xFF, 0xD9});
}

/// The clusters of a picture in no order, again and again, under a header of another size.
Bytes shuffled_clusters(const char* coding, unsigned side, std::size_t size) {
    constexpr std::size_t kCluster = 512;
    const Bytes picture = make_coded(coding_named(coding), 1, 1280, 960);
    const std::size_t data = dissect(picture).scan_header.last;
    const std::size_t first = data / kCluster + 2;
    Bytes file = joined(header(picture, side, side), part(picture, data, first * kCluster));
    std::mt19937 random(1);
    while (file.size() < size) {
        const std::size_t place = (first + random() % (picture.size() / kCluster - first)) * kCluster;
        const Bytes cluster = part(picture, place, place + kCluster);
        file.insert(file.end(), cluster.begin(), cluster.end());
    }
    file.resize(size);
    return file;
}

struct Flood {
    std::string name;
    std::function<Bytes(std::size_t size)> make;
};

std::vector<Flood> floods() {
    const auto after = [](const Bytes& head, const std::function<Bytes(std::size_t)>& make) {
        return [head, make](std::size_t size) { return joined(head, make(size)); };
    };
    const auto random = [](std::size_t size) { return noise(size, 1); };
    std::vector<Flood> all{
        {"noise", random},
        {"zeros", [](std::size_t size) { return Bytes(size); }},
        {"FF", [](std::size_t size) { return Bytes(size, 0xFF); }},
        {"FF D8 FF",
         [](std::size_t size) {
             return repeated({0xFF, 0xD8, 0xFF}, size);
         }},
        {"FF D8 FF E0",
         [](std::size_t size) {
             return repeated({0xFF, 0xD8, 0xFF, 0xE0}, size);
         }},
        {"restart markers", restart_flood},
        {"scattered intervals", scattered_intervals},
        {"nearly empty pictures", nearly_empty_pictures},
        {"noise up to an EOI", noise_up_to_eoi},
        {"short MCUs up to an EOI", short_mcus_up_to_eoi},
        {"long tables",
         [](std::size_t size) {
             return repeated({0xFF, 0xC4, 0xFF, 0xDB, 0x7F, 0xFF}, size);
         }},
    };
    for (const char* coding :
         {"baseline 4:2:0", "baseline 4:2:2, restarts", "baseline grey", "progressive grey"}) {
        const std::string under = std::string(" under a header: ") + coding;
        for (const unsigned side : {64U, 4000U}) {
            const Bytes head = header(coding, side, side);
            const std::string where = under + ", " + std::to_string(side);
            all.push_back({"noise" + where, after(head, random)});
            all.push_back({"zeros" + where, after(head, [](std::size_t size) { return Bytes(size); })});
            all.push_back({"restart markers" + where, after(head, restart_flood)});
        }
        const Bytes head = header(coding, 640, 480);
        all.push_back({"headers" + under, [head](std::size_t size) { return repeated(head, size); }});
        const Bytes with_data = joined(head, noise(300, 2));
        all.push_back({"headers and noise" + under,
                       [with_data](std::size_t size) { return repeated(with_data, size); }});
    }
    return all;
}

TEST(Work, GrowsWithTheSizeOfTheFileWhateverItsBytes) {
    constexpr std::size_t kSize = 1U << 17U;
    for (const auto& flood : floods()) {
        const std::uint64_t once = work_on(flood.make(kSize));
        const std::uint64_t fourfold = work_on(flood.make(4 * kSize));
        EXPECT_LE(fourfold, 6 * once + kSize) << flood.name;
    }
}

TEST(Work, IsBoundedByAConstantForEachByte) {
    constexpr std::size_t kSize = 1U << 19U;
    for (const auto& flood : floods()) {
        EXPECT_LE(work_on(flood.make(kSize)), 80 * kSize) << flood.name;
    }
}

TEST(Work, OnIntervalsThatMayHaveManyPlacesGrowsWithThePicture) {
    // As many losses as are distinguished, in the shortest intervals.
    const Coding coding{"", 1, 1, false, true, true, 1};
    const auto work_at = [&](unsigned width, unsigned height) {
        const Bytes picture = make_coded(coding, 1, width, height);
        const auto intervals = dissect(picture).intervals;
        const Bytes cut = joined(part(picture, 0, intervals[100].first),
                                 part(picture, intervals[100 + 7 * 8].first, picture.size()));
        const std::uint64_t work = work_on(cut);
        EXPECT_LE(work, 80 * cut.size());
        return work;
    };
    EXPECT_LE(work_at(1280, 960), 5 * work_at(640, 480));
}

TEST(Work, OnClustersInNoOrderIsBoundedByAConstantForEachByte) {
    for (const char* coding : {"baseline 4:2:0", "baseline 4:4:4, optimised, restarts", "baseline grey"}) {
        for (const unsigned side : {1000U, 4000U}) {
            const Bytes file = shuffled_clusters(coding, side, 1U << 19U);
            const auto candidates = still_mend::find_candidates(file, still_mend::find_header_markers(file));
            const std::uint64_t before = still_mend::Work::done();
            EXPECT_FALSE(still_mend::put_in_order(file, candidates.at(0))) << coding;
            EXPECT_LE(still_mend::Work::done() - before, 40 * file.size()) << coding << ", " << side;
        }
    }
}

TEST(Work, OnAHundredMegabytesWithoutAPictureIsAFewStepsForEachByte) {
    constexpr std::size_t kSize = 100'000'000;
    EXPECT_LE(work_on(Bytes(kSize)), 4 * kSize);
    EXPECT_LE(work_on(repeated({0xFF, 0xD8, 0xFF}, kSize)), 4 * kSize);
    EXPECT_LE(work_on(repeated(noise(1U << 20U, 1), kSize)), 4 * kSize);
}

} // namespace
} // namespace test
