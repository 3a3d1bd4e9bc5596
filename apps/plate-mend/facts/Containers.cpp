#include "facts/Containers.h"

#include "facts/StructureReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <string>
#include <string_view>

namespace plate_mend::host {

namespace {

constexpr std::string_view kRafHeader = "FUJIFILMCCD-RAW ";

/// The boxes of a CR3, as far as they say something.
class BoxReader {
  public:
    BoxReader(FilePages& file, PhotographFacts& facts)
        : file_(file), facts_(facts), structures_(file, facts) {}

    /// Reads boxes from an offset to another one. Returns whether there is a "moov".
    bool read(std::uint64_t at, std::uint64_t end, unsigned depth = 0) {
        bool has_moov = false;
        while (at + kHeader <= end && boxes_left_ != 0) {
            --boxes_left_;
            const std::optional<Box> box = box_at(at, end);
            if (!box) {
                break;
            }
            read_box(*box, depth);
            has_moov = has_moov || box->type == "moov";
            at = box->end;
        }
        return has_moov;
    }

  private:
    struct Box {
        std::string type;
        std::uint64_t payload = 0;
        std::uint64_t end = 0;
    };
    static constexpr std::uint64_t kHeader = 8;

    /// | size (4) | type (4) |, and with a size of 1 | size (8) |; with 0 it goes on to the end.
    std::optional<Box> box_at(std::uint64_t at, std::uint64_t end) {
        std::uint64_t size = file_.u32(at, std::endian::big).value_or(2);
        std::uint64_t header = kHeader;
        if (size == 1) {
            header = 2 * kHeader;
            size = std::uint64_t{file_.u32(at + 8, std::endian::big).value_or(0)} << 32U |
                   file_.u32(at + 12, std::endian::big).value_or(0);
        }
        size = size == 0 ? end - at : size;
        if (size < header) {
            return std::nullopt;
        }
        return Box{file_.text(at + 4, 4), at + header, at + std::min(size, end - at)};
    }

    void read_box(const Box& box, unsigned depth) {
        constexpr std::array<std::string_view, 5> kParents = {"moov", "trak", "mdia", "minf", "stbl"};
        constexpr unsigned kDeepest = 8;
        if (depth == kDeepest) {
            return;
        }
        if (std::find(kParents.begin(), kParents.end(), box.type) != kParents.end()) {
            read(box.payload, box.end, depth + 1);
        } else if (box.type == "stsd") { // | version and flags (4) | count (4) |
            read(box.payload + 8, box.end, depth + 1);
        } else if (box.type == "uuid") { // Canon's: boxes, or those after two numbers.
            const std::uint64_t first = box.payload + 16;
            read(file_.has(first + 12, "PRVW") ? first + 8 : first, box.end, depth + 1);
        } else if (box.type == "CRAW") { // | 24 bytes | width (2) | height (2) |
            const std::uint32_t width = file_.u16(box.payload + 24, std::endian::big).value_or(0);
            const std::uint32_t height = file_.u16(box.payload + 26, std::endian::big).value_or(0);
            if (is_likely_size(width, height)) {
                add_fact(facts_.sizes, {width, height});
            }
        } else if (box.type == "CMT1" || box.type == "CMT2") {
            structures_.add_tiff(box.payload);
        } else if (box.type == "CMT3") {
            structures_.add_canon_notes(box.payload);
        } else if (box.type == "THMB" || box.type == "PRVW") { // Sizes and lengths, then a JPEG.
            structures_.add_jpeg(box.payload + 16);
        }
    }

    FilePages& file_;
    PhotographFacts& facts_;
    StructureReader structures_;
    unsigned boxes_left_ = 256; ///< More than any CR3 has outside its data.
};

} // namespace

void add_raf(FilePages& file, std::uint64_t header, PhotographFacts& facts) {
    constexpr std::uint64_t kModel = 28;
    constexpr std::size_t kModelSize = 32;
    constexpr std::uint64_t kJpeg = 84;
    add_fact(facts.makes, std::string("FUJIFILM"));
    if (const std::string model = trimmed_text(file.text(header + kModel, kModelSize)); !model.empty()) {
        add_fact(facts.models, model);
    }
    if (const auto jpeg = file.u32(header + kJpeg, std::endian::big)) {
        StructureReader(file, facts).add_jpeg(header + *jpeg);
    }
}

bool add_photograph(FilePages& file, PhotographFacts& facts) {
    if (file.has(0, kRafHeader)) {
        add_raf(file, 0, facts);
        return true;
    }
    if (file.has(4, "ftyp")) {
        return BoxReader(file, facts).read(0, file.size());
    }
    return StructureReader(file, facts).add_tiff(0);
}

} // namespace plate_mend::host
