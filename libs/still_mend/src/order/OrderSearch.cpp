#include "order/OrderSearch.h"

#include "Work.h"
#include "order/FilePieces.h"
#include "order/ScanWalk.h"
#include "order/SeamFit.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace still_mend {

namespace {

/// Sizes of clusters that are tried. Fewer pieces need fewer trials, and longer ones show more.
constexpr std::array<std::size_t, 3> kClusters{32768, 4096, 512};

constexpr std::size_t kAllMcus = std::numeric_limits<std::size_t>::max() / 2;
constexpr std::size_t kFirstLook = 16; // MCUs of a piece that are decoded before it is judged at first.
constexpr std::size_t kLeastMcus = 4;  // What holds fewer shows nothing.
/// By how much a piece must fit better than the natural one, if that decodes. Measured at 325 breaks of 29
/// pictures: 0.7 and more, half of them 1.9 and more.
constexpr double kClearlyBetter = 0.4;
/// Where nothing else is left, pieces that begin with an edge of the picture are looked at for longer, and
/// one may fit less well if it fits far better than all others.
constexpr double kLenience = 1.5;
constexpr double kOfAnEdge = 0.6;
constexpr double kFarBetter = 1;
/// Where clusters are as small as this, one begins near any place: within a few bytes of where foreign data
/// end, so that what follows is in step and in its place, but not of the right level.
constexpr std::size_t kSmallCluster = 512;

/// Of all searches in a file. Measured where one found the order: 4 to 23 per byte.
constexpr std::uint64_t kMostWorkPerByte = 32;
constexpr std::uint64_t kFreeWork = 1U << 20U;

/// The offset after the header from which on pieces may be anywhere.
std::size_t end_of_head(Bytes file, const PictureCandidate& candidate, std::size_t cluster) {
    return std::min((candidate.entropy / cluster + 1) * cluster, file.size());
}

/// A search with clusters of one size.
class OrderSearch {
  public:
    /// Gives up when the thread's work reaches a limit.
    OrderSearch(Bytes file, const PictureCandidate& candidate, std::size_t cluster, std::uint64_t most_work)
        : file_(file), wide_(candidate.frame->mcus_wide()), last_{0, end_of_head(file, candidate, cluster)},
          pieces_(file, cluster, last_.last), walk_(file, candidate, last_.last), fit_(walk_.traces(), wide_),
          most_work_(most_work),
          checks_level_(cluster <= kSmallCluster && candidate.tables.restart_interval == 0) {}

    std::optional<OrderedFile> run() {
        State state = walk_.decode(kAllMcus);
        while (state == State::kHungry && Work::done() < most_work_) {
            state = go_on();
        }
        if (state != State::kDone || !first_moved_) {
            return std::nullopt;
        }
        return OrderedFile{ordered_bytes(), *first_moved_};
    }

  private:
    using State = ScanWalk::State;

    /// What a piece looks like as the next one.
    struct Trial {
        State state = State::kBroken;
        std::size_t mcus = 0; ///< That were compared with what is above them.
        double misfit = std::numeric_limits<double>::infinity();
        bool is_level = true; ///< Nothing speaks against its brightness and colour.

        [[nodiscard]] bool is_possible() const { return state != State::kBroken; }
        [[nodiscard]] bool fits(double lenience) const {
            return is_possible() && (mcus == 0 || misfit <= SeamFit::bound(mcus) + lenience);
        }
    };

    /// Decides which piece is next, and decodes it.
    State go_on() {
        Trial natural;
        if (pieces_.is_free(last_.last)) {
            const auto before = walk_.place();
            const Range next = pieces_.at(last_.last);
            natural = append(next);
            if (natural.fits(0)) {
                note(next);
                return natural.state;
            }
            walk_.go_back(before);
        }
        if (const auto other = find_other(natural)) {
            return take(*other);
        }
        return natural.is_possible() ? take(last_.last) : State::kBroken;
    }

    /// The start of the piece that goes on in place of the natural one, if one does.
    std::optional<std::size_t> find_other(const Trial& natural) {
        if (const auto start = as_before()) {
            const Trial trial = look_at(*start, 0);
            if (trial.fits(0) && trial.is_level) {
                return start;
            }
        }
        const Best best = find_best(0);
        if (best.trial.fits(0) && best.trial.is_level &&
            natural.misfit - best.trial.misfit >= kClearlyBetter) {
            return best.start;
        }
        return natural.fits(kOfAnEdge) ? std::nullopt : find_despite_edge(natural);
    }

    /// The same where the natural one is taken, or does not go on at all.
    std::optional<std::size_t> find_despite_edge(const Trial& natural) {
        const Best best = find_best(kLenience);
        const double second = std::min(best.second, natural.misfit);
        const bool only = !natural.is_possible() && best.trial.fits(0);
        const bool far_better = best.trial.fits(kOfAnEdge) && second - best.trial.misfit >= kFarBetter;
        return best.trial.is_level && (only || far_better) ? std::optional(best.start) : std::nullopt;
    }

    /// As far behind as the last one that was elsewhere.
    [[nodiscard]] std::optional<std::size_t> as_before() const {
        return distance_ > 0 && pieces_.is_free(last_.last + distance_)
                   ? std::optional(last_.last + distance_)
                   : std::nullopt;
    }

    /// The piece that fits best, and the misfit of the second best that differs from it.
    struct Best {
        std::size_t start = 0;
        Trial trial;
        double second = std::numeric_limits<double>::infinity();
    };

    /// The best of all pieces that are left, except the natural one.
    Best find_best(double lenience) {
        Best best;
        for (const std::size_t start : pieces_.starts()) {
            if (Work::done() >= most_work_) {
                return {};
            }
            const bool known = best.trial.is_possible() && is_same(start, best.start);
            if (start == last_.last || !pieces_.is_free(start) || known) {
                continue;
            }
            const Trial trial = look_at(start, lenience);
            if (trial.misfit < best.trial.misfit) {
                best = {start, trial, best.trial.misfit};
            } else {
                best.second = std::min(best.second, trial.misfit);
            }
        }
        return best;
    }

    [[nodiscard]] bool is_same(std::size_t start, std::size_t other) const {
        return std::ranges::equal(pieces_.bytes(pieces_.at(start)), pieces_.bytes(pieces_.at(other)));
    }

    /// Looks at a piece as the next one, as long as it fits, up to a row of MCUs.
    Trial look_at(std::size_t start, double lenience) {
        const auto before = walk_.place();
        walk_.append(pieces_.bytes(pieces_.at(start)));
        Trial trial;
        trial.state = State::kPaused;
        for (std::size_t most = kFirstLook; trial.state == State::kPaused; most *= 2) {
            const std::size_t decoded = walk_.place().mcus - before.mcus;
            trial.state = walk_.decode(std::min(most, wide_) - decoded);
            judge(before.mcus, trial);
            if (most >= wide_ || !trial.fits(lenience)) {
                break;
            }
        }
        trial.is_level = !checks_level_ || fit_.is_level(before.mcus, before.mcus + trial.mcus);
        walk_.go_back(before);
        const bool shows_enough = trial.mcus >= kLeastMcus || trial.state == State::kDone;
        return trial.is_possible() && shows_enough ? trial : Trial{};
    }

    Trial append(const Range& piece) {
        const std::size_t before = walk_.place().mcus;
        walk_.append(pieces_.bytes(piece));
        Trial trial;
        trial.state = walk_.decode(kAllMcus);
        judge(before, trial);
        return trial;
    }

    /// Compares the MCUs from this one on with what is above them, at most a row of them.
    void judge(std::size_t first, Trial& trial) const {
        trial.mcus = std::min(walk_.place().mcus - first, wide_);
        if (trial.is_possible()) {
            trial.misfit = trial.mcus > 0 ? fit_.misfit(first, first + trial.mcus) : 0;
        }
    }

    State take(std::size_t start) {
        const Range piece = pieces_.at(start);
        walk_.append(pieces_.bytes(piece));
        note(piece);
        return walk_.decode(kAllMcus);
    }

    void note(const Range& piece) {
        if (piece.first != last_.last) {
            first_moved_ = first_moved_.value_or(last_.last);
            distance_ = piece.first > last_.last ? piece.first - last_.last : 0;
        }
        pieces_.take(piece);
        last_ = piece;
    }

    [[nodiscard]] std::vector<unsigned char> ordered_bytes() const {
        const Bytes all = walk_.bytes();
        if (!pieces_.are_taken_up_to(last_.last)) {
            const Bytes picture = all.first(walk_.place().byte);
            return {picture.begin(), picture.end()};
        }
        std::vector<unsigned char> bytes(all.begin(), all.end());
        const Bytes rest = file_.subspan(last_.last);
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        return bytes;
    }

    Bytes file_;
    std::size_t wide_;
    Range last_; // The piece that was put together last.
    FilePieces pieces_;
    ScanWalk walk_;
    SeamFit fit_;
    std::uint64_t most_work_;
    bool checks_level_;        // A restart sets the level anew.
    std::size_t distance_ = 0; // By which a piece was last behind its natural place.
    std::optional<std::size_t> first_moved_;
};

} // namespace

std::optional<OrderedFile> put_in_order(Bytes file, const PictureCandidate& candidate) {
    const std::uint64_t most_work = Work::done() + kMostWorkPerByte * file.size() + kFreeWork;
    for (const std::size_t cluster : kClusters) {
        if (auto found = OrderSearch(file, candidate, cluster, most_work).run()) {
            return found;
        }
    }
    return std::nullopt;
}

} // namespace still_mend
