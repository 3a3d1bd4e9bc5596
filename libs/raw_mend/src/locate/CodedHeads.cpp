#include "locate/CodedHeads.h"

#include <lossless_jpeg/Markers.h>
#include <lossless_jpeg/Stream.h>

#include <algorithm>
#include <cstring>

namespace raw_mend {

namespace {

/// The offset of the next FF with this byte after it, before the limit; the limit if there is none.
std::size_t find_marker(Bytes bytes, unsigned code, std::size_t from, std::size_t limit) {
    while (from + 2 <= limit) {
        const void* found = std::memchr(bytes.data() + from, 0xFF, limit - 1 - from);
        if (found == nullptr) {
            return limit;
        }
        const auto at = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - bytes.data());
        if (bytes[at + 1] == code) {
            return at;
        }
        from = at + 1;
    }
    return limit;
}

CodedPlace check_place(Bytes damaged, const lossless_jpeg::Head& head, std::size_t structure,
                       const CodedSample& sample) {
    const auto progress = lossless_jpeg::check(damaged, head);
    CodedPlace place;
    place.offset = head.begin;
    place.data = head.end;
    place.end = progress.end;
    place.proved = progress.is_complete();
    place.end_known = place.proved;
    place.structure = structure;
    place.samples = progress.samples;
    place.fault = progress.byte;
    place.exact_head = sample.has_exact_head(damaged.subspan(
        static_cast<std::size_t>(head.begin), static_cast<std::size_t>(head.end - head.begin)));
    return place;
}

/// Finds where a stream that is not complete ends. The limit is where the next one begins, or where the file
/// ends. If no EOI is at the place that the sample leaves for it, it is the first one after the fault; or the
/// last one in the file if the sample has one stream and little after it, since foreign bytes may hold
/// others.
void find_end(Bytes damaged, const CodedSample& sample, std::uint64_t limit, CodedPlace& place) {
    const bool last = limit == damaged.size();
    const bool takes_last = last && sample.count() == 1 && sample.after_last() < sample.shortest();
    const auto stop = static_cast<std::size_t>(limit);
    std::optional<std::uint64_t> likely_end;
    std::size_t at = find_marker(damaged, lossless_jpeg::kEoi, static_cast<std::size_t>(place.data), stop);
    for (; at < stop; at = find_marker(damaged, lossless_jpeg::kEoi, at + 2, stop)) {
        const std::uint64_t end = at + 2;
        const bool fits =
            last ? sample.ends_alike(limit - end) : sample.spacing().allows({place.offset, end}, limit);
        if (fits) {
            place.end = end;
            place.end_known = true;
            return;
        }
        if ((!likely_end || takes_last) && at >= place.fault) {
            likely_end = end;
        }
    }
    place.end = likely_end.value_or(limit);
}

} // namespace

std::vector<CodedPlace> find_coded_streams(Bytes damaged, const CodedSample& sample) {
    std::vector<CodedPlace> places;
    std::size_t at = find_marker(damaged, lossless_jpeg::kSoi, 0, damaged.size());
    while (at < damaged.size() && places.size() < kMostCodedPlaces) {
        const auto head = lossless_jpeg::read_head(damaged, at);
        const auto structure = head ? sample.find_structure(*head) : std::nullopt;
        std::size_t next = at + 2;
        if (structure) {
            places.push_back(check_place(damaged, *head, *structure, sample));
            next = static_cast<std::size_t>(std::max(places.back().data, places.back().fault));
        }
        at = find_marker(damaged, lossless_jpeg::kSoi, next, damaged.size());
    }
    for (std::size_t nth = 0; nth < places.size(); ++nth) {
        if (!places[nth].proved) {
            const std::uint64_t limit = nth + 1 < places.size() ? places[nth + 1].offset : damaged.size();
            find_end(damaged, sample, limit, places[nth]);
        }
    }
    return places;
}

} // namespace raw_mend
