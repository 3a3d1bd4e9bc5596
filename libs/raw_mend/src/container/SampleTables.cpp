#include "container/SampleTables.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

/// More samples than this in one track, and they are not a photograph's.
constexpr std::uint32_t kMostSamples = 1U << 16U;

/// A table of numbers in a box.
struct Table {
    std::uint64_t first = 0; ///< Offset of its first entry.
    std::uint64_t count = 0; ///< Entries that are in the box.
    unsigned entry_size = 4;
};

/// The table with a count before it. Its entries are cut at the end of the box.
Table table_at(const ByteReader& reader, const Box& box, std::uint64_t count_at, unsigned entry_size,
               Inventory& inventory) {
    Table table{.first = count_at + 4, .count = 0, .entry_size = entry_size};
    const std::uint64_t stated = box.end >= table.first ? reader.u32(count_at).value_or(0) : 0;
    table.count = std::min(stated, box.end >= table.first ? (box.end - table.first) / entry_size : 0);
    if (table.count < stated) {
        inventory.add_sentence("The table at offset " + std::to_string(box.at) + " has " +
                               std::to_string(table.count) + " of the " + std::to_string(stated) +
                               " entries that it states.");
    }
    return table;
}

/// "stsz": | version and flags (4) | size of all samples, or 0 (4) | count (4) | sizes (4 each) |
class SampleSizes {
  public:
    SampleSizes(const ByteReader& reader, const Box& box, Inventory& inventory) : reader_(reader) {
        fixed_at_ = box.payload + 4;
        fixed_ = reader.u32(fixed_at_).value_or(0);
        if (fixed_ == 0) {
            table_ = table_at(reader, box, box.payload + 8, 4, inventory);
            count_ = inventory.spend_numbers(table_.count * 2) ? table_.count : 0;
            return;
        }
        count_ = reader.u32(box.payload + 8).value_or(0);
        if (count_ > kMostSamples) {
            inventory.add_sentence("A track states more than " + std::to_string(kMostSamples) + " samples.");
            count_ = kMostSamples;
        }
        if (!inventory.spend_unlisted(count_)) {
            count_ = 0;
        }
    }

    [[nodiscard]] std::uint64_t count() const { return count_; }
    [[nodiscard]] std::uint32_t length(std::uint64_t sample) const {
        return fixed_ != 0 ? fixed_ : reader_.u32(table_.first + 4 * sample).value_or(0);
    }
    [[nodiscard]] NumberField field(std::uint64_t sample) const {
        const std::uint64_t at = fixed_ != 0 ? fixed_at_ : table_.first + 4 * sample;
        return {.at = at, .size = 4, .order = ByteOrder::kBig, .base = 0};
    }

  private:
    const ByteReader& reader_;
    std::uint64_t fixed_at_ = 0;
    std::uint32_t fixed_ = 0;
    std::uint64_t count_ = 0;
    Table table_;
};

/// "stsc": runs of | first chunk, from 1 (4) | samples per chunk (4) | sample description (4) |
class SamplesPerChunk {
  public:
    SamplesPerChunk(const ByteReader& reader, const Table& runs) : reader_(reader), runs_(runs) {}

    /// Of a chunk, from 1; chunks must be asked for in ascending order.
    std::uint32_t of(std::uint64_t chunk) {
        while (run_ + 1 < runs_.count && entry(run_ + 1, 0) <= chunk) {
            ++run_;
        }
        return runs_.count == 0 ? 1 : entry(run_, 4);
    }

  private:
    [[nodiscard]] std::uint32_t entry(std::uint64_t run, unsigned at) const {
        return reader_.u32(runs_.first + run * runs_.entry_size + at).value_or(0);
    }

    const ByteReader& reader_;
    Table runs_;
    std::uint64_t run_ = 0;
};

/// The samples of one chunk.
void add_chunk(std::uint64_t offset, const NumberField& field, std::uint32_t samples,
               const SampleSizes& sizes, std::vector<Piece>& pieces) {
    constexpr std::uint64_t kFarthest = std::numeric_limits<std::int64_t>::max();
    std::uint64_t before = 0;
    for (std::uint32_t index = 0; index < samples && pieces.size() < sizes.count(); ++index) {
        const std::uint32_t length = sizes.length(pieces.size());
        if (offset > kFarthest - before - length) {
            return;
        }
        NumberField offset_field = field;
        offset_field.base = before;
        pieces.push_back({.data = {offset + before, length},
                          .offset_field = offset_field,
                          .length_field = sizes.field(pieces.size())});
        before += length;
    }
}

} // namespace

std::vector<Piece> read_samples(Inventory& inventory, const std::vector<Box>& stbl) {
    const ByteReader reader(inventory.bytes(), std::endian::big);
    const Box* const stsz = find_box(stbl, four_cc("stsz"));
    const Box* const stsc = find_box(stbl, four_cc("stsc"));
    const Box* const co64 = find_box(stbl, four_cc("co64"));
    const Box* const stco = find_box(stbl, four_cc("stco"));
    if (stsz == nullptr || (co64 == nullptr && stco == nullptr)) {
        inventory.add_sentence("A track lacks the tables of its samples.");
        return {};
    }
    const SampleSizes sizes(reader, *stsz, inventory);
    const Box& chunk_box = co64 != nullptr ? *co64 : *stco;
    const unsigned size = co64 != nullptr ? 8 : 4;
    const Table chunks = table_at(reader, chunk_box, chunk_box.payload + 4, size, inventory);
    const Table runs = stsc != nullptr ? table_at(reader, *stsc, stsc->payload + 4, 12, inventory) : Table{};
    SamplesPerChunk samples_per_chunk(reader, runs);
    std::vector<Piece> pieces;
    for (std::uint64_t chunk = 0; chunk < chunks.count && pieces.size() < sizes.count(); ++chunk) {
        const NumberField field{
            .at = chunks.first + chunk * size, .size = size, .order = ByteOrder::kBig, .base = 0};
        const auto offset =
            size == 8 ? reader.u64(field.at) : std::optional<std::uint64_t>(reader.u32(field.at));
        add_chunk(offset.value_or(0), field, samples_per_chunk.of(chunk + 1), sizes, pieces);
    }
    if (pieces.size() < sizes.count()) {
        inventory.add_sentence("Of " + std::to_string(sizes.count()) + " samples of a track, " +
                               std::to_string(pieces.size()) + " are in chunks.");
    }
    return pieces;
}

} // namespace raw_mend
