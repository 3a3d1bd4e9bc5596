#pragma once

#include "container/TiffDirectory.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// What follows from the first bytes of a TIFF structure.
struct TiffHeader {
    enum class Kind {
        kTiff, ///< 42
        kOrf,  ///< RO, RS or OR
        kRw2,  ///< 55 00
    };

    std::uint64_t at = 0; ///< Its own offset. The number of the first directory is 4 bytes after that.
    Kind kind = Kind::kTiff;
    ByteOrder order = ByteOrder::kLittle;
    std::uint64_t first_directory = 0;          ///< Offset in the file.
    std::optional<std::uint64_t> raw_directory; ///< CR2: likewise, by the number 12 bytes after its start.
    std::uint64_t length = 8;                   ///< 8, or 16 for a CR2.
};

/// Reads the header at an offset of the file; nothing if there is none.
[[nodiscard]] std::optional<TiffHeader> read_tiff_header(Bytes bytes, std::uint64_t offset);

/// A directory, and how it was reached.
struct TiffNode {
    enum class Role {
        kFirst, ///< IFD 0.
        kChain, ///< By the links from IFD 0.
        kSub,   ///< By SubIFDs, or by a link from there.
        kExif,
        kPrivate, ///< Sony's.
        kOther,   ///< GPS, interoperability.
    };

    TiffDirectory directory;
    Role role = Role::kFirst;
};

/// All directories that can be reached from the header, except those in maker notes. Each is read once,
/// and recorded in the inventory, as is the header.
[[nodiscard]] std::vector<TiffNode> read_tiff_tree(const TiffReader& reader, const TiffHeader& header);

} // namespace raw_mend
