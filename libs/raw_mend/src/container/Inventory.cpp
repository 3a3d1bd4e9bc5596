#include "container/Inventory.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kMostSentences = 48;
constexpr std::uint64_t kMostNumbers = 1U << 17U; // Of two lists for 65,536 strips or tiles.
constexpr std::uint64_t kMostDirectoryBytes = 1U << 20U;
constexpr std::size_t kMostDirectories = 4096;
constexpr std::uint64_t kMostBoxes = 1U << 16U;
constexpr std::uint64_t kMostUnlisted = 1U << 16U;
constexpr std::uint64_t kBytesPerUnlisted = 16;

/// The same bytes, sorted and without overlaps or seams.
std::vector<Extent> merge(std::vector<Extent> extents) {
    std::ranges::sort(extents, {}, &Extent::offset);
    std::vector<Extent> merged;
    for (const Extent& extent : extents) {
        if (extent.length == 0) {
            continue;
        }
        if (!merged.empty() && extent.offset <= merged.back().end()) {
            merged.back().length = std::max(merged.back().end(), extent.end()) - merged.back().offset;
        } else {
            merged.push_back(extent);
        }
    }
    return merged;
}

/// The bytes of the first list that are not in the second. Both are merged.
std::vector<Extent> subtract(const std::vector<Extent>& from, const std::vector<Extent>& what) {
    std::vector<Extent> left;
    auto hole = what.begin();
    for (const Extent& extent : from) {
        std::uint64_t start = extent.offset;
        while (hole != what.end() && hole->end() <= start) {
            ++hole;
        }
        for (auto next = hole; next != what.end() && next->offset < extent.end(); ++next) {
            if (next->offset > start) {
                left.push_back({start, next->offset - start});
            }
            start = next->end();
            hole = next;
        }
        if (start < extent.end()) {
            left.push_back({start, extent.end() - start});
        }
    }
    return left;
}

std::uint64_t total(const std::vector<Extent>& extents) {
    std::uint64_t length = 0;
    for (const Extent& extent : extents) {
        length += extent.length;
    }
    return length;
}

void add_data(std::vector<Extent>& all, const Image& image) {
    std::ranges::transform(image.pieces, std::back_inserter(all), &Piece::data);
}

} // namespace

std::uint64_t data_length(const Image& image) {
    std::uint64_t length = 0;
    for (const Piece& piece : image.pieces) {
        length += piece.data.length;
    }
    return length;
}

Inventory::Inventory(Bytes bytes)
    : bytes_(bytes), numbers_left_(std::min<std::uint64_t>(bytes.size() / 2, kMostNumbers)),
      unlisted_left_(std::min<std::uint64_t>(bytes.size() / kBytesPerUnlisted, kMostUnlisted)),
      directory_bytes_left_(kMostDirectoryBytes), boxes_left_(kMostBoxes) {}

Inventory::Claim Inventory::claim(const Extent& extent) {
    const auto after = claims_.lower_bound(extent.offset);
    if (after != claims_.end() && after->first == extent.offset) {
        return Claim::kSame;
    }
    const bool overlaps_next = after != claims_.end() && after->first < extent.end();
    const bool overlaps_last = after != claims_.begin() && std::prev(after)->second > extent.offset;
    if (overlaps_next || overlaps_last) {
        return Claim::kOverlap;
    }
    if (claims_.size() == kMostDirectories || extent.length > directory_bytes_left_) {
        return Claim::kTooMany;
    }
    directory_bytes_left_ -= extent.length;
    claims_.emplace_hint(after, extent.offset, extent.end());
    return Claim::kNew;
}

bool Inventory::spend_numbers(std::uint64_t count) {
    if (count > numbers_left_) {
        add_sentence(
            "The tables state more numbers than the file has room for, or any photograph has; some were "
            "not read.");
        return false;
    }
    numbers_left_ -= count;
    return true;
}

bool Inventory::spend_unlisted(std::uint64_t count) {
    if (count > unlisted_left_) {
        add_sentence("The tables state more samples than the file has room for, or any photograph has; "
                     "some were not read.");
        return false;
    }
    unlisted_left_ -= count;
    return true;
}

bool Inventory::spend_box() {
    if (boxes_left_ == 0) {
        add_sentence("There are more boxes than any photograph has; some were not read.");
        return false;
    }
    --boxes_left_;
    return true;
}

void Inventory::add_table(const Extent& extent) {
    if (extent.offset < size()) {
        tables_.push_back({extent.offset, std::min(extent.length, size() - extent.offset)});
    }
}

void Inventory::add_reference(const Extent& extent, const NumberField& field) {
    add_table(extent);
    references_.push_back({.data = extent, .offset_field = field, .length_field = {}});
}

void Inventory::add_sentence(const std::string& sentence) {
    if (sentences_.size() < kMostSentences && std::ranges::find(sentences_, sentence) == sentences_.end()) {
        sentences_.push_back(sentence);
    }
}

void Inventory::finish(Description& description) {
    if (outside_ > 0) {
        add_sentence("Values of directory entries that are outside the file: " + std::to_string(outside_) +
                     ".");
    }
    std::vector<Extent> raw;
    add_data(raw, description.raw);
    raw = merge(std::move(raw));
    if (total(raw) < data_length(description.raw)) {
        add_sentence("Strips or tiles of the raw image overlap.");
    }
    if (!raw.empty() && raw.back().end() > size()) {
        add_sentence("The raw image ends at offset " + std::to_string(raw.back().end()) +
                     ", after the end of the file.");
    }
    const auto tables = merge(std::move(tables_));
    const auto apart = subtract(tables, raw);
    if (total(apart) < total(tables)) {
        add_sentence("The raw image overlaps tables of the file.");
    }
    std::vector<Extent> data;
    for (const Image& picture : description.pictures) {
        add_data(data, picture);
    }
    description.tables = subtract(apart, merge(std::move(data)));
    description.references = std::move(references_);
    description.not_understood = std::move(sentences_);
}

} // namespace raw_mend
