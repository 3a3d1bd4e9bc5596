#include "judge/RawDecoder.h"

#include <algorithm>
#include <array>
#include <climits>

static_assert(
    plate_mend::host::is_known_libraw(LIBRAW_VERSION),
    "The installed LibRaw is of a version whose inside plate-mend does not know. It knows the versions "
    "0.20.0 to 0.20.2. Install one of these, or test the judge of results with the other version and "
    "add that to is_known_libraw.");

namespace plate_mend::host {

namespace {

std::string version_text(int version) {
    return std::to_string(version >> 16) + '.' + std::to_string(version >> 8 & 0xFF) + '.' +
           std::to_string(version & 0xFF);
}

} // namespace

std::string explain_other_libraw(int loaded, int built) {
    return loaded == built
               ? ""
               : "LibRaw " + version_text(loaded) + " is installed, but plate-mend was built with " +
                     version_text(built) + ": nothing is decoded";
}

RawDecoder::RawDecoder(int loaded_version)
    : version_problem_(explain_other_libraw(loaded_version, LIBRAW_VERSION)) {
    if (version_problem_.empty()) {
        raw_ = std::make_unique<LibRaw>(0U);
        raw_->set_dataerror_handler(nullptr, nullptr); // Counted, not printed.
    }
}

bool RawDecoder::open(const std::filesystem::path& file) {
    return raw_ != nullptr && raw_->open_file(file.c_str()) == LIBRAW_SUCCESS;
}

std::uint32_t RawDecoder::errors() {
    return static_cast<std::uint32_t>(std::max(0, raw_->error_count()));
}

/// The function that decodes, which shows how the image is coded.
std::string_view RawDecoder::method() {
    const char* name = raw_->unpack_function_name();
    return name == nullptr ? "" : name;
}

bool RawDecoder::method_begins_with(std::string_view text) {
    return method().starts_with(text);
}

bool RawDecoder::has_a_fixed_rate() {
    constexpr std::array kMethods = {"unpacked_load_raw",  "packed_load_raw",      "packed_dng_load_raw",
                                     "sony_arw2_load_raw", "nikon_14bit_load_raw", "fuji_14bit_load_raw"};
    return std::any_of(kMethods.begin(), kMethods.end(),
                       [this](const char* name) { return method_begins_with(name); });
}

bool RawDecoder::is_lossless_jpeg() {
    return method_begins_with("lossless_jpeg") || method_begins_with("lossless_dng");
}

bool RawDecoder::is_crx() {
    return method_begins_with("crx");
}

std::vector<std::uint64_t> RawDecoder::parts(FileBytes& file) {
    const auto& inner = raw_->get_internal_data_pointer()->unpacker_data;
    const auto offset = static_cast<std::uint64_t>(std::max<INT64>(0, inner.data_offset));
    const std::uint64_t count = tiles();
    if (count == 1) {
        return {offset};
    }
    // With several tiles LibRaw keeps the place of their table.
    const bool little = inner.order == 0x4949;
    const auto table = file.read(offset, static_cast<std::size_t>(4 * count));
    std::vector<std::uint64_t> offsets;
    for (std::size_t at = 0; at + 4 <= table.size(); at += 4) {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < 4; ++index) {
            value = value * 256 + table[at + (little ? 3 - index : index)];
        }
        offsets.push_back(value);
    }
    if (offsets.empty()) {
        return {offset};
    }
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
    return offsets;
}

std::uint64_t RawDecoder::image_length() {
    return raw_->get_internal_data_pointer()->unpacker_data.data_size;
}

bool RawDecoder::preview_ends_in_its_place(FileBytes& file) {
    constexpr std::array<unsigned char, 2> kStart{0xFF, 0xD8};
    constexpr std::array<unsigned char, 2> kEnd{0xFF, 0xD9};
    constexpr std::uint64_t kMostFilled = std::uint64_t{1} << 16U;
    const INT64 offset = raw_->get_internal_data_pointer()->internal_data.toffset;
    const std::uint64_t length = raw_->imgdata.thumbnail.tlength;
    if (offset <= 0 || length < kStart.size() + kEnd.size()) {
        return true;
    }
    const auto first = static_cast<std::uint64_t>(offset);
    const auto start = file.read(first, kStart.size());
    if (!std::equal(start.begin(), start.end(), kStart.begin(), kStart.end())) {
        return true;
    }
    const std::uint64_t tail = std::min(length, kMostFilled);
    auto bytes = file.read(first + length - tail, static_cast<std::size_t>(tail));
    while (!bytes.empty() && bytes.back() == 0) {
        bytes.pop_back();
    }
    return bytes.size() >= kEnd.size() && std::equal(kEnd.rbegin(), kEnd.rend(), bytes.rbegin());
}

bool RawDecoder::is_in_slices() {
    return raw_->get_internal_data_pointer()->unpacker_data.cr2_slice[0] != 0 || tiles() > 1 || is_crx();
}

std::size_t RawDecoder::tile_width() {
    return tiles() > 1 ? raw_->get_internal_data_pointer()->unpacker_data.tile_width : 0;
}

double RawDecoder::rows_in(std::uint64_t bytes) {
    const auto& inner = raw_->get_internal_data_pointer()->unpacker_data;
    const double bits = method_begins_with("unpacked_load") ? 16
                        : method_begins_with("sony_arw2")   ? 8
                                                            : std::max(1U, inner.tiff_bps);
    return static_cast<double>(bytes) * 8 / (bits * std::max<unsigned>(1, raw_->imgdata.sizes.raw_width));
}

std::uint64_t RawDecoder::tiles() {
    const auto& inner = raw_->get_internal_data_pointer()->unpacker_data;
    const auto& sizes = raw_->imgdata.sizes;
    if (inner.tile_length == 0 || inner.tile_length >= INT_MAX || inner.tile_width == 0 ||
        inner.tile_width >= INT_MAX) {
        return 1;
    }
    const auto count = [](std::uint64_t whole, std::uint64_t part) { return (whole + part - 1) / part; };
    return count(sizes.raw_width, inner.tile_width) * count(sizes.raw_height, inner.tile_length);
}

} // namespace plate_mend::host
