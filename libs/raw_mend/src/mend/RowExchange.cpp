#include "mend/RowExchange.h"

#include "mend/RowClusters.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace raw_mend {

namespace {

constexpr std::size_t kMostClusters = 64;

class Exchange {
  public:
    Exchange(const RowGeometry& geometry, std::span<const ImageRange> clusters,
             std::vector<unsigned char>& image)
        : geometry_(geometry), clusters_(clusters), image_(image) {
        for (const ImageRange& cluster : clusters) {
            contents_.emplace_back(begin_of(cluster), begin_of(cluster) + size_of(cluster));
        }
    }

    std::vector<ImageRange> run() {
        std::vector<std::optional<std::size_t>> sources;
        for (std::size_t place = 0; place < clusters_.size(); ++place) {
            sources.push_back(find_source(place));
        }
        std::vector<ImageRange> foreign;
        for (std::size_t place = 0; place < clusters_.size(); ++place) {
            const bool is_only = sources[place] && std::ranges::count(sources, sources[place]) == 1;
            if (is_only) {
                put(*sources[place], place);
            } else {
                foreign.push_back(clusters_[place]);
            }
        }
        return foreign;
    }

  private:
    [[nodiscard]] std::vector<unsigned char>::iterator begin_of(const ImageRange& range) const {
        return image_.begin() + static_cast<std::ptrdiff_t>(range.begin);
    }

    static std::ptrdiff_t size_of(const ImageRange& range) {
        return static_cast<std::ptrdiff_t>(range.length());
    }

    void put(std::size_t content, std::size_t place) {
        std::ranges::copy(contents_[content], begin_of(clusters_[place]));
    }

    /// The only cluster whose bytes fit in the place of another.
    std::optional<std::size_t> find_source(std::size_t place) {
        std::optional<std::size_t> source;
        bool is_only = true;
        for (std::size_t other = 0; other < clusters_.size(); ++other) {
            if (other == place || clusters_[other].length() != clusters_[place].length()) {
                continue;
            }
            put(other, place);
            if (fits_in_rows(image_, geometry_, clusters_[place])) {
                is_only = !source;
                source = other;
            }
            put(place, place);
        }
        return is_only ? source : std::nullopt;
    }

    const RowGeometry& geometry_;
    std::span<const ImageRange> clusters_;
    std::vector<unsigned char>& image_;
    std::vector<std::vector<unsigned char>> contents_;
};

} // namespace

std::vector<ImageRange> exchange_clusters(const RowGeometry& geometry, std::span<const ImageRange> clusters,
                                          std::vector<unsigned char>& image) {
    return clusters.size() > kMostClusters ? std::vector<ImageRange>(clusters.begin(), clusters.end())
                                           : Exchange(geometry, clusters, image).run();
}

} // namespace raw_mend
