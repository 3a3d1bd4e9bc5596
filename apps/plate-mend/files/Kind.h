#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace plate_mend::host {

/// The kind of RAW photograph that a file is or was, as the extension of such files, in lower case without
/// the dot ("arw"): by its own extension; else by its head, by an extension inside its name, as ransomware
/// leaves it ("IMG_1.ARW.locked"), and by what survives in its first 8 MiB. Empty if nothing shows that it is
/// one, or if it cannot be read.
[[nodiscard]] std::string kind_of(const std::filesystem::path& file);

/// The kind by an intact head: that of RAF, ORF, RW2 and CR3; for TIFF, a DNG's version, or a maker together
/// with an image that is no plain picture. Empty for anything else.
///
///   head  the file's first bytes; what is not within them does not count
[[nodiscard]] std::string kind_of_head(std::span<const unsigned char> head);

/// The kind of a file whose head is lost, by what its directories and boxes say of the maker, or by the head
/// of its lossless JPEG stream. Empty if nothing of these is there, if the file is shorter than 256 KiB, or
/// if it begins as a JPEG, a film, an archive or a text does.
///
///   beginning  the file's first bytes
[[nodiscard]] std::string kind_of_remains(std::span<const unsigned char> beginning);

/// Whether this is a companion of a photograph and none itself, by its name: "._*", .xmp, .thm.
[[nodiscard]] bool is_companion(const std::filesystem::path& file);

} // namespace plate_mend::host
