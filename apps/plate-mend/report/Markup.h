#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// Texts and links within the HTML of the contact sheet.

namespace plate_mend::host {

/// A text from outside for text and for attributes in double quotes: printable(), and without markup.
[[nodiscard]] std::string escape(std::string_view text);

[[nodiscard]] std::string base64(std::string_view bytes);
/// Letters that it takes for as many bytes.
[[nodiscard]] constexpr std::uint64_t base64_size(std::uint64_t bytes) {
    return (bytes + 2) / 3 * 4;
}

/// The bytes of a name as part of an address: all but letters, digits and "-._~" are encoded, the slash too.
[[nodiscard]] std::string percent_encoded(std::string_view name);

/// Addresses of files as a page names them.
class Links {
  public:
    /// For a page in this folder.
    explicit Links(const std::filesystem::path& folder);

    /// The address of a file: relative to the page, so that the page and the files can be moved together;
    /// with "file:" only where both have no folder in common, as on two drives. It needs no escape(). Takes
    /// and follows names alone: the file need not exist.
    ///
    ///   file  its path as bytes, as in text/Paths.h
    [[nodiscard]] std::string to(const std::string& file) const;

  private:
    std::filesystem::path folder_;
};

} // namespace plate_mend::host
