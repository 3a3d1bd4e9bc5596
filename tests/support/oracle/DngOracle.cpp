#include "support/oracle/DngOracle.h"

#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

#include <ostream>
#include <utility>
#include <vector>

namespace test::oracle {

namespace {

constexpr std::uint16_t kNewSubfileType = 254;
constexpr std::uint16_t kStripOffsets = 273;
constexpr std::uint16_t kTileOffsets = 324;
constexpr std::uint16_t kTileByteCounts = 325;
constexpr std::uint16_t kSubIfds = 330;
constexpr std::uint64_t kBlanked = 30; // Bytes of a preview.

struct Slot {
    std::uint64_t at;
    std::uint32_t value;
};

/// The numbers of the list that a tag's entry names. A byte must follow each of them.
std::vector<Slot> list_of(const Draft& file, std::uint16_t tag, std::uint64_t from) {
    const Entry entry = file.find_entry(tag, from);
    std::vector<Slot> slots;
    for (std::uint64_t index = 0; index < entry.count; ++index) {
        const std::uint64_t at = entry.value + 4 * index;
        slots.push_back({at, file.u32(at)});
        require(at + 4 < file.size(), kOutOfRange);
    }
    return slots;
}

/// The lists of the main image. A list that was read stays although the one after it is bad.
struct Tiles {
    std::vector<Slot> offsets;
    std::vector<Slot> byte_counts;

    void read(const Draft& file, std::uint64_t from) {
        offsets = list_of(file, kTileOffsets, from);
        byte_counts = list_of(file, kTileByteCounts, from);
    }
};

void blank_preview(Draft& sample, std::uint64_t directory) {
    sample.blank(sample.find_entry(kStripOffsets, directory).value, kBlanked);
}

std::vector<std::uint64_t> sub_directories(const Draft& sample, const Entry& entry) {
    if (entry.count == 1) {
        return {entry.value};
    }
    require(entry.value != 0, kOutOfRange);
    std::vector<std::uint64_t> offsets;
    for (std::uint64_t index = 0; index < entry.count; ++index) {
        offsets.push_back(sample.u32(entry.value + 4 * index));
    }
    return offsets;
}

Tiles read_sample(Draft& sample) {
    const std::uint64_t ifd0 = sample.take_header();
    blank_preview(sample, ifd0);
    Tiles tiles;
    for (const std::uint64_t directory : sub_directories(sample, sample.find_entry(kSubIfds, ifd0))) {
        if (sample.find_entry(kNewSubfileType, directory).value == 0) {
            tiles.read(sample, directory);
        } else {
            blank_preview(sample, directory);
        }
    }
    return tiles;
}

Tiles read_damaged(const Draft& damaged) {
    Tiles tiles;
    for (std::uint64_t from = 0; from < damaged.size();) {
        const std::uint64_t at = damaged.find_tag(kNewSubfileType, from);
        from = at + 1;
        try {
            if (damaged.legal_entry(at).value == 0) {
                tiles.read(damaged, at);
                return tiles;
            }
        } catch (const Unrepairable& failure) {
            if (failure.reason != kIllegal) {
                throw;
            }
        }
    }
    return tiles;
}

/// Patches the sample, and writes the output up to the first failure.
void merge(Draft& sample, const Tiles& old_tiles, const Draft& damaged, const Tiles& tiles,
           std::optional<Bytes>& output) {
    const std::size_t offsets = old_tiles.offsets.size();
    const std::size_t counts = old_tiles.byte_counts.size();
    require(tiles.offsets.size() == offsets && tiles.byte_counts.size() == counts, kMismatching);
    require(offsets != 0 && counts != 0 && counts + 1 >= offsets, kMismatching);

    for (std::size_t index = 0; index < counts; ++index) {
        sample.put(old_tiles.byte_counts[index].at, tiles.byte_counts[index].value);
    }
    std::uint32_t offset = old_tiles.offsets[0].value;
    for (std::size_t index = 1; index < offsets; ++index) {
        offset += tiles.byte_counts[index - 1].value;
        sample.put(old_tiles.offsets[index].at, offset);
    }
    const std::uint32_t image = tiles.offsets.front().value;
    const std::uint32_t length = tiles.offsets.back().value + tiles.byte_counts.back().value - image;
    output = sample.run(0, old_tiles.offsets[0].value);
    output = joined(*output, damaged.run(image, length));
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const DngOutcome& outcome) {
    stream << outcome.code << " \"" << outcome.reason << '"';
    for (const auto& [name, bytes] :
         {std::pair{"output", &outcome.output}, {"working copy", &outcome.working_copy}}) {
        stream << ", " << name << ' ' << (*bytes ? std::to_string((*bytes)->size()) + " bytes" : "none");
    }
    return stream;
}

DngOutcome dng_outcome(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    DngOutcome outcome;
    const auto failed = [&](std::int32_t code, const Unrepairable& failure) {
        outcome.code = code;
        outcome.reason = failure.reason;
        outcome.working_copy = sample.bytes;
        return outcome;
    };
    Tiles sample_tiles;
    try {
        sample_tiles = read_sample(sample);
    } catch (const Unrepairable& failure) {
        return failed(-1023, failure);
    }
    const Draft damaged{damaged_bytes, sample.order};
    Tiles damaged_tiles;
    try {
        damaged_tiles = read_damaged(damaged);
    } catch (const Unrepairable& failure) {
        return failed(failure.reason == kNotFound ? -1024 : -1025, failure);
    }
    try {
        merge(sample, sample_tiles, damaged, damaged_tiles, outcome.output);
    } catch (const Unrepairable& failure) {
        return failed(-1026, failure);
    }
    return outcome;
}

Expected repaired_dng(const Bytes& sample, const Bytes& damaged) {
    const DngOutcome outcome = dng_outcome(sample, damaged);
    return outcome.code == 0 ? outcome.output : std::nullopt;
}

} // namespace test::oracle
