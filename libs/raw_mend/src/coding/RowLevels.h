#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace raw_mend {

/// How well rows of values keep their level. Where each row begins from the one two rows above and goes on
/// from value to value, a decoder that is some values off still decodes all; but it takes up each row in its
/// middle, so that whole rows jump by about as much as single values do.
class RowLevels {
  public:
    /// Needs memory for a few rows of so many values, at least 1.
    explicit RowLevels(std::size_t columns);

    /// The next value, row by row.
    void add(int value);

    /// By how much whole rows jump where they do most, as a share of what single values do: about 0.7 where
    /// the decoder is off, near 0 elsewhere. 0 if there are not enough rows or columns to say.
    [[nodiscard]] double unsteadiness();

  private:
    static constexpr std::size_t kColours = 2; ///< Of a row.

    /// What is measured of some rows, for one of their colours.
    struct Window {
        std::vector<double> jumps;  ///< Of whole rows.
        std::vector<double> noises; ///< Of values.
    };

    void end_row();
    void measure(std::size_t colour);
    void end_window();

    std::size_t columns_;
    std::vector<int> rows_; ///< The last kKept, in turn.
    std::size_t column_ = 0;
    std::size_t count_ = 0; ///< Of rows.
    std::array<Window, kColours> colours_;
    double most_ = 0;
};

} // namespace raw_mend
