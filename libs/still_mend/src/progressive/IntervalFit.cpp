#include "progressive/IntervalFit.h"

#include "Work.h"
#include "jpeg/ReadingWork.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace still_mend {

namespace {

// The weights lead to the table of cut intervals in docs/salvage.md.
constexpr double kDcRowWeight = 1.0 / 3; // Of a step down in a DC scan.

/// The odds of a step between neighbours fall with the square of its size, from about a level on. Edges,
/// which are many times the usual step, are then no stronger evidence than a usual step that is matched
/// exactly.
double odds_of(double step) {
    constexpr double kSmallStep = kLevel;
    return -2 * std::log(kSmallStep + step);
}

} // namespace

IntervalFit::IntervalFit(const Frame& frame, const Scan& scan, const Tables& tables,
                         const CoefficientStore& store, const std::vector<BlockProgress>& progress,
                         std::vector<std::size_t> shifts)
    : frame_(frame), scan_(scan), store_(store), progress_(progress), grid_(frame, scan),
      units_(grid_.units()), shifts_(std::move(shifts)), quant_(frame.components.size()),
      traces_(shifts_.size()) {
    for (auto& traces : traces_) {
        for (const auto& component : scan.components) {
            traces[component.index].resize(progress[component.index].wide *
                                           frame.components[component.index].v_samp);
        }
    }
    for (const auto& component : scan.components) {
        const auto& zigzag = tables.quant[frame.components[component.index].quant]->values;
        for (std::size_t k = 0; k < 64; ++k) {
            quant_[component.index][kNaturalOrder[k]] = zigzag[k];
        }
    }
}

void IntervalFit::check_with(Refining refining) {
    refining_.emplace(std::move(refining));
    refiner_.emplace(frame_, refining_->scan, refining_->tables);
}

IntervalFit::Closing IntervalFit::read(BlockDecoder& decoder, const BitReader& start, std::size_t first,
                                       std::size_t interval) {
    ++interval_;
    fits_.alone.resize(fits_.alone.size() + shifts_.size());
    fits_.joined.resize(fits_.alone.size());
    fits_.below.resize(fits_.alone.size());
    fits_.reach = (grid_.units_wide() + interval - 1) / interval;
    Closing closing;
    const bool refines = scan_.refines_ac();
    if (!refines) {
        closing.own = read_adding(decoder, start, first, interval);
    }
    for (std::size_t state = 0; state < shifts_.size(); ++state) {
        const auto bit = static_cast<std::uint8_t>(1U << state);
        if (refines && read_refining(decoder, start, first + shifts_[state], interval)) {
            closing.own |= bit;
        }
        if (refining_ && !is_refined(first + shifts_[state], interval)) {
            closing.refining &= static_cast<std::uint8_t>(~bit);
        }
    }
    return closing;
}

std::uint8_t IntervalFit::read_adding(BlockDecoder& decoder, BitReader reader, std::size_t first,
                                      std::size_t interval) {
    ReadingWork work(reader);
    decoder.restart();
    added_.clear();
    unsigned closing = 0;
    Added added;
    for (std::size_t unit = 0; unit < interval; ++unit) {
        work.count_unit();
        std::size_t blocks = 0;
        const bool good =
            grid_.visit(0, [&](std::size_t channel, std::size_t index, std::size_t, std::size_t) {
                Block block{};
                const bool decoded = decoder.decode(reader, channel, block);
                added[blocks++] = borders_of(block, quant_[index]);
                if (refining_) {
                    added_.push_back(block);
                }
                return decoded;
            });
        if (!good) {
            break;
        }
        for (std::size_t state = 0; state < shifts_.size(); ++state) {
            const std::size_t units = units_from(first + shifts_[state], interval);
            if (unit < units) {
                compare(state, first + shifts_[state] + unit, added);
            }
            if (unit + 1 == units && decoder.at_rest() && BitReader(reader).closes()) {
                closing |= 1U << state;
            }
        }
    }
    return static_cast<std::uint8_t>(closing);
}

bool IntervalFit::read_refining(BlockDecoder& decoder, BitReader reader, std::size_t first,
                                std::size_t interval) const {
    ReadingWork work(reader);
    decoder.restart();
    const std::size_t units = units_from(first, interval);
    for (std::size_t unit = first; unit < first + units; ++unit) {
        work.count_unit();
        const bool good = grid_.visit(
            unit, [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
                Block block = store_.block(index, row, column);
                return decoder.decode(reader, channel, block);
            });
        if (!good) {
            return false;
        }
    }
    return units > 0 && decoder.at_rest() && reader.closes();
}

/// Whether what refines the interval can be read with what was added here.
bool IntervalFit::is_refined(std::size_t first, std::size_t interval) {
    const std::size_t units = units_from(first, interval);
    const std::size_t place = first / interval;
    if (place >= refining_->starts.size() || added_.size() < units) {
        return false;
    }
    BitReader reader = refining_->starts[place];
    ReadingWork work(reader);
    refiner_->restart();
    for (std::size_t unit = 0; unit < units; ++unit) {
        work.count_unit();
        const auto refine = [&](std::size_t channel, std::size_t index, std::size_t row, std::size_t column) {
            Block block = store_.block(index, row, column);
            std::transform(block.begin(), block.end(), added_[unit].begin(), block.begin(),
                           [](int there, int added) { return static_cast<std::int16_t>(there + added); });
            return refiner_->decode(reader, channel, block);
        };
        if (!grid_.visit(first + unit, refine)) {
            return false;
        }
    }
    return refiner_->at_rest() && reader.closes();
}

void IntervalFit::compare(std::size_t state, std::size_t unit, const Added& added) {
    std::size_t nth = 0;
    grid_.visit(unit, [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
        compare_block(state, index, row, column, added[nth++]);
        return true;
    });
}

void IntervalFit::compare_block(std::size_t state, std::size_t index, std::size_t row, std::size_t column,
                                const BlockBorders& added) {
    const std::size_t wide = progress_[index].wide;
    const std::size_t rows = frame_.components[index].v_samp;
    if (scan_.ss > 0 && !progress_[index].dc[row * wide + column]) {
        return; // Nothing to compare with.
    }
    // Rows near one another have similar brightness, so an interval fits many of them.
    const double down = scan_.ss == 0 ? kDcRowWeight : 1.0;
    Trace* const traces = traces_[state][index].data();
    Trace& here = traces[row % rows * wide + column];
    const BlockBorders there = borders_of(store_.block(index, row, column), quant_[index]);
    if (row > 0) {
        const Trace& above = traces[(row - 1) % rows * wide + column];
        if (above.row + 1 == row) {
            auto& others = above.interval + 1 == interval_ ? fits_.joined : fits_.below;
            add_fit(others, state, above.interval, down * fit_of(above.bottom, {there.top, added.top}));
        }
    }
    if (column > 0) {
        const Trace& left = *(&here - 1);
        if (left.row == row) {
            add_fit(fits_.joined, state, left.interval, fit_of(left.right, {there.left, added.left}));
        }
    }
    here = {
        static_cast<std::uint32_t>(row), interval_, {there.right, added.right}, {there.bottom, added.bottom}};
}

void IntervalFit::add_fit(std::vector<float>& others, std::size_t state, std::uint32_t interval, double fit) {
    if (interval != 0) {
        auto& fits = interval == interval_ ? fits_.alone : others;
        fits[(interval_ - 1) * shifts_.size() + state] += static_cast<float>(fit);
    }
}

/// How much likelier the step is with what is added than with its negative.
double IntervalFit::fit_of(const Border& first, const Border& second) {
    constexpr std::size_t kSamples = std::tuple_size_v<BorderSamples>;
    Work::add(kSamples);
    double with = 0;
    double against = 0;
    for (std::size_t index = 0; index < kSamples; ++index) {
        const double step = first.there[index] - second.there[index];
        const double change = first.added[index] - second.added[index];
        with += std::abs(step + change);
        against += std::abs(step - change);
    }
    return odds_of(with / kSamples) - odds_of(against / kSamples);
}

} // namespace still_mend
