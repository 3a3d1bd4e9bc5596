#include "host/HostFixture.h"

#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"
#include "support/Sr2Photo.h"

#include <functional>

// The way of a user with every extension: a damaged photograph and a sample in, the picture out.

namespace test {
namespace {

/// Two photographs from one camera, and how much of the second's head may be lost.
struct Pair {
    Bytes sample;
    Bytes original;
    std::size_t lost = 0;
};

struct Format {
    const char* extension;
    std::function<Pair()> make;
};

std::ostream& operator<<(std::ostream& stream, const Format& format) {
    return stream << format.extension;
}

Pair arw_pair() {
    const ArwPhoto sample(ArwPhoto::Options{.number = 1});
    const ArwPhoto original(ArwPhoto::Options{.number = 2, .maker_notes = 4096});
    return {sample.bytes, original.bytes, original.strip_entries};
}

Pair sr2_pair() {
    const Sr2Photo original = make_sr2({.scene = 2});
    return {make_sr2({.scene = 1}).bytes, original.bytes, original.sub_ifd.entry(273)};
}

Pair raf_pair() {
    const RafPhoto sample(RafPhoto::Options{.number = 1});
    const RafPhoto original(RafPhoto::Options{.number = 2, .maker_notes = 2048});
    return {sample.bytes, original.bytes, original.second_header};
}

Pair orf_pair() {
    const OrfPhoto original = make_orf({.scene = 2});
    return {make_orf({.scene = 1}).bytes, original.bytes, original.ifd0.entry(273)};
}

Pair dng_pair() {
    const DngPhoto sample(DngPhoto::Options{.number = 1});
    const DngPhoto original(DngPhoto::Options{.number = 2, .private_data = 4096});
    return {sample.bytes, original.bytes, original.main_entry};
}

Pair cr2_pair() {
    const Cr2Photo sample(Cr2Photo::Options{.number = 1});
    const Cr2Photo original(Cr2Photo::Options{.number = 2, .maker_notes = 4096});
    return {sample.bytes, original.bytes, original.raw_ifd.entry(273)};
}

Pair cr3_pair() {
    const Cr3Photo sample(Cr3Photo::Options{.number = 1, .pictures = true});
    const Cr3Photo original(Cr3Photo::Options{.number = 2, .maker_notes = 1500, .pictures = true});
    return {sample.bytes, original.bytes, original.at("trak1/entry")};
}

Pair nef_pair() {
    const NefPhoto sample(NefPhoto::Options{.number = 1});
    const NefPhoto original(NefPhoto::Options{.number = 2, .maker_notes = 4096});
    return {sample.bytes, original.bytes, original.raw_ifd.entry(254)};
}

class EveryFormat : public HostFixture, public ::testing::WithParamInterface<Format> {};

TEST_P(EveryFormat, IsRepairedToTheOriginalsPicture) {
    const Pair pair = GetParam().make();
    const std::string extension = std::string(".") + GetParam().extension;
    write_file(folder / ("sample" + extension), pair.sample);
    write_file(folder / ("photo" + extension), zeroed(pair.original, 0, pair.lost));
    EXPECT_EQ(run({"check", in("photo" + extension)}), 1) << "the damage must show";
    ASSERT_EQ(run({"repair", "-s", in("sample" + extension), in("photo" + extension)}), 0) << err;
    const auto picture = decode_raw(folder / ("photo.repaired" + extension));
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture, decode_raw(pair.original));
    EXPECT_NE(picture, decode_raw(pair.sample));
}

INSTANTIATE_TEST_SUITE_P(Extensions, EveryFormat,
                         ::testing::Values(Format{"arw", arw_pair}, Format{"raw", arw_pair},
                                           Format{"sr2", sr2_pair}, Format{"raf", raf_pair},
                                           Format{"orf", orf_pair}, Format{"dng", dng_pair},
                                           Format{"cr2", cr2_pair}, Format{"cr3", cr3_pair},
                                           Format{"nef", nef_pair}),
                         [](const auto& format) { return format.param.extension; });

} // namespace
} // namespace test
