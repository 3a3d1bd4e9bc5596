#pragma once

#include "host/Pairs.h"
#include "support/Bytes.h"
#include "unit/still_mend/Laboratory.h"

#include "record/Record.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// A walk through a folder of every format with every kind of damage: what the program reports for each file
// is compared with the pixels of the original.

namespace test {

/// Something that happened to a photograph.
struct Harm {
    std::string name;
    PairOptions pair; ///< Which sample there is.
    std::function<Bytes(const Pair&)> apply;
    const Damage* preview =
        nullptr; ///< Instead: one of the salvager's laboratory, to the photograph's preview.
};
[[nodiscard]] const std::vector<Harm>& harms();

/// What became of one file.
struct WalkResult {
    std::string format;
    std::string harm;
    plate_mend::host::Record record;
    bool same_picture = false; ///< The delivered RAW has the original's pixels, all of them.
    double rows_same = 0;      ///< The share of its rows that has.
    double pixels_same = 0;    ///< The share of its pixels that has.
    bool jpeg_decodes = false; ///< A JPEG was delivered, and libjpeg decodes it.

    /// "whole", or "intact" for a file that was left alone.
    [[nodiscard]] bool called_whole() const;
    /// Either of these for what is not the original's picture.
    [[nodiscard]] bool false_whole() const;
    /// Less than that for what is the original's picture, and not because its place is a guess: a right guess
    /// proves nothing.
    [[nodiscard]] bool too_strict() const;
    /// The share that is promised of a partial result, and the true one: of pixels where these are counted,
    /// and of rows otherwise.
    [[nodiscard]] std::optional<double> promised() const;
    [[nodiscard]] double true_share() const;
    /// More promised than there is: by more than five pixels in a thousand, or two rows in a hundred.
    [[nodiscard]] bool too_rosy() const;
    [[nodiscard]] bool agrees() const { return !false_whole() && !too_strict() && !too_rosy(); }
};

/// Walks through one format: all its files are in one folder, and the program repairs the folder.
[[nodiscard]] std::vector<WalkResult> walk(const Format& format);

} // namespace test
