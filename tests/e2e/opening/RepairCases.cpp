#include "e2e/opening/RepairCases.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace test {

namespace {

const Bytes kThreeBytes{1, 2, 3};

/// A number as a file of this byte order holds it.
Bytes u16_bytes(std::uint16_t value, ByteOrder order) {
    Bytes bytes(2);
    put_u16(bytes, 0, value, order);
    return bytes;
}

template <typename Photo>
PhotoPair pair_of(const Photo& sample, const Photo& original, std::vector<Patch> foreign, Bytes broken) {
    return {sample.bytes,
            original.bytes,
            expected_output(sample, original, original.bytes),
            blanked(sample.bytes, sample),
            std::move(foreign),
            std::move(broken)};
}

PhotoPair arw_photos(ByteOrder order) {
    return pair_of(ArwPhoto({.order = order, .number = 1}),
                   ArwPhoto({.order = order, .number = 2, .maker_notes = 4096}), {{0, {0, 0}}}, kThreeBytes);
}

PhotoPair sr2_photos(ByteOrder order) {
    return pair_of(make_sr2({.order = order, .scene = 1}),
                   make_sr2({.order = order, .scene = 2, .preview_width = 96, .preview_height = 64}),
                   {{0, {0, 0}}, {2, {0, 0}}, {4, {0, 0, 0, 0}}}, kThreeBytes);
}

PhotoPair orf_photos(ByteOrder order) {
    const auto other_mark = static_cast<unsigned char>(order == ByteOrder::kLittle ? 'M' : 'I');
    return pair_of(make_orf({.order = order, .scene = 1}),
                   make_orf({.order = order, .scene = 2, .preview_width = 96, .preview_height = 64}),
                   {{0, {other_mark}}, {2, u16_bytes(42, order)}, {4, {0, 0, 0, 0}}}, kThreeBytes);
}

PhotoPair raf_photos(ByteOrder /*order*/) {
    const RafPhoto sample(RafPhoto::Options{.number = 1});
    return pair_of(sample, RafPhoto({.number = 2, .maker_notes = 4096}),
                   {{sample.first_header, Bytes(8)}, {sample.second_header, Bytes(8)}}, kThreeBytes);
}

PhotoPair dng_photos(ByteOrder order) {
    return pair_of(DngPhoto({.order = order, .number = 1}),
                   DngPhoto({.order = order, .number = 2, .private_data = 4096}),
                   {{0, {0x77}}, {2, {0x77}}, {3, {0x77}}}, kThreeBytes);
}

PhotoPair cr2_photos(ByteOrder order) {
    return pair_of(Cr2Photo({.order = order, .number = 1}),
                   Cr2Photo({.order = order, .number = 2, .maker_notes = 4096}), {{8, Bytes(8)}},
                   kThreeBytes);
}

PhotoPair nef_photos(ByteOrder order) {
    return pair_of(NefPhoto({.order = order, .number = 1}),
                   NefPhoto({.order = order, .number = 2, .maker_notes = 4096}),
                   {{0, Bytes(4)}, {2, Bytes(4)}, {4, Bytes(4)}}, kThreeBytes);
}

PhotoPair cr3_photos(ByteOrder /*order*/) {
    const Cr3Photo sample(Cr3Photo::Options{.number = 1});
    const Cr3Photo original(
        Cr3Photo::Options{.number = 2, .maker_notes = 1500, .tracks = {1100, 333, 1962, 90}});
    return {sample.bytes, original.bytes, expected_output(sample, original), {}, {{4, Bytes(4)}}, Bytes(64)};
}

const std::vector<std::size_t> kOneToSeven{1, 2, 3, 4, 5, 6, 7};
const std::string kDngFailed = "DNG repaired failed, reason is ";

/// One row per format. The byte order and the name are set for each.
std::vector<RepairCase> rows() {
    return {
        {.extension = "arw",
         .format = "arw",
         .temporary = "temp.arw",
         .photos = arw_photos,
         .input_missing = -1120,
         .copy_failed = {-1121, "arw file clone faild"},
         .empty_sample = {-1122, "sample file map error"},
         .empty_damaged = {-1122, "corrupt file map error"},
         .broken_sample = {-1123, "sample offset error is Access out of range"},
         .cut_header = {-1123, "sample offset error is Access out of range"},
         .header_cuts = kOneToSeven,
         .foreign_sample = {-1126, {}, "Data is illegal\n"},
         .unopened_output = {-1125, "arw merge data error: Visiting beyond boundaries"}},
        {.extension = "sr2",
         .format = "sr2",
         .temporary = "temp.sr2",
         .photos = sr2_photos,
         .input_missing = -1130,
         .copy_failed = {-1131, "sr2 file clone faild"},
         .empty_sample = {-1132, "sample file map error"},
         .empty_damaged = {-1132, "corrupted file map error"},
         .broken_sample = {-1133, "sample offset error is Access out of range"},
         .cut_header = {-1133, "sample offset error is Access out of range"},
         .header_cuts = kOneToSeven,
         .foreign_sample = {-1136, "sample catch exception is Data is illegal"},
         .unopened_output = {-1135, "sr2  merge data error: Visiting beyond boundaries"}},
        {.extension = "orf",
         .format = "orf",
         .temporary = "temp.orf",
         .photos = orf_photos,
         .input_missing = -1140,
         .copy_failed = {-1141, "orf file clone faild"},
         .empty_sample = {-1142, "sample file map error"},
         .empty_damaged = {-1142, "corrupted file map error"},
         .broken_sample = {-1147, "sample catch exception is Access out of range"},
         .cut_header = {-1147, "sample catch exception is Access out of range"},
         .header_cuts = kOneToSeven,
         .foreign_sample = {-1145, "sample data illegal, error is Data is illegal"},
         .unopened_output = {-1146, "orf merge data error is Visiting beyond boundaries"}},
        {.extension = "raf",
         .format = "raf",
         .temporary = "temp.raf",
         .photos = raf_photos,
         .input_missing = -1150,
         .copy_failed = {-1151, "orf file clone faild"}, // The words of another format.
         .empty_sample = {-1152, "sample file map error"},
         .empty_damaged = {-1152, "corrupted file map error"},
         .broken_sample = {-1154, "sample file catch NotFoundException, reason is Data can not found"},
         .cut_header = {-1154, "sample file catch NotFoundException, reason is Data can not found"},
         .header_cuts = kOneToSeven,
         .foreign_sample = {-1154, "sample file catch NotFoundException, reason is Data can not found"},
         .unopened_output = {-1155, "raf merge data error is Visiting beyond boundaries"}},
        {.extension = "dng",
         .format = "dng",
         .temporary = "temp.dng",
         .photos = dng_photos,
         .input_missing = -1021,
         .copy_failed = {-1022, "dng file clone faild"},
         .empty_sample = {-1023, kDngFailed + "Access out of range"},
         .empty_damaged = {-1026, kDngFailed + "Data is mismatching"},
         .broken_sample = {-1023, kDngFailed + "Data is illegal"},
         .cut_header = {-1023, kDngFailed + "Access out of range"},
         .header_cuts = {7},
         .foreign_sample = {-1023, kDngFailed + "Data is illegal"}},
        {.extension = "cr2",
         .format = "cr2",
         .temporary = "temp.cr2",
         .photos = cr2_photos,
         .input_missing = -1050,
         .copy_failed = {-1051, "cr2 file clone faild"},
         .empty_sample = {-1052, "Cr2 temp file can not open"},
         .empty_damaged = {-1053, "Cr2 corrupt file can not open"},
         .broken_sample = {-1052, "CR2 sample repaired failed, reason is Data is illegal"},
         .cut_header = {-1052, "CR2 sample repaired failed, reason is Access out of range"},
         .header_cuts = {15},
         .foreign_sample = {-1052, "CR2 sample repaired failed, reason is Data is illegal"}},
        {.extension = "nef",
         .format = "nef",
         .temporary = "temp.nef",
         .photos = nef_photos,
         .input_missing = -1060,
         .copy_failed = {-1061, "nef file clone faild"},
         .empty_sample = {-1062, "nef sample repaired failed"},
         .empty_damaged = {-1064, "nef damaged repaired failed"},
         .broken_sample = {-1062, "nef sample repaired failed, reason is Data is illegal"},
         .cut_header = {-1062, "nef sample repaired failed, reason is Access out of range"},
         .header_cuts = {7},
         .foreign_sample = {-1062, "nef sample repaired failed, reason is Data is illegal"}},
        {.extension = "cr3",
         .format = "cr3",
         .photos = cr3_photos,
         .input_missing = -1090,
         .empty_sample = {-1094, "search data error, reason is Access out of range"},
         .empty_damaged = {-1094, "search data error, reason is Access out of range"},
         .broken_sample = {-1095, "sample file data corrupted, reason is Data is illegal"},
         .cut_header = {-1094, "search data error, reason is Access out of range"},
         .header_cuts = kOneToSeven,
         .foreign_sample = {-1095, "sample file data corrupted, reason is Data is illegal"}},
    };
}

bool has_one_byte_order(const RepairCase& repair) {
    return repair.format == "raf" || repair.format == "cr3";
}

RepairCase in_order(RepairCase repair, ByteOrder order) {
    repair.order = order;
    repair.name = repair.extension + (order == ByteOrder::kBig ? "_MM" : "_II");
    return repair;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const RepairCase& repair) {
    return stream << repair.name;
}

std::vector<RepairCase> all_repairs() {
    std::vector<RepairCase> repairs;
    for (RepairCase& row : rows()) {
        if (has_one_byte_order(row)) {
            row.name = row.extension;
            repairs.push_back(std::move(row));
            continue;
        }
        repairs.push_back(in_order(row, ByteOrder::kLittle));
        repairs.push_back(in_order(row, ByteOrder::kBig));
    }
    // A file named .raw is read as an ARW.
    RepairCase raw = repairs.front();
    raw.name = "raw";
    raw.extension = "raw";
    repairs.push_back(std::move(raw));
    return repairs;
}

std::vector<RepairCase> repairs_with_working_copy() {
    std::vector<RepairCase> repairs = all_repairs();
    std::erase_if(repairs, [](const RepairCase& repair) { return repair.temporary.empty(); });
    return repairs;
}

} // namespace test
