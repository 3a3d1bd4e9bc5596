#include "ways/StreamRow.h"

#include "ways/Layouts.h"

#include <algorithm>

namespace raw_mend {

namespace {

/// The pieces of a sample, by their offsets in it.
std::vector<std::size_t> order_of(std::span<const WholeStream> pieces) {
    std::vector<std::size_t> order(pieces.size());
    for (std::size_t piece = 0; piece < order.size(); ++piece) {
        order[piece] = piece;
    }
    std::ranges::sort(order, {}, [&](std::size_t piece) { return pieces[piece].data.offset; });
    return order;
}

/// How many of the streams, from the first on, follow each other as closely as a sample's pieces, and have
/// the kinds of its pieces in this order.
std::size_t count_alike(std::span<const WholeStream> streams, std::span<const WholeStream> of_sample,
                        const std::vector<std::size_t>& order) {
    constexpr std::uint64_t kMostBetweenStreams = 4096;
    for (std::size_t nth = 0; nth < order.size(); ++nth) {
        const bool is_close =
            nth == 0 || streams[nth].data.offset - streams[nth - 1].data.end() <= kMostBetweenStreams;
        if (!is_close || streams[nth].kind != of_sample[order[nth]].kind) {
            return nth;
        }
    }
    return order.size();
}

std::optional<FoundImage> place_in_a_row(std::span<const WholeStream> of_sample,
                                         std::span<const WholeStream> streams) {
    const std::vector<std::size_t> order = order_of(of_sample);
    std::vector<std::size_t> rows;
    for (std::size_t first = 0; first + order.size() <= streams.size(); ++first) {
        if (count_alike(streams.subspan(first), of_sample, order) == order.size()) {
            rows.push_back(first);
        }
    }
    if (rows.empty()) {
        return std::nullopt;
    }
    FoundImage image{Way::kCodedHeads, {}, 0, {}};
    image.pieces.resize(order.size());
    for (std::size_t nth = 0; nth < order.size(); ++nth) {
        image.pieces[order[nth]] = streams[rows.back() + nth].data;
    }
    image.proved = rows.size() == 1 ? order.size() : 0;
    if (rows.size() > 1) {
        image.doubts.emplace_back("The file has several images of this kind; the last is chosen.");
    }
    return image;
}

/// The pieces of the layout that agrees with the most streams, as far as they do.
std::optional<FoundImage> place_by_layouts(Bytes damaged, const Sample& sample,
                                           std::span<const WholeStream> of_sample,
                                           std::span<const WholeStream> streams) {
    std::optional<FoundImage> best;
    for (const Layout& layout : find_layouts(damaged, sample)) {
        FoundImage image{Way::kSamplePlaces, {}, 0, {}};
        for (std::size_t piece = 0; piece < layout.pieces.size(); ++piece) {
            const auto stream =
                std::ranges::lower_bound(streams, layout.pieces[piece].offset, {},
                                         [](const WholeStream& one) { return one.data.offset; });
            const bool is_there = stream != streams.end() &&
                                  stream->data.offset == layout.pieces[piece].offset &&
                                  stream->kind == of_sample[piece].kind;
            image.pieces.push_back(is_there ? std::optional(stream->data) : std::nullopt);
        }
        image.proved = image.count_found();
        if (image.proved > (best ? best->proved : 0)) {
            best = std::move(image);
        }
    }
    return best;
}

} // namespace

bool has_kind(std::span<const WholeStream> streams, std::uint64_t kind) {
    return std::ranges::find(streams, kind, &WholeStream::kind) != streams.end();
}

std::optional<FoundImage> place_streams(Bytes damaged, const Sample& sample,
                                        std::span<const WholeStream> of_sample,
                                        std::span<const WholeStream> streams) {
    auto image = place_in_a_row(of_sample, streams);
    return image ? std::move(image) : place_by_layouts(damaged, sample, of_sample, streams);
}

} // namespace raw_mend
