#pragma once

#include "assessment/Assessment.h"

#include <filesystem>

namespace still_mend {

/// How a picture was written.
enum class Delivered {
    kUnchanged,   ///< The bytes of the file.
    kCoded,       ///< The coded data of the file, with a header or an end put to it.
    kReencoded,   ///< The coefficients of the file, coded anew. What is lost is grey or bridged.
    kUnwritable,  ///< Not at all: the output cannot be written.
    kUndecodable, ///< Not at all: what was written did not decode.
};

/// Writes the picture beside the output, proves that it decodes, and puts it in the output's place. The
/// output is left alone on failure; so is anything there, or beside it, that is not a regular file. Throws
/// std::bad_alloc.
[[nodiscard]] Delivered deliver(Bytes file, const Assessment& assessment,
                                const std::filesystem::path& output);

} // namespace still_mend
