#include "container/Bmff.h"

#include "container/Boxes.h"
#include "container/SampleTables.h"
#include "container/Tiff.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <utility>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

constexpr std::array<unsigned char, 16> kCanonUuid{0x85, 0xC0, 0xB6, 0x87, 0x82, 0x0F, 0x11, 0xE0,
                                                   0x81, 0x11, 0xF4, 0xCE, 0x46, 0x2B, 0x6A, 0x48};
constexpr std::array<unsigned char, 16> kPreviewUuid{0xEA, 0xF4, 0x2B, 0x5E, 0x1C, 0x98, 0x4B, 0x88,
                                                     0xB9, 0xFB, 0xB7, 0xDC, 0x40, 0x6E, 0x4D, 0x16};

/// Reads the boxes of one file.
class BmffReader {
  public:
    explicit BmffReader(Bytes bytes) : bytes_(bytes), reader_(bytes, std::endian::big), inventory_(bytes) {
        description_.container = Description::Container::kBmff;
        description_.order = ByteOrder::kBig;
    }

    Description read(const std::vector<Box>& boxes);
    [[nodiscard]] std::vector<Box> top_boxes() { return read_boxes(inventory_, 0, bytes_.size()); }

  private:
    [[nodiscard]] std::vector<Box> children(const Box& box, std::uint64_t skipped = 0) {
        return read_boxes(inventory_, std::min(box.payload + skipped, box.end), box.end);
    }
    [[nodiscard]] std::vector<Box> child_of(const std::vector<Box>& boxes, std::uint32_t type);
    [[nodiscard]] bool has_uuid(const Box& box, const std::array<unsigned char, 16>& uuid) const;
    void read_moov(const Box& moov);
    void read_uuid(const Box& uuid);
    void read_ctbo(const Box& ctbo);
    void read_thumbnail(const Box& thmb);
    void read_preview(const Box& prvw);
    void add_jpeg(const Box& box, std::uint64_t size_at, std::uint64_t data, Frame frame);
    void read_track(const Box& trak);
    void add_track(const Box& entry, std::vector<Piece> samples);
    [[nodiscard]] Frame read_cmp1(const Box& cmp1) const;
    void read_mdat(const Box& mdat);
    void enclose(const Box& box);
    void choose_raw();

    Bytes bytes_;
    ByteReader reader_;
    Inventory inventory_;
    Description description_;
    std::vector<Image> raw_images_;
};

std::vector<Box> BmffReader::child_of(const std::vector<Box>& boxes, std::uint32_t type) {
    const Box* const box = find_box(boxes, type);
    return box == nullptr ? std::vector<Box>{} : children(*box);
}

bool BmffReader::has_uuid(const Box& box, const std::array<unsigned char, 16>& uuid) const {
    return box.end - box.payload >= uuid.size() &&
           std::ranges::equal(uuid, bytes_.subspan(static_cast<std::size_t>(box.payload), uuid.size()));
}

Description BmffReader::read(const std::vector<Box>& boxes) {
    for (const Box& box : boxes) {
        if (box.type == four_cc("mdat")) {
            read_mdat(box);
            continue;
        }
        inventory_.add_table({box.at, box.end - box.at});
        if (box.type == four_cc("moov")) {
            read_moov(box);
        } else if (box.type == four_cc("uuid")) {
            read_uuid(box);
        }
    }
    choose_raw();
    sort_pictures(description_.pictures);
    inventory_.finish(description_);
    return std::move(description_);
}

void BmffReader::read_mdat(const Box& mdat) {
    inventory_.add_table({mdat.at, mdat.payload - mdat.at});
    description_.enclosing.push_back(
        {.data = {mdat.at, mdat.stated_end - mdat.at}, .offset_field = {}, .length_field = mdat.size_field});
}

/// Notes that the box has pictures in it, with which it grows.
void BmffReader::enclose(const Box& box) {
    if (box.end == box.stated_end) {
        description_.enclosing.push_back(
            {.data = {box.at, box.end - box.at}, .offset_field = {}, .length_field = box.size_field});
    }
}

void BmffReader::read_moov(const Box& moov) {
    enclose(moov);
    for (const Box& box : children(moov)) {
        if (box.type == four_cc("trak")) {
            read_track(box);
        } else if (box.type == four_cc("uuid")) {
            read_uuid(box);
        }
    }
}

void BmffReader::read_uuid(const Box& uuid) {
    constexpr std::uint64_t kUuidSize = 16;
    constexpr std::uint64_t kBeforePreview = 8; // Of the preview's.
    if (has_uuid(uuid, kPreviewUuid)) {
        enclose(uuid);
        for (const Box& box : children(uuid, kUuidSize + kBeforePreview)) {
            if (box.type == four_cc("PRVW")) {
                read_preview(box);
            }
        }
    }
    if (!has_uuid(uuid, kCanonUuid)) {
        return;
    }
    enclose(uuid);
    for (const Box& box : children(uuid, kUuidSize)) {
        if (box.type == four_cc("CTBO")) {
            read_ctbo(box);
        } else if (box.type == four_cc("THMB")) {
            read_thumbnail(box);
        } else if (box.type == four_cc("CMT1")) {
            if (auto contents = read_tiff(inventory_, box.payload)) {
                description_.make = std::move(contents->make);
                description_.model = std::move(contents->model);
            }
        }
    }
}

/// | count (4) | then of each box: number (4) | offset (8) | length (8) |
void BmffReader::read_ctbo(const Box& ctbo) {
    constexpr std::uint64_t kEntrySize = 20;
    constexpr std::uint64_t kFarthest = std::uint64_t{1} << 62U;
    const std::uint32_t count = reader_.u32(ctbo.payload).value_or(0);
    std::uint64_t at = ctbo.payload + 4;
    for (std::uint32_t index = 0; index < count && at + kEntrySize <= ctbo.end; ++index, at += kEntrySize) {
        const std::uint64_t offset = reader_.u64(at + 4).value_or(0);
        const std::uint64_t length = reader_.u64(at + 12).value_or(0);
        if (length == 0 || offset > kFarthest || length > kFarthest) {
            continue;
        }
        description_.enclosing.push_back(
            {.data = {offset, length},
             .offset_field = NumberField{.at = at + 4, .size = 8, .order = ByteOrder::kBig, .base = 0},
             .length_field = NumberField{.at = at + 12, .size = 8, .order = ByteOrder::kBig, .base = 0}});
    }
}

/// | version and flags (4) | width (2) | height (2) | length (4) | (4) | JPEG |
void BmffReader::read_thumbnail(const Box& thmb) {
    Frame frame;
    frame.width = reader_.u16(thmb.payload + 4).value_or(0);
    frame.height = reader_.u16(thmb.payload + 6).value_or(0);
    add_jpeg(thmb, thmb.payload + 8, thmb.payload + 16, frame);
}

/// | version and flags (4) | (2) | width (2) | height (2) | (2) | length (4) | JPEG |
void BmffReader::read_preview(const Box& prvw) {
    Frame frame;
    frame.width = reader_.u16(prvw.payload + 6).value_or(0);
    frame.height = reader_.u16(prvw.payload + 8).value_or(0);
    add_jpeg(prvw, prvw.payload + 12, prvw.payload + 16, frame);
}

void BmffReader::add_jpeg(const Box& box, std::uint64_t size_at, std::uint64_t data, Frame frame) {
    const std::uint32_t length = data <= box.end ? reader_.u32(size_at).value_or(0) : 0;
    if (length == 0 || length > box.stated_end - data) {
        inventory_.add_sentence("The box at offset " + std::to_string(box.at) +
                                " states a picture that is not in it.");
        return;
    }
    enclose(box);
    frame.bits = 8;
    frame.samples = 3;
    frame.coding = Coding::kLossyJpeg;
    frame.piece_width = frame.width;
    frame.piece_height = frame.height;
    frame.order = ByteOrder::kBig;
    Image image{.frame = frame, .pieces = {}, .parameters = {}, .slices = {}};
    image.pieces.push_back(
        {.data = {data, length},
         .offset_field = {},
         .length_field = NumberField{.at = size_at, .size = 4, .order = ByteOrder::kBig, .base = 0}});
    description_.pictures.push_back(std::move(image));
}

void BmffReader::read_track(const Box& trak) {
    constexpr std::uint64_t kBeforeEntries = 8; // Version and flags, count.
    const auto stbl =
        child_of(child_of(child_of(children(trak), four_cc("mdia")), four_cc("minf")), four_cc("stbl"));
    const Box* const stsd = find_box(stbl, four_cc("stsd"));
    const auto entries = stsd == nullptr ? std::vector<Box>{} : children(*stsd, kBeforeEntries);
    if (entries.empty()) {
        inventory_.add_sentence("The track at offset " + std::to_string(trak.at) + " has no sample entry.");
        return;
    }
    auto samples = read_samples(inventory_, stbl);
    if (!samples.empty()) {
        add_track(entries.front(), std::move(samples));
    }
}

/// A sample entry of a picture. CRAW holds CMP1 where the picture is raw, and JPEG where it is that.
///
///   | (24) | width (2) | height (2) | (54) | boxes |
void BmffReader::add_track(const Box& entry, std::vector<Piece> samples) {
    constexpr std::uint64_t kBeforeBoxes = 82;
    if (entry.type != four_cc("CRAW")) {
        std::ranges::move(samples, std::back_inserter(description_.metadata));
        return;
    }
    const auto boxes = children(entry, kBeforeBoxes);
    Image image{.frame = {}, .pieces = std::move(samples), .parameters = {}, .slices = {}};
    Frame& frame = image.frame;
    frame.order = ByteOrder::kBig;
    frame.width = frame.piece_width = reader_.u16(entry.payload + 24).value_or(0);
    frame.height = frame.piece_height = reader_.u16(entry.payload + 26).value_or(0);
    if (const Box* const cmp1 = find_box(boxes, four_cc("CMP1"))) {
        image.frame = read_cmp1(*cmp1);
        image.parameters = Extent{cmp1->at, cmp1->end - cmp1->at};
        raw_images_.push_back(std::move(image));
        return;
    }
    if (find_box(boxes, four_cc("JPEG")) != nullptr) {
        frame.coding = Coding::kLossyJpeg;
        frame.bits = 8;
        frame.samples = 3;
    } else {
        inventory_.add_sentence("The sample entry at offset " + std::to_string(entry.at) +
                                " states a coding that is not known.");
    }
    description_.pictures.push_back(std::move(image));
}

/// | (8) | width (4) | height (4) | of a tile: width (4) | height (4) | bits per sample (1) |
Frame BmffReader::read_cmp1(const Box& cmp1) const {
    Frame frame;
    frame.width = frame.piece_width = reader_.u32(cmp1.payload + 8).value_or(0);
    frame.height = frame.piece_height = reader_.u32(cmp1.payload + 12).value_or(0);
    frame.bits = reader_.u8(cmp1.payload + 24).value_or(0);
    frame.coding = Coding::kCrx;
    frame.order = ByteOrder::kBig;
    return frame;
}

void BmffReader::choose_raw() {
    const auto most = std::ranges::max_element(raw_images_, {}, pixels_of);
    if (most == raw_images_.end()) {
        inventory_.add_sentence("No track holds a raw image.");
        return;
    }
    description_.raw = std::move(*most);
    raw_images_.erase(most);
    std::ranges::move(raw_images_, std::back_inserter(description_.pictures));
}

/// Whether the first box has a type that files begin with.
bool begins_with_box(Bytes bytes) {
    constexpr std::array kFirst{four_cc("ftyp"), four_cc("moov"), four_cc("free"), four_cc("skip"),
                                four_cc("mdat")};
    const auto type = ByteReader(bytes, std::endian::big).u32(4);
    return type && std::ranges::find(kFirst, *type) != kFirst.end();
}

} // namespace

std::optional<Description> describe_bmff(Bytes bytes) {
    if (!begins_with_box(bytes)) {
        return std::nullopt;
    }
    BmffReader reader(bytes);
    const auto boxes = reader.top_boxes();
    if (find_box(boxes, four_cc("ftyp")) == nullptr && find_box(boxes, four_cc("moov")) == nullptr) {
        return std::nullopt;
    }
    return reader.read(boxes);
}

} // namespace raw_mend
