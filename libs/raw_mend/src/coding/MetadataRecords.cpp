#include "coding/MetadataRecords.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::uint32_t kHeadSize = 6;
constexpr std::size_t kMostRecords = 256; // Cameras write about a dozen.

/// | size (4) | kind (2) |, low byte first.
std::optional<MetadataRecord> read_record(Bytes bytes, std::uint64_t offset) {
    const byte_reader::ByteReader reader(bytes, std::endian::little);
    const auto size = reader.u32(offset);
    const auto kind = reader.u16(offset + 4);
    if (!size || !kind || *size < kHeadSize || !reader.holds(offset, *size)) {
        return std::nullopt;
    }
    return MetadataRecord{*size, *kind};
}

} // namespace

std::optional<std::vector<MetadataRecord>> read_metadata_records(Bytes file, const Extent& data) {
    if (!data.is_within(file) || data.length == 0) {
        return std::nullopt;
    }
    std::vector<MetadataRecord> records;
    const Bytes bytes = file.first(static_cast<std::size_t>(data.end()));
    for (std::uint64_t at = data.offset; at < data.end(); at += records.back().size) {
        const auto record = read_record(bytes, at);
        if (!record || records.size() == kMostRecords) {
            return std::nullopt;
        }
        records.push_back(*record);
    }
    return records;
}

std::optional<std::uint64_t> find_records_end(Bytes bytes, std::uint64_t offset,
                                              const std::vector<MetadataRecord>& records) {
    for (const MetadataRecord& record : records) {
        if (read_record(bytes, offset) != record) {
            return std::nullopt;
        }
        offset += record.size;
    }
    return offset;
}

bool begins_like_records(Bytes bytes, std::uint64_t offset, const std::vector<MetadataRecord>& records) {
    if (records.empty() || read_record(bytes, offset) != records.front()) {
        return false;
    }
    if (records.size() == 1) {
        return true;
    }
    const auto second = read_record(bytes, offset + records.front().size);
    return second && second->kind == records[1].kind;
}

std::optional<Extent> find_only_records(Bytes bytes, std::uint64_t from,
                                        const std::vector<MetadataRecord>& records) {
    std::optional<Extent> only;
    if (records.empty() || from > bytes.size()) {
        return only;
    }
    const auto low = static_cast<unsigned char>(records.front().size & 0xFFU);
    for (auto at = bytes.begin() + static_cast<std::ptrdiff_t>(from);
         (at = std::find(at, bytes.end(), low)) != bytes.end(); ++at) {
        const auto offset = static_cast<std::uint64_t>(at - bytes.begin());
        if (const auto end = find_records_end(bytes, offset, records)) {
            if (only) {
                return std::nullopt;
            }
            only = Extent{offset, *end - offset};
        }
    }
    return only;
}

} // namespace raw_mend
