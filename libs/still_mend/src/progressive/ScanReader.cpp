#include "progressive/ScanReader.h"

#include "jpeg/Markers.h"
#include "progressive/IntervalFit.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace still_mend {

namespace {

constexpr std::size_t kWorthResuming = 64; // Units of an interval.

void fail(ScanReader::Outcome& outcome, std::size_t offset) {
    if (outcome.whole) {
        outcome.whole = false;
        outcome.first_bad = offset;
    }
}

/// How many intervals are lost up to a piece, in eights, in each state: all numbers of them up to the most,
/// or none and the most where that is too much to look at.
std::vector<std::size_t> losses_up_to(std::size_t eights, std::size_t pieces) {
    constexpr std::size_t kMostFits = 1U << 20U;
    if (eights >= PathInterval::kMostStates || pieces * (eights + 1) > kMostFits) {
        return {0, eights};
    }
    std::vector<std::size_t> losses;
    for (std::size_t lost = 0; lost <= eights; ++lost) {
        losses.push_back(lost);
    }
    return losses;
}

/// The mean size of the intervals that are whole.
class MeanSize {
  public:
    void add(const EntropySegment& piece) {
        bytes_ += piece.end + 2 - piece.begin;
        ++count_;
    }

    /// How many intervals more than these so many bytes would hold, in eights.
    [[nodiscard]] std::size_t eights_besides(std::size_t bytes, std::size_t intervals) const {
        if (count_ == 0) {
            return 0;
        }
        const double mean = static_cast<double>(bytes_) / static_cast<double>(count_);
        const double besides = static_cast<double>(bytes) / mean - static_cast<double>(intervals);
        return besides > 4 ? static_cast<std::size_t>(std::ceil((besides - 4) / 8)) : 0;
    }

  private:
    std::size_t bytes_ = 0;
    std::size_t count_ = 0;
};

} // namespace

ScanReader::ScanReader(Bytes file, const Frame& frame, CoefficientStore& store, std::size_t file_end)
    : file_(file), frame_(frame), store_(store), file_end_(file_end) {
    for (const auto& component : frame.components) {
        BlockProgress progress;
        progress.wide = std::size_t{frame.mcus_wide()} * component.h_samp;
        const std::size_t blocks = progress.wide * frame.mcus_high() * component.v_samp;
        progress.dc.assign(blocks, false);
        progress.broken.assign(blocks, false);
        progress.unsure.assign(blocks, false);
        progress.guessed.assign(blocks, false);
        progress.low.fill(-1);
        progress_.push_back(std::move(progress));
    }
}

BlockDecoder ScanReader::begin(const ScanSource& source) {
    source_ = &source;
    units_ = grid().units();
    last_closed_ = false;
    last_cut_ = false;
    BlockDecoder decoder(frame_, source.scan, source.tables);
    interval_ = interval_of(decoder);
    return decoder;
}

ScanReader::Outcome ScanReader::read(const ScanSource& source, const ScanSource* refining) {
    BlockDecoder decoder = begin(source);
    if (interval_ < units_ && source.scan.ah == 0 && !mostly_closes(decoder)) {
        // Its tables are not what they were. Nothing of it is taken.
        mark_broken(0, units_);
        return {false, source.limit, source.offset};
    }
    auto places = places_by_number();
    if (const std::size_t eights = hidden_eights(places); eights > 0) {
        place_by_fit(decoder, places, eights, refining);
    }
    const Outcome outcome = read_pieces(decoder, places);
    for (const auto& component : source.scan.components) {
        for (std::size_t k = source.scan.ss; k <= source.scan.se; ++k) {
            progress_[component.index].low[k] = static_cast<int>(source.scan.al);
        }
    }
    return outcome;
}

ScanReader::Outcome ScanReader::read_pieces(BlockDecoder& decoder, const std::vector<Place>& places) {
    Outcome outcome{true, source_->offset, 0};
    std::size_t next = 0; // Unit.
    EntropySegmentWalk walk = pieces();
    for (const Place& place : places) {
        const auto piece = walk.next();
        const std::size_t first = place.interval * interval_;
        if (!piece || first >= units_) {
            break;
        }
        if (first > next) {
            fail(outcome, piece->begin);
            mark_broken(next, first);
        }
        const std::size_t count = std::min(interval_, units_ - first);
        const std::size_t good = read_interval(decoder, *piece, first, count);
        if (!last_closed_) {
            fail(outcome, piece->begin);
            mark_broken(first + good, first + count);
        }
        if ((!last_closed_ && !last_cut_) || !place.sure) {
            mark_unsure(first, first + good);
        }
        next = first + count;
        outcome.end = piece->end;
    }
    if (next < units_) {
        fail(outcome, outcome.end);
        mark_broken(next, units_);
    }
    return outcome;
}

bool ScanReader::has_hidden_loss(const ScanSource& source) {
    begin(source);
    return hidden_eights(places_by_number()) > 0;
}

void ScanReader::finish(MultiScanResult& result) const {
    result.present.assign(frame_.mcus(), true);
    result.guessed.assign(frame_.mcus(), false);
    result.coarse.assign(frame_.mcus(), false);
    for (std::size_t index = 0; index < frame_.components.size(); ++index) {
        const auto& component = frame_.components[index];
        const auto& progress = progress_[index];
        const bool refined =
            std::all_of(progress.low.begin(), progress.low.end(), [](int low) { return low == 0; });
        // Blocks that only fill up the last MCU of a row or column are in no scan of one component.
        for (std::size_t row = 0; row < frame_.blocks_high(component); ++row) {
            for (std::size_t column = 0; column < frame_.blocks_wide(component); ++column) {
                const std::size_t block = row * progress.wide + column;
                const std::size_t mcu =
                    row / component.v_samp * frame_.mcus_wide() + column / component.h_samp;
                if (!progress.dc[block]) {
                    result.present[mcu] = false;
                }
                if (progress.guessed[block]) {
                    result.guessed[mcu] = true;
                }
                if (!refined || progress.broken[block] || progress.unsure[block]) {
                    result.coarse[mcu] = true;
                }
            }
        }
    }
}

/// The restart interval in units; that of the markers where DRI is lost; all units where there is none.
std::size_t ScanReader::interval_of(BlockDecoder& decoder) {
    if (source_->tables.restart_interval != 0) {
        return source_->tables.restart_interval;
    }
    const std::size_t first = next_marker(file_, source_->offset, source_->limit);
    if (first >= source_->limit || !marker::is_restart(file_[first + 1])) {
        return units_;
    }
    if (inferred_interval_ == 0 && source_->scan.ah == 0) {
        std::map<std::size_t, unsigned> votes;
        EntropySegmentWalk walk = pieces();
        for (unsigned tried = 0; tried < 32; ++tried) {
            const auto piece = walk.next();
            if (!piece || piece->end >= source_->limit) {
                break;
            }
            ++votes[units_until_close(decoder, *piece, 1, units_)];
        }
        votes.erase(0);
        const auto best = std::max_element(votes.begin(), votes.end(),
                                           [](const auto& a, const auto& b) { return a.second < b.second; });
        inferred_interval_ = best == votes.end() ? 0 : best->first;
    }
    return inferred_interval_ == 0 ? units_ : inferred_interval_;
}

/// Decodes a piece into nothing, at most so many units. Gives after how many its bits end; 0 if they do not
/// end with a unit.
std::size_t ScanReader::units_until_close(BlockDecoder& decoder, const EntropySegment& piece,
                                          std::size_t least, std::size_t most) const {
    BitReader reader = reader_of(piece);
    decoder.restart();
    const auto skip = [&](std::size_t channel, std::size_t, std::size_t, std::size_t) {
        Block nothing{};
        return decoder.decode(reader, channel, nothing);
    };
    for (std::size_t count = 1; count <= most && grid().visit(count - 1, skip); ++count) {
        if (count >= least && decoder.at_rest() && BitReader(reader).closes()) {
            return count;
        }
    }
    return 0;
}

/// Whether half of the first intervals end where they must.
bool ScanReader::mostly_closes(BlockDecoder& decoder) const {
    constexpr unsigned kPieces = 64;
    unsigned tried = 0;
    unsigned closed = 0;
    EntropySegmentWalk walk = pieces();
    for (auto piece = walk.next(); piece && piece->end < source_->limit && tried < kPieces;
         piece = walk.next()) {
        ++tried;
        closed += units_until_close(decoder, *piece, interval_, interval_) == interval_ ? 1U : 0U;
    }
    return tried < 4 || closed * 2 >= tried;
}

/// The intervals that the pieces are, by the numbers of their markers: the first that are possible.
std::vector<ScanReader::Place> ScanReader::places_by_number() const {
    std::vector<Place> places;
    EntropySegmentWalk walk = pieces();
    std::size_t expected = 0;
    while (expected < intervals()) {
        const auto piece = walk.next();
        if (!piece) {
            break;
        }
        const auto phase = static_cast<std::size_t>(piece->restart + 1) % 8;
        const std::size_t place = piece->restart < 0 ? 0 : expected + (phase + 8 - expected % 8) % 8;
        places.push_back({static_cast<std::uint32_t>(place), true});
        expected = place + 1;
    }
    return places;
}

/// How many intervals are lost besides those that the numbers tell of, in eights. Where the file ends within
/// the scan they are lost at its end.
std::size_t ScanReader::hidden_eights(const std::vector<Place>& places) const {
    if (places.empty() || source_->limit == file_end_ || places.back().interval + 1 >= intervals()) {
        return 0;
    }
    const std::size_t lost = intervals() - places.back().interval - 1;
    return lost % 8 == 0 ? lost / 8 : 0;
}

/// Where the intervals of a scan begin that has all of them.
std::vector<BitReader> ScanReader::starts_of(const ScanSource& source) const {
    std::vector<BitReader> starts;
    EntropySegmentWalk walk(file_, source.offset, source.limit, true);
    while (const auto piece = walk.next()) {
        if (starts.size() == intervals()) {
            return {};
        }
        starts.emplace_back(file_.first(source.limit), piece->begin);
    }
    return starts;
}

/// Moves the pieces behind hidden losses to where they fit.
void ScanReader::place_by_fit(BlockDecoder& decoder, std::vector<Place>& places, std::size_t eights,
                              const ScanSource* refining) const {
    const auto losses = losses_up_to(eights, places.size());
    std::vector<std::size_t> shifts;
    shifts.reserve(losses.size());
    for (const std::size_t lost : losses) {
        shifts.push_back(lost * 8 * interval_);
    }
    IntervalFit fit(frame_, source_->scan, source_->tables, store_, progress_, shifts);
    if (refining != nullptr) {
        fit.check_with({refining->scan, refining->tables, starts_of(*refining)});
    }
    std::vector<PathInterval> path;
    MeanSize size;
    EntropySegmentWalk walk = pieces();
    std::size_t begin = source_->offset;
    for (std::size_t index = 0; index < places.size(); ++index) {
        const auto piece = walk.next();
        if (!piece) {
            break;
        }
        const std::size_t passed = index == 0 ? 1 : places[index].interval - places[index - 1].interval;
        PathInterval next;
        next.seamless = index == 0 || (passed == 1 && piece->adjacent && path.back().closing != 0);
        next.eights = size.eights_besides(piece->begin - begin, passed);
        const auto closing =
            fit.read(decoder, reader_of(*piece), places[index].interval * interval_, interval_);
        next.closing = closing.own;
        next.refining = closing.refining;
        if (next.closing != 0) {
            size.add(*piece);
        }
        begin = piece->begin;
        path.push_back(next);
    }
    const bool closed_end = !path.empty() && path.back().closing != 0;
    const auto steps = find_path(path, fit.fits(), losses, closed_end);
    for (std::size_t index = 0; index < steps.size(); ++index) {
        places[index].interval += static_cast<std::uint32_t>(8 * losses[steps[index].state]);
        places[index].sure = steps[index].sure;
    }
}

/// Decodes an interval up to its end or to what does not decode. Gives how many of its units are good.
std::size_t ScanReader::read_interval(BlockDecoder& decoder, const EntropySegment& piece, std::size_t first,
                                      std::size_t count) {
    if (count >= kWorthResuming && ends_behind_damage(decoder, piece, first, count)) {
        read_over_damage(decoder, piece, first, count, true);
        last_cut_ = false;
        last_closed_ = false;
        return count;
    }
    reads_broken_ =
        refines_ac() && has_broken(first, count) && closes_on_what_is_there(decoder, piece, first, count);
    BitReader reader = reader_of(piece);
    decoder.restart();
    std::size_t good = 0;
    while (good < count && read_unit(decoder, reader, first + good)) {
        ++good;
    }
    last_cut_ = good < count && reader.overrun() && piece.end == file_end_;
    last_closed_ = good == count && reader.closes();
    return good;
}

bool ScanReader::has_broken(std::size_t first, std::size_t count) const {
    const auto is_whole = [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
        return !progress_[index].broken[row * progress_[index].wide + column];
    };
    for (std::size_t unit = first; unit < first + count; ++unit) {
        if (!grid().visit(unit, is_whole)) {
            return true;
        }
    }
    return false;
}

/// Whether the bits of an interval that refines end with its last unit. Where earlier scans are lost nothing
/// of theirs was then missing: flat parts of a picture have no coefficients.
bool ScanReader::closes_on_what_is_there(BlockDecoder& decoder, const EntropySegment& piece,
                                         std::size_t first, std::size_t count) {
    const Passage passage = read_over_damage(decoder, piece, first, count, false);
    return passage.failed == 0 && passage.closes && decoder.at_rest();
}

/// Whether an interval has damage, and its bits end with its last unit nevertheless: the units behind the
/// damage are then most likely in their places.
bool ScanReader::ends_behind_damage(BlockDecoder& decoder, const EntropySegment& piece, std::size_t first,
                                    std::size_t count) {
    const Passage passage = read_over_damage(decoder, piece, first, count, false);
    return passage.failed > 0 && passage.closes;
}

/// Decodes an interval over all that does not decode, and takes it or not.
ScanReader::Passage ScanReader::read_over_damage(BlockDecoder& decoder, const EntropySegment& piece,
                                                 std::size_t first, std::size_t count, bool taking) {
    Passage passage;
    BitReader reader = reader_of(piece);
    decoder.restart();
    const auto read = [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
        Block block = store_.block(index, row, column);
        if (!decoder.decode(reader, channel, block)) {
            decoder.step_over(reader);
            ++passage.failed;
        }
        if (taking) {
            store_.block(index, row, column) = block;
            if (gives_dc()) {
                progress_[index].dc[row * progress_[index].wide + column] = true;
            }
        }
        return !reader.overrun();
    };
    for (std::size_t unit = first; unit < first + count; ++unit) {
        if (!grid().visit(unit, read)) {
            return passage;
        }
    }
    passage.closes = reader.closes();
    return passage;
}

bool ScanReader::read_unit(BlockDecoder& decoder, BitReader& reader, std::size_t unit) {
    const bool stops_at_broken = refines_ac() && !reads_broken_;
    return grid().visit(unit,
                        [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
                            BlockProgress& progress = progress_[index];
                            const std::size_t place = row * progress.wide + column;
                            if (stops_at_broken && progress.broken[place]) {
                                return false; // The bits to come count coefficients that are not known.
                            }
                            Block& block = store_.block(index, row, column);
                            const Block before = block;
                            if (!decoder.decode(reader, channel, block)) {
                                if (!reader.overrun() || reader.stop() != file_end_) {
                                    block = before; // Where the file ends, what is there of it is good.
                                }
                                return false;
                            }
                            if (gives_dc()) {
                                progress.dc[place] = true;
                            }
                            return true;
                        });
}

void ScanReader::mark_unsure(std::size_t first, std::size_t last) {
    for (std::size_t unit = first; unit < last; ++unit) {
        grid().visit(unit, [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
            BlockProgress& progress = progress_[index];
            (gives_dc() ? progress.guessed : progress.unsure)[row * progress.wide + column] = true;
            return true;
        });
    }
}

void ScanReader::mark_broken(std::size_t first, std::size_t last) {
    for (std::size_t unit = first; unit < last; ++unit) {
        grid().visit(unit, [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
            progress_[index].broken[row * progress_[index].wide + column] = true;
            return true;
        });
    }
}

} // namespace still_mend
