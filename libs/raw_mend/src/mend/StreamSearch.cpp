#include "mend/StreamSearch.h"

#include "locate/Sectors.h"

#include <lossless_jpeg/Markers.h>

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kBack = 6;         // Boundaries that are tried.
constexpr std::size_t kFirstValues = 16; // Decoded to reject a place.
constexpr std::size_t kMoreValues = 64;
constexpr std::size_t kAllValues = 384;
constexpr double kMostFirst = 4.0; // Misfit that is not rejected.
constexpr double kMostMore = 3.0;
constexpr double kMostAll = 1.8;
constexpr double kWorse = 1.3;       // So much better than as it is.
constexpr std::size_t kContext = 32; // Bytes of a stream before a boundary, at most.
constexpr double kMuch = 100;
constexpr std::uint64_t kMostValueBytes = 8; // Of a code and its bits, with stuffing.

/// Where the bytes end that have the same value as the one at an offset and follow it.
std::uint64_t end_of_value(Bytes file, std::uint64_t offset) {
    const auto rest = file.subspan(static_cast<std::size_t>(offset));
    const auto other = std::ranges::find_if(rest, [&](unsigned char byte) { return byte != rest.front(); });
    return offset + static_cast<std::uint64_t>(other - rest.begin());
}

/// Whether there is a marker before any EOI. Streams without restart intervals have none in their data.
bool has_foreign_marker(Bytes sector) {
    auto at = sector.begin();
    while (true) {
        at = std::find(at, sector.end(), 0xFF);
        if (sector.end() - at < 2 || *(at + 1) == lossless_jpeg::kEoi) {
            return false;
        }
        ++at;
        if (*at != 0 && *at != 0xFF) {
            return true;
        }
    }
}

} // namespace

std::vector<std::uint64_t> find_sectors(Bytes file, std::span<const std::uint64_t> origins) {
    std::vector<std::uint64_t> sectors;
    for (const std::uint64_t origin : origins) {
        ByteRange run;
        for (std::uint64_t offset = origin % kSectorBytes; offset < file.size(); offset += kSectorBytes) {
            if (offset >= run.end) {
                run = {offset, end_of_value(file, offset)};
            }
            const std::uint64_t end = std::min<std::uint64_t>(offset + kSectorBytes, file.size());
            const bool is_filler = run.length() >= kClusterBytes && end <= run.end;
            if (!is_filler && !has_foreign_marker(file.subspan(static_cast<std::size_t>(offset),
                                                               static_cast<std::size_t>(end - offset)))) {
                sectors.push_back(offset);
            }
        }
    }
    return sectors;
}

StreamSearch::StreamSearch(Bytes file, StreamWalk& walk, std::span<const std::uint64_t> origins,
                           std::span<const std::uint64_t> sectors, const StreamBreak& broken)
    : file_(file), walk_(walk), origins_(origins), sectors_(sectors), broken_(broken.value),
      buffer_(kContext + kSectorBytes) {
    find_boundaries(broken);
}

bool StreamSearch::is_boundary(std::uint64_t offset) const {
    return std::ranges::any_of(origins_,
                               [&](std::uint64_t origin) { return (offset - origin) % kSectorBytes == 0; });
}

void StreamSearch::find_boundaries(const StreamBreak& broken) {
    const std::size_t last = std::min(broken.value + StreamFit::kBlock, walk_.decoded());
    const std::uint64_t head = walk_.place_of(0).place.byte;
    const std::uint64_t end = walk_.bytes().bytes().size();
    for (std::uint64_t at = std::min(walk_.place_of(last).place.byte + 1, end);
         at > head && boundaries_.size() < kBack * origins_.size(); --at) {
        if (is_boundary(walk_.bytes().offset_of(at))) {
            const StreamPlace place = walk_.place_before(at);
            if (at - place.place.byte < kContext) {
                boundaries_.push_back({at, place, 0});
            }
        }
    }
    first_ = boundaries_.empty() ? walk_.decoded() : boundaries_.back().place.value;
    natural_.assign(walk_.values().begin() + static_cast<std::ptrdiff_t>(first_),
                    walk_.values().begin() + static_cast<std::ptrdiff_t>(walk_.decoded()));
    for (Boundary& boundary : boundaries_) {
        restore_values();
        boundary.natural = misfit_at(boundary, walk_.bytes().offset_of(boundary.position), kAllValues);
    }
}

void StreamSearch::restore_values() {
    std::ranges::copy(natural_, walk_.values().begin() + static_cast<std::ptrdiff_t>(first_));
}

std::vector<Continuation> StreamSearch::run() {
    for (const Boundary& boundary : boundaries_) {
        restore_values();
        for (const std::uint64_t offset : sectors_) {
            offer(boundary, offset);
        }
    }
    restore_values();
    return take_best();
}

void StreamSearch::offer(const Boundary& boundary, std::uint64_t offset) {
    if (offset >= file_.size() || offset == walk_.bytes().offset_of(boundary.position) ||
        misfit_at(boundary, offset, kFirstValues) > kMostFirst ||
        misfit_at(boundary, offset, kMoreValues) > kMostMore ||
        walk_.bytes().has_used(offset, boundary.position)) {
        return;
    }
    const double misfit = misfit_at(boundary, offset, kAllValues);
    if (misfit > kMostAll || misfit * kWorse > boundary.natural) {
        return;
    }
    found_.push_back({boundary.place, boundary.position, offset, misfit});
    if (found_.size() >= 4 * kMostContinuations) {
        found_ = take_best();
    }
}

std::vector<Continuation> StreamSearch::take_best() {
    std::ranges::sort(found_, {}, &Continuation::misfit);
    const auto same = [](const Continuation& one, const Continuation& other) {
        return one.kept == other.kept && one.offset == other.offset;
    };
    found_.erase(std::unique(found_.begin(), found_.end(), same), found_.end());
    found_.resize(std::min(found_.size(), kMostContinuations));
    return std::exchange(found_, {});
}

/// Of so many values if the stream goes on at an offset, and of those after the break before them; much if
/// they are fewer.
double StreamSearch::misfit_at(const Boundary& boundary, std::uint64_t offset, std::size_t count) {
    const StreamPlace& place = boundary.place;
    const std::size_t end = std::min(place.value + count, walk_.frame().count());
    const auto context = static_cast<std::size_t>(boundary.position - place.place.byte);
    std::copy_n(walk_.bytes().bytes().begin() + static_cast<std::ptrdiff_t>(place.place.byte), context,
                buffer_.begin());
    const Bytes more = file_.subspan(static_cast<std::size_t>(offset));
    const std::size_t length = std::min(more.size(), std::min<std::size_t>(count * 4, kSectorBytes));
    std::copy_n(more.begin(), length, buffer_.begin() + static_cast<std::ptrdiff_t>(context));
    lossless_jpeg::DifferenceReader reader(Bytes(buffer_).first(context + length), walk_.tables(),
                                           {0, place.place.bit});
    const auto values = std::span(walk_.values());
    const std::size_t decoded = decode_values(reader, walk_.frame(), values, place.value, end);
    // Nothing is known beyond the sector. Within it, no value of the stream can be undecodable.
    const bool is_at_end = reader.place().byte + kMostValueBytes >= context + length;
    if (decoded < end && (!is_at_end || decoded < place.value + kMoreValues || length < kSectorBytes)) {
        return kMuch;
    }
    const bool fits = std::all_of(values.begin() + static_cast<std::ptrdiff_t>(place.value),
                                  values.begin() + static_cast<std::ptrdiff_t>(decoded),
                                  [&](std::uint16_t value) { return value < walk_.frame().limit; });
    return fits ? walk_.fit().misfit(values, std::min(broken_, place.value), decoded) : kMuch;
}

} // namespace raw_mend
