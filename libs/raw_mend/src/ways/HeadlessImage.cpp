#include "ways/HeadlessImage.h"

#include "locate/Anchors.h"
#include "locate/CodeChains.h"
#include "locate/ImageContent.h"
#include "locate/Sectors.h"
#include "ways/Layouts.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostUnused = 16;      ///< Of any values.
constexpr std::uint64_t kMostFillerEnds = 256; ///< That are tried.
constexpr std::uint64_t kMostFillerAlike = 16; ///< First bytes that look like the filler before them.

class HeadlessSearch {
  public:
    HeadlessSearch(Bytes damaged, const Sample& sample)
        : damaged_(damaged), sample_(sample), coding_(*sample.headless),
          image_end_(damaged.size() - std::min<std::uint64_t>(sample.bytes_after(), damaged.size())),
          filler_ends_(find_filler_ends(damaged)),
          values_left_(kMostReads * damaged.size() + kMostImages * coding_.values) {
        expected_.add(sample.range().of(sample.file));
    }

    std::optional<FoundImage> find() {
        try_layouts();
        if (!ends_well()) {
            try_chains(image_end_);
        }
        if (!ends_well() && end_of_data(damaged_.size()) != end_of_data(image_end_)) {
            try_chains(damaged_.size());
        }
        if (!ends_well()) {
            try_filler_ends();
        }
        if (decoded_.empty() && coding_.codes == nullptr) {
            try_everywhere();
        }
        return choose();
    }

  private:
    static constexpr std::uint64_t kMostReads = 8; ///< Values that may be decoded for each byte of the file.

    static constexpr std::uint64_t kMostImages = 8; ///< That may be decoded besides.

    struct Decoded {
        Extent data;
        bool ends_well = false;   ///< Where the file, or its own tables, let an image end.
        bool ends_alike = false;  ///< As many bytes after the last value as in the sample.
        bool is_expected = false; ///< By the sample's places, or by surviving structure.
        double roughness = 0;
    };

    /// Whether an image was found that ends where it must. Others may be those of other photographs.
    [[nodiscard]] bool ends_well() const { return std::ranges::any_of(decoded_, &Decoded::ends_well); }

    void try_layouts() {
        for (const Layout& layout : find_layouts(damaged_, sample_)) {
            const Extent& piece = layout.pieces.front();
            const bool is_own = layout.reason == Layout::Reason::kTables;
            const std::size_t before = decoded_.size();
            try_at(piece.offset, is_own ? std::optional(piece.length) : std::nullopt);
            if (decoded_.size() > before) {
                decoded_.back().is_expected = true;
            }
        }
    }

    void try_filler_ends() {
        std::uint64_t tried = 0;
        for (const std::uint64_t end : filler_ends_) {
            for (std::uint64_t alike = 0; alike < std::min(kMostFillerAlike, end); ++alike) {
                try_at(end - alike, std::nullopt);
            }
            if (++tried == kMostFillerEnds) {
                return;
            }
        }
    }

    /// Most places are ruled out by their first values.
    void try_everywhere() {
        for (std::uint64_t start = 0; start < damaged_.size() && decoded_.empty(); ++start) {
            try_at(start, std::nullopt);
        }
    }

    void try_chains(std::uint64_t end) {
        if (coding_.codes == nullptr) {
            return;
        }
        const std::uint64_t last = end_of_data(end);
        for (const std::uint64_t start :
             find_chain_starts(damaged_, last == 0 ? 0 : last - 1, *coding_.codes, coding_.values)) {
            try_at(start, std::nullopt);
        }
    }

    void try_at(std::uint64_t start, std::optional<std::uint64_t> own_length) {
        const bool is_known = std::ranges::any_of(
            decoded_, [&](const Decoded& decoded) { return decoded.data.offset == start; });
        if (is_known || start >= damaged_.size() || values_left_ == 0) {
            return;
        }
        const Trial trial = coding_.decode(damaged_.subspan(static_cast<std::size_t>(start)));
        values_left_ -= std::min(values_left_, trial.values + 1);
        if (trial.values == coding_.values && is_like_sample({start, trial.bytes})) {
            decoded_.push_back(finish({start, trial.bytes}, own_length));
        }
    }

    /// Zeros decode to an image too.
    [[nodiscard]] bool is_like_sample(const Extent& data) const {
        ImageContent content(sample_.description.raw.frame);
        content.add(data.of(damaged_));
        return content.can_be_like(expected_);
    }

    /// The image with what is after its last value.
    [[nodiscard]] Decoded finish(const Extent& values, std::optional<std::uint64_t> own_length) const {
        const auto ends_at = [&](std::uint64_t end) {
            return end >= values.end() && (end - values.end() <= kMostUnused ||
                                           is_filler(Extent{values.end(), end - values.end()}.of(damaged_)));
        };
        Decoded decoded{.data = values};
        if (own_length && Extent{values.offset, *own_length}.is_within(damaged_) &&
            ends_at(values.offset + *own_length)) {
            decoded.data.length = *own_length;
            decoded.ends_well = true;
            decoded.ends_alike = values.length + sample_.slack == *own_length;
            return decoded;
        }
        const std::uint64_t rest = image_end_ - std::min(values.end(), image_end_);
        const std::uint64_t to_the_end = image_end_ - std::min(values.offset, image_end_);
        decoded.ends_well = ends_at(image_end_) || ends_at(damaged_.size());
        decoded.ends_alike = ends_at(image_end_) && rest == sample_.slack;
        if (ends_at(image_end_) && (rest <= kMostUnused || to_the_end == sample_.range().length)) {
            decoded.data.length = to_the_end;
        } else {
            decoded.data.length += std::min(sample_.slack, damaged_.size() - values.end());
        }
        return decoded;
    }

    /// Where the last bytes that are all the same begin, before an offset.
    [[nodiscard]] std::uint64_t end_of_data(std::uint64_t end) const {
        std::uint64_t last = end;
        while (last > 1 &&
               damaged_[static_cast<std::size_t>(last - 2)] == damaged_[static_cast<std::size_t>(end - 1)]) {
            --last;
        }
        return last > 1 && last != end ? last - 1 : end;
    }

    /// Those that end where they must, are smooth, and follow filler or are where surviving structure says,
    /// if there are such. Others that are as good are a doubt: a few bytes before the image may decode too.
    std::optional<FoundImage> choose() {
        if (decoded_.empty()) {
            return std::nullopt;
        }
        keep_if_any([](const Decoded& decoded) { return decoded.ends_well; });
        keep_smoothest();
        keep_if_any([](const Decoded& decoded) { return decoded.ends_alike; });
        keep_if_any([&](const Decoded& decoded) { return is_at_a_start(decoded, false); });
        const auto best = std::ranges::min_element(decoded_, {}, &Decoded::roughness);
        FoundImage image{Way::kTrialDecoding, {best->data}, 0, {}};
        const bool is_only_end = best->ends_well && decoded_.size() == 1;
        const bool is_steady = !is_only_end || sample_.has_steady_rows(coding_, best->data.of(damaged_));
        image.proved = is_only_end && is_steady && is_at_a_start(*best, true) ? 1 : 0;
        if (!is_steady) {
            image.doubts.emplace_back("The data decode to their end, but whole rows are at other levels.");
        } else if (is_only_end && image.proved == 0) {
            image.doubts.emplace_back("The data decode to their end; their first bytes may be foreign.");
        } else if (decoded_.size() > 1) {
            image.doubts.emplace_back("The data decode from several places; one is chosen.");
        } else if (!best->ends_well) {
            image.doubts.emplace_back("The data decode, but nothing shows that they end where they should.");
        }
        return image;
    }

    /// Whether something besides the data shows that they begin there: perhaps with bytes like the filler
    /// before them. If their first bytes are lost, what precedes the others may decode too.
    [[nodiscard]] bool is_at_a_start(const Decoded& decoded, bool may_be_alike) const {
        const std::uint64_t start = decoded.data.offset;
        const auto filler_end = std::ranges::lower_bound(filler_ends_, start);
        const bool is_after_filler = filler_end != filler_ends_.end() &&
                                     *filler_end - start <= (may_be_alike ? count_alike(*filler_end) : 0);
        return decoded.is_expected || is_after_filler ||
               (start % kSectorBytes == 0 && sample_.range().offset % kSectorBytes == 0);
    }

    /// How many first bytes of an image may be like the filler that ends there: about as many as in the
    /// sample. Otherwise, filler before an image of which values are lost makes up for them.
    [[nodiscard]] std::uint64_t count_alike(std::uint64_t filler_end) const {
        const unsigned char filler = damaged_[static_cast<std::size_t>(filler_end - 1)];
        const Bytes image = sample_.range().of(sample_.file);
        const auto other = std::ranges::find_if(image, [&](unsigned char byte) { return byte != filler; });
        const auto alike = static_cast<std::uint64_t>(other - image.begin());
        return alike == 0 ? 0 : std::min(alike + 1, kMostFillerAlike);
    }

    template <typename Predicate>
    void keep_if_any(const Predicate& predicate) {
        if (std::ranges::any_of(decoded_, predicate)) {
            std::erase_if(decoded_, [&](const Decoded& decoded) { return !predicate(decoded); });
        }
    }

    void keep_smoothest() {
        constexpr double kMuchRougher = 1.1; // Decoded from a place that is some values off.
        if (decoded_.size() == 1 || !coding_.roughness) {
            return;
        }
        for (Decoded& decoded : decoded_) {
            decoded.roughness = coding_.roughness(decoded.data.of(damaged_));
        }
        const double least = std::ranges::min_element(decoded_, {}, &Decoded::roughness)->roughness;
        std::erase_if(decoded_,
                      [&](const Decoded& decoded) { return decoded.roughness > kMuchRougher * least; });
    }

    Bytes damaged_;
    const Sample& sample_;
    const HeadlessCoding& coding_;
    std::uint64_t image_end_; ///< If the file ends as the sample does.
    std::vector<std::uint64_t> filler_ends_;
    std::uint64_t values_left_;
    ImageContent expected_{sample_.description.raw.frame};
    std::vector<Decoded> decoded_;
};

} // namespace

std::optional<FoundImage> find_headless_image(Bytes damaged, const Sample& sample) {
    return sample.headless ? HeadlessSearch(damaged, sample).find() : std::nullopt;
}

} // namespace raw_mend
