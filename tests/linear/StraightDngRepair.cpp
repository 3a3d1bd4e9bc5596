#include "linear/StraightDngRepair.h"

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

namespace test {

namespace {

struct Failure {
    std::string reason;
};

const Failure kIllegal{"Data is illegal"};
const Failure kNotFound{"Data can not found"};
const Failure kOutOfRange{"Access out of range"};
const Failure kMismatching{"Data is mismatching"};

constexpr std::uint16_t kNewSubfileType = 254;
constexpr std::uint16_t kStripOffsets = 273;
constexpr std::uint16_t kTileOffsets = 324;
constexpr std::uint16_t kTileByteCounts = 325;
constexpr std::uint16_t kSubIfds = 330;

struct Number {
    std::size_t position;
    std::uint32_t value;
};

struct File {
    Bytes bytes;
    ByteOrder order = ByteOrder::kLittle;
    std::vector<Number> offsets;
    std::vector<Number> byte_counts;

    [[nodiscard]] std::uint32_t number(std::uint64_t offset) const {
        if (offset + 4 > bytes.size()) {
            throw kOutOfRange;
        }
        return get_u32(bytes, static_cast<std::size_t>(offset), order);
    }

    [[nodiscard]] std::uint32_t find(std::uint16_t tag, std::uint64_t start) const {
        for (std::uint64_t offset = start; offset + 2 <= bytes.size(); ++offset) {
            if (get_u16(bytes, static_cast<std::size_t>(offset), order) == tag) {
                return static_cast<std::uint32_t>(offset);
            }
        }
        throw kNotFound;
    }

    /// Count and value of the entry.
    [[nodiscard]] std::pair<std::uint32_t, std::uint32_t> entry(std::uint64_t offset) const {
        if (offset + 12 > bytes.size()) {
            throw kOutOfRange;
        }
        const auto at = static_cast<std::size_t>(offset);
        const std::uint16_t type = get_u16(bytes, at + 2, order);
        const std::uint32_t count = get_u32(bytes, at + 4, order);
        if (get_u16(bytes, at, order) == 0 || type < 1 || type > 12 || count == 0) {
            throw kIllegal;
        }
        return {count, get_u32(bytes, at + 8, order)};
    }

    [[nodiscard]] std::vector<Number> list(std::uint16_t tag, std::uint32_t start) const {
        const auto [count, value] = entry(find(tag, start));
        std::vector<Number> numbers;
        for (std::uint32_t index = 0; index < count; ++index) {
            const std::uint64_t position = value + std::uint64_t{4} * index;
            numbers.push_back({static_cast<std::size_t>(position), number(position)});
            if (position + 4 >= bytes.size()) {
                throw kOutOfRange;
            }
        }
        return numbers;
    }

    void read_lists(std::uint32_t start) {
        offsets = list(kTileOffsets, start);
        byte_counts = list(kTileByteCounts, start);
    }

    void blank(std::uint32_t entry_offset) {
        const std::uint64_t value = entry(entry_offset).second;
        for (std::uint64_t offset = value; offset < value + 30; ++offset) {
            if (offset >= bytes.size()) {
                throw kOutOfRange;
            }
            bytes[static_cast<std::size_t>(offset)] = 0;
        }
        if (value + 30 >= bytes.size()) {
            throw kOutOfRange;
        }
    }

    void write(std::size_t position, std::uint32_t value) {
        put_u32(bytes, position, value, order);
        if (position + 4 >= bytes.size()) {
            throw kOutOfRange;
        }
    }
};

void read_sample(File& sample) {
    if (sample.bytes.size() < 2) {
        throw kOutOfRange;
    }
    if (sample.bytes[0] != sample.bytes[1] || (sample.bytes[0] != 'I' && sample.bytes[0] != 'M')) {
        throw kIllegal;
    }
    sample.order = sample.bytes[0] == 'I' ? ByteOrder::kLittle : ByteOrder::kBig;
    const std::uint32_t first_ifd = sample.number(4);
    const std::uint16_t version = get_u16(sample.bytes, 2, sample.order);
    if ((version != 42 && version != 0x2A00) || first_ifd == 0) {
        throw kIllegal;
    }
    sample.blank(sample.find(kStripOffsets, first_ifd));
    const auto [count, value] = sample.entry(sample.find(kSubIfds, first_ifd));
    std::vector<std::uint32_t> directories{value};
    if (count != 1) {
        directories.clear();
        for (std::uint32_t index = 0; index < count; ++index) {
            // The list at 0 is sought from the last offset of 32 bits on, and is not there.
            directories.push_back(
                sample.number((value == 0 ? 0x100000000U : value) + std::uint64_t{4} * index));
        }
    }
    for (const std::uint32_t directory : directories) {
        if (sample.entry(sample.find(kNewSubfileType, directory)).second == 0) {
            sample.read_lists(directory);
        } else {
            sample.blank(sample.find(kStripOffsets, directory));
        }
    }
}

void read_damaged(File& damaged) {
    for (std::uint32_t start = 0; start < damaged.bytes.size();) {
        const std::uint32_t match = damaged.find(kNewSubfileType, start);
        start = match + 1;
        try {
            if (damaged.entry(match).second == 0) {
                damaged.read_lists(match);
                return;
            }
        } catch (const Failure& failure) {
            if (failure.reason != kIllegal.reason) {
                throw;
            }
        }
    }
}

void merge(File& sample, const File& damaged, std::optional<Bytes>& output) {
    const std::size_t tiles = sample.offsets.size();
    if (tiles != damaged.offsets.size() || sample.byte_counts.size() != damaged.byte_counts.size() ||
        tiles == 0 || sample.byte_counts.empty() || sample.byte_counts.size() + 1 < tiles) {
        throw kMismatching;
    }
    for (std::size_t tile = 0; tile < sample.byte_counts.size(); ++tile) {
        sample.write(sample.byte_counts[tile].position, damaged.byte_counts[tile].value);
    }
    std::uint32_t offset = sample.offsets[0].value;
    for (std::size_t tile = 0; tile + 1 < tiles; ++tile) {
        offset += damaged.byte_counts[tile].value;
        sample.write(sample.offsets[tile + 1].position, offset);
    }
    const auto append = [&output](const Bytes& bytes, std::uint64_t first, std::uint64_t count) {
        if (first > bytes.size() || count > bytes.size() - first) {
            throw kOutOfRange;
        }
        const auto begin = static_cast<std::size_t>(first);
        output =
            joined(output.value_or(Bytes{}), part(bytes, begin, begin + static_cast<std::size_t>(count)));
    };
    append(sample.bytes, 0, sample.offsets[0].value);
    const std::uint32_t image = damaged.offsets[0].value;
    append(damaged.bytes, image, damaged.offsets.back().value + damaged.byte_counts.back().value - image);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const DngOutcome& outcome) {
    stream << outcome.code << " \"" << outcome.reason << '"';
    for (const auto& [name, bytes] : {std::pair{"output", &outcome.output}, {"clone", &outcome.clone}}) {
        stream << ", " << name << ' ' << (*bytes ? std::to_string((*bytes)->size()) + " bytes" : "none");
    }
    return stream;
}

DngOutcome straight_dng_repair(const Bytes& damaged_bytes, const Bytes& sample_bytes) {
    File sample{.bytes = sample_bytes, .offsets = {}, .byte_counts = {}};
    File damaged{.bytes = damaged_bytes, .offsets = {}, .byte_counts = {}};
    DngOutcome outcome;
    const auto failed = [&](std::int32_t code, const Failure& failure) {
        outcome.code = code;
        outcome.reason = failure.reason;
        outcome.clone = sample.bytes;
        return outcome;
    };
    try {
        read_sample(sample);
    } catch (const Failure& failure) {
        return failed(-1023, failure);
    }
    damaged.order = sample.order;
    try {
        read_damaged(damaged);
    } catch (const Failure& failure) {
        return failed(failure.reason == kNotFound.reason ? -1024 : -1025, failure);
    }
    try {
        merge(sample, damaged, outcome.output);
    } catch (const Failure& failure) {
        return failed(-1026, failure);
    }
    return outcome;
}

} // namespace test
