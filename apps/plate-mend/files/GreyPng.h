#pragma once

#include "platform/Files.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace plate_mend::host {

/// A PNG of 8-bit grey, written row by row: it takes next to no memory, whatever its size.
class GreyPng {
  public:
    /// Starts a new file. Both sides must be from 1 to 2^31 - 1. Throws std::system_error, and
    /// std::bad_alloc.
    GreyPng(const std::filesystem::path& path, std::uint32_t width, std::uint32_t height);
    GreyPng(const GreyPng&) = delete;
    GreyPng& operator=(const GreyPng&) = delete;
    ~GreyPng();

    /// Adds a row of exactly `width` pixels. Throws as the constructor does.
    void add_row(std::span<const unsigned char> pixels);

    /// Ends the file, after all rows. Throws as the constructor does.
    void finish();

  private:
    struct Deflater;

    void write_chunk(const char* type, std::span<const unsigned char> data);
    void deflate(std::span<const unsigned char> bytes, int flush);

    platform::NewFile file_;
    std::unique_ptr<Deflater> deflater_;
    std::vector<unsigned char> compressed_; ///< Room for one chunk.
};

} // namespace plate_mend::host
