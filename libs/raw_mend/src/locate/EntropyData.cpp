#include "locate/EntropyData.h"

#include <lossless_jpeg/Markers.h>

#include <cstddef>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kMostStretches = 65536;
constexpr std::size_t kLongFiller = 64;               // Bytes of a filler.
constexpr std::uint64_t kMostBytesPerStuffing = 8192; // About 256 is usual.
constexpr std::uint64_t kLeastBytesPerZero = 32;      // About 256 is usual; tables have many zeros.

class Search {
  public:
    Search(Bytes bytes, const ByteRange& within)
        : bytes_(bytes.first(static_cast<std::size_t>(within.end))),
          at_(static_cast<std::size_t>(within.begin)), begin_(at_) {}

    std::vector<EntropyData> run() {
        while (at_ < bytes_.size()) {
            if (bytes_[at_] == 0xFF && at_ + 1 < bytes_.size()) {
                take_marker(bytes_[at_ + 1]);
            } else {
                take_plain();
            }
        }
        close(bytes_.size(), false);
        return std::move(found_);
    }

  private:
    void take_plain() {
        run_ = run_ > 0 && bytes_[at_] == bytes_[at_ - 1] ? run_ + 1 : 1;
        zeros_ += bytes_[at_] == 0 ? 1U : 0U;
        ++at_;
        if (run_ >= kLongFiller) {
            if (run_ == kLongFiller) {
                close(at_ - kLongFiller, false);
            }
            start(at_, false);
        }
    }

    void take_marker(unsigned char code) {
        run_ = 0;
        if (code == 0x00 || lossless_jpeg::is_restart(code)) {
            stuffings_ += code == 0x00 ? 1U : 0U;
            at_ += 2;
            return;
        }
        if (code == 0xFF && is_fill_byte()) {
            ++at_;
            return;
        }
        close(code == lossless_jpeg::kEoi ? at_ + 2 : at_, code == lossless_jpeg::kEoi);
        if (code != lossless_jpeg::kSos || at_ + 4 > bytes_.size()) {
            at_ += 2;
            start(at_, false);
            return;
        }
        const std::size_t length = std::size_t{bytes_[at_ + 2]} << 8U | bytes_[at_ + 3];
        at_ += length < kLongestSos ? 2 + length : 2;
        at_ = at_ < bytes_.size() ? at_ : bytes_.size();
        start(at_, length < kLongestSos);
    }

    /// Whether FF FF is followed by a marker that ends an interval or a scan. At most three FFs are read.
    [[nodiscard]] bool is_fill_byte() const {
        std::size_t at = at_ + 2;
        while (at < bytes_.size() && bytes_[at] == 0xFF && at < at_ + 4) {
            ++at;
        }
        return at < bytes_.size() &&
               (lossless_jpeg::is_restart(bytes_[at]) || bytes_[at] == lossless_jpeg::kEoi);
    }

    void start(std::size_t at, bool has_head) {
        begin_ = at;
        stuffings_ = 0;
        zeros_ = 0;
        has_head_ = has_head;
    }

    void close(std::size_t end, bool closed) {
        const std::uint64_t length = end > begin_ ? end - begin_ : 0;
        const bool likely = length >= kLeastHeadlessBytes && stuffings_ > length / kMostBytesPerStuffing &&
                            zeros_ <= length / kLeastBytesPerZero;
        if (length > 2 && (has_head_ || likely) && found_.size() < kMostStretches) {
            found_.push_back({{begin_, end}, closed, has_head_});
        }
    }

    static constexpr std::size_t kLongestSos = 6 + 2 * 4 + 1;

    Bytes bytes_;
    std::size_t at_;
    std::size_t begin_;
    std::size_t run_ = 0; // Equal bytes before at_.
    std::uint64_t stuffings_ = 0;
    std::uint64_t zeros_ = 0; // Not stuffed ones.
    bool has_head_ = false;
    std::vector<EntropyData> found_;
};

} // namespace

std::vector<EntropyData> find_entropy_data(Bytes bytes, const ByteRange& within) {
    return Search(bytes, within).run();
}

} // namespace raw_mend
