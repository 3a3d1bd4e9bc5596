#include "locate/MediaRow.h"

#include "coding/JpegEnd.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostTrackAlignment = 65536;
constexpr std::size_t kMostItems = 512; // A photograph has four or five, a burst as many per shot.

std::uint64_t padded(std::uint64_t length, std::uint64_t alignment) {
    return (length + alignment - 1) / alignment * alignment;
}

MediaItem item_of(Bytes file, const Image& image, const Piece& piece) {
    MediaItem item{.piece = piece.data, .data = piece.data};
    if (image.frame.coding == Coding::kCrx && image.parameters) {
        if (auto layout = read_crx_layout(file, piece.data, *image.parameters)) {
            item.kind = MediaItem::Kind::kCrx;
            item.layout = std::move(*layout);
            item.data.length = item.layout.length(item.layout.heads);
        }
    } else if ((item.jpeg = read_jpeg_head(file, piece.data))) {
        item.kind = MediaItem::Kind::kJpeg;
        const auto end =
            find_jpeg_end(file.first(static_cast<std::size_t>(piece.data.end())), piece.data.offset);
        item.data.length = end ? *end - piece.data.offset : piece.data.length;
    }
    return item;
}

/// The samples of tracks that are not the raw image. Pictures in boxes have no offsets.
std::vector<MediaItem> other_items(Bytes file, const Description& description) {
    std::vector<MediaItem> items;
    for (const Image& picture : description.pictures) {
        for (const Piece& piece : picture.pieces) {
            if (piece.offset_field && piece.data.is_within(file) && piece.data.length != 0) {
                items.push_back(item_of(file, picture, piece));
            }
        }
    }
    for (const Piece& piece : description.metadata) {
        if (piece.data.is_within(file) && piece.data.length != 0) {
            MediaItem item{.piece = piece.data, .data = piece.data};
            if (auto records = read_metadata_records(file, piece.data)) {
                item.kind = MediaItem::Kind::kRecords;
                item.records = std::move(*records);
            }
            items.push_back(std::move(item));
        }
    }
    return items;
}

bool overlap(const std::vector<MediaItem>& items) {
    const auto meet = [](const MediaItem& one, const MediaItem& next) {
        return one.data.end() > next.data.offset;
    };
    return std::ranges::adjacent_find(items, meet) != items.end();
}

void sort(std::vector<MediaItem>& items) {
    std::ranges::stable_sort(items, {}, [](const MediaItem& item) { return item.data.offset; });
}

/// Bytes from an offset to the end of the mdat that it is in; 0 if there is none.
std::uint64_t bytes_to_end_of_mdat(const Description& description, std::uint64_t offset) {
    for (const Piece& box : description.enclosing) {
        if (!box.offset_field && box.data.offset < offset && offset <= box.data.end()) {
            return box.data.end() - offset;
        }
    }
    return 0;
}

} // namespace

std::optional<MediaRow> MediaRow::read(Bytes file, const Description& description) {
    if (description.raw.frame.coding != Coding::kCrx) {
        return std::nullopt;
    }
    MediaRow row;
    for (std::size_t nth = 0; nth < description.raw.pieces.size(); ++nth) {
        const Piece& piece = description.raw.pieces[nth];
        if (!piece.data.is_within(file)) {
            return std::nullopt;
        }
        row.items_.push_back(item_of(file, description.raw, piece));
        row.items_.back().raw_piece = nth;
        if (row.items_.back().kind != MediaItem::Kind::kCrx) {
            return std::nullopt;
        }
    }
    const std::vector<MediaItem> raw = row.items_;
    std::ranges::move(other_items(file, description), std::back_inserter(row.items_));
    sort(row.items_);
    if (overlap(row.items_)) {
        row.items_ = raw;
        sort(row.items_);
    }
    if (row.items_.empty() || row.items_.size() > kMostItems || overlap(row.items_)) {
        return std::nullopt;
    }
    row.after_in_file_ = file.size() - row.items_.back().data.end();
    row.after_in_mdat_ = bytes_to_end_of_mdat(description, row.items_.back().data.end());
    row.read_spacing();
    return row;
}

void MediaRow::read_spacing() {
    const auto is_next = [](const MediaItem& one, const MediaItem& next) {
        return one.data.end() == next.data.offset;
    };
    const auto are_all = [&](const auto& rule) {
        return std::ranges::adjacent_find(items_, [&](const auto& one, const auto& next) {
                   return !rule(one, next);
               }) == items_.end();
    };
    if (are_all(is_next)) {
        return;
    }
    for (std::uint64_t alignment = 2; alignment <= kMostTrackAlignment; alignment *= 2) {
        if (are_all([&](const MediaItem& one, const MediaItem& next) {
                return one.data.offset + padded(one.data.length, alignment) == next.data.offset;
            })) {
            alignments_.push_back(alignment);
        }
    }
}

std::vector<std::uint64_t> MediaRow::next_begins(std::size_t nth, const Extent& item) const {
    if (nth + 1 >= items_.size()) {
        return {};
    }
    if (alignments_.empty()) {
        return {item.end() + (items_[nth + 1].data.offset - items_[nth].data.end())};
    }
    std::vector<std::uint64_t> begins;
    for (const std::uint64_t alignment : alignments_) {
        begins.push_back(item.offset + padded(item.length, alignment));
    }
    begins.erase(std::unique(begins.begin(), begins.end()), begins.end());
    return begins;
}

bool MediaRow::are_next(std::size_t nth, const Extent& item, std::uint64_t next) const {
    const auto begins = next_begins(nth, item);
    return std::ranges::find(begins, next) != begins.end();
}

} // namespace raw_mend
