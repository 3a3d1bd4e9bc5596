#pragma once

#include "files/FileBytes.h"
#include "judge/BlockFit.h"
#include "judge/signs/SensorView.h"
#include "record/Record.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class LibRaw;

namespace plate_mend::host {

/// Whether the internals of a version of LibRaw are known: what its decoders are called, and what it stores
/// about a file. The number is LibRaw's own, 0x1402 for 0.20.2. All was tested with 0.20.2; within a series
/// LibRaw keeps its binary interface.
[[nodiscard]] constexpr bool is_known_libraw(int version) {
    return version >> 8 == 20; // Major version 0.
}

/// Why a LibRaw with which the program was not built must not be used, in words; empty when it is the one.
[[nodiscard]] std::string explain_other_libraw(int loaded, int built);

/// A photograph as its file describes it.
struct PhotoFacts {
    std::uint32_t width = 0; ///< As the picture is shown, upright, in pixels.
    std::uint32_t height = 0;
    std::string camera; ///< Maker and model; may be empty.
    std::string taken;  ///< "2026-05-01 12:30:00", local time; may be empty.
};

/// The preview in a RAW file, unpacked.
struct EmbeddedPreview {
    bool unpacks = true; ///< LibRaw can unpack it, or there is nothing to unpack.
    /// Its bytes if it is a JPEG. Valid as long as the decoder exists.
    std::optional<std::span<const unsigned char>> jpeg;
};

/// LibRaw, with what it knows about its input. Only this class uses LibRaw's internals. LibRaw may crash or
/// hang on hostile files, so this is used in a worker.
class RawDecoder {
  public:
    /// Nothing opens if the version of the library is not that of the headers.
    RawDecoder();
    /// The number, as LibRaw has it, is for tests.
    explicit RawDecoder(int loaded_version);
    RawDecoder(const RawDecoder&) = delete;
    RawDecoder& operator=(const RawDecoder&) = delete;
    ~RawDecoder();

    /// Why nothing opens, in words; empty when the library is the right one.
    [[nodiscard]] const std::string& version_problem() const { return version_problem_; }

    [[nodiscard]] bool open(const std::filesystem::path& file);

    /// Opens a photograph in memory, which must exist as long as the decoder does.
    [[nodiscard]] bool open(std::span<const unsigned char> bytes);

    // Only after a successful open:

    /// Decodes the image. Returns why LibRaw cannot, in words; empty on success.
    [[nodiscard]] std::string unpack();

    /// Unpacks the preview.
    [[nodiscard]] EmbeddedPreview unpack_preview();

    [[nodiscard]] LibRaw& raw() { return *raw_; }

    [[nodiscard]] PhotoFacts facts() const;

    /// Size of the whole sensor, in pixels.
    [[nodiscard]] std::uint32_t sensor_columns() const;
    [[nodiscard]] std::uint32_t sensor_rows() const;

    /// Rows of the sensor above the picture.
    [[nodiscard]] std::uint32_t rows_above_picture() const;

    /// Where the picture is on the sensor; nothing where the sensor's rows are oblique in the picture.
    [[nodiscard]] std::optional<PicturePlace> picture_place() const;

    /// Data errors so far. LibRaw counts one for each row and more.
    [[nodiscard]] std::uint32_t data_errors() const;

    /// Whether each row takes the same number of bytes.
    [[nodiscard]] bool has_fixed_rate() const;

    /// How many rows of the image this many bytes make up, where each row takes the same number.
    [[nodiscard]] double rows_in(std::uint64_t bytes) const;

    /// Bytes of the image, where each row takes the same number.
    [[nodiscard]] std::uint64_t fixed_length() const;

    [[nodiscard]] bool is_lossless_jpeg() const;

    /// Coded as Sony's cells of 16 bytes.
    [[nodiscard]] bool is_made_of_cells() const;

    /// Coded column by column.
    [[nodiscard]] bool is_in_columns() const;

    /// Coded as CR3 files are.
    [[nodiscard]] bool is_crx() const;

    /// Offsets of the parts of the image: its tiles, or its one strip. Ascending, each once; not empty.
    [[nodiscard]] std::vector<std::uint64_t> part_offsets(FileBytes& file) const;

    /// The same of a photograph in memory.
    [[nodiscard]] std::vector<std::uint64_t> part_offsets(std::span<const unsigned char> bytes) const;

    /// Offset of the image data.
    [[nodiscard]] std::uint64_t image_offset(FileBytes& file) const { return part_offsets(file).front(); }

    /// Length of the image data in bytes, where LibRaw knows it; 0 otherwise.
    [[nodiscard]] std::uint64_t image_length() const;

    /// Whether the embedded preview, if it is a JPEG, ends where the file's tables say. Zeros may follow its
    /// EOI.
    [[nodiscard]] bool preview_ends_in_its_place(FileBytes& file) const;

    /// The part of the sensor that is the picture; no samples for data of another kind. Only after unpack().
    /// Valid as long as the decoder exists.
    [[nodiscard]] SensorView sensor_view() const;

    /// Whether the sensor has one colour per pixel. Only after unpack().
    [[nodiscard]] bool has_colour_filter() const;

    /// Mean red, green and blue of each block of the picture, 0 to 1, row by row. The grid has no more
    /// columns and rows than the picture has pairs of them. Only where the sensor has a colour filter.
    [[nodiscard]] std::vector<std::array<double, 3>> block_colours(const BlockGrid& grid) const;

    /// Whether another photograph has the same sensor data, margins included. Both only after unpack().
    [[nodiscard]] bool has_same_samples(const RawDecoder& other) const;

  private:
    [[nodiscard]] std::span<const unsigned char> sample_bytes() const;
    [[nodiscard]] std::uint64_t data_offset() const;
    [[nodiscard]] std::vector<std::uint64_t> offsets_in(std::span<const unsigned char> table) const;
    [[nodiscard]] std::string_view method() const;
    [[nodiscard]] bool method_begins_with(std::string_view text) const;
    [[nodiscard]] std::uint64_t tiles() const;
    [[nodiscard]] unsigned black_level() const;

    std::string version_problem_;
    std::unique_ptr<LibRaw> raw_; ///< Null where the versions differ: not even its size is known then.
};

} // namespace plate_mend::host
