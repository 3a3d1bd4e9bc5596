#pragma once

#include "locate/ByteRange.h"

#include "support/Bytes.h"

#include <vector>

namespace test {

/// A file with lossless JPEGs between other bytes: what a raw photograph looks like without its container.
struct CodedPhoto {
    struct Options {
        std::uint32_t seed = 1;    ///< Another one is another photograph.
        std::size_t pieces = 6;    ///< Streams of 64 by 48 pixels.
        std::size_t before = 3000; ///< Bytes before the first stream.
        std::size_t after = 0;     ///< Bytes after the last one.
        std::size_t alignment = 1; ///< Each distance from stream to stream is a multiple.
        bool own_tables = false;   ///< Each stream's Huffman table has a length of its own.
        unsigned last_rows = 48;   ///< Rows of the last stream.
        bool eoi_before = false;   ///< A lossy JPEG's scan is before the first stream.
    };

    explicit CodedPhoto(const Options& options);

    Bytes bytes;
    std::vector<raw_mend::ByteRange> streams; ///< SOI to after EOI.
};

} // namespace test
