#include "Damages.h"
#include "Repair.h"
#include "Written.h"

#include "support/ArwPhoto.h"
#include "support/CameraPhoto.h"
#include "support/Cr2Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RawDecode.h"
#include "support/Sr2Photo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>

// Photographs of all layouts that the builders write, each repaired with another one from its camera.

namespace test {
namespace {

using raw_mend::Extent;
using raw_mend::Sample;

struct Layout {
    std::string name;
    std::function<Bytes(unsigned number)> make; ///< Another number is another photograph.
};

/// The pieces of a file's raw image by its tables.
std::vector<Bytes> pieces_of(const Bytes& file) {
    std::vector<Bytes> pieces;
    const auto sample = Sample::read(file);
    for (std::size_t nth = 0; sample && nth < sample->description.raw.pieces.size(); ++nth) {
        const Extent& data = sample->description.raw.pieces[nth].data;
        pieces.push_back(data.is_within(file) ? part(file, data.offset, data.end()) : Bytes{});
    }
    return pieces;
}

class BuiltPairs : public testing::TestWithParam<Layout> {};

TEST_P(BuiltPairs, ComeBackWhereverTheirImageIs) {
    const Bytes intact = GetParam().make(1);
    const Bytes original = GetParam().make(2);
    const auto sample = Sample::read(intact);
    const auto described = Sample::read(original);
    ASSERT_TRUE(sample);
    ASSERT_TRUE(described);
    const std::vector<Bytes> expected = pieces_of(original);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        const Bytes damaged = damage.make(original, described->range().offset, intact);
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        const Bytes result = written(*repaired->file);
        EXPECT_TRUE(pieces_of(result) == expected)
            << static_cast<int>(repaired->image.way) << testing::PrintToString(repaired->image.doubts);
        EXPECT_EQ(decode_raw(result), decode_raw(original));
    }
}

constexpr unsigned kWidth = 320;
constexpr unsigned kHeight = 240;

std::vector<Layout> layouts() {
    std::vector<Layout> all;
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const std::string suffix = order == ByteOrder::kLittle ? "_II" : "_MM";
        all.push_back({"Arw" + suffix, [order](unsigned number) {
                           return ArwPhoto({order, number, kWidth, kHeight, 2048 + number * 900, {}}).bytes;
                       }});
        all.push_back(
            {"Nef12" + suffix, [order](unsigned number) {
                 return NefPhoto({order, number, 12, kWidth, kHeight, 2048 + number * 900, {}}).bytes;
             }});
        all.push_back(
            {"Nef14" + suffix, [order](unsigned number) {
                 return NefPhoto({order, number, 14, kWidth, kHeight, 2048 + number * 900, {}}).bytes;
             }});
        all.push_back({"Cr2" + suffix, [order](unsigned number) {
                           return Cr2Photo({order, number, kWidth, kHeight, 2048 + number * 900, {}}).bytes;
                       }});
        all.push_back({"Dng" + suffix, [order](unsigned number) {
                           DngPhoto::Options options;
                           options.order = order;
                           options.number = number;
                           options.private_data = 2048 + number * 900;
                           return DngPhoto(options).bytes;
                       }});
        all.push_back({"Orf" + suffix, [order](unsigned number) {
                           OrfOptions options;
                           options.order = order;
                           options.scene = number;
                           options.width = kWidth;
                           options.height = kHeight;
                           return make_orf(options).bytes;
                       }});
        all.push_back({"Sr2" + suffix, [order](unsigned number) {
                           Sr2Options options;
                           options.order = order;
                           options.scene = number;
                           options.width = kWidth;
                           options.height = kHeight;
                           return make_sr2(options).bytes;
                       }});
    }
    return all;
}

/// Cameras whose raw images have no compression, as they state it.
std::vector<Layout> uncompressed() {
    const std::vector<std::pair<std::string, CameraPhoto::Format>> formats{
        {"Pef", {"PENTAX Corporation", "PENTAX *ist D", ByteOrder::kBig, 1, 12, true, false}},
        {"PefOf16Bits", {"PENTAX", "PENTAX K20D", ByteOrder::kBig, 1, 14, false, false}},
        {"Srw", {"SAMSUNG", "NX10", ByteOrder::kLittle, 32769, 12, true, true}},
        {"SrwOf14Bits", {"SAMSUNG", "NX20", ByteOrder::kLittle, 32770, 14, true, true}},
        {"Erf", {"SEIKO EPSON CORP.", "R-D1", ByteOrder::kLittle, 32769, 12, true, true}},
        {"Nrw", {"NIKON", "COOLPIX P6000", ByteOrder::kLittle, 1, 12, true, true}},
        {"NrwWithNikonsNumber", {"NIKON", "COOLPIX P7000", ByteOrder::kBig, 34713, 12, true, true}},
        {"ThreeFr", {"Hasselblad", "Hasselblad H3D", ByteOrder::kBig, 1, 16, false, true}},
        {"Mef", {"Mamiya-OP Co.,Ltd.", "Mamiya ZD", ByteOrder::kBig, 1, 12, true, true}},
        {"Mos", {"Leaf", "Aptus 22", ByteOrder::kBig, 1, 16, false, false}},
        {"Kdc", {"EASTMAN KODAK COMPANY", "KODAK P880", ByteOrder::kBig, 1, 12, true, true}},
    };
    std::vector<Layout> all;
    all.reserve(formats.size());
    for (const auto& [name, format] : formats) {
        all.push_back({name, [camera = format](unsigned number) {
                           return CameraPhoto(camera, number, kWidth, kHeight).bytes;
                       }});
    }
    return all;
}

/// Lossless JPEGs of other cameras and shapes.
std::vector<Layout> lossless() {
    std::vector<Layout> all;
    const std::vector<std::pair<std::string, CameraPhoto::Format>> formats{
        {"ArwOfTiles", {"SONY", "ILCE-7M4", ByteOrder::kLittle, 7, 14, false, true, true, 128}},
        {"ThreeFr", {"Hasselblad", "Hasselblad H4D", ByteOrder::kLittle, 7, 16, false, true, true, 0}},
    };
    all.reserve(formats.size());
    for (const auto& [name, format] : formats) {
        all.push_back({name, [camera = format](unsigned number) {
                           return CameraPhoto(camera, number, kWidth, kHeight).bytes;
                       }});
    }
    using Components = Cr2Photo::Components;
    for (const auto& [name, components] : {std::pair{"Cr2OfFourComponents", Components::kFour},
                                           {"Cr2MediumRaw", Components::kMediumRaw},
                                           {"Cr2SmallRaw", Components::kSmallRaw}}) {
        all.push_back({name, [kind = components](unsigned number) {
                           Cr2Photo::Options options{.number = number, .width = kWidth, .height = kHeight};
                           options.maker_notes += std::size_t{900} * number;
                           options.components = kind;
                           return Cr2Photo(options).bytes;
                       }});
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Lossless, BuiltPairs, testing::ValuesIn(lossless()),
                         [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Uncompressed, BuiltPairs, testing::ValuesIn(uncompressed()),
                         [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(All, BuiltPairs, testing::ValuesIn(layouts()),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace test
