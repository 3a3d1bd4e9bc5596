#include "judge/RawDecoder.h"

#include <byte_reader/ByteReader.h>
#include <libraw/libraw.h>

#include <algorithm>
#include <array>
#include <climits>
#include <ctime>

static_assert(
    plate_mend::host::is_known_libraw(LIBRAW_VERSION),
    "The installed LibRaw is of a version whose inside plate-mend does not know. It knows the versions "
    "0.20.0 to 0.20.2. Install one of these, or test the judge of results with the other version and "
    "add that to is_known_libraw.");

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;

std::string version_text(int version) {
    return std::to_string(version >> 16) + '.' + std::to_string(version >> 8 & 0xFF) + '.' +
           std::to_string(version & 0xFF);
}

std::string date_text(std::time_t time) {
    std::array<char, 32> text{};
    const std::tm* parts = time > 0 ? std::localtime(&time) : nullptr; // One thread in a worker.
    return parts != nullptr && std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", parts) > 0
               ? text.data()
               : "";
}

/// The lowest value of the form 2^n - 1 that is no lower, from 255 on.
unsigned highest_of_bits(unsigned maximum) {
    unsigned highest = 255;
    while (highest < maximum) {
        highest = highest * 2 + 1;
    }
    return highest;
}

constexpr std::size_t kOffsetEntry = 4; ///< Bytes of an offset in a table of tiles.

/// What LibRaw keeps for its decoders. It has no constant access to it.
const unpacker_data_t& unpacker_data(LibRaw& raw) {
    return raw.get_internal_data_pointer()->unpacker_data;
}

} // namespace

std::string explain_other_libraw(int loaded, int built) {
    return loaded == built
               ? ""
               : "LibRaw " + version_text(loaded) + " is installed, but plate-mend was built with " +
                     version_text(built) + ": nothing is decoded";
}

RawDecoder::RawDecoder() : RawDecoder(LibRaw::versionNumber()) {}

RawDecoder::RawDecoder(int loaded_version)
    : version_problem_(explain_other_libraw(loaded_version, LIBRAW_VERSION)) {
    if (version_problem_.empty()) {
        raw_ = std::make_unique<LibRaw>(0U);
        raw_->set_dataerror_handler(nullptr, nullptr); // They are counted, not printed.
    }
}

RawDecoder::~RawDecoder() = default;

bool RawDecoder::open(const std::filesystem::path& file) {
    return raw_ != nullptr && raw_->open_file(file.c_str()) == LIBRAW_SUCCESS;
}

bool RawDecoder::open(std::span<const unsigned char> bytes) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): LibRaw only reads them.
    auto* buffer = const_cast<unsigned char*>(bytes.data());
    return raw_ != nullptr && raw_->open_buffer(buffer, bytes.size()) == LIBRAW_SUCCESS;
}

std::string RawDecoder::unpack() {
    const int result = raw_->unpack();
    return result == LIBRAW_SUCCESS ? "" : libraw_strerror(result);
}

EmbeddedPreview RawDecoder::unpack_preview() {
    const auto& thumbnail = raw_->imgdata.thumbnail;
    if (thumbnail.tlength == 0) {
        return {};
    }
    const int result = raw_->unpack_thumb();
    if (result == LIBRAW_NO_THUMBNAIL || result == LIBRAW_UNSUPPORTED_THUMBNAIL) {
        return {};
    }
    if (result != LIBRAW_SUCCESS || thumbnail.thumb == nullptr) {
        return {false, std::nullopt};
    }
    if (thumbnail.tformat != LIBRAW_THUMBNAIL_JPEG) { // Known only now.
        return {};
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): LibRaw has char for bytes.
    const auto* bytes = reinterpret_cast<const unsigned char*>(thumbnail.thumb);
    return {true, std::span(bytes, thumbnail.tlength)};
}

PhotoFacts RawDecoder::facts() const {
    const libraw_data_t& data = raw_->imgdata;
    const bool turned = (static_cast<unsigned>(data.sizes.flip) & 4U) != 0;
    return {turned ? data.sizes.height : data.sizes.width, turned ? data.sizes.width : data.sizes.height,
            std::string(data.idata.make) + " " + data.idata.model, date_text(data.other.timestamp)};
}

std::uint32_t RawDecoder::sensor_columns() const {
    return raw_->imgdata.sizes.raw_width;
}

std::uint32_t RawDecoder::sensor_rows() const {
    return raw_->imgdata.sizes.raw_height;
}

std::uint32_t RawDecoder::rows_above_picture() const {
    return raw_->imgdata.sizes.top_margin;
}

std::optional<PicturePlace> RawDecoder::picture_place() const {
    const auto& sizes = raw_->imgdata.sizes;
    if (raw_->is_fuji_rotated() != 0) {
        return std::nullopt;
    }
    return PicturePlace{.sensor_width = sizes.raw_width,
                        .sensor_height = sizes.raw_height,
                        .left = sizes.left_margin,
                        .top = sizes.top_margin,
                        .width = sizes.width,
                        .height = sizes.height,
                        .turn = static_cast<unsigned>(sizes.flip) & 7U,
                        .pixel_aspect = sizes.pixel_aspect};
}

std::uint32_t RawDecoder::data_errors() const {
    return static_cast<std::uint32_t>(std::max(0, raw_->error_count()));
}

/// The function that decodes, which shows how the image is coded.
std::string_view RawDecoder::method() const {
    const char* name = raw_->unpack_function_name();
    return name == nullptr ? "" : name;
}

bool RawDecoder::method_begins_with(std::string_view text) const {
    return method().starts_with(text);
}

bool RawDecoder::has_fixed_rate() const {
    constexpr std::array kMethods = {"unpacked_load_raw",  "packed_load_raw",      "packed_dng_load_raw",
                                     "sony_arw2_load_raw", "nikon_14bit_load_raw", "fuji_14bit_load_raw"};
    return std::any_of(kMethods.begin(), kMethods.end(),
                       [this](const char* name) { return method_begins_with(name); });
}

double RawDecoder::rows_in(std::uint64_t bytes) const {
    const double bits = method_begins_with("unpacked_load") ? 16
                        : method_begins_with("sony_arw2")   ? 8
                                                            : std::max(1U, unpacker_data(*raw_).tiff_bps);
    return static_cast<double>(bytes) * 8 / (bits * std::max(1U, sensor_columns()));
}

std::uint64_t RawDecoder::fixed_length() const {
    return static_cast<std::uint64_t>(sensor_rows() / std::max(1e-9, rows_in(1)));
}

bool RawDecoder::is_lossless_jpeg() const {
    return method_begins_with("lossless_jpeg") || method_begins_with("lossless_dng");
}

bool RawDecoder::is_made_of_cells() const {
    return method_begins_with("sony_arw2");
}

bool RawDecoder::is_in_columns() const {
    return method_begins_with("sony_arw_load");
}

bool RawDecoder::is_crx() const {
    return method_begins_with("crx");
}

std::uint64_t RawDecoder::data_offset() const {
    return static_cast<std::uint64_t>(std::max<INT64>(0, unpacker_data(*raw_).data_offset));
}

std::vector<std::uint64_t> RawDecoder::part_offsets(FileBytes& file) const {
    const std::uint64_t count = tiles();
    return count == 1 ? std::vector{data_offset()}
                      : offsets_in(file.read(data_offset(), static_cast<std::size_t>(kOffsetEntry * count)));
}

std::vector<std::uint64_t> RawDecoder::part_offsets(std::span<const unsigned char> bytes) const {
    const auto first = static_cast<std::size_t>(std::min<std::uint64_t>(data_offset(), bytes.size()));
    const auto rest = bytes.subspan(first);
    const std::uint64_t table = std::min<std::uint64_t>(rest.size(), kOffsetEntry * tiles());
    return tiles() == 1 ? std::vector{data_offset()}
                        : offsets_in(rest.first(static_cast<std::size_t>(table)));
}

/// With several tiles LibRaw keeps the offset of the table of their offsets.
std::vector<std::uint64_t> RawDecoder::offsets_in(std::span<const unsigned char> table) const {
    const auto& unpacker = unpacker_data(*raw_);
    const std::uint64_t offset = data_offset();
    const ByteReader reader(table, unpacker.order == 0x4949 ? std::endian::little : std::endian::big);
    std::vector<std::uint64_t> offsets;
    for (std::size_t at = 0; const auto entry = reader.u32(at); at += kOffsetEntry) {
        offsets.push_back(*entry);
    }
    if (offsets.empty()) {
        return {offset};
    }
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
    return offsets;
}

std::uint64_t RawDecoder::image_length() const {
    return unpacker_data(*raw_).data_size;
}

bool RawDecoder::preview_ends_in_its_place(FileBytes& file) const {
    constexpr std::uint16_t kSoi = 0xFFD8;
    constexpr std::uint16_t kEoi = 0xFFD9;
    constexpr std::uint64_t kMarker = 2;
    constexpr std::uint64_t kMostZeros = std::uint64_t{1} << 16U; // Searched for the EOI.
    const INT64 offset = raw_->get_internal_data_pointer()->internal_data.toffset;
    const std::uint64_t length = raw_->imgdata.thumbnail.tlength;
    if (offset <= 0 || length < 2 * kMarker) {
        return true;
    }
    const auto first = static_cast<std::uint64_t>(offset);
    const auto start = file.read(first, kMarker);
    if (ByteReader(start, std::endian::big).u16(0) != kSoi) {
        return true;
    }
    const std::uint64_t searched = std::min(length, kMostZeros);
    auto tail = file.read(first + length - searched, static_cast<std::size_t>(searched));
    while (!tail.empty() && tail.back() == 0) {
        tail.pop_back();
    }
    return tail.size() >= kMarker && ByteReader(tail, std::endian::big).u16(tail.size() - kMarker) == kEoi;
}

unsigned RawDecoder::black_level() const {
    // The lowest of the cameras that write CR3, where LibRaw does not always know it.
    constexpr unsigned kLowestOfCr3 = 512;
    const auto& color = raw_->imgdata.color;
    const unsigned black = color.black + *std::min_element(color.cblack, color.cblack + 4);
    return black == 0 && is_crx() ? kLowestOfCr3 : black;
}

SensorView RawDecoder::sensor_view() const {
    const libraw_data_t& data = raw_->imgdata;
    const auto& sizes = data.sizes;
    SensorView view;
    view.columns = sizes.width;
    view.rows = sizes.height;
    view.whole_rows = sizes.width == sizes.raw_width;
    view.stride = sizes.raw_pitch / 2;
    view.black = black_level();
    view.white = std::min(65535U, highest_of_bits(data.color.maximum));
    view.tile_columns = tiles() > 1 ? unpacker_data(*raw_).tile_width : 0;
    std::size_t margin = sizes.left_margin;
    if (data.rawdata.raw_image != nullptr) {
        constexpr unsigned kXTrans = 9;
        view.samples = data.rawdata.raw_image;
        view.dx = view.dy = data.idata.filters == kXTrans ? 6 : 2;
    } else {
        const std::size_t colours = data.rawdata.color3_image != nullptr ? 3 : 4;
        view.samples = colours == 3                           ? &(*data.rawdata.color3_image)[0]
                       : data.rawdata.color4_image != nullptr ? &(*data.rawdata.color4_image)[0]
                                                              : nullptr;
        view.columns *= colours;
        margin *= colours;
        view.dx = colours;
        view.dy = 1;
    }
    if (view.samples != nullptr) {
        view.samples += sizes.top_margin * view.stride + margin;
    }
    return view;
}

bool RawDecoder::has_colour_filter() const {
    return raw_->imgdata.rawdata.raw_image != nullptr && raw_->imgdata.idata.filters != 0;
}

std::vector<std::array<double, 3>> RawDecoder::block_colours(const BlockGrid& grid) const {
    struct Sums {
        std::array<std::uint64_t, 3> levels{};
        std::array<std::uint64_t, 3> counts{};
    };
    const SensorView view = sensor_view();
    std::vector<Sums> sums(grid.size());
    for (std::size_t y = 0; y < view.rows; ++y) {
        const std::size_t first = y * grid.rows / view.rows * grid.columns;
        const std::uint16_t* row = view.row(y);
        std::array<std::size_t, 6> colours{}; // They repeat after six columns, or two.
        for (std::size_t x = 0; x < colours.size(); ++x) {
            const int colour = raw_->COLOR(static_cast<int>(y), static_cast<int>(x));
            colours[x] = colour == 3 ? 1 : static_cast<std::size_t>(std::clamp(colour, 0, 2));
        }
        std::size_t x = 0;
        for (std::size_t column = 0; column < grid.columns; ++column) {
            Sums& block = sums[first + column];
            // Up to the first x of the next block: x * grid.columns / view.columns > column.
            const std::size_t end = ((column + 1) * view.columns + grid.columns - 1) / grid.columns;
            for (; x < end; ++x) {
                const std::size_t colour = colours[x % colours.size()];
                block.levels[colour] += row[x];
                ++block.counts[colour];
            }
        }
    }
    std::vector<std::array<double, 3>> means;
    for (const Sums& block : sums) {
        auto& mean = means.emplace_back();
        for (std::size_t colour = 0; colour < mean.size(); ++colour) {
            const auto count = static_cast<double>(std::max<std::uint64_t>(1, block.counts[colour]));
            mean[colour] = (static_cast<double>(block.levels[colour]) / count - view.black) / view.range();
        }
    }
    return means;
}

/// All samples, whatever their kind. Empty for none.
std::span<const unsigned char> RawDecoder::sample_bytes() const {
    const auto& data = raw_->imgdata.rawdata;
    const std::array<const void*, 6> kinds = {data.raw_image,   data.color3_image, data.color4_image,
                                              data.float_image, data.float3_image, data.float4_image};
    const auto* const kind =
        std::find_if(kinds.begin(), kinds.end(), [](const void* samples) { return samples != nullptr; });
    return kind == kinds.end()
               ? std::span<const unsigned char>()
               : std::span(static_cast<const unsigned char*>(*kind),
                           std::size_t{raw_->imgdata.sizes.raw_pitch} * raw_->imgdata.sizes.raw_height);
}

bool RawDecoder::has_same_samples(const RawDecoder& other) const {
    const auto ours = sample_bytes();
    const auto theirs = other.sample_bytes();
    return !ours.empty() && sensor_columns() == other.sensor_columns() &&
           std::equal(ours.begin(), ours.end(), theirs.begin(), theirs.end());
}

std::uint64_t RawDecoder::tiles() const {
    const auto& unpacker = unpacker_data(*raw_);
    if (unpacker.tile_length == 0 || unpacker.tile_length >= INT_MAX || unpacker.tile_width == 0 ||
        unpacker.tile_width >= INT_MAX) {
        return 1;
    }
    const auto count = [](std::uint64_t whole, std::uint64_t part) { return (whole + part - 1) / part; };
    return count(sensor_columns(), unpacker.tile_width) * count(sensor_rows(), unpacker.tile_length);
}

} // namespace plate_mend::host
