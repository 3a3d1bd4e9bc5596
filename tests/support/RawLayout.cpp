#include "support/RawLayout.h"

#include <algorithm>
#include <map>
#include <set>

namespace test {

namespace {

constexpr std::size_t kEntry = 12;
constexpr std::uint32_t kMostValues = 100000;

/// The values of a directory's entries that matter here, by tag.
using Values = std::map<unsigned, std::vector<std::uint32_t>>;

class Reader {
  public:
    explicit Reader(const Bytes& file)
        : file_(file), order_(file.at(0) == 'I' ? ByteOrder::kLittle : ByteOrder::kBig) {}

    RawLayout read() {
        std::vector<std::size_t> waiting{get_u32(file_, 4, order_)};
        std::set<std::size_t> seen{0};
        while (!waiting.empty()) {
            const std::size_t at = waiting.back();
            waiting.pop_back();
            if (at + 2 > file_.size() || !seen.insert(at).second) {
                continue;
            }
            const std::size_t end = at + 2 + kEntry * get_u16(file_, at, order_);
            if (end + 4 > file_.size()) {
                continue;
            }
            layout_.entries.push_back({at + 2, end});
            Values values = read_values({at + 2, end});
            take_largest(values[kStripOffsets], values[kStripByteCounts]);
            take_largest(values[kTileOffsets], values[kTileByteCounts]);
            waiting.insert(waiting.end(), values[kSubIfds].begin(), values[kSubIfds].end());
            waiting.push_back(get_u32(file_, end, order_));
        }
        return layout_;
    }

  private:
    static constexpr unsigned kStripOffsets = 273;
    static constexpr unsigned kStripByteCounts = 279;
    static constexpr unsigned kTileOffsets = 324;
    static constexpr unsigned kTileByteCounts = 325;
    static constexpr unsigned kSubIfds = 330;

    [[nodiscard]] Values read_values(const FileRange& entries) const {
        Values values;
        for (std::size_t at = entries.begin; at < entries.end; at += kEntry) {
            const unsigned type = get_u16(file_, at + 2, order_);
            const std::uint32_t count = get_u32(file_, at + 4, order_);
            const std::size_t size = type == 3 ? 2 : 4;
            const bool is_number = type == 3 || type == 4 || type == 13;
            if (!is_number || count > kMostValues) {
                continue;
            }
            const std::size_t where = size * count <= 4 ? at + 8 : get_u32(file_, at + 8, order_);
            if (where + size * count > file_.size()) {
                continue;
            }
            auto& numbers = values[get_u16(file_, at, order_)];
            for (std::uint32_t nth = 0; nth < count; ++nth) {
                numbers.push_back(size == 2 ? get_u16(file_, where + 2 * std::size_t{nth}, order_)
                                            : get_u32(file_, where + 4 * std::size_t{nth}, order_));
            }
        }
        return values;
    }

    void take_largest(const std::vector<std::uint32_t>& offsets, const std::vector<std::uint32_t>& lengths) {
        std::vector<FileRange> pieces;
        std::size_t sum = 0;
        for (std::size_t nth = 0; nth < offsets.size() && offsets.size() == lengths.size(); ++nth) {
            pieces.push_back({offsets[nth], std::size_t{offsets[nth]} + lengths[nth]});
            sum += lengths[nth];
            if (pieces.back().end > file_.size()) {
                return;
            }
        }
        if (sum > largest_) {
            largest_ = sum;
            layout_.pieces = std::move(pieces);
        }
    }

    const Bytes& file_;
    ByteOrder order_;
    RawLayout layout_;
    std::size_t largest_ = 0;
};

} // namespace

std::size_t RawLayout::image_begin() const {
    return std::ranges::min(pieces, {}, &FileRange::begin).begin;
}

std::size_t RawLayout::image_end() const {
    return std::ranges::max(pieces, {}, &FileRange::end).end;
}

RawLayout read_raw_layout(const Bytes& file) {
    const bool is_tiff = file.size() >= 8 && file[0] == file[1] && (file[0] == 'I' || file[0] == 'M');
    return is_tiff ? Reader(file).read() : RawLayout{};
}

} // namespace test
