#include "ways/TornStreams.h"

#include "mend/StreamAreas.h"
#include "mend/StreamRepair.h"

#include <lossless_jpeg/Markers.h>
#include <lossless_jpeg/Stream.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::array<std::uint64_t, 1> kOrigins{0};

/// Pieces of an image in which exchanged clusters are looked for although they are complete: where they are
/// many, two clusters are hardly ever of the same piece.
constexpr std::size_t kMostExchanged = 8;

/// In a single stream of fewer rows, damage is noticed up to a seventh of the picture too late, so that
/// nothing can be promised of it: it is left as it is found.
constexpr unsigned kFewStreamRows = 1000;

class TornStreams {
  public:
    TornStreams(Bytes damaged, const Sample& sample, Filling filling, FoundImage& image)
        : damaged_(damaged), sample_(sample), raw_(sample.description.raw), filling_(filling), image_(image) {
    }

    void mend() {
        for (std::size_t piece = 0; piece < image_.pieces.size(); ++piece) {
            const auto sample = head_in(sample_.file, raw_.pieces[piece].data);
            if (!sample) {
                continue;
            }
            const auto head = image_.pieces[piece] ? head_in(damaged_, *image_.pieces[piece]) : std::nullopt;
            if (!head) {
                fill(piece, *sample);
            } else if (!is_whole(*image_.pieces[piece], *head)) {
                if (!complete_eoi(piece)) {
                    repair(piece, *head, *sample);
                }
            } else if (image_.pieces.size() <= kMostExchanged) {
                check(piece, *head, *sample);
            }
        }
    }

  private:
    static std::optional<lossless_jpeg::Head> head_in(Bytes file, const Extent& extent) {
        auto head = lossless_jpeg::read_head(file, extent.offset);
        return head && can_repair(*head) ? std::move(head) : std::nullopt;
    }

    [[nodiscard]] bool is_whole(const Extent& extent, const lossless_jpeg::Head& head) const {
        const Bytes bytes =
            damaged_.first(static_cast<std::size_t>(std::min<std::uint64_t>(extent.end(), damaged_.size())));
        return lossless_jpeg::check(bytes, head).is_complete();
    }

    /// Completes a stream that lacks only bytes of EOI, because the file ends there. Returns whether it does.
    bool complete_eoi(std::size_t piece) {
        const Extent& extent = *image_.pieces[piece];
        if (extent.end() < damaged_.size()) {
            return false;
        }
        const Bytes rest = damaged_.subspan(static_cast<std::size_t>(extent.offset));
        std::vector<unsigned char> stream(rest.begin(), rest.end());
        if (stream.back() == 0xFF) {
            stream.pop_back();
        }
        stream.insert(stream.end(), {0xFF, lossless_jpeg::kEoi});
        const auto head = lossless_jpeg::read_head(stream, 0);
        if (!head || !lossless_jpeg::check(stream, *head).is_complete()) {
            return false;
        }
        image_.mended.push_back({piece, std::move(stream)});
        ++image_.proved;
        (void)forget_doubt(piece);
        return true;
    }

    void fill(std::size_t piece, const lossless_jpeg::Head& sample) {
        image_.mended.push_back({piece, make_grey_stream(sample_.file, sample)});
        add(area_of_piece(raw_, piece), image_.lost);
    }

    void check(std::size_t piece, const lossless_jpeg::Head& head, const lossless_jpeg::Head& sample) {
        CheckedStream checked =
            check_values(damaged_, head, image_.pieces[piece]->end(), sample_.file, sample, kOrigins);
        if (checked.reordered) {
            image_.mended.push_back({piece, std::move(checked.reordered->bytes)});
        } else if (!checked.is_possible) {
            image_.proved -= std::min<std::size_t>(image_.proved, 1);
            repair(piece, head, sample);
        }
    }

    void repair(std::size_t piece, const lossless_jpeg::Head& head, const lossless_jpeg::Head& sample) {
        const StreamTraits traits = measure_stream(sample_.file, sample, raw_.slices, raw_.frame.height);
        RepairedStream stream =
            repair_stream(damaged_, head, image_.pieces[piece]->end(), traits, kOrigins, filling_);
        image_.mended.push_back({piece, std::move(stream.bytes)});
        if (stream.is_exact) {
            ++image_.proved;
        }
        const std::size_t count = StreamFrame(head).count();
        const bool is_late = !stream.is_exact && image_.pieces.size() == 1 && head.height < kFewStreamRows;
        if (forget_doubt(piece) || is_late) {
            stream.doubtful = outside(stream.lost, {0, count});
        }
        for (const ValueRun& run : stream.lost) {
            add(areas_of(raw_, piece, count, run), image_.lost);
        }
        for (const ValueRun& run : stream.doubtful) {
            add(areas_of(raw_, piece, count, run), image_.doubtful);
        }
    }

    /// Whether all of a piece was doubtful. Takes it out.
    bool forget_doubt(std::size_t piece) {
        const auto areas = area_of_piece(raw_, piece);
        return std::erase_if(image_.doubtful, [&](const Area& area) {
                   return std::ranges::find(areas, area) != areas.end();
               }) > 0;
    }

    static void add(const std::vector<Area>& more, std::vector<Area>& areas) {
        areas.insert(areas.end(), more.begin(), more.end());
    }

    Bytes damaged_;
    const Sample& sample_;
    const Image& raw_;
    Filling filling_;
    FoundImage& image_;
};

/// Pixels that are lost or doubtful.
std::uint64_t count_missing(const FoundImage& image) {
    std::uint64_t pixels = 0;
    for (const auto* areas : {&image.lost, &image.doubtful}) {
        for (const Area& area : *areas) {
            pixels += std::uint64_t{area.width} * area.height;
        }
    }
    return pixels;
}

/// Which stream is the photograph's is a guess unless one of them is proved.
void try_rivals(Bytes damaged, const Sample& sample, Filling filling, FoundImage& image) {
    for (const Extent& rival : std::vector(image.rivals)) {
        if (image.proved != 0) {
            return;
        }
        FoundImage other{Way::kCodedHeads, {rival}, 0, {}};
        TornStreams(damaged, sample, filling, other).mend();
        if (other.proved != 0 || count_missing(other) < count_missing(image)) {
            other.doubts = other.proved != 0 ? std::vector<std::string>() : image.doubts;
            image = std::move(other);
        }
    }
}

} // namespace

bool has_refuted_streams(Bytes damaged, const Sample& sample, const std::vector<Extent>& pieces) {
    const Image& raw = sample.description.raw;
    if (raw.frame.coding != Coding::kLosslessJpeg || pieces.size() > kMostExchanged) {
        return false;
    }
    for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
        const auto head = lossless_jpeg::read_head(damaged, pieces[piece].offset);
        const auto like = lossless_jpeg::read_head(sample.file, raw.pieces[piece].data.offset);
        if (head && like && can_repair(*head) && can_repair(*like)) {
            const CheckedStream checked =
                check_values(damaged, *head, pieces[piece].end(), sample.file, *like, kOrigins);
            if (checked.reordered || !checked.is_possible) {
                return true;
            }
        }
    }
    return false;
}

void mend_streams(Bytes damaged, const Sample& sample, Filling filling, FoundImage& image) {
    const bool is_whole = image.proved == image.pieces.size() && image.proved > kMostExchanged;
    if (!is_whole && sample.description.raw.frame.coding == Coding::kLosslessJpeg &&
        image.way == Way::kCodedHeads) {
        TornStreams(damaged, sample, filling, image).mend();
        try_rivals(damaged, sample, filling, image);
    }
}

} // namespace raw_mend
