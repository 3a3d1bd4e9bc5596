#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// How a result agrees with what an advanced repair promises.
struct Promise {
    std::vector<std::string> broken; ///< What differs, in words; empty when the promise was kept.
    /// Bytes of the damaged file after those that went into the result, except slack.
    std::uint64_t bytes_after = 0;
};

/// Compares a result with what an advanced repair promises: from its image on, the bytes of the damaged file,
/// up to that file's end where the format says so; before it, the sample's. The library's writers notice
/// neither a full disk nor an output that cannot be opened, so this is where such a loss shows. A file that
/// cannot be read is a difference.
///
///   image   offset of the image data in the result, in bytes
///   filled  bytes at the end of the result that stand in for lost ones
[[nodiscard]] Promise compare_with_promise(const std::filesystem::path& result,
                                           const std::filesystem::path& damaged,
                                           const std::filesystem::path& sample, std::uint64_t image,
                                           std::uint64_t filled);

} // namespace plate_mend::host
