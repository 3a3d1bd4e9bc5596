#pragma once

#include <cstdint>
#include <filesystem>

namespace plate_mend::host {

/// What became of the previews of a repaired photograph that are the sample's.
struct ReplacedPictures {
    std::uint64_t pictures = 0; ///< The sample's; 0 if nothing was written.
    std::uint64_t replaced = 0; ///< Of these, those that now show the photograph.
};

/// Writes a copy of a photograph in which previews that are the sample's, byte for byte, show its own raw
/// image, in the sizes that they have; its own previews stay. The raw image is the same to the last sample:
/// that is checked, and otherwise the copy is removed again. Nothing is written where no preview can be
/// replaced. The output must not exist. Throws std::bad_alloc. For workers.
[[nodiscard]] ReplacedPictures replace_pictures(const std::filesystem::path& photograph,
                                                const std::filesystem::path& sample,
                                                const std::filesystem::path& output);

} // namespace plate_mend::host
