#include "metadata/MetadataPlaces.h"

#include "files/PairScan.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <utility>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;
using Span = std::span<const unsigned char>;

constexpr std::size_t kMostHits = 4096; ///< Of each pattern.

constexpr std::array kHeaders = {std::string_view("II*\0", 4), std::string_view("MM\0*", 4),
                                 std::string_view("IIRO"),     std::string_view("IIRS"),
                                 std::string_view("MMOR"),     std::string_view("IIU\0", 4)};

// Every header begins with one of the first two pairs of bytes, and every entry has the third in it.
constexpr unsigned char kLittle = 'I';
constexpr unsigned char kBig = 'M';
constexpr unsigned char kDateLength = 0x14; ///< After a 0.
constexpr std::string_view kPairOfDate{"\0\x14", 2};

/// Whether a pair of bytes is one of them. Without a branch, so that compilers make vector code of a loop.
constexpr bool is_pair(unsigned char first, unsigned char second) {
    const auto is_order = static_cast<unsigned>(first == kLittle) | static_cast<unsigned>(first == kBig);
    const auto is_date = static_cast<unsigned>(first == 0) & static_cast<unsigned>(second == kDateLength);
    return ((static_cast<unsigned>(first == second) & is_order) | is_date) != 0;
}

class PlaceSearch {
  public:
    explicit PlaceSearch(Span file) : bytes_(file), file_(file, std::endian::big) {}

    MetadataPlaces run() {
        for_each_pair(bytes_, is_pair, [this](std::size_t at) {
            add_header(at);
            add_dates(at);
        });
        return std::move(places_);
    }

  private:
    void add_header(std::size_t at) {
        for (std::size_t kind = 0; kind < kHeaders.size(); ++kind) {
            if (file_.has(at, kHeaders[kind]) && headers_[kind]++ < kMostHits) {
                places_.headers.push_back(at);
            }
        }
    }

    void add_dates(std::size_t pair) {
        for (std::size_t kind = 0; kind < kDateEntries.size(); ++kind) {
            const std::string_view entry = kDateEntries[kind].bytes;
            const std::size_t before = entry.find(kPairOfDate);
            auto& dates = places_.dates[kind];
            if (pair >= before && file_.has(pair - before, entry) && dates.size() < kMostHits) {
                dates.push_back(pair - before);
            }
        }
    }

    Span bytes_;
    ByteReader file_;
    MetadataPlaces places_;
    std::array<std::size_t, kHeaders.size()> headers_{}; ///< Hits of each.
};

} // namespace

MetadataPlaces find_metadata_places(Span file) {
    return PlaceSearch(file).run();
}

} // namespace plate_mend::host
