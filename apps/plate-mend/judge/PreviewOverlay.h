#pragma once

#include "judge/RawDecoder.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What the damaged file's own previews show.
struct PreviewDoubts {
    std::vector<std::string> findings; ///< In words.
    bool strange = false;              ///< One is of another photograph, and none shows the picture.
};

/// Lays the previews of the damaged file, as far as they decode, over the decoded picture, block by block.
/// No doubts where one of them shows the picture, and where there is none to compare with: blocks are about
/// a sixtieth of the picture wide, so a difference must be of some blocks, and more than the camera's
/// processing makes of them.
///
///   decoder  has unpacked the result
///   damaged  whose previews count
///   known    rows of the picture that are known to be bad, one per row: these are left out
[[nodiscard]] PreviewDoubts compare_with_previews(const RawDecoder& decoder,
                                                  const std::filesystem::path& damaged,
                                                  const std::vector<bool>& known);

/// Whether a JPEG shows the decoded picture, or most of it; false if it shows another photograph. Nothing
/// where it does not decode, is too small, or shows nothing, and where the picture cannot be compared.
///
///   decoder  has unpacked the photograph
///   jpeg     from its SOI on; others may follow it
[[nodiscard]] std::optional<bool> shows_picture(const RawDecoder& decoder,
                                                std::span<const unsigned char> jpeg);

} // namespace plate_mend::host
