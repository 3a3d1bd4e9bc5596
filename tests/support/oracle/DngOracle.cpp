#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

#include <vector>

namespace test::oracle {

namespace {

struct Slot {
    std::uint64_t at;
    std::uint32_t value;
};

Entry legal_entry(const Draft& file, std::uint64_t at) {
    const Entry entry = file.entry(at);
    require(entry.legal());
    return entry;
}

/// The numbers of the list that an entry names. A byte must follow them.
std::vector<Slot> slots_of(const Draft& file, const Entry& entry) {
    std::vector<Slot> slots;
    for (std::uint64_t index = 0; index < entry.count; ++index) {
        const std::uint64_t at = entry.value + 4 * index;
        require(at + 4 < file.size());
        slots.push_back({at, file.u32(at)});
    }
    return slots;
}

/// The lists of the main image. A list that was read stays although the one behind it is bad.
struct Tiles {
    std::vector<Slot> offsets;
    std::vector<Slot> byte_counts;

    /// False when an entry behind from is no entry.
    bool read(const Draft& file, std::uint64_t from) {
        const Entry offsets_entry = file.entry(file.find_tag(324, from));
        if (!offsets_entry.legal()) {
            return false;
        }
        offsets = slots_of(file, offsets_entry);
        const Entry counts_entry = file.entry(file.find_tag(325, from));
        if (!counts_entry.legal()) {
            return false;
        }
        byte_counts = slots_of(file, counts_entry);
        return true;
    }
};

std::vector<std::uint64_t> sub_directories(const Draft& sample, const Entry& entry) {
    if (entry.count == 1) {
        return {entry.value};
    }
    require(entry.value != 0);
    std::vector<std::uint64_t> offsets;
    for (std::uint64_t index = 0; index < entry.count; ++index) {
        offsets.push_back(sample.u32(entry.value + 4 * index));
    }
    return offsets;
}

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    sample.take_order();
    const std::uint16_t version = sample.u16(2);
    require(version == 42 || version == 0x2A00);
    const std::uint64_t ifd0 = sample.u32(4);
    require(ifd0 != 0);
    sample.blank(legal_entry(sample, sample.find_tag(273, ifd0)).value, 30);
    const Entry sub_ifds = legal_entry(sample, sample.find_tag(330, ifd0));
    Tiles sample_tiles;
    for (const std::uint64_t directory : sub_directories(sample, sub_ifds)) {
        if (legal_entry(sample, sample.find_tag(254, directory)).value == 0) {
            require(sample_tiles.read(sample, directory));
        } else {
            sample.blank(legal_entry(sample, sample.find_tag(273, directory)).value, 30);
        }
    }

    const Draft damaged{damaged_bytes, sample.order};
    Tiles damaged_tiles;
    for (std::uint64_t from = 0;;) {
        const std::uint64_t at = damaged.find_tag(254, from);
        const Entry entry = damaged.entry(at);
        if (entry.legal() && entry.value == 0 && damaged_tiles.read(damaged, at)) {
            break;
        }
        from = at + 1;
    }

    const std::size_t tiles = sample_tiles.offsets.size();
    const std::size_t counts = sample_tiles.byte_counts.size();
    require(damaged_tiles.offsets.size() == tiles && damaged_tiles.byte_counts.size() == counts);
    require(tiles != 0 && counts != 0 && counts + 1 >= tiles);

    for (std::size_t index = 0; index < counts; ++index) {
        sample.put(sample_tiles.byte_counts[index].at, damaged_tiles.byte_counts[index].value);
    }
    std::uint32_t offset = sample_tiles.offsets[0].value;
    for (std::size_t index = 1; index < tiles; ++index) {
        offset += damaged_tiles.byte_counts[index - 1].value;
        sample.put(sample_tiles.offsets[index].at, offset);
    }
    const std::uint32_t image = damaged_tiles.offsets.front().value;
    const std::uint32_t length =
        damaged_tiles.offsets.back().value + damaged_tiles.byte_counts.back().value - image;
    return joined(sample.run(0, sample_tiles.offsets[0].value), damaged.run(image, length));
}

} // namespace

Expected repaired_dng(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
