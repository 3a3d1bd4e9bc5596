#include "facts/Remains.h"

#include "facts/Containers.h"
#include "facts/FilePages.h"
#include "facts/JpegHead.h"
#include "facts/StructureReader.h"
#include "files/Failures.h"
#include "files/FileBytes.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;
using Span = std::span<const unsigned char>;

constexpr std::size_t kSearchBlock = std::size_t{8} << 20U;
constexpr std::uint64_t kMostSearchedBytes = std::uint64_t{256} << 20U;
constexpr std::size_t kEntryLength = 12;
constexpr std::size_t kLongestPattern = 1024; ///< Nothing is longer that is searched for.

constexpr std::size_t kMostStructures = 64; ///< TIFF structures and headers of RAF that are read.
constexpr std::size_t kLongestText = 128;
constexpr std::size_t kShortestText = 3;
/// Shorter texts may be anywhere by chance, and count only as all of a text.
constexpr std::size_t kCertainText = 6;

struct EntryNumber {
    bool is_there = false;
    std::uint32_t value = 0;
};

/// The value of a directory entry with this tag: type SHORT or LONG, count 1.
///
///   | 0 tag (2) | 2 type (2) | 4 count (4) | 8 value (4) |
EntryNumber entry_value(const ByteReader& reader, std::size_t at, std::uint16_t tag) {
    constexpr std::uint16_t kShort = 3;
    constexpr std::uint16_t kLong = 4;
    const std::uint16_t type = reader.u16(at + 2).value_or(0);
    if (reader.u16(at) != tag || (type != kShort && type != kLong) || reader.u32(at + 4) != 1U) {
        return {};
    }
    return {true, type == kShort ? reader.u16(at + 8).value_or(0) : reader.u32(at + 8).value_or(0)};
}

/// In every directory, ImageLength comes right after ImageWidth, and in many BitsPerSample and Compression
/// follow.
void add_picture_entries(const ByteReader& reader, std::size_t at, PhotographFacts& facts) {
    const EntryNumber width = entry_value(reader, at, 256);
    const EntryNumber height = entry_value(reader, at + kEntryLength, 257);
    if (!width.is_there || !height.is_there || !is_likely_size(width.value, height.value)) {
        return;
    }
    add_fact(facts.sizes, {width.value, height.value});
    ++(reader.order() == std::endian::little ? facts.little_endian : facts.big_endian);
    const EntryNumber bits = entry_value(reader, at + 2 * kEntryLength, 258);
    const EntryNumber compression = entry_value(reader, at + 3 * kEntryLength, 259);
    if (bits.value != 0 && compression.value != 0) {
        add_fact(facts.codings, {width.value, height.value, bits.value, compression.value});
    }
}

/// A sample entry: | size (4) | "CRAW" | 24 bytes | width (2) | height (2) |
void add_sample_entry(const ByteReader& reader, std::size_t at, PhotographFacts& facts) {
    const std::uint32_t width = reader.u16(at + 28).value_or(0);
    const std::uint32_t height = reader.u16(at + 30).value_or(0);
    if (reader.has(at, "CRAW") && is_likely_size(width, height)) {
        add_fact(facts.sizes, {width, height});
    }
}

void add_patterns(Span bytes, std::size_t at, PhotographFacts& facts) {
    const ByteReader big(bytes, std::endian::big);
    if (bytes[at] <= 1) { // 00 01 or 01 00: ImageWidth in either order.
        if (at + 1 < bytes.size() && bytes[at] + bytes[at + 1] == 1) {
            add_picture_entries(bytes[at] == 0 ? ByteReader(bytes, std::endian::little) : big, at, facts);
        }
    } else if (bytes[at] == 0xFF) {
        add_frame(bytes.subspan(at), facts);
        add_quantisation(bytes.subspan(at), facts);
    } else if (bytes[at] == 'C') {
        add_sample_entry(big, at, facts);
    }
}

/// What a byte may be: most are nothing, and are passed over at once.
enum Role : std::uint8_t {
    kInText = 1,
    kEndsText = 2,
    kBeginsPattern = 4, ///< A directory entry, a marker of JPEG, a sample entry.
    kBeginsStructure = 8,
};

constexpr std::array<std::uint8_t, 256> make_roles() {
    std::array<std::uint8_t, 256> roles{};
    for (std::size_t byte = 0x20; byte < 0x7F; ++byte) {
        roles.at(byte) = kInText;
    }
    const auto add = [&roles](std::string_view bytes, Role role) {
        for (const char byte : bytes) {
            roles.at(static_cast<unsigned char>(byte)) |= role;
        }
    };
    add(std::string_view("\0\"<", 3), kEndsText);
    add(std::string_view("\0\1\xFF", 3), kBeginsPattern);
    add("C", kBeginsPattern);
    add("IMF", kBeginsStructure);
    return roles;
}
constexpr auto kRoles = make_roles();

bool is_letter_or_digit(unsigned char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

/// Finds known texts: each ends with a NUL, as texts of directories do, or with a quotation mark or a tag, as
/// those of XMP do. What precedes one may be anything where the text is long.
class TextSearch {
  public:
    TextSearch(const KnownTexts& known, std::set<std::string>& found) : known_(known), found_(found) {
        for (const std::string& text : known) {
            lengths_.insert(text.size());
        }
    }

    /// Looks for texts that end before an offset.
    void end_text(Span bytes, std::size_t end, std::size_t printable) {
        const std::size_t length = std::min(printable, kLongestText);
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
        std::string_view text(reinterpret_cast<const char*>(bytes.data()) + end - length, length);
        text = text.substr(0, text.find_last_not_of(' ') + 1);
        for (const std::size_t known : lengths_) {
            if (known > text.size()) {
                break;
            }
            const std::string_view last = text.substr(text.size() - known);
            const bool is_whole =
                known == text.size() ||
                !is_letter_or_digit(static_cast<unsigned char>(text[text.size() - known - 1]));
            const bool is_certain = known >= kCertainText && bytes[end] == 0;
            if ((is_whole || is_certain) && known_.contains(last)) {
                found_.emplace(last);
            }
        }
    }

  private:
    const KnownTexts& known_;
    std::set<std::string>& found_;
    std::set<std::size_t> lengths_;
};

/// The search of one file, block by block.
class RemainsSearch {
  public:
    RemainsSearch(const KnownTexts& texts, Remains& remains)
        : remains_(remains), texts_(texts, remains.texts) {}

    /// Searches a block that begins at an offset of the file, with the first bytes of the next one.
    void search(Span bytes, std::uint64_t offset) {
        const std::size_t end = std::min(bytes.size(), kSearchBlock);
        std::size_t text = 0; // Where the text begins that the next byte may belong to.
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            const unsigned role = kRoles[bytes[at]];
            if ((role & kEndsText) != 0 && at - text >= kShortestText) {
                texts_.end_text(bytes, at, at - text);
            }
            text = (role & kInText) != 0 ? text : at + 1;
            if ((role & kBeginsPattern) != 0 && at < end) {
                add_patterns(bytes, at, remains_.facts);
            } else if ((role & kBeginsStructure) != 0 && at < end) {
                note_structure(bytes, at, offset);
            }
        }
    }

    /// Offsets of TIFF structures and headers of RAF.
    [[nodiscard]] const std::vector<std::uint64_t>& structures() const { return structures_; }

  private:
    void note_structure(Span bytes, std::size_t at, std::uint64_t offset) {
        constexpr std::string_view kLittle("II*\0", 4);
        constexpr std::string_view kBig("MM\0*", 4);
        const unsigned char byte = bytes[at];
        const ByteReader reader(bytes, std::endian::little);
        const bool is_one = byte == 'F'
                                ? reader.has(at, "FUJIFILMCCD-RAW ")
                                : reader.has(at, kLittle) || reader.has(at, kBig) || reader.has(at, "IIRO") ||
                                      reader.has(at, "IIRS") || reader.has(at, "MMOR");
        if (is_one && structures_.size() < kMostStructures) {
            structures_.push_back(offset + at);
        }
    }

    Remains& remains_;
    TextSearch texts_;
    std::vector<std::uint64_t> structures_;
};

/// What a structure in the midst of the file says.
void add_structure(FilePages& pages, std::uint64_t at, PhotographFacts& facts) {
    if (pages.has(at, "FUJI")) {
        add_raf(pages, at, facts);
    } else {
        StructureReader(pages, facts).add_tiff(at);
    }
}

} // namespace

void add_remains(Span bytes, PhotographFacts& facts) {
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if ((kRoles[bytes[at]] & kBeginsPattern) != 0) {
            add_patterns(bytes, at, facts);
        }
    }
}

Remains remains_of(const std::filesystem::path& file, const KnownTexts& texts) {
    Remains remains;
    RemainsSearch search(texts, remains);
    FileBytes bytes(file);
    const std::uint64_t end = std::min(bytes.size(), kMostSearchedBytes);
    for (std::uint64_t at = 0; at < end; at += kSearchBlock) {
        check_interruption();
        const std::vector<unsigned char> block = bytes.read(at, kSearchBlock + kLongestPattern);
        search.search(block, at);
    }
    constexpr std::size_t kMostPages = std::size_t{4} << 20U;
    FilePages pages(file, kMostPages);
    PhotographFacts own;
    add_photograph(pages, own);
    remains.names_its_camera = !own.models.empty();
    if (remains.names_its_camera) {
        remains.facts.makes = own.makes;
        remains.facts.models = own.models;
        remains.facts.software = own.software;
    } else {
        for (const std::uint64_t at : search.structures()) {
            add_structure(pages, at, remains.facts);
        }
    }
    return remains;
}

} // namespace plate_mend::host
