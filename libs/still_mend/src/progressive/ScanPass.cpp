#include "progressive/ScanPass.h"

#include "progressive/IntervalReader.h"

#include <algorithm>

namespace still_mend {

namespace {

void note_damage(ScanPass::Outcome& outcome, std::size_t offset) {
    if (outcome.whole) {
        outcome.whole = false;
        outcome.first_bad = offset;
    }
}

} // namespace

ScanPass::ScanPass(PictureInProgress& picture, const ScanSource& source)
    : picture_(picture), source_(source), layout_(picture.file, picture.frame, source),
      decoder_(picture.frame, source.scan, source.tables) {
    layout_.set_interval(find_interval());
}

/// The restart interval in units; that of the markers where DRI is lost; all units where there is none.
std::size_t ScanPass::find_interval() {
    if (source_.tables.restart_interval != 0) {
        return source_.tables.restart_interval;
    }
    if (!layout_.begins_with_restarts()) {
        return layout_.units();
    }
    if (picture_.inferred_interval == 0 && source_.scan.ah == 0) {
        picture_.inferred_interval = layout_.infer_interval(decoder_);
    }
    return picture_.inferred_interval == 0 ? layout_.units() : picture_.inferred_interval;
}

bool ScanPass::has_hidden_loss() const {
    return hidden_eights(layout_, places_by_number(layout_), picture_.file_end) > 0;
}

ScanPass::Outcome ScanPass::read(const ScanSource* refining) {
    if (layout_.interval() < layout_.units() && source_.scan.ah == 0 && !layout_.mostly_closes(decoder_)) {
        // Its tables are not what they were. Nothing of it is used.
        picture_.mark(layout_.grid(), 0, layout_.units(), &BlockProgress::broken);
        return {false, source_.limit, source_.offset};
    }
    auto places = places_by_number(layout_);
    if (const std::size_t eights = hidden_eights(layout_, places, picture_.file_end); eights > 0) {
        place_by_fit(picture_, layout_, decoder_, eights, refining, places);
    }
    const Outcome outcome = read_intervals(places);
    for (const auto& component : source_.scan.components) {
        for (std::size_t k = source_.scan.ss; k <= source_.scan.se; ++k) {
            picture_.progress[component.index].missing_bits[k] = static_cast<int>(source_.scan.al);
        }
    }
    return outcome;
}

ScanPass::Outcome ScanPass::read_intervals(const std::vector<IntervalPlace>& places) {
    const UnitGrid& grid = layout_.grid();
    const std::size_t units = layout_.units();
    const auto doubt = source_.scan.begins_dc() ? &BlockProgress::guessed : &BlockProgress::unsure;
    IntervalReader reader(picture_, layout_, decoder_);
    Outcome outcome{true, source_.offset, 0};
    std::size_t next = 0; // Unit.
    EntropySegmentWalk walk = layout_.segments();
    for (const IntervalPlace& place : places) {
        const auto segment = walk.next();
        const std::size_t first = place.interval * layout_.interval();
        if (!segment || first >= units) {
            break;
        }
        if (first > next) {
            note_damage(outcome, segment->begin);
            picture_.mark(grid, next, first, &BlockProgress::broken);
        }
        const std::size_t count = std::min(layout_.interval(), units - first);
        const auto result = reader.read(*segment, first, count);
        if (!result.closed) {
            note_damage(outcome, segment->begin);
            picture_.mark(grid, first + result.good, first + count, &BlockProgress::broken);
        }
        if ((!result.closed && !result.cut) || !place.sure) {
            picture_.mark(grid, first, first + result.good, doubt);
        }
        next = first + count;
        outcome.end = segment->end;
    }
    if (next < units) {
        note_damage(outcome, outcome.end);
        picture_.mark(grid, next, units, &BlockProgress::broken);
    }
    return outcome;
}

} // namespace still_mend
