#include "Walk.h"

#include <algorithm>

namespace lossless_jpeg {

namespace {

using jpeg_bits::BitReader;

/// Samples per step: so few that a frame which claims more samples than it has bits costs little.
constexpr std::uint64_t kStep = 1024;

/// Two differences of so many bits fit in the 57 that are loaded.
constexpr unsigned kPairBits = 28;

using Order = McuTables::Order;

/// Skips groups of kPeriod samples, which have these tables. With kPairs, each window holds two differences.
template <std::size_t kPeriod, bool kPairs>
bool skip_groups(BitReader& shared, const Order& order, std::uint64_t count) {
    std::array<const DifferenceTable*, kPeriod> tables{};
    for (std::size_t nth = 0; nth < kPeriod; ++nth) {
        tables[nth] = order[nth % order.size()];
    }
    BitReader reader = shared;
    bool good = true;
    for (std::uint64_t group = 0; group < count && good; ++group) {
        for (std::size_t nth = 0; nth < kPeriod; ++nth) {
            if (!kPairs || nth % 2 == 0) {
                reader.fill();
            }
            good = tables[nth]->skip(reader) && good;
        }
    }
    shared = reader;
    return good;
}

/// The same for MCUs of any number of samples.
bool skip_any(BitReader& shared, const Order& order, std::uint64_t mcus) {
    BitReader reader = shared;
    bool good = true;
    for (std::uint64_t mcu = 0; mcu < mcus && good; ++mcu) {
        for (const DifferenceTable* table : order) {
            reader.fill();
            good = table->skip(reader) && good;
        }
    }
    shared = reader;
    return good;
}

template <bool kPairs>
bool skip_mcus(BitReader& reader, const Order& order, std::uint64_t mcus) {
    switch (order.size()) {
    case 1:
        return skip_groups<2, kPairs>(reader, order, mcus / 2) &&
               skip_groups<1, kPairs>(reader, order, mcus % 2);
    case 2:
        return skip_groups<2, kPairs>(reader, order, mcus);
    case 3:
        return skip_groups<3, kPairs>(reader, order, mcus);
    case 4:
        return skip_groups<4, kPairs>(reader, order, mcus);
    default:
        return skip_any(reader, order, mcus);
    }
}

bool fit_in_pairs(const Order& order) {
    bool fit = true;
    for (const DifferenceTable* table : order) {
        fit = fit && table->longest() <= kPairBits;
    }
    return fit;
}

} // namespace

Progress check(Bytes bytes, const Head& head) {
    Walk walk(bytes, head);
    const Order& order = walk.tables().order();
    const bool pairs = fit_in_pairs(order);
    return walk.run(std::max<std::uint64_t>(kStep / order.size(), 1), [&](BitReader& reader, std::uint64_t,
                                                                          std::uint64_t mcus) {
        return (pairs ? skip_mcus<true>(reader, order, mcus) : skip_mcus<false>(reader, order, mcus)) &&
               !reader.overrun();
    });
}

} // namespace lossless_jpeg
