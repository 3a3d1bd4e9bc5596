#pragma once

#include "judge/Judge.h"
#include "judge/RawDecoder.h"

#include <string>
#include <vector>

namespace plate_mend::host {

/// Why the raw engine's own report does not call an image whole.
struct PieceDoubts {
    std::vector<std::string> findings; ///< In words.
    bool damaged_inside = false;       ///< Bytes within pieces may be missing, or foreign.
    bool place_unknown = false; ///< Pieces may be in a wrong place. Lost ones leave zeros in their own.
};

/// Doubts about an image with lost pieces, with guessed places, or with pieces that nothing proves.
///
///   decodes_exactly  the judge has found that every piece of coded data ends where its image does
[[nodiscard]] PieceDoubts find_doubts(const FoundImage& image, bool decodes_exactly);

/// Whether the raw engine proves all of an image, in its place and without a gap: what follows it is then no
/// part of it.
[[nodiscard]] bool is_proved(const FoundImage& image);

/// Whether an image is only a guess, of which nothing is proved, and there are signs against it: such a
/// result is no photograph.
///
///   signs  number of signs of damage, without those of find_doubts
[[nodiscard]] bool is_refuted_guess(const FoundImage& image, std::size_t signs);

/// Compares a result of the raw engine with the files that it was made from. Returns what differs, in words:
/// image data that are not the damaged file's, a guess in a file of another length, and bytes that are left
/// over after the image where nothing follows it in the sample and each row takes the same number of bytes,
/// since foreign bytes between rows do not show otherwise.
///
///   decoder  has opened the result
///   file     the result
[[nodiscard]] std::vector<std::string> compare_with_damaged(const JudgeRequest& request,
                                                            const RawDecoder& decoder, FileBytes& file);

} // namespace plate_mend::host
