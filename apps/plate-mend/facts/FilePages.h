#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace platform {
class SourceFile;
}

/// Reads numbers and texts anywhere in a file, a page at a time and each page once, and no more pages than
/// allowed. What is past the end, cannot be read or would be too much is not there. So a disk that fails, and
/// a file that shrinks meanwhile, do no harm, as they would to a mapping.
class FilePages {
  public:
    /// Opens the file. One that cannot be opened has no bytes.
    ///
    ///   most_bytes  how many bytes may be read, in pages of 16 KiB
    FilePages(const std::filesystem::path& path, std::size_t most_bytes);
    FilePages(const FilePages&) = delete;
    FilePages& operator=(const FilePages&) = delete;
    ~FilePages();

    [[nodiscard]] std::uint64_t size() const { return size_; }

    /// Up to `count` bytes from an offset on; fewer where those that follow are not there.
    [[nodiscard]] std::vector<unsigned char> bytes(std::uint64_t offset, std::size_t count);

    [[nodiscard]] std::optional<std::uint8_t> u8(std::uint64_t offset);
    [[nodiscard]] std::optional<std::uint16_t> u16(std::uint64_t offset, std::endian order);
    [[nodiscard]] std::optional<std::uint32_t> u32(std::uint64_t offset, std::endian order);
    [[nodiscard]] bool has(std::uint64_t offset, std::string_view text_there);

    /// Up to `count` bytes as a text.
    [[nodiscard]] std::string text(std::uint64_t offset, std::size_t count);

  private:
    using Page = std::vector<unsigned char>;
    [[nodiscard]] const Page& page(std::uint64_t number);

    std::unique_ptr<platform::SourceFile> file_; ///< Null if it cannot be opened.
    std::uint64_t size_ = 0;
    std::size_t pages_left_;
    std::map<std::uint64_t, Page> pages_; ///< By their numbers.
};

} // namespace plate_mend::host
