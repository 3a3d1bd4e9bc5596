#include "bench/Pairs.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"

#include <functional>
#include <map>

namespace bench {

namespace {

using test::Bytes;

constexpr std::uint16_t kNewSubfileType = 254;
constexpr std::uint16_t kStripOffsets = 273;

/// Appends image data to a photograph, up to the size. Returns their length.
std::size_t grow(Bytes& photo, std::size_t size, std::uint32_t seed) {
    const std::size_t more = size - photo.size();
    const Bytes data = test::noise(more, seed);
    photo.insert(photo.end(), data.begin(), data.end());
    return more;
}

void destroy_front(Bytes& photo, std::size_t end) {
    test::put_bytes(photo, 0, Bytes(end));
}

/// The output of most repairs: the sample up to its image, the damaged file from its image on.
std::vector<Piece> splice(const Bytes& damaged, std::size_t sample_image, std::size_t damaged_image) {
    return {{Piece::From::kSample, 0, sample_image},
            {Piece::From::kDamaged, damaged_image, damaged.size() - damaged_image}};
}

/// For photographs whose image extends to the end of the file.
Pair simple_pair(const std::string& extension, Bytes sample, Bytes damaged, std::size_t size,
                 std::size_t needed_from, std::size_t image) {
    grow(sample, size, 1);
    grow(damaged, size, 2);
    destroy_front(damaged, needed_from);
    auto output = splice(damaged, image, image);
    return {extension, std::move(sample), std::move(damaged), std::move(output)};
}

Pair make_arw(std::size_t size) {
    const test::ArwPhoto photo;
    return simple_pair("arw", photo.bytes, photo.bytes, size, photo.strip_entries, photo.image_offset);
}

Pair make_sr2_pair(std::size_t size) {
    const test::Sr2Photo photo = test::make_sr2();
    return simple_pair("sr2", photo.bytes, photo.bytes, size, photo.sub_ifd.entry(kStripOffsets),
                       photo.image);
}

Pair make_orf_pair(std::size_t size) {
    const test::OrfPhoto photo = test::make_orf();
    return simple_pair("orf", photo.bytes, photo.bytes, size, photo.ifd0.entry(kStripOffsets), photo.image);
}

Pair make_cr2(std::size_t size) {
    const test::Cr2Photo photo;
    return simple_pair("cr2", photo.bytes, photo.bytes, size, photo.raw_ifd.entry(kStripOffsets),
                       photo.raw_offset);
}

Pair make_nef(std::size_t size) {
    const test::NefPhoto photo;
    return simple_pair("nef", photo.bytes, photo.bytes, size, photo.raw_ifd.entry(kNewSubfileType),
                       photo.raw_offset);
}

Pair make_raf(std::size_t size) {
    const test::RafPhoto photo;
    Pair pair{"raf", photo.bytes, photo.bytes, {}};
    for (Bytes* file : {&pair.sample, &pair.damaged}) {
        const std::size_t more = grow(*file, size, file == &pair.sample ? 1 : 2);
        test::put_u32(*file, photo.strip_byte_counts_entry + 8,
                      static_cast<std::uint32_t>(photo.image_size + more), test::ByteOrder::kLittle);
    }
    destroy_front(pair.damaged, photo.second_header);
    pair.output = splice(pair.damaged, photo.image_offset, photo.image_offset);
    return pair;
}

Pair make_dng(std::size_t size) {
    // The main image is the last in the file, so that the file ends with its last tile.
    const test::DngPhoto photo(test::DngPhoto::Options{.main_index = 2});
    Pair pair{"dng", photo.bytes, photo.bytes, {}};
    for (Bytes* file : {&pair.sample, &pair.damaged}) {
        const std::size_t more = grow(*file, size, file == &pair.sample ? 1 : 2);
        test::put_u32(*file, photo.byte_count_slot(photo.tiles() - 1),
                      static_cast<std::uint32_t>(photo.tile_byte_counts.back() + more), photo.order);
    }
    destroy_front(pair.damaged, photo.main_entry);
    pair.output = splice(pair.damaged, photo.tile_offsets.front(), photo.tile_offsets.front());
    return pair;
}

Pair make_cr3(std::size_t size) {
    // A large JPEG, a small picture, the raw picture, and metadata, in about the proportions of a camera.
    const std::size_t rest = 20000; // For everything except the pictures.
    test::Cr3Photo::Options options;
    options.tracks = {size / 8, size / 16, size - size / 8 - size / 16 - rest, 4000};
    const test::Cr3Photo sample(options);
    options.number = 2;
    const test::Cr3Photo damaged(options);
    Pair pair{"cr3", sample.bytes, damaged.bytes, {{Piece::From::kSample, 0, sample.payload}}};
    for (std::size_t track = 0; track < 4; ++track) {
        const bool replaced = track % 2 == 0;
        const auto& run = (replaced ? damaged : sample).tracks[track];
        pair.output.push_back(
            {replaced ? Piece::From::kDamaged : Piece::From::kSample, run.offset, run.size});
    }
    destroy_front(pair.damaged, damaged.at("trak1/entry"));
    return pair;
}

const std::map<std::string, std::function<Pair(std::size_t)>> kMakers{
    {"arw", make_arw}, {"sr2", make_sr2_pair}, {"raf", make_raf}, {"orf", make_orf_pair},
    {"dng", make_dng}, {"cr2", make_cr2},      {"nef", make_nef}, {"cr3", make_cr3},
};

} // namespace

const std::vector<std::string>& formats() {
    static const std::vector<std::string> names{"arw", "sr2", "raf", "orf", "dng", "cr2", "nef", "cr3"};
    return names;
}

Pair make_pair(const std::string& extension, std::size_t size) {
    return kMakers.at(extension)(size);
}

} // namespace bench
