#pragma once

#include "record/CameraFacts.h"

#include <byte_reader/ByteReader.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What directories of one structure say, as they say it.
struct ExifContent {
    CameraFacts facts;     ///< All but the date.
    std::string original;  ///< When the photograph was taken, as in CameraFact::kTaken up to the second.
    std::string digitized; ///< When it became data: cameras write the same.
    std::string changed;   ///< When the file was written: cameras write the same, programs do not.
    std::string fraction;  ///< Of the second, of `original`.
    std::string zone;      ///< Of `original`.
    bool is_dng = false;   ///< A directory of a DNG, which may have been written by a program.
    std::vector<std::uint64_t> images; ///< Offsets of strips and tiles in the file.
    bool has_raw_image = false;        ///< One of these images is raw.
    std::vector<std::uint64_t> jpegs;  ///< Offsets of embedded JPEGs in the file.

    /// Adds what another structure of the same photograph says and this one does not.
    void add(const ExifContent& other);

    /// The facts with the date: that of taking; in a file that no program wrote, the file's. None where the
    /// two dates that a camera writes alike differ.
    [[nodiscard]] CameraFacts all_facts() const;
};

/// Reads directories of the metadata of cameras (TIFF 6.0, Exif 2.3) anywhere in a file, whatever its bytes
/// are: no directory is read twice, and the work of one reader is limited.
class ExifReader {
  public:
    explicit ExifReader(std::span<const unsigned char> file) : file_(file) {}

    /// All directories that a TIFF header at an offset leads to; nothing where there is no header, or no
    /// directory that was not read before.
    [[nodiscard]] std::optional<ExifContent> read_header(std::uint64_t offset);

    /// A directory without a header, of which an entry was found, and those that it leads to. Offsets in it
    /// count from the beginning of the file. Its count of entries need not survive.
    [[nodiscard]] std::optional<ExifContent> read_around(std::uint64_t entry, std::endian order);

    /// Whether this byte is in a directory that was read.
    [[nodiscard]] bool has_read(std::uint64_t offset) const;

  private:
    class Walk; ///< One structure.

    std::span<const unsigned char> file_;
    std::map<std::uint64_t, std::uint64_t> read_; ///< Where directories begin and end.
    std::size_t work_ = 0;                        ///< Entries and values so far.
};

} // namespace plate_mend::host
