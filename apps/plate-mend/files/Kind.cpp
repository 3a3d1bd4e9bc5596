#include "files/Kind.h"

#include "files/FileBytes.h"
#include "files/Formats.h"
#include "text/Paths.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;
using Span = std::span<const unsigned char>;

constexpr std::size_t kHead = std::size_t{64} << 10U;     ///< Where directories of a head are.
constexpr std::size_t kBeginning = std::size_t{8} << 20U; ///< Where previews and metadata are.

constexpr std::size_t kLongestMake = 32;

/// In smaller files a maker's name proves nothing: lists of translated words have them too.
constexpr std::size_t kSmallestPhotograph = std::size_t{256} << 10U;

/// What a camera writes as Make begins with this.
struct Maker {
    std::string_view make;
    std::string_view kind;
};
constexpr std::array kMakers = {
    Maker{"SONY", "arw"},      Maker{"NIKON", "nef"},       Maker{"Canon", "cr2"},
    Maker{"FUJIFILM", "raf"},  Maker{"OLYMPUS", "orf"},     Maker{"OM Digital", "orf"},
    Maker{"PENTAX", "pef"},    Maker{"RICOH", "pef"},       Maker{"SAMSUNG", "srw"},
    Maker{"Panasonic", "rw2"}, Maker{"LEICA", "rwl"},       Maker{"Hasselblad", "3fr"},
    Maker{"EPSON", "erf"},     Maker{"SEIKO EPSON", "erf"}, Maker{"EASTMAN KODAK", "kdc"},
    Maker{"Mamiya", "mef"},    Maker{"Leaf", "mos"},        Maker{"Phase One", "iiq"}};

/// Kinds that have no lossless JPEG stream whose first segment is SOF3. Where one is, a converter has made a
/// DNG of the photograph.
constexpr std::array kKindsWithoutBareStreams = {"nef", "cr2", "raf", "orf", "pef", "srw", "rw2"};

/// Heads that say all.
struct Head {
    std::size_t offset;
    std::string_view text;
    std::string_view kind;
};
constexpr std::array kHeads = {Head{0, "FUJIFILMCCD-RAW ", "raf"},
                               Head{0, "IIRO", "orf"},
                               Head{0, "IIRS", "orf"},
                               Head{0, "MMOR", "orf"},
                               Head{0, std::string_view("IIU\0", 4), "rw2"},
                               Head{4, "ftypcrx ", "cr3"},
                               Head{8, "CR\2", "cr2"}};

/// Files of other kinds: pictures, films, sounds, archives, documents, programs.
constexpr std::array kOthers = {Head{0, "\xFF\xD8\xFF", ""},
                                Head{0, "\x89PNG", ""},
                                Head{0, "GIF8", ""},
                                Head{0, "BM", ""},
                                Head{0, "RIFF", ""},
                                Head{4, "ftyp", ""},
                                Head{4, "moov", ""},
                                Head{4, "mdat", ""},
                                Head{0, "PK\3\4", ""},
                                Head{0, "%PDF", ""},
                                Head{0, "\x1F\x8B", ""},
                                Head{0, "Rar!", ""},
                                Head{0, "7z\xBC\xAF", ""},
                                Head{0, "MZ", ""},
                                Head{0,
                                     "\x7F"
                                     "ELF",
                                     ""},
                                Head{0, "ID3", ""},
                                Head{0, "OggS", ""},
                                Head{0, "\x1A\x45\xDF\xA3", ""},
                                Head{0, std::string_view("\0\5\26\7", 4), ""}};

bool has(const ByteReader& reader, const Head& head) {
    return reader.has(head.offset, head.text);
}

std::string kind_of_maker(std::string_view make, std::string_view model) {
    const auto* const maker = std::find_if(kMakers.begin(), kMakers.end(),
                                           [&](const Maker& one) { return make.starts_with(one.make); });
    if (maker == kMakers.end()) {
        return "";
    }
    const bool is_small_nikon = maker->kind == "nef" && model.starts_with("COOLPIX");
    const bool is_old_sony = maker->kind == "arw" && model.starts_with("DSC-R1");
    return std::string(is_small_nikon ? "nrw" : is_old_sony ? "sr2" : maker->kind);
}

/// The first directory of a TIFF file, as far as it tells what kind of photograph follows.
class FirstDirectory {
  public:
    /// | "II" or "MM" | 42 (2) | offset of the directory (4) |
    explicit FirstDirectory(ByteReader reader) : reader_(reader) {
        constexpr std::uint64_t kEntrySize = 12;
        const std::uint64_t at = reader.u32(4).value_or(0);
        const std::uint64_t count = reader.u16(at).value_or(0);
        for (std::uint64_t entry = 0; at != 0 && entry < count; ++entry) {
            read(at + 2 + kEntrySize * entry);
        }
    }

    /// Whether it describes an image: not if it is lost.
    [[nodiscard]] bool has_image() const { return compression_ != 0 || photometric_ || has_subdirectories_; }

    [[nodiscard]] std::string kind() const {
        if (is_dng_) {
            return "dng";
        }
        constexpr std::uint32_t kColourFilterArray = 32803;
        constexpr std::uint32_t kFirstPrivateCoding = 32767; // Compression: those of makers are from here on.
        const bool is_raw =
            has_subdirectories_ || photometric_ == kColourFilterArray || compression_ >= kFirstPrivateCoding;
        return is_raw ? kind_of_maker(make_, model_) : "";
    }

  private:
    /// | 0 tag (2) | 2 type (2) | 4 count (4) | 8 value or offset (4) |
    void read(std::uint64_t entry) {
        const std::uint32_t value = reader_.u16(entry + 2) == 3U ? reader_.u16(entry + 8).value_or(0)
                                                                 : reader_.u32(entry + 8).value_or(0);
        switch (reader_.u16(entry).value_or(0)) {
        case 259:
            compression_ = value;
            break;
        case 262:
            photometric_ = value;
            break;
        case 271:
            make_ = text(entry);
            break;
        case 272:
            model_ = text(entry);
            break;
        case 330:
            has_subdirectories_ = true;
            break;
        case 50706:
            is_dng_ = true;
            break;
        default:
            break;
        }
    }

    [[nodiscard]] std::string_view text(std::uint64_t entry) const {
        const std::uint64_t length = reader_.u32(entry + 4).value_or(0);
        const std::uint64_t at = length <= 4 ? entry + 8 : reader_.u32(entry + 8).value_or(0);
        return reader_.holds(at, length)
                   ? std::string_view(reinterpret_cast<const char*>(reader_.bytes().data()) + at,
                                      static_cast<std::size_t>(length))
                   : std::string_view();
    }

    ByteReader reader_;
    std::string_view make_;
    std::string_view model_;
    std::uint32_t compression_ = 0;
    std::optional<std::uint32_t> photometric_;
    bool has_subdirectories_ = false;
    bool is_dng_ = false;
};

/// Of an extension inside the name: "arw" of "IMG_1.ARW.locked".
std::string kind_of_name(const std::filesystem::path& file) {
    const std::vector<std::string>& known = raw_extensions();
    for (std::filesystem::path name = file.filename(); name.has_extension(); name.replace_extension()) {
        if (std::string extension = extension_of(name);
            std::find(known.begin(), known.end(), extension) != known.end()) {
            return extension;
        }
    }
    return "";
}

/// Texts and scripts, whose first bytes are all letters and signs.
bool is_text(Span bytes) {
    constexpr std::size_t kEnough = 512;
    const Span first = bytes.first(std::min(kEnough, bytes.size()));
    return std::all_of(first.begin(), first.end(),
                       [](unsigned char byte) {
                           return byte >= 0x20 || byte == '\n' || byte == '\r' || byte == '\t' ||
                                  byte == '\f';
                       }) &&
           std::count_if(first.begin(), first.end(), [](unsigned char byte) { return byte >= 0x80; }) == 0;
}

/// The byte order of a TIFF head; nothing for another head.
std::optional<std::endian> tiff_order(Span head) {
    const ByteReader reader(head, std::endian::little);
    return reader.has(0, std::string_view("II*\0", 4))   ? std::optional(std::endian::little)
           : reader.has(0, std::string_view("MM\0*", 4)) ? std::optional(std::endian::big)
                                                         : std::nullopt;
}

/// A TIFF whose first directory survives, and is not that of a RAW photograph.
bool is_other_tiff(Span bytes) {
    const auto order = tiff_order(bytes);
    return order && FirstDirectory(ByteReader(bytes, *order)).has_image();
}

/// Whether the file's own extension says that it is something else, which remains cannot contradict: a
/// damaged JPEG has the same maker in its Exif data.
bool is_called_other(const std::filesystem::path& file) {
    constexpr std::array kForeignExtensions = {"jpg",  "jpeg", "jpe", "heic",  "heif", "hif",  "png",
                                               "gif",  "bmp",  "mp4", "mov",   "avi",  "mts",  "m2ts",
                                               "mpg",  "wav",  "mp3", "txt",   "htm",  "html", "pdf",
                                               "json", "csv",  "xml", "jsonl", "db",   "ini"};
    return std::find(kForeignExtensions.begin(), kForeignExtensions.end(), extension_of(file)) !=
           kForeignExtensions.end();
}

/// Whether a text in the file begins with this: no letter precedes it, and a zero soon ends it.
bool has_text(const ByteReader& reader, std::string_view beginning) {
    const auto is_printable = [&](std::size_t at) {
        const unsigned byte = reader.u8(at).value_or(0);
        return byte >= 0x20 && byte < 0x7F;
    };
    for (auto at = reader.find(beginning); at; at = reader.find(beginning, *at + 1)) {
        std::size_t end = *at + beginning.size();
        while (end < *at + kLongestMake && is_printable(end)) {
            ++end;
        }
        if ((*at == 0 || !is_printable(*at - 1)) && reader.u8(end) == 0U) {
            return true;
        }
    }
    return false;
}

/// An entry of DNGVersion: tag 50706, type BYTE, count 4.
bool has_dng_version(const ByteReader& reader) {
    return reader.find(std::string_view("\x12\xC6\1\0\4\0\0\0", 8)) ||
           reader.find(std::string_view("\xC6\x12\0\1\0\0\0\4", 8));
}

/// A sample entry or a box of CR3.
bool has_crx_boxes(const ByteReader& reader) {
    return reader.find("CRAW") && (reader.find("CMP1") || reader.find("stsz") || reader.find("CDI1"));
}

/// Whether a lossless JPEG stream begins as those of DNG converters do.
bool has_bare_stream(const ByteReader& big) {
    // | SOI | SOF3 | length (2): 8, and 3 per component |
    constexpr std::string_view kSoiAndSof3("\xFF\xD8\xFF\xC3", 4);
    for (auto at = big.find(kSoiAndSof3); at; at = big.find(kSoiAndSof3, *at + 1)) {
        const unsigned length = big.u16(*at + kSoiAndSof3.size()).value_or(0);
        if (length >= 8 + 3 && length <= 8 + 3 * 4 && length % 3 == 8 % 3) {
            return true;
        }
    }
    return false;
}

/// By the head of a lossless JPEG stream, which only RAW photographs have. Canon's cameras write SOI, DHT,
/// SOF3; DNG converters SOI, SOF3.
std::string kind_of_lossless_stream(const ByteReader& big) {
    constexpr std::string_view kSof3("\xFF\xC3\0", 3);
    if (has_bare_stream(big)) {
        return "dng";
    }
    constexpr std::string_view kSoiAndDht("\xFF\xD8\xFF\xC4", 4);
    for (auto at = big.find(kSoiAndDht); at; at = big.find(kSoiAndDht, *at + 1)) {
        // | FF D8 | FF C4 | length of the tables, with this field (2) | tables | FF C3 | length (2) |
        if (big.has(*at + 4 + big.u16(*at + 4).value_or(0), kSof3)) {
            return "cr2";
        }
    }
    return "";
}

} // namespace

std::string kind_of_head(Span head) {
    const ByteReader little(head, std::endian::little);
    for (const Head& one : kHeads) {
        if (has(little, one)) {
            return std::string(one.kind);
        }
    }
    const auto order = tiff_order(head);
    return order ? FirstDirectory(ByteReader(head, *order)).kind() : "";
}

std::string kind_of_remains(Span beginning) {
    const ByteReader reader(beginning, std::endian::little);
    const bool is_other =
        std::any_of(kOthers.begin(), kOthers.end(), [&](const Head& other) { return has(reader, other); });
    if (beginning.size() < kSmallestPhotograph || is_other || is_text(beginning) ||
        is_other_tiff(beginning)) {
        return "";
    }
    if (has_dng_version(reader)) {
        return "dng";
    }
    if (has_crx_boxes(reader)) {
        return "cr3";
    }
    const ByteReader big(beginning, std::endian::big);
    const auto* const maker = std::find_if(kMakers.begin(), kMakers.end(),
                                           [&](const Maker& one) { return has_text(reader, one.make); });
    if (maker == kMakers.end()) {
        return kind_of_lossless_stream(big);
    }
    const bool is_converted = std::find(kKindsWithoutBareStreams.begin(), kKindsWithoutBareStreams.end(),
                                        maker->kind) != kKindsWithoutBareStreams.end() &&
                              has_bare_stream(big);
    return is_converted ? "dng" : std::string(maker->kind);
}

std::string kind_of(const std::filesystem::path& file) {
    const std::vector<std::string>& known = raw_extensions();
    if (std::string extension = extension_of(file);
        std::find(known.begin(), known.end(), extension) != known.end()) {
        return extension;
    }
    FileBytes bytes(file);
    if (std::string kind = kind_of_head(bytes.read(0, kHead)); !kind.empty()) {
        return kind;
    }
    if (std::string kind = kind_of_name(file); !kind.empty()) {
        return kind;
    }
    return is_called_other(file) ? "" : kind_of_remains(bytes.read(0, kBeginning));
}

bool is_companion(const std::filesystem::path& file) {
    const std::string extension = extension_of(file);
    return extension == "xmp" || extension == "thm" || utf8_from(file.filename()).starts_with("._");
}

} // namespace plate_mend::host
