#include "MultiScan.h"

#include "BitReader.h"
#include "HuffmanTable.h"
#include "Markers.h"
#include "Pieces.h"

#include <algorithm>
#include <array>
#include <map>

namespace still_mend {

namespace {

/// One component of a scan with all that decoding a block of it takes.
struct Channel {
    std::size_t component = 0;
    HuffmanTable dc;
    HuffmanTable ac;
    std::int32_t dc_limit = 0;
    std::int32_t prediction = 0;
};

/// Decodes the blocks of one scan (ITU T.81, G.1.2 for progressive ones).
class BlockDecoder {
  public:
    BlockDecoder(const Frame& frame, const Scan& scan, const Tables& tables) : scan_(scan) {
        for (const auto& component : scan.components) {
            const auto& quant = tables.quant[frame.components[component.index].quant]->values;
            Channel channel;
            channel.component = component.index;
            if (needs_dc(scan)) {
                channel.dc = HuffmanTable(*tables.dc[component.dc]);
            }
            if (needs_ac(frame, scan)) {
                channel.ac = HuffmanTable(*tables.ac[component.ac]);
            }
            channel.dc_limit = 1100 / quant[0] + 2;
            channels_.push_back(channel);
        }
        sequential_ = !frame.progressive();
    }

    [[nodiscard]] static bool has_tables(const Frame& frame, const Scan& scan, const Tables& tables) {
        return std::all_of(scan.components.begin(), scan.components.end(), [&](const ScanComponent& each) {
            return tables.quant[frame.components[each.index].quant] &&
                   (!needs_dc(scan) || tables.dc[each.dc]) && (!needs_ac(frame, scan) || tables.ac[each.ac]);
        });
    }

    [[nodiscard]] std::size_t channels() const { return channels_.size(); }
    [[nodiscard]] std::size_t component(std::size_t channel) const { return channels_[channel].component; }

    /// At the start of an interval.
    void restart() {
        end_of_band_ = 0;
        unread_ = 0;
        for (auto& channel : channels_) {
            channel.prediction = 0;
        }
    }

    /// The next block. False for what no picture can contain, or when the bits ended early.
    bool decode(BitReader& reader, std::size_t channel, Block& block) {
        bool good = false;
        if (sequential_) {
            good =
                decode_dc(reader, channels_[channel], block) && decode_sequential_ac(reader, channel, block);
        } else if (scan_.first == 0) {
            good = scan_.high == 0 ? decode_dc(reader, channels_[channel], block) : refine_dc(reader, block);
        } else {
            good = scan_.high == 0 ? decode_ac(reader, channels_[channel].ac, block)
                                   : refine_ac(reader, channels_[channel].ac, block);
        }
        return good && !reader.overrun();
    }

    /// Goes on behind a block that did not decode, as libjpeg does: without what its last code announced.
    void step_over(BitReader& reader) {
        for (; unread_ > 16; unread_ -= 16) {
            static_cast<void>(reader.get(16));
        }
        if (unread_ > 0) {
            static_cast<void>(reader.get(unread_));
        }
        unread_ = 0;
    }

    /// Whether no end-of-band run is left over: an interval does not end within one.
    [[nodiscard]] bool at_rest() const { return end_of_band_ == 0; }

  private:
    static constexpr unsigned kNoCode = 17; // The bits that are no code, and one.

    /// What does not decode has so many bits that were not read.
    bool fails(unsigned unread) {
        unread_ = unread;
        return false;
    }

    static bool needs_dc(const Scan& scan) { return scan.first == 0 && scan.high == 0; }
    static bool needs_ac(const Frame& frame, const Scan& scan) {
        return !frame.progressive() || scan.first > 0;
    }

    bool decode_dc(BitReader& reader, Channel& channel, Block& block) {
        const int category = channel.dc.decode(reader);
        if (category < 0 || category > 11) {
            return fails(category < 0 ? kNoCode : static_cast<unsigned>(category));
        }
        channel.prediction += receive_extend(reader, static_cast<unsigned>(category));
        const std::int32_t limit = (channel.dc_limit >> scan_.low) + 1;
        if (channel.prediction > limit || channel.prediction < -limit) {
            return false;
        }
        block[0] = static_cast<std::int16_t>(channel.prediction * (1 << scan_.low));
        return true;
    }

    bool refine_dc(BitReader& reader, Block& block) const {
        if (reader.get(1) != 0) {
            block[0] = static_cast<std::int16_t>(block[0] | (1 << scan_.low));
        }
        return true;
    }

    bool decode_sequential_ac(BitReader& reader, std::size_t channel, Block& block) {
        for (unsigned k = 1; k < 64; ++k) {
            const int symbol = channels_[channel].ac.decode(reader);
            if (symbol < 0) {
                return false;
            }
            const unsigned run = static_cast<unsigned>(symbol) >> 4U;
            const unsigned size = static_cast<unsigned>(symbol) & 15U;
            if (size == 0 && run != 15) {
                return run == 0;
            }
            k += run;
            if (size == 0) {
                continue;
            }
            if (k > 63 || size > 10) {
                return false;
            }
            block[kNaturalOrder[k]] = static_cast<std::int16_t>(receive_extend(reader, size));
        }
        return true;
    }

    bool decode_ac(BitReader& reader, const HuffmanTable& table, Block& block) {
        if (end_of_band_ > 0) {
            --end_of_band_;
            return true;
        }
        for (unsigned k = scan_.first; k <= scan_.last; ++k) {
            const int symbol = table.decode(reader);
            if (symbol < 0) {
                return fails(kNoCode);
            }
            const unsigned run = static_cast<unsigned>(symbol) >> 4U;
            const unsigned size = static_cast<unsigned>(symbol) & 15U;
            if (size == 0 && run != 15) {
                begin_end_of_band(reader, run);
                --end_of_band_;
                return true;
            }
            k += run;
            if (size == 0) {
                continue;
            }
            if (k > scan_.last || size > 10) {
                return fails(size);
            }
            block[kNaturalOrder[k]] =
                static_cast<std::int16_t>(receive_extend(reader, size) * (1 << scan_.low));
        }
        return true;
    }

    void begin_end_of_band(BitReader& reader, unsigned run) {
        end_of_band_ = 1U << run;
        if (run > 0) {
            end_of_band_ += reader.get(run);
        }
    }

    /// Adds a bit to a coefficient that is not zero.
    void refine(BitReader& reader, std::int16_t& coefficient) const {
        if (reader.get(1) != 0 && (coefficient & (1 << scan_.low)) == 0) {
            coefficient = static_cast<std::int16_t>(coefficient +
                                                    (coefficient > 0 ? 1 << scan_.low : -(1 << scan_.low)));
        }
    }

    bool refine_ac(BitReader& reader, const HuffmanTable& table, Block& block) {
        unsigned k = scan_.first;
        bool good = true;
        while (end_of_band_ == 0 && k <= scan_.last) {
            int symbol = table.decode(reader);
            if (symbol < 0) {
                fails(kNoCode);
                step_over(reader);
                symbol = 0;
                good = false;
            }
            if (reader.overrun()) {
                return false;
            }
            unsigned run = static_cast<unsigned>(symbol) >> 4U;
            const unsigned size = static_cast<unsigned>(symbol) & 15U;
            if (size == 0 && run != 15) {
                begin_end_of_band(reader, run);
                break;
            }
            const int value = size == 0 ? 0 : (reader.get(1) != 0 ? 1 : -1) * (1 << scan_.low);
            // Passes over run zeros; every coefficient on the way that is not zero gets its bit.
            for (; k <= scan_.last; ++k) {
                std::int16_t& coefficient = block[kNaturalOrder[k]];
                if (coefficient != 0) {
                    refine(reader, coefficient);
                } else if (run == 0) {
                    break;
                } else {
                    --run;
                }
            }
            if (value != 0) {
                good = good && size == 1 && k <= scan_.last;
                if (k <= scan_.last) {
                    block[kNaturalOrder[k]] = static_cast<std::int16_t>(value);
                }
            }
            ++k;
        }
        if (end_of_band_ > 0) {
            for (; k <= scan_.last; ++k) {
                if (std::int16_t& coefficient = block[kNaturalOrder[k]]; coefficient != 0) {
                    refine(reader, coefficient);
                }
            }
            --end_of_band_;
        }
        return good;
    }

    const Scan& scan_;
    std::vector<Channel> channels_;
    std::uint32_t end_of_band_ = 0; // Blocks that the current end-of-band run still covers.
    unsigned unread_ = 0;           // Bits that belong to what did not decode.
    bool sequential_ = false;
};

/// Which blocks of a component have what.
struct Progress {
    std::size_t wide = 0;
    std::vector<bool> dc;      // The first DC scan gave the block.
    std::vector<bool> broken;  // A scan that covers the block failed there, so that later ones cannot go on.
    std::vector<bool> unsure;  // It decoded, but what it stands in did not end where it must.
    std::vector<bool> guessed; // The same of the first DC scan.
    std::array<int, 64> low{}; // By zigzag position: bits still missing; -1 before the first scan.
};

class ScanReader {
  public:
    static constexpr std::size_t kWorthResuming = 64; // Units of an interval.

    /// file_end: where the data end, be it within a scan.
    ScanReader(Bytes file, const Frame& frame, CoefficientStore& store, std::size_t file_end)
        : file_(file), frame_(frame), store_(store), file_end_(file_end) {
        for (const auto& component : frame.components) {
            Progress progress;
            progress.wide = std::size_t{frame.mcus_wide()} * component.h;
            const std::size_t blocks = progress.wide * frame.mcus_high() * component.v;
            progress.dc.assign(blocks, false);
            progress.broken.assign(blocks, false);
            progress.unsure.assign(blocks, false);
            progress.guessed.assign(blocks, false);
            progress.low.fill(-1);
            progress_.push_back(std::move(progress));
        }
    }

    struct Outcome {
        bool whole = false;
        std::size_t end = 0; // The marker at which the scan ends.
        std::size_t first_bad = 0;
    };

    /// Decodes the scan whose data begin at the offset.
    Outcome read(const Scan& scan, const Tables& tables, std::size_t offset, std::size_t limit) {
        scan_ = &scan;
        BlockDecoder decoder(frame_, scan, tables);
        units_ = unit_count(scan);
        last_closed_ = false;
        good_bytes_ = 0;
        good_count_ = 0;
        const std::size_t interval = interval_of(decoder, tables, offset, limit);
        Outcome outcome{true, offset, 0};
        std::size_t next = 0; // Unit.
        if (interval < units_ && scan.high == 0 && !mostly_closes(decoder, interval, offset, limit)) {
            // Its tables are not what they were. Nothing of it is taken.
            fail(outcome, offset);
            mark_broken(0, units_);
            outcome.end = limit;
            return outcome;
        }
        left_ = count_pieces(offset, limit);
        for (PieceWalk pieces(file_, offset, limit, true); next < units_; --left_) {
            const auto piece = pieces.next();
            if (!piece) {
                break;
            }
            const std::size_t place = place_of(*piece, next / interval, interval);
            if (place * interval >= units_) {
                break;
            }
            if (place * interval > next) {
                fail(outcome, piece->begin);
                mark_broken(next, place * interval);
            }
            next = place * interval;
            const std::size_t count = std::min(interval, units_ - next);
            const std::size_t good = read_interval(decoder, *piece, next, count, limit);
            if (!last_closed_) {
                fail(outcome, piece->begin);
                mark_broken(next + good, next + count);
                if (!last_cut_) {
                    mark_unsure(next, next + good);
                }
            }
            next += count;
            outcome.end = piece->end;
        }
        if (next < units_) {
            fail(outcome, outcome.end);
            mark_broken(next, units_);
        }
        for (const auto& component : scan.components) {
            for (std::size_t k = scan.first; k <= scan.last; ++k) {
                progress_[component.index].low[k] = static_cast<int>(scan.low);
            }
        }
        return outcome;
    }

    void finish(MultiScanResult& result) const {
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
                    const std::size_t mcu = row / component.v * frame_.mcus_wide() + column / component.h;
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

  private:
    /// The restart interval in units; that of the markers where DRI is lost; all units where there is none.
    std::size_t interval_of(BlockDecoder& decoder, const Tables& tables, std::size_t offset,
                            std::size_t limit) {
        if (tables.restart_interval != 0) {
            return tables.restart_interval;
        }
        const std::size_t first = next_marker(file_, offset, limit);
        if (first >= limit || !marker::is_restart(file_[first + 1])) {
            return units_;
        }
        if (inferred_interval_ == 0 && scan_->high == 0) {
            std::map<std::size_t, unsigned> votes;
            PieceWalk pieces(file_, offset, limit, true);
            for (unsigned tried = 0; tried < 32; ++tried) {
                const auto piece = pieces.next();
                if (!piece || piece->end >= limit) {
                    break;
                }
                ++votes[units_until_close(decoder, *piece, 1, units_, limit)];
            }
            votes.erase(0);
            const auto best = std::max_element(
                votes.begin(), votes.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
            inferred_interval_ = best == votes.end() ? 0 : best->first;
        }
        return inferred_interval_ == 0 ? units_ : inferred_interval_;
    }

    /// Decodes a piece into nothing, at most so many units. Gives after how many its bits end; 0 if they do
    /// not end with a unit.
    std::size_t units_until_close(BlockDecoder& decoder, const Piece& piece, std::size_t least,
                                  std::size_t most, std::size_t limit) const {
        BitReader reader(file_.first(limit), piece.begin);
        decoder.restart();
        const auto skip = [&](std::size_t channel, std::size_t, std::size_t, std::size_t) {
            Block nothing{};
            return decoder.decode(reader, channel, nothing);
        };
        for (std::size_t count = 1; count <= most && visit_unit(count - 1, skip); ++count) {
            if (count >= least && decoder.at_rest() && BitReader(reader).closes()) {
                return count;
            }
        }
        return 0;
    }

    /// Whether half of the first intervals end where they must.
    bool mostly_closes(BlockDecoder& decoder, std::size_t interval, std::size_t offset,
                       std::size_t limit) const {
        constexpr unsigned kPieces = 64;
        unsigned tried = 0;
        unsigned closed = 0;
        PieceWalk pieces(file_, offset, limit, true);
        for (auto piece = pieces.next(); piece && piece->end < limit && tried < kPieces;
             piece = pieces.next()) {
            ++tried;
            closed += units_until_close(decoder, *piece, interval, interval, limit) == interval ? 1U : 0U;
        }
        return tried < 4 || closed * 2 >= tried;
    }

    [[nodiscard]] std::size_t unit_count(const Scan& scan) const {
        if (scan.components.size() > 1) {
            return frame_.mcus();
        }
        const auto& component = frame_.components[scan.components[0].index];
        return std::size_t{frame_.blocks_wide(component)} * frame_.blocks_high(component);
    }

    static void fail(Outcome& outcome, std::size_t offset) {
        if (outcome.whole) {
            outcome.whole = false;
            outcome.first_bad = offset;
        }
    }

    [[nodiscard]] std::size_t count_pieces(std::size_t offset, std::size_t limit) const {
        std::size_t count = 0;
        for (PieceWalk pieces(file_, offset, limit, true); pieces.next();) {
            ++count;
        }
        return count;
    }

    /// The interval that a piece is, by its number. Where eight or more may be missing: by the pieces that
    /// are left up to the end of the scan, and by its place in the file.
    [[nodiscard]] std::size_t place_of(const Piece& piece, std::size_t expected, std::size_t interval) const {
        if (piece.restart < 0) {
            return 0;
        }
        const auto phase = (static_cast<std::size_t>(piece.restart) + 1) % 8;
        std::size_t place = expected + (phase + 8 - expected % 8) % 8;
        const bool follows = place == expected && piece.adjacent;
        const std::size_t intervals = (units_ - 1) / interval + 1;
        const std::size_t missing = intervals - std::min(intervals, place + left_);
        if ((follows && last_closed_) || missing % 8 != 0) {
            return place;
        }
        const double bytes =
            static_cast<double>(good_bytes_) / static_cast<double>(std::max<std::size_t>(good_count_, 1));
        const double passed = static_cast<double>(piece.begin - last_begin_) / std::max(bytes, 1.0);
        const double reached = static_cast<double>(expected) - 1 + passed;
        const std::size_t last = place + missing;
        const std::size_t first = place;
        while (static_cast<double>(place) + 4 < reached && place < last) {
            place += 8;
        }
        return place == first && !follows ? last : place;
    }

    /// Decodes an interval up to its end or to what does not decode. Gives how many of its units are good.
    std::size_t read_interval(BlockDecoder& decoder, const Piece& piece, std::size_t first, std::size_t count,
                              std::size_t limit) {
        last_begin_ = piece.begin;
        if (count >= kWorthResuming && ends_behind_damage(decoder, piece, first, count, limit)) {
            read_over_damage(decoder, piece, first, count, limit, true);
            last_cut_ = false;
            last_closed_ = false;
            return count;
        }
        BitReader reader(file_.first(limit), piece.begin);
        decoder.restart();
        std::size_t good = 0;
        while (good < count && read_unit(decoder, reader, first + good)) {
            ++good;
        }
        last_cut_ = good < count && reader.overrun() && piece.end == file_end_;
        last_closed_ = good == count && reader.closes();
        if (last_closed_) {
            good_bytes_ += piece.end + 2 - piece.begin;
            ++good_count_;
        }
        return good;
    }

    /// The blocks of a unit: an MCU, or a block in a scan of one component.
    template <typename Visit>
    bool visit_unit(std::size_t unit, Visit visit) const {
        if (scan_->components.size() == 1) {
            const std::size_t index = scan_->components[0].index;
            const std::size_t wide = frame_.blocks_wide(frame_.components[index]);
            return visit(std::size_t{0}, index, unit / wide, unit % wide);
        }
        for (std::size_t channel = 0; channel < scan_->components.size(); ++channel) {
            const std::size_t index = scan_->components[channel].index;
            const auto& component = frame_.components[index];
            const std::size_t row = unit / frame_.mcus_wide() * component.v;
            const std::size_t column = unit % frame_.mcus_wide() * component.h;
            for (std::size_t block = 0; block < std::size_t{component.h} * component.v; ++block) {
                if (!visit(channel, index, row + block / component.h, column + block % component.h)) {
                    return false;
                }
            }
        }
        return true;
    }

    struct Passage {
        std::size_t failed = 0; // Blocks.
        bool closes = false;
    };

    /// Whether an interval has damage, and its bits end with its last unit nevertheless: the units behind the
    /// damage are then most likely in their places.
    bool ends_behind_damage(BlockDecoder& decoder, const Piece& piece, std::size_t first, std::size_t count,
                            std::size_t limit) {
        const Passage passage = read_over_damage(decoder, piece, first, count, limit, false);
        return passage.failed > 0 && passage.closes;
    }

    /// Decodes an interval over all that does not decode, and takes it or not.
    Passage read_over_damage(BlockDecoder& decoder, const Piece& piece, std::size_t first, std::size_t count,
                             std::size_t limit, bool taking) {
        Passage passage;
        BitReader reader(file_.first(limit), piece.begin);
        decoder.restart();
        const auto read = [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
            Block block = store_.block(index, row, column);
            if (!decoder.decode(reader, channel, block)) {
                decoder.step_over(reader);
                ++passage.failed;
            }
            if (taking) {
                store_.block(index, row, column) = block;
                if (scan_->first == 0 && scan_->high == 0) {
                    progress_[index].dc[row * progress_[index].wide + column] = true;
                }
            }
            return !reader.overrun();
        };
        for (std::size_t unit = first; unit < first + count; ++unit) {
            if (!visit_unit(unit, read)) {
                return passage;
            }
        }
        passage.closes = reader.closes();
        return passage;
    }

    bool read_unit(BlockDecoder& decoder, BitReader& reader, std::size_t unit) {
        const bool refines = scan_->high > 0;
        const bool gives_dc = scan_->first == 0 && !refines;
        return visit_unit(unit,
                          [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
                              Progress& progress = progress_[index];
                              const std::size_t place = row * progress.wide + column;
                              if (refines && scan_->first > 0 && progress.broken[place]) {
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
                              if (gives_dc) {
                                  progress.dc[place] = true;
                              }
                              return true;
                          });
    }

    void mark_unsure(std::size_t first, std::size_t last) {
        const bool gives_dc = scan_->first == 0 && scan_->high == 0;
        for (std::size_t unit = first; unit < last; ++unit) {
            visit_unit(unit, [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
                Progress& progress = progress_[index];
                (gives_dc ? progress.guessed : progress.unsure)[row * progress.wide + column] = true;
                return true;
            });
        }
    }

    void mark_broken(std::size_t first, std::size_t last) {
        for (std::size_t unit = first; unit < last; ++unit) {
            visit_unit(unit, [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
                progress_[index].broken[row * progress_[index].wide + column] = true;
                return true;
            });
        }
    }

    Bytes file_;
    const Frame& frame_;
    CoefficientStore& store_;
    std::size_t file_end_;
    const Scan* scan_ = nullptr;
    std::vector<Progress> progress_;
    std::size_t units_ = 0;
    std::size_t left_ = 0;     // Pieces of the scan from this one on.
    bool last_closed_ = false; // Of the interval read last: it ended where it must.
    bool last_cut_ = false;    // The file ended within it.
    std::size_t last_begin_ = 0;
    std::size_t good_bytes_ = 0; // Of all intervals of the scan that did.
    std::size_t good_count_ = 0;
    std::size_t inferred_interval_ = 0;
};

/// Where the data of a scan end: at the next table or SOS that is plausible; at the first EOI where none
/// follows.
std::size_t scan_end(Bytes file, const Frame& frame, std::size_t offset, std::size_t limit) {
    std::size_t end = limit;
    while ((offset = next_marker(file, offset, limit)) < limit) {
        const unsigned char code = file[offset + 1];
        if (code == marker::kEnd) {
            end = std::min(end, offset);
        }
        if (const auto content = segment_content(file.first(limit), offset)) {
            Tables tables;
            if ((code == marker::kHuffmanTables && read_huffman_tables(*content, tables)) ||
                (code == marker::kScan && read_scan(*content, frame))) {
                return offset;
            }
        }
        offset += 2;
    }
    return end;
}

/// Reads what stands between two scans: tables, and the next SOS. False at EOI or at the limit.
class BetweenScans {
  public:
    BetweenScans(Bytes file, const Frame& frame, std::size_t limit)
        : file_(file), frame_(frame), limit_(limit) {}

    bool next(std::size_t offset, Tables& tables) {
        while ((offset = next_marker(file_, offset, limit_)) < limit_) {
            const unsigned char code = file_[offset + 1];
            if (code == marker::kEnd) {
                end_found = true;
                end = offset + 2;
                return false;
            }
            const auto content = segment_content(file_.first(limit_), offset);
            if (content && take(code, *content, tables)) {
                end = offset + 4 + content->size();
                offset = end;
                if (code == marker::kScan) {
                    return true;
                }
                continue;
            }
            skipped = true;
            offset += 2;
        }
        return false;
    }

    Scan scan;
    std::size_t end = 0; ///< Behind the last segment that was taken.
    bool end_found = false;
    bool skipped = false; ///< Some bytes were neither.

  private:
    bool take(unsigned char code, Bytes content, Tables& tables) {
        switch (code) {
        case marker::kHuffmanTables:
            return read_huffman_tables(content, tables);
        case marker::kQuantTables:
            return read_quant_tables(content, tables);
        case marker::kRestartInterval:
            return read_restart_interval(content, tables);
        case marker::kScan:
            if (auto read = read_scan(content, frame_)) {
                scan = std::move(*read);
                return true;
            }
            return false;
        default:
            return false;
        }
    }

    Bytes file_;
    const Frame& frame_;
    std::size_t limit_;
};

} // namespace

MultiScanResult decode_scans(Bytes file, const Candidate& candidate, CoefficientStore& store) {
    const Frame& frame = *candidate.frame;
    MultiScanResult result;
    ScanReader reader(file, frame, store, candidate.limit);
    BetweenScans between(file, frame, candidate.limit);
    Tables tables = candidate.tables;
    between.scan = *candidate.scan;
    between.end = candidate.entropy;
    bool whole = !candidate.damaged_header;
    bool more = true;
    for (unsigned count = 0; more && count < kMaxScans; ++count) {
        if (BlockDecoder::has_tables(frame, between.scan, tables)) {
            const auto outcome = reader.read(between.scan, tables, between.end,
                                             scan_end(file, frame, between.end, candidate.limit));
            if (!outcome.whole && whole) {
                whole = false;
                result.first_bad = outcome.first_bad;
            }
            between.end = std::max(between.end, outcome.end);
        } else if (whole) {
            whole = false;
            result.first_bad = between.end;
        }
        more = between.next(between.end, tables);
    }
    reader.finish(result);
    result.end_found = between.end_found;
    result.end = between.end;
    result.whole =
        whole && between.end_found && !between.skipped &&
        std::none_of(result.coarse.begin(), result.coarse.end(), [](bool coarse) { return coarse; });
    return result;
}

} // namespace still_mend
