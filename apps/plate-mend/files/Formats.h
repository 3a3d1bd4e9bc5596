#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

enum class RawFormat { kArw, kSr2, kRaf, kOrf, kDng, kCr2, kNef, kCr3 };

/// "ARW" and so on.
[[nodiscard]] const char* name_of(RawFormat format);

/// The extensions of RAW photographs, in lower case without the dot: those of the formats, and those that
/// only the raw engine repairs.
[[nodiscard]] const std::vector<std::string>& raw_extensions();

/// A path's extension, ASCII letters in lower case, without the dot.
[[nodiscard]] std::string extension_of(const std::filesystem::path& path);

/// The format of photographs with this extension, given as extension_of returns it; nothing for one that no
/// advanced repair accepts.
[[nodiscard]] std::optional<RawFormat> format_of_extension(const std::string& extension);

/// The format by the extension, in any case; nothing for one that no advanced repair accepts.
[[nodiscard]] std::optional<RawFormat> format_of(const std::filesystem::path& path);

/// Whether photographs with these two extensions are of one format, or the extensions are the same.
[[nodiscard]] bool are_same_kind(const std::string& one, const std::string& other);

} // namespace plate_mend::host
