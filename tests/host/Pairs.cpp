#include "host/Pairs.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"

#include <ostream>
#include <utility>

namespace test {
namespace {

/// Sets width, height and byte order of the two photographs, and returns the options of the sample and the
/// original.
template <typename Options>
std::pair<Options, Options> sized(Options options, const PairOptions& wanted) {
    if (wanted.large) {
        options.width = 480;
        options.height = 360;
    }
    Options sample = options;
    if (wanted.other_size) {
        std::swap(sample.width, sample.height);
    }
    return {sample, options};
}

template <typename Options>
std::pair<Options, Options> ordered(std::pair<Options, Options> pair, const PairOptions& wanted) {
    if (wanted.other_order) {
        auto& order = pair.first.order;
        order = order == ByteOrder::kLittle ? ByteOrder::kBig : ByteOrder::kLittle;
    }
    return pair;
}

Pair arw_pair(const PairOptions& wanted) {
    auto [sample, original] = ordered(sized(ArwPhoto::Options{}, wanted), wanted);
    original.number = 2;
    original.maker_notes = 4096;
    const ArwPhoto photo(original);
    return {ArwPhoto(sample).bytes, photo.bytes, photo.strip_entries};
}

Pair sr2_pair(const PairOptions& wanted) {
    auto [sample, original] = ordered(sized(Sr2Options{}, wanted), wanted);
    original.scene = 2;
    const Sr2Photo photo = make_sr2(original);
    return {make_sr2(sample).bytes, photo.bytes, photo.sub_ifd.entry(273)};
}

Pair raf_pair(const PairOptions& wanted) {
    auto [sample, original] = sized(RafPhoto::Options{}, wanted);
    original.number = 2;
    original.maker_notes = 2048;
    const RafPhoto photo(original);
    return {RafPhoto(sample).bytes, photo.bytes, photo.second_header};
}

Pair orf_pair(const PairOptions& wanted) {
    auto [sample, original] = ordered(sized(OrfOptions{}, wanted), wanted);
    original.scene = 2;
    const OrfPhoto photo = make_orf(original);
    return {make_orf(sample).bytes, photo.bytes, photo.ifd0.entry(273)};
}

Pair dng_pair(const PairOptions& wanted) {
    auto [sample, original] = ordered(sized(DngPhoto::Options{}, wanted), wanted);
    original.number = 2;
    original.private_data = 4096;
    const DngPhoto photo(original);
    return {DngPhoto(sample).bytes, photo.bytes, photo.main_entry};
}

Pair cr2_pair(const PairOptions& wanted) {
    auto [sample, original] = ordered(sized(Cr2Photo::Options{}, wanted), wanted);
    original.number = 2;
    original.maker_notes = 4096;
    const Cr2Photo photo(original);
    return {Cr2Photo(sample).bytes, photo.bytes, photo.raw_ifd.entry(273)};
}

Pair cr3_pair(const PairOptions& /*wanted*/) {
    const Cr3Photo photo(Cr3Photo::Options{.number = 2, .maker_notes = 1500, .pictures = true});
    return {Cr3Photo(Cr3Photo::Options{.number = 1, .pictures = true}).bytes, photo.bytes,
            photo.at("trak1/entry")};
}

Pair nef_pair(const PairOptions& wanted) {
    auto [sample, original] = ordered(sized(NefPhoto::Options{}, wanted), wanted);
    original.number = 2;
    original.maker_notes = 4096;
    const NefPhoto photo(original);
    return {NefPhoto(sample).bytes, photo.bytes, photo.raw_ifd.entry(254)};
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Format& format) {
    return stream << format.extension;
}

const std::vector<Format>& formats() {
    static const std::vector<Format> all{
        {"arw", arw_pair}, {"raw", arw_pair}, {"sr2", sr2_pair}, {"raf", raf_pair, false},
        {"orf", orf_pair}, {"dng", dng_pair}, {"cr2", cr2_pair}, {"cr3", cr3_pair, false, false},
        {"nef", nef_pair}};
    return all;
}

} // namespace test
