#pragma once

#include "assessment/Assessment.h"

#include <filesystem>

namespace still_mend {

/// How a picture was written.
enum class Delivered {
    kUnchanged,   ///< The bytes of the file.
    kCoded,       ///< The coded data of the file, with a header or an end added.
    kReencoded,   ///< The coefficients of the file, re-encoded. What is lost is grey or bridged.
    kUnwritable,  ///< It was not: the output cannot be written.
    kUndecodable, ///< It was not: what was written did not decode.
};

/// Writes the picture beside the output, checks that it decodes, and moves it to the output's path. The
/// output is left alone on failure; so is anything there, or beside it, that is not a regular file. Throws
/// std::bad_alloc.
[[nodiscard]] Delivered deliver(Bytes file, const Assessment& assessment,
                                const std::filesystem::path& output);

} // namespace still_mend
