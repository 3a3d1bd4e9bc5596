#include "assemble/OwnPictures.h"

#include "coding/BaselineJpeg.h"
#include "container/JpegHead.h"

#include <algorithm>
#include <array>

namespace raw_mend {

namespace {

constexpr std::size_t kMostJpegStarts = 256; // Thumbnails inside previews included.
constexpr std::size_t kMostTries = 4;        // Of JPEGs that are decoded for one picture.

struct JpegStart {
    std::uint64_t offset = 0;
    std::uint64_t end = 0; ///< Of the range that it is in.
    JpegHead head;
};

void find_starts(Bytes damaged, const Extent& range, std::vector<JpegStart>& starts) {
    constexpr std::array<unsigned char, 3> kSoi{0xFF, 0xD8, 0xFF};
    const Bytes bytes = range.of(damaged);
    auto from = bytes.begin();
    while (starts.size() < kMostJpegStarts) {
        from = std::search(from, bytes.end(), kSoi.begin(), kSoi.end());
        if (from == bytes.end()) {
            return;
        }
        const std::uint64_t offset = range.offset + static_cast<std::uint64_t>(from - bytes.begin());
        if (const auto head = read_jpeg_head(damaged, {offset, range.end() - offset})) {
            starts.push_back({offset, range.end(), *head});
        }
        ++from;
    }
}

class PictureSearch {
  public:
    PictureSearch(Bytes damaged, const Description& description, const Extent& image)
        : damaged_(damaged), description_(description), image_(image) {
        find_starts(damaged, {0, image.offset}, starts_);
        find_starts(damaged, {image.end(), damaged.size() - image.end()}, starts_);
    }

    OwnPictures run() const {
        OwnPictures result{{}, true};
        for (const Image& picture : description_.pictures) {
            const Extent& old = picture.pieces.front().data;
            if (is_nested(old)) {
                continue;
            }
            const auto own = find(picture);
            if (own && picture.pieces.size() == 1 && old.length != 0) {
                result.pictures.push_back({old, *own});
            } else {
                result.is_complete = false;
            }
        }
        return result;
    }

  private:
    /// Whether it is inside another picture, as a preview's thumbnail.
    [[nodiscard]] bool is_nested(const Extent& inner) const {
        return std::ranges::any_of(description_.pictures, [&](const Image& picture) {
            const Extent& outer = picture.pieces.front().data;
            return outer != inner && outer.offset <= inner.offset && inner.end() <= outer.end();
        });
    }

    [[nodiscard]] std::optional<Bytes> find(const Image& picture) const {
        if (picture.frame.coding != Coding::kLossyJpeg || picture.frame.width == 0) {
            return std::nullopt;
        }
        // From the image, counted modulo 2^64.
        const std::uint64_t distance =
            description_.raw.pieces.front().data.offset - picture.pieces.front().data.offset;
        std::vector<const JpegStart*> alike;
        for (const JpegStart& start : starts_) {
            if (start.head.width == picture.frame.width && start.head.height == picture.frame.height) {
                alike.push_back(&start);
            }
        }
        std::ranges::stable_sort(alike, {}, [&](const JpegStart* start) {
            const std::uint64_t own = image_.offset - start->offset;
            return std::min(own - distance, distance - own);
        });
        for (std::size_t nth = 0; nth < std::min(alike.size(), kMostTries); ++nth) {
            const Bytes bytes = Extent{alike[nth]->offset, alike[nth]->end - alike[nth]->offset}.of(damaged_);
            if (const auto jpeg = check_baseline_jpeg(bytes, 0).jpeg) {
                return jpeg->data.of(bytes);
            }
        }
        return std::nullopt;
    }

    Bytes damaged_;
    const Description& description_;
    Extent image_;
    std::vector<JpegStart> starts_;
};

} // namespace

OwnPictures find_own_pictures(Bytes damaged, const Description& description, const Extent& image) {
    return PictureSearch(damaged, description, image).run();
}

} // namespace raw_mend
