#include "judge/OtherPhotographs.h"

#include "files/FileBytes.h"
#include "files/PairScan.h"
#include "judge/PixelSigns.h"
#include "platform/MappedFile.h"

#include <byte_reader/ByteReader.h>
#include <raw_mend/raw_mend.h>

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

namespace plate_mend::host {

namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const unsigned char>;

/// What photographs begin with, and how many bytes before.
struct Beginning {
    std::string_view text;
    std::size_t before = 0;
};

constexpr std::array kBeginnings = {
    Beginning{"II*\0"sv}, Beginning{"MM\0*"sv},           Beginning{"IIRO"sv},  Beginning{"IIRS"sv},
    Beginning{"MMOR"sv},  Beginning{"FUJIFILMCCD-RAW"sv}, Beginning{"IIU\0"sv}, Beginning{"ftypcrx "sv, 4}};

constexpr std::size_t kMostOpened = 32;      ///< Beginnings; those of Exif and of maker notes do not open.
constexpr std::size_t kMostUnpacked = 4;     ///< Each is decoded as a whole.
constexpr std::uint64_t kNeedleBytes = 4096; ///< By which the image is found in the damaged file.

constexpr const char* kWithinAnother =
    "the image is within another one, and nothing shows which one is meant";

/// What of an image must fit into what follows another for it to be one: three quarters, since coded images
/// differ in length.
bool may_be_image(std::uint64_t bytes, std::uint64_t image) {
    return image != 0 && bytes >= image / 4 * 3;
}

bool follows_exif(Bytes bytes, std::size_t at) {
    constexpr std::string_view kExif = "Exif\0\0"sv;
    return at >= kExif.size() && std::equal(kExif.begin(), kExif.end(),
                                            bytes.begin() + static_cast<std::ptrdiff_t>(at - kExif.size()));
}

/// Whether two bytes are the first ones of a beginning. Without a branch, for for_each_pair().
constexpr bool begins_text(unsigned char first, unsigned char second) {
    const auto are = [=](unsigned char one, unsigned char other) {
        return static_cast<unsigned>(first == one) & static_cast<unsigned>(second == other);
    };
    return (are('I', 'I') | are('M', 'M') | are('F', 'U') | are('f', 't')) != 0;
}

static_assert(std::ranges::all_of(kBeginnings, [](const Beginning& one) {
    return begins_text(static_cast<unsigned char>(one.text[0]), static_cast<unsigned char>(one.text[1]));
}));

/// Offsets, ascending; of each kind only those that there is room for after the kinds before it. TIFF headers
/// within a CR3 begin no photograph.
std::vector<std::size_t> find_beginnings(Bytes bytes, bool is_crx) {
    const auto kinds = is_crx ? std::span(kBeginnings).last(1) : std::span(kBeginnings);
    const byte_reader::ByteReader reader(bytes, std::endian::big);
    std::array<std::vector<std::size_t>, kBeginnings.size()> found;
    for_each_pair(bytes, begins_text, [&](std::size_t at) {
        for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
            const Beginning& beginning = kinds[kind];
            if (found[kind].size() < kMostOpened && at >= beginning.before &&
                reader.has(at, beginning.text) && !follows_exif(bytes, at)) {
                found[kind].push_back(at - beginning.before);
            }
        }
    });
    std::vector<std::size_t> places;
    for (const auto& of_kind : found) {
        const std::size_t count = std::min(of_kind.size(), kMostOpened - places.size());
        places.insert(places.end(), of_kind.begin(), of_kind.begin() + static_cast<std::ptrdiff_t>(count));
    }
    std::sort(places.begin(), places.end());
    return places;
}

/// Bytes of an image whose parts begin at these offsets; 0 where that is unknown. Of several parts, the last
/// is taken to be as long as the others are.
std::uint64_t image_length(const RawDecoder& decoder, const std::vector<std::uint64_t>& parts) {
    if (parts.size() > 1) {
        return (parts.back() - parts.front()) / (parts.size() - 1) * parts.size();
    }
    if (decoder.has_fixed_rate()) {
        return decoder.fixed_length();
    }
    return decoder.image_length();
}

/// The sizes of the sensors for which a second photograph would be a rival.
struct SensorSize {
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    bool operator==(const SensorSize&) const = default;
};

SensorSize size_of(const RawDecoder& decoder) {
    return {decoder.sensor_columns(), decoder.sensor_rows()};
}

std::optional<SensorSize> size_of_sample(const std::filesystem::path& sample) {
    RawDecoder decoder;
    return !sample.empty() && decoder.open(sample) ? std::optional(size_of(decoder)) : std::nullopt;
}

/// Where an image is in a file: [begin, end).
struct ImageRange {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

/// Where the result's image is in the damaged file; nothing where that is not known.
///
///   file     the result
///   damaged  the bytes of what it was made from
std::optional<ImageRange> place_of_image(const JudgeRequest& request, const RawDecoder& result,
                                         FileBytes& file, Bytes damaged) {
    const auto parts = result.part_offsets(file);
    const std::uint64_t length = image_length(result, parts);
    if (request.damaged.empty()) {
        return ImageRange{parts.front(), parts.front() + length};
    }
    const auto needle = file.read(parts.front(), kNeedleBytes);
    const auto found = std::search(damaged.begin(), damaged.end(), needle.begin(), needle.end());
    if (found != damaged.end()) {
        const auto at = static_cast<std::uint64_t>(found - damaged.begin());
        return ImageRange{at, at + length};
    }
    if (request.image) { // What was put together is not in the damaged file as it is.
        return ImageRange{request.image->offset, request.image->offset + length};
    }
    return std::nullopt;
}

/// Whether a result was put together around what is between its parts, and all of it is proved.
bool is_joined(const JudgeRequest& request) {
    return request.image &&
           (request.image->pieces_mended != 0 || (request.image->notes & RAW_MEND_PHOTOGRAPH_REMOVED) != 0) &&
           !request.image->is_incomplete() && request.image->pieces_proved == request.image->pieces &&
           (request.image->notes & (RAW_MEND_PLACES_GUESSED | RAW_MEND_PIECES_LOST)) == 0;
}

/// Whether no sign of damage is in the samples: displaced tables lead to what is no photograph.
bool looks_intact(const RawDecoder& unpacked) {
    const SensorView view = unpacked.sensor_view();
    return view.samples != nullptr && view.rows != 0 && find_signs(view).findings.empty();
}

class Search {
  public:
    /// The image may be anywhere if its place is not known. It is joined if it was put together around what
    /// is between its parts, and all of it is proved.
    Search(Bytes bytes, const RawDecoder& result, std::optional<ImageRange> image, bool is_joined,
           std::optional<SensorSize> wanted)
        : bytes_(bytes), result_(result), image_(image), is_joined_(is_joined), wanted_(wanted) {}

    /// Why the choice is doubtful; empty where it is not.
    [[nodiscard]] std::string run() {
        beginnings_ = find_beginnings(bytes_, result_.is_crx());
        std::size_t unpacked = 0;
        std::uint64_t head_end = 0;
        for (const std::size_t at : beginnings_) {
            RawDecoder other;
            if (unpacked >= kMostUnpacked || at < head_end || !other.open(bytes_from(at))) {
                continue;
            }
            const bool is_inside = image_ && at > image_->begin && at < image_->end;
            if (is_inside && !is_joined_) {
                return "another photograph begins within the image";
            }
            if (is_inside) {
                continue; // All of the photograph around it is proved.
            }
            head_end = at + other.part_offsets(bytes_from(at)).front(); // What is before it is its own.
            if (image_ && head_end == image_->begin) {
                own_begin_ = at;
            }
            const SensorSize size = size_of(other);
            const bool rival = size == size_of(result_);
            const bool preferred = wanted_ && size == *wanted_ && !rival;
            if (rival && may_be_around(other, at)) {
                return kWithinAnother;
            }
            if ((!rival && !preferred) || !is_apart(other, at)) {
                continue;
            }
            ++unpacked;
            if (!other.unpack().empty() || other.data_errors() != 0) {
                continue;
            }
            const bool same = other.has_same_samples(result_);
            is_twice_ = is_twice_ || same;
            if (!same && looks_intact(other)) {
                return preferred ? "the file begins with a photograph of another camera"
                                 : "the file holds another photograph, and nothing shows which one is meant";
            }
        }
        return "";
    }

    /// Whether the file holds the result's photograph a second time. Only after run().
    [[nodiscard]] bool is_twice() const { return is_twice_; }

    /// Where the result's photograph begins in the file, if its head is there. Only after run().
    [[nodiscard]] std::optional<std::uint64_t> own_begin() const { return own_begin_; }

  private:
    /// Whether a photograph may have been torn apart by the one that was found: its image begins before that
    /// one's and would end after its beginning, and what is before and after it is as much as an image.
    [[nodiscard]] bool may_be_around(const RawDecoder& other, std::size_t at) const {
        if (!image_ || is_joined_) {
            return false;
        }
        const auto parts = other.part_offsets(bytes_from(at));
        const std::uint64_t begin = at + parts.front();
        const std::uint64_t length = image_length(other, parts);
        if (begin >= image_->begin || length <= image_->begin - begin) {
            return false;
        }
        const std::uint64_t before = image_->begin - begin;
        const std::uint64_t after = bytes_.size() - std::min<std::uint64_t>(image_->end, bytes_.size());
        return after != 0 && may_be_image(before + after, length);
    }

    /// Whether a photograph's image has bytes of its own, ends before the file does, and before the next
    /// photograph begins.
    [[nodiscard]] bool is_apart(const RawDecoder& other, std::size_t at) const {
        const auto parts = other.part_offsets(bytes_from(at));
        const std::uint64_t begin = at + parts.front();
        const std::uint64_t end = begin + image_length(other, parts);
        const bool overlaps =
            image_ && begin < std::max(image_->end, image_->begin + 1) && image_->begin < end;
        const auto next = std::upper_bound(beginnings_.begin(), beginnings_.end(), begin);
        return !overlaps && end <= at + bytes_from(at).size() &&
               std::none_of(next, beginnings_.end(),
                            [&](std::size_t one) { return one < end && opens(one); });
    }

    /// A photograph with what follows it. LibRaw takes the boxes of a second CR3 for those of the first.
    [[nodiscard]] Bytes bytes_from(std::size_t at) const {
        const auto next = std::upper_bound(beginnings_.begin(), beginnings_.end(), at);
        const bool is_next_apart = result_.is_crx() && next != beginnings_.end();
        return bytes_.subspan(at, (is_next_apart ? *next : bytes_.size()) - at);
    }

    [[nodiscard]] bool opens(std::size_t at) const {
        RawDecoder decoder;
        return decoder.open(bytes_from(at));
    }

    Bytes bytes_;
    const RawDecoder& result_;
    std::optional<ImageRange> image_;
    bool is_joined_;
    std::optional<SensorSize> wanted_;
    std::vector<std::size_t> beginnings_;
    bool is_twice_ = false;
    std::optional<std::uint64_t> own_begin_;
};

/// Whether bytes are as even as noise: coded images prefer some, by far.
bool is_noise(Bytes bytes) {
    constexpr double kMostOfNoise = 400; // Of chi square with 255 degrees of freedom.
    std::array<double, 256> counts{};
    for (const unsigned char byte : bytes) {
        ++counts[byte];
    }
    const double expected = static_cast<double>(bytes.size()) / static_cast<double>(counts.size());
    double sum = 0;
    for (const double count : counts) {
        sum += (count - expected) * (count - expected) / std::max(1.0, expected);
    }
    return sum < kMostOfNoise;
}

/// Whether a lossless JPEG or CR3's coded data begin somewhere in bytes.
bool has_coded_head(Bytes bytes, const RawDecoder& result) {
    constexpr std::array kOfJpeg = {"\xFF\xD8\xFF\xC4"sv, "\xFF\xD8\xFF\xC3"sv};
    constexpr std::array kOfCrx = {"\xFF\x01\0\x08"sv, "\xFF\x01\0\0"sv};
    const auto& heads = result.is_crx() ? kOfCrx : kOfJpeg;
    return std::any_of(heads.begin(), heads.end(), [&](std::string_view head) {
        const auto same = [](unsigned char byte, char letter) {
            return byte == static_cast<unsigned char>(letter);
        };
        return std::search(bytes.begin(), bytes.end(), head.begin(), head.end(), same) != bytes.end();
    });
}

bool may_be_followed_by_image(const ImageRange& image, const RawDecoder& result, Bytes bytes) {
    if (image.end == image.begin || image.end >= bytes.size()) {
        return false;
    }
    Bytes rest = bytes.subspan(static_cast<std::size_t>(image.end));
    while (!rest.empty() && rest.back() == 0) {
        rest = rest.first(rest.size() - 1);
    }
    const bool has_heads = result.is_lossless_jpeg() || result.is_crx();
    return may_be_image(rest.size(), image.end - image.begin) && !is_noise(rest) &&
           (!has_heads || has_coded_head(rest, result));
}

/// Whether a photograph may be within another one without a head, of which much is before and after it.
bool may_be_parting(const ImageRange& image, std::uint64_t begin, Bytes bytes) {
    constexpr std::uint64_t kLeastShare = 16; // Of an image, on each side: remains are on one, as a rule.
    const std::uint64_t length = image.end - image.begin;
    const std::uint64_t after = bytes.size() - std::min<std::uint64_t>(image.end, bytes.size());
    return std::min(begin, after) > length / kLeastShare && may_be_image(begin + after, length) &&
           !is_noise(bytes.first(static_cast<std::size_t>(begin))) &&
           !is_noise(bytes.last(static_cast<std::size_t>(after)));
}

} // namespace

std::vector<std::string> find_other_photographs(const JudgeRequest& request, const RawDecoder& result,
                                                FileBytes& file) {
    platform::MappedFile mapped;
    const auto& path = request.damaged.empty() ? request.result : request.damaged;
    if (mapped.open(path, std::numeric_limits<std::uint64_t>::max()) != platform::MapResult::kMapped) {
        return {};
    }
    const auto wanted = request.damaged.empty() ? size_of_sample(request.sample) : std::nullopt;
    const auto image = place_of_image(request, result, file, mapped.bytes());
    Search search(mapped.bytes(), result, image, is_joined(request), wanted);
    const std::string doubt = search.run();
    if (!doubt.empty()) {
        return {doubt};
    }
    if (image && !search.is_twice() && !is_joined(request) &&
        may_be_followed_by_image(*image, result, mapped.bytes())) {
        return {"what follows the image may be another one, and nothing shows which one is meant"};
    }
    if (image && search.own_begin() && may_be_parting(*image, *search.own_begin(), mapped.bytes())) {
        return {kWithinAnother};
    }
    return {};
}

} // namespace plate_mend::host
