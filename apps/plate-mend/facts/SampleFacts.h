#pragma once

#include "facts/PhotographFacts.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace plate_mend::host {

namespace platform {
struct FileStamp;
}

/// An intact photograph, as far as its choice for a damaged file needs it.
struct SampleFacts {
    std::filesystem::path path;
    std::string kind;         ///< As kind_of returns it.
    std::uint64_t volume = 0; ///< Identity, size in bytes and time of the last change, as in FileStamp.
    std::uint64_t index = 0;
    std::uint64_t size = 0;
    std::int64_t modified = 0;
    PhotographFacts photograph;
};

/// What the system knows about a file; nothing if it is not there or cannot be examined.
[[nodiscard]] std::optional<platform::FileStamp> known_stamp(const std::filesystem::path& path);

/// The sample's path, identity, size and time: what is known without reading it.
[[nodiscard]] SampleFacts stamped_sample(const std::filesystem::path& path);

/// Completes a sample by its kind and by what its directories, boxes and heads of JPEGs say. Reads at most
/// 384 KiB of it, and usually some pages of 16 KiB; the kind of one whose extension is none of photographs
/// takes 64 KiB more, or 8 MiB if its head says nothing. Of a file that cannot be read, only the name counts.
void read_sample(SampleFacts& sample);

} // namespace plate_mend::host
