#pragma once

#include "container/Description.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// A record of the timed metadata of a CR3.
struct MetadataRecord {
    std::uint32_t size = 0; ///< With its head, in bytes.
    std::uint16_t kind = 0;
    bool operator==(const MetadataRecord&) const = default;
};

/// The records of intact metadata. Nothing if they do not add up to its length, or are none.
[[nodiscard]] std::optional<std::vector<MetadataRecord>> read_metadata_records(Bytes file,
                                                                               const Extent& data);

/// Where metadata end that begin at an offset and have records of the same kinds and sizes; nothing if no
/// such are there.
[[nodiscard]] std::optional<std::uint64_t> find_records_end(Bytes bytes, std::uint64_t offset,
                                                            const std::vector<MetadataRecord>& records);

/// Whether a record of the first one's kind and size, and one of the second one's kind after it, are at an
/// offset.
[[nodiscard]] bool begins_like_records(Bytes bytes, std::uint64_t offset,
                                       const std::vector<MetadataRecord>& records);

/// The only place at or after an offset where metadata with records of the same kinds and sizes are; nothing
/// if there are several. Reads each byte a bounded number of times.
[[nodiscard]] std::optional<Extent> find_only_records(Bytes bytes, std::uint64_t from,
                                                      const std::vector<MetadataRecord>& records);

} // namespace raw_mend
