#include "progressive/IntervalReader.h"

#include "jpeg/ReadingWork.h"

namespace still_mend {

namespace {

constexpr std::size_t kWorthResuming = 64; // Units of an interval.

} // namespace

IntervalReader::Result IntervalReader::read(const EntropySegment& segment, std::size_t first,
                                            std::size_t count) {
    if (count >= kWorthResuming) {
        const OverDamage trial = read_over_damage(segment, first, count, false);
        if (trial.failed > 0 && trial.closes) {
            read_over_damage(segment, first, count, true);
            return {count, false, false};
        }
    }
    const bool stop_at_broken =
        scan_.refines_ac() && !(has_broken(first, count) && closes_despite_loss(segment, first, count));
    BitReader reader = layout_.reader_of(segment);
    ReadingWork work(reader);
    decoder_.restart();
    Result result;
    while (result.good < count && read_unit(reader, first + result.good, stop_at_broken)) {
        work.count_unit();
        ++result.good;
    }
    result.cut = result.good < count && reader.overrun() && segment.end == picture_.file_end;
    result.closed = result.good == count && reader.closes();
    return result;
}

bool IntervalReader::has_broken(std::size_t first, std::size_t count) const {
    const auto is_whole = [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
        const BlockProgress& progress = picture_.progress[index];
        return !progress.broken[row * progress.wide + column];
    };
    for (std::size_t unit = first; unit < first + count; ++unit) {
        if (!layout_.grid().visit(unit, is_whole)) {
            return true;
        }
    }
    return false;
}

/// Whether the bits of an interval that refines end with its last unit. Where earlier scans are lost, the
/// interval then needed nothing of theirs: flat parts of a picture have no coefficients.
bool IntervalReader::closes_despite_loss(const EntropySegment& segment, std::size_t first,
                                         std::size_t count) {
    const OverDamage trial = read_over_damage(segment, first, count, false);
    return trial.failed == 0 && trial.closes && decoder_.at_rest();
}

/// Decodes an interval across damage, and decides whether to keep it.
IntervalReader::OverDamage IntervalReader::read_over_damage(const EntropySegment& segment, std::size_t first,
                                                            std::size_t count, bool keep) {
    OverDamage result;
    BitReader reader = layout_.reader_of(segment);
    ReadingWork work(reader);
    decoder_.restart();
    const auto read = [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
        Block block = picture_.store.block(index, row, column);
        if (!decoder_.decode(reader, channel, block)) {
            decoder_.step_over(reader);
            ++result.failed;
        }
        if (keep) {
            picture_.store.block(index, row, column) = block;
            if (scan_.begins_dc()) {
                BlockProgress& progress = picture_.progress[index];
                progress.dc[row * progress.wide + column] = true;
            }
        }
        return !reader.overrun();
    };
    for (std::size_t unit = first; unit < first + count; ++unit) {
        work.count_unit();
        if (!layout_.grid().visit(unit, read)) {
            return result;
        }
    }
    result.closes = reader.closes();
    return result;
}

bool IntervalReader::read_unit(BitReader& reader, std::size_t unit, bool stop_at_broken) {
    const auto read = [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
        BlockProgress& progress = picture_.progress[index];
        const std::size_t place = row * progress.wide + column;
        if (stop_at_broken && progress.broken[place]) {
            return false; // The bits to come count coefficients that are not known.
        }
        Block& block = picture_.store.block(index, row, column);
        const Block before = block;
        if (!decoder_.decode(reader, channel, block)) {
            if (!reader.overrun() || reader.stop() != picture_.file_end) {
                block = before; // Where the file ends, what is there of the block is good.
            }
            return false;
        }
        if (scan_.begins_dc()) {
            progress.dc[place] = true;
        }
        return true;
    };
    return layout_.grid().visit(unit, read);
}

} // namespace still_mend
