#pragma once

#include "support/Bytes.h"

#include <iosfwd>
#include <string>
#include <vector>

// What the advanced repairs of all formats have in common, one row per format.

namespace test {

/// How a repair reports a failure.
struct Failure {
    std::int32_t code = 0;
    std::string log{};            ///< The text of the error line; empty where nothing is logged.
    std::string standard_error{}; ///< What goes to the standard error output instead.
};

/// Bytes that are put into a sample.
struct Patch {
    std::size_t offset;
    Bytes bytes;
};

/// A sample and a damaged photograph from one camera, with different image offsets.
struct PhotoPair {
    Bytes sample;
    Bytes damaged;              ///< Intact.
    Bytes expected;             ///< What the repair writes.
    Bytes blanked;              ///< The working copy between the two stages.
    std::vector<Patch> foreign; ///< Each makes the sample a file of another kind.
    Bytes broken;               ///< A sample that fails otherwise than an empty damaged file does.
};

/// One format's advanced repair.
struct RepairCase {
    std::string name{};      ///< The extension, with the byte order where there are two: "arw_MM".
    std::string extension;   ///< The files' extension.
    std::string format;      ///< The extension that names the format.
    std::string temporary{}; ///< The working copy's name; empty without one.
    PhotoPair (*photos)(ByteOrder order);
    ByteOrder order{};

    std::int32_t input_missing;
    Failure copy_failed{};
    Failure empty_sample;
    Failure empty_damaged;
    Failure broken_sample; ///< With PhotoPair::broken.
    Failure cut_header;    ///< With a sample cut to each of these sizes:
    std::vector<std::size_t> header_cuts;
    Failure foreign_sample;    ///< With each patch of PhotoPair::foreign.
    Failure unopened_output{}; ///< Code 0 where that goes unnoticed.
};
std::ostream& operator<<(std::ostream& stream, const RepairCase& repair);

/// All formats, in each of their byte orders; and those with a working copy: all but CR3.
[[nodiscard]] std::vector<RepairCase> all_repairs();
[[nodiscard]] std::vector<RepairCase> repairs_with_working_copy();

} // namespace test
