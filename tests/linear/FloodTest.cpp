#include "e2e/RepairFixture.h"
#include "linear/Steps.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"

#include <plate_mend/plate_mend.h>

#include <gmock/gmock.h>

#include <functional>

namespace test {
namespace {

Bytes repeated(const Bytes& pattern, std::size_t size) {
    Bytes bytes;
    bytes.reserve(size + pattern.size());
    while (bytes.size() < size) {
        bytes.insert(bytes.end(), pattern.begin(), pattern.end());
    }
    return bytes;
}

/// Files of about size bytes full of one pattern, which is what a repair of the format searches for.
struct Flood {
    const char* name;
    const char* extension;
    std::function<Bytes(std::size_t size)> damaged;
    std::function<Bytes(std::size_t size)> sample;
    std::int32_t code;
};

void PrintTo(const Flood& flood, std::ostream* stream) {
    *stream << flood.name;
}

std::function<Bytes(std::size_t)> only(const Bytes& bytes) {
    return [bytes](std::size_t /*size*/) { return bytes; };
}

std::function<Bytes(std::size_t)> flood_of(const Bytes& pattern) {
    return [pattern](std::size_t size) { return repeated(pattern, size); };
}

std::function<Bytes(std::size_t)> with_flood_after(const Bytes& front, const Bytes& pattern) {
    return [front, pattern](std::size_t size) { return joined(front, repeated(pattern, size)); };
}

Bytes raf_without_end_of_xpacket() {
    RafPhoto photo;
    put_text(photo.bytes, photo.xpacket_end, "yourpacket");
    return photo.bytes;
}

std::vector<Flood> floods() {
    const Bytes strip_offsets{0x11, 0x01};
    const Bytes header{0x49, 0x49, 0x2A, 0x00, 0x08, 0x00, 0x00, 0x00};
    const Bytes jpeg{0xFF, 0xD8, 0xFF, 0xDB};
    const ByteOrder little = ByteOrder::kLittle;
    const Bytes arw = ArwPhoto().bytes;
    const Bytes sr2 = make_sr2().bytes;
    const Bytes orf = make_orf().bytes;
    const Bytes raf = RafPhoto().bytes;
    const Bytes cr2 = Cr2Photo().bytes;
    const Bytes cr3 = Cr3Photo().bytes;
    const Bytes nef = NefPhoto(NefPhoto::Options{.order = little}).bytes;
    return {
        {"ArwStripOffsets", "arw", flood_of(strip_offsets), only(arw), PLATE_MEND_ARW_OUT_OF_RANGE},
        {"Sr2StripOffsets", "sr2", flood_of(strip_offsets), only(sr2), PLATE_MEND_SR2_OUT_OF_RANGE},
        {"OrfStripOffsets", "orf", flood_of(strip_offsets), only(orf), PLATE_MEND_ORF_OUT_OF_RANGE},
        {"OrfJpegsInTheSample", "orf", only(orf), with_flood_after(orf, jpeg),
         PLATE_MEND_ORF_SAMPLE_UNUSABLE},
        {"RafHeaders", "raf", flood_of(header), only(raf), PLATE_MEND_RAF_OUT_OF_RANGE},
        {"RafHeadersInTheSample", "raf", only(raf), with_flood_after(raf, header), 0},
        {"RafTablesInTheSample", "raf", only(raf),
         with_flood_after(raf_without_end_of_xpacket(), {0xFF, 0xC4}), 0},
        {"Cr2StripOffsets", "cr2", flood_of(strip_offsets), only(cr2), PLATE_MEND_CR2_DAMAGED_UNUSABLE},
        {"NefSubfileTypes", "nef", flood_of({0xFE, 0x00}), only(nef), PLATE_MEND_NEF_DAMAGED_UNUSABLE},
        {"NefSubfileTypesOfPreviews", "nef", flood_of({0xFE, 0, 4, 0, 1, 0, 0, 0, 1, 0, 0, 0}), only(nef),
         PLATE_MEND_NEF_NOT_FOUND},
        {"Cr3Pictures", "cr3", flood_of({'C', 'R', 'A', 'W'}), only(cr3), PLATE_MEND_CR3_NOT_FOUND},
    };
}

class FloodOf : public RepairFixture, public ::testing::WithParamInterface<Flood> {};

INSTANTIATE_TEST_SUITE_P(Formats, FloodOf, ::testing::ValuesIn(floods()),
                         [](const auto& flood) { return std::string(flood.param.name); });

TEST_P(FloodOf, CostsNoMoreForEachByteWhenItGrows) {
    const Flood& flood = GetParam();
    const auto cost = [&](std::size_t size) {
        const Bytes damaged = flood.damaged(size);
        const Bytes sample = flood.sample(size);
        steps = 0;
        EXPECT_EQ(advance(flood.extension, damaged, sample), flood.code);
        return static_cast<double>(steps) / static_cast<double>(damaged.size() + sample.size());
    };
    const double small = cost(std::size_t{1} << 16);
    const double large = cost(std::size_t{1} << 19);
    EXPECT_LT(large, small * 1.1 + 3);
    EXPECT_LT(large, 20);
}

} // namespace
} // namespace test
