#pragma once

#include "files/FileBytes.h"

#include <libraw/libraw.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace plate_mend::host {

/// Whether the inside of a version of LibRaw is known: what its decoders are called, and what it keeps about
/// a file. The number is LibRaw's own, 0x1402 for 0.20.2. All was tested with 0.20.2; within a series LibRaw
/// keeps its binary interface.
[[nodiscard]] constexpr bool is_known_libraw(int version) {
    return version >> 8 == 20; // Major version 0.
}

/// Why a LibRaw with which the program was not built must not be used, in words; empty when it is the one.
[[nodiscard]] std::string explain_other_libraw(int loaded, int built);

/// LibRaw, with what it knows about its input. It alone reads LibRaw's inside.
class RawDecoder {
  public:
    /// With a library of another version than that of the headers nothing opens. The number is for tests.
    explicit RawDecoder(int loaded_version = LibRaw::versionNumber());

    /// Why nothing opens, in words; empty when the library is the right one.
    [[nodiscard]] const std::string& version_problem() const { return version_problem_; }

    [[nodiscard]] bool open(const std::filesystem::path& file);

    // Only after a successful open:

    [[nodiscard]] int unpack() { return raw_->unpack(); }
    [[nodiscard]] LibRaw& raw() { return *raw_; }
    [[nodiscard]] const libraw_data_t& data() const { return raw_->imgdata; }

    /// Data errors so far. LibRaw counts one for each row and more.
    [[nodiscard]] std::uint32_t errors();

    /// Whether each row takes the same number of bytes.
    [[nodiscard]] bool has_a_fixed_rate();

    [[nodiscard]] bool is_lossless_jpeg();

    /// Coded as CR3 files are.
    [[nodiscard]] bool is_crx();

    /// Where the parts of the image begin: its tiles, or its one strip. In order, each once; not empty.
    [[nodiscard]] std::vector<std::uint64_t> parts(FileBytes& file);

    /// Where the image data begin.
    [[nodiscard]] std::uint64_t image(FileBytes& file) { return parts(file).front(); }

    /// The length of the image data in bytes, where LibRaw knows it; 0 otherwise.
    [[nodiscard]] std::uint64_t image_length();

    /// Whether the embedded preview, if it is a JPEG, ends where the file's tables say; zeros may fill it up.
    [[nodiscard]] bool preview_ends_in_its_place(FileBytes& file);

    /// Whether a place in the data does not give a row: rows are side by side in slices or tiles, or each
    /// colour is by itself.
    [[nodiscard]] bool is_in_slices();

    /// Of the tiles, in pixels; 0 for no tiles.
    [[nodiscard]] std::size_t tile_width();

    /// How many rows of the image so many bytes are, where each row takes the same number.
    [[nodiscard]] double rows_in(std::uint64_t bytes);

  private:
    [[nodiscard]] std::string_view method();
    [[nodiscard]] bool method_begins_with(std::string_view text);
    [[nodiscard]] std::uint64_t tiles();

    std::string version_problem_;
    std::unique_ptr<LibRaw> raw_; ///< Null where the versions differ: not even its size is known then.
};

} // namespace plate_mend::host
