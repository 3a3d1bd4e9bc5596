#include "Laboratory.h"
#include "Salvaged.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/Jpeg.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Scene.h"
#include "support/Sr2Photo.h"
#include "support/TempDir.h"
#include "support/TiffWriter.h"

#include <still_mend/still_mend.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <tuple>

#include <jpeglib.h>

namespace test {

namespace {

void throw_error(j_common_ptr /*info*/) {
    throw std::runtime_error("libjpeg");
}
void ignore_message(j_common_ptr /*info*/) {}
void count_warnings(j_common_ptr info, int level) {
    info->err->num_warnings += level < 0 ? 1 : 0;
}

jpeg_error_mgr* quiet(jpeg_error_mgr& errors) {
    jpeg_std_error(&errors);
    errors.error_exit = throw_error;
    errors.output_message = ignore_message;
    errors.emit_message = count_warnings;
    return &errors;
}

const std::vector<unsigned char>& scene_pixels(unsigned scene, unsigned width, unsigned height) {
    static std::map<std::tuple<unsigned, unsigned, unsigned>, std::vector<unsigned char>> made;
    auto& pixels = made[{scene, width, height}];
    if (pixels.empty()) {
        pixels = Scene(scene).rgb8(width, height);
    }
    return pixels;
}

} // namespace

Bytes make_coded(const Coding& coding, unsigned scene, unsigned width, unsigned height, int quality) {
    const auto& rgb = scene_pixels(scene, width, height);
    std::vector<unsigned char> grey;
    if (coding.grey) {
        for (std::size_t index = 0; index < rgb.size(); index += 3) {
            grey.push_back(rgb[index + 1]);
        }
    }
    const auto& pixels = coding.grey ? grey : rgb;
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = quiet(errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = width;
    info.image_height = height;
    info.input_components = coding.grey ? 1 : 3;
    info.in_color_space = coding.grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    if (!coding.grey) {
        info.comp_info[0].h_samp_factor = static_cast<int>(coding.h);
        info.comp_info[0].v_samp_factor = static_cast<int>(coding.v);
    }
    info.optimize_coding = coding.optimised ? TRUE : FALSE;
    info.restart_interval = coding.restart;
    if (coding.progressive) {
        jpeg_simple_progression(&info);
    }
    jpeg_start_compress(&info, TRUE);
    const std::size_t stride = std::size_t{width} * (coding.grey ? 1 : 3);
    while (info.next_scanline < height) {
        auto* row = const_cast<unsigned char*>(pixels.data()) + info.next_scanline * stride;
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    Bytes jpeg(buffer, buffer + size);
    std::free(buffer);
    return jpeg;
}

const std::vector<Coding>& codings() {
    static const std::vector<Coding> all{
        {"baseline 4:2:0", 2, 2, false, false, false, 0},
        {"baseline 4:2:0, restarts", 2, 2, false, false, false, 10},
        {"baseline 4:2:2, restarts", 2, 1, false, false, false, 7},
        {"baseline 4:2:2, optimised", 2, 1, false, false, true, 0},
        {"baseline 4:4:4, optimised, restarts", 1, 1, false, false, true, 16},
        {"baseline 4:4:4", 1, 1, false, false, false, 0},
        {"baseline grey", 1, 1, true, false, false, 0},
        {"baseline grey, optimised, restarts", 1, 1, true, false, true, 20},
        {"progressive 4:2:0", 2, 2, false, true, true, 0},
        {"progressive 4:4:4, restarts", 1, 1, false, true, true, 16},
        {"progressive grey", 1, 1, true, true, true, 0},
    };
    return all;
}

namespace {

template <typename Item>
const Item& named(const std::vector<Item>& items, const std::string& name) {
    for (const auto& item : items) {
        if (item.name == name) {
            return item;
        }
    }
    throw std::out_of_range(name);
}

Specimen alone(const Bytes& picture, const Bytes& sibling) {
    return {joined(picture, sibling), 0, picture.size()};
}

/// A RAW file as most makers lay it out: directories, a preview in IFD 0 and one in IFD 1, then raw data.
Specimen tiff(ByteOrder order, const Bytes& picture, const Bytes& sibling) {
    TiffWriter writer(order);
    writer.write_header();
    const auto preview = [&writer](bool there) {
        std::vector<TiffEntry> entries{writer.ascii(271, "ACME"), writer.ascii(272, "ACME MODEL 7"),
                                       writer.shorts(274, {6}), writer.ascii(306, "2024:05:17 18:32:05")};
        if (there) {
            entries.push_back(writer.longs(513, {0}));
            entries.push_back(writer.longs(514, {0}));
        }
        return writer.write_directory(entries);
    };
    const TiffDirectory first = preview(true);
    const TiffDirectory second = preview(!sibling.empty());
    writer.set_next(first, second.offset);
    writer.append(noise(3000, 5));
    const std::uint32_t offset = writer.append(picture);
    writer.set_value(first, 513, offset);
    writer.set_value(first, 514, static_cast<std::uint32_t>(picture.size()));
    if (!sibling.empty()) {
        writer.set_value(second, 513, writer.append(sibling));
        writer.set_value(second, 514, static_cast<std::uint32_t>(sibling.size()));
    }
    writer.append(noise(40000, 9));
    return {writer.bytes(), offset, picture.size()};
}

// The photographs of the makers have siblings of their own: small ones with the standard tables.

Specimen arw(const Bytes& picture, const Bytes& /*sibling*/) {
    ArwPhoto::Options options;
    options.preview = picture;
    const ArwPhoto photo(options);
    return {photo.bytes, photo.preview_offsets[0], picture.size()};
}

Specimen sr2(const Bytes& picture, const Bytes& /*sibling*/) {
    Sr2Options options;
    options.preview = picture;
    const Sr2Photo photo = make_sr2(options);
    return {photo.bytes, photo.preview, picture.size()};
}

/// The picture gets the Exif and the XMP packet of this maker after its SOI.
Specimen raf(const Bytes& picture, const Bytes& /*sibling*/) {
    RafPhoto::Options options;
    options.picture = picture;
    const RafPhoto photo(options);
    return {photo.bytes, photo.jpeg, photo.jpeg_end - photo.jpeg};
}

Specimen orf(const Bytes& picture, const Bytes& /*sibling*/) {
    OrfOptions options;
    options.preview = picture;
    const OrfPhoto photo = make_orf(options);
    return {photo.bytes, photo.preview, picture.size()};
}

Specimen dng(const Bytes& picture, const Bytes& /*sibling*/) {
    DngPhoto::Options options;
    options.preview = picture;
    const DngPhoto photo(options);
    return {photo.bytes, photo.preview_offsets.back(), picture.size()};
}

Specimen cr2(const Bytes& picture, const Bytes& /*sibling*/) {
    Cr2Photo::Options options;
    options.preview = picture;
    const Cr2Photo photo(options);
    return {photo.bytes, photo.preview_offset, picture.size()};
}

Specimen nef(const Bytes& picture, const Bytes& /*sibling*/) {
    NefPhoto::Options options;
    options.preview = picture;
    const NefPhoto photo(options);
    return {photo.bytes, photo.preview_offset, picture.size()};
}

Specimen cr3(const Bytes& picture, const Bytes& /*sibling*/) {
    Cr3Photo::Options options;
    options.pictures = true;
    options.large = picture;
    const Cr3Photo photo(options);
    return {photo.bytes, photo.tracks[0].offset, picture.size()};
}

} // namespace

const Coding& coding_named(const std::string& name) {
    return named(codings(), name);
}

const std::vector<Container>& containers() {
    static const std::vector<Container> all{
        {"alone", alone},
        {"TIFF, low byte first",
         [](const Bytes& picture, const Bytes& sibling) {
             return tiff(ByteOrder::kLittle, picture, sibling);
         }},
        {"TIFF, high byte first",
         [](const Bytes& picture, const Bytes& sibling) { return tiff(ByteOrder::kBig, picture, sibling); }},
        {"ARW", arw},
        {"SR2", sr2},
        {"RAF", raf},
        {"ORF", orf},
        {"DNG", dng},
        {"CR2", cr2},
        {"NEF", nef},
        {"CR3", cr3},
    };
    return all;
}

const Container& container_named(const std::string& name) {
    return named(containers(), name);
}

namespace {

/// The intervals of the scan whose data begin here.
std::vector<Anatomy::Part> intervals_from(const Bytes& jpeg, std::size_t first) {
    std::vector<Anatomy::Part> intervals;
    for (std::size_t offset = first;; ++offset) {
        if (jpeg.at(offset) != 0xFF || jpeg.at(offset + 1) == 0) {
            continue;
        }
        intervals.push_back({first, offset});
        first = offset;
        if (jpeg[offset + 1] < 0xD0 || jpeg[offset + 1] > 0xD7) {
            return intervals;
        }
        ++offset;
    }
}

} // namespace

Anatomy dissect(const Bytes& jpeg) {
    Anatomy anatomy;
    std::size_t offset = 2;
    while (true) {
        const unsigned char code = jpeg.at(offset + 1);
        const Anatomy::Part part{offset, offset + 2 + get_u16(jpeg, offset + 2, ByteOrder::kBig)};
        if (code == 0xDB) {
            anatomy.quant_tables.push_back(part);
        } else if (code == 0xC4) {
            anatomy.huffman_tables.push_back(part);
        } else if (code == 0xDD) {
            anatomy.restart_interval.push_back(part);
        } else if ((code >= 0xC0 && code <= 0xC2) || code == 0xC9 || code == 0xCA) {
            anatomy.frame.push_back(part);
        }
        offset = part.last;
        if (code == 0xDA) {
            anatomy.scan_header = part;
            break;
        }
    }
    Anatomy::Part header = anatomy.scan_header;
    while (true) {
        anatomy.scans.push_back({header, intervals_from(jpeg, header.last)});
        offset = anatomy.scans.back().intervals.back().last;
        while (jpeg.at(offset + 1) != 0xDA && jpeg[offset + 1] != 0xD9) {
            offset += 2 + get_u16(jpeg, offset + 2, ByteOrder::kBig);
        }
        if (jpeg[offset + 1] == 0xD9) {
            anatomy.end = {offset, offset + 2};
            break;
        }
        header = {offset, offset + 2 + get_u16(jpeg, offset + 2, ByteOrder::kBig)};
    }
    anatomy.intervals = anatomy.scans.front().intervals;
    return anatomy;
}

namespace {

void zero(Specimen& specimen, std::size_t first, std::size_t last) {
    const std::size_t end = specimen.offset + std::min(last, specimen.size);
    std::fill(specimen.file.begin() +
                  static_cast<std::ptrdiff_t>(specimen.offset + std::min(first, specimen.size)),
              specimen.file.begin() + static_cast<std::ptrdiff_t>(end), static_cast<unsigned char>(0));
}

void zero(Specimen& specimen, const std::vector<Anatomy::Part>& parts) {
    for (const auto& part : parts) {
        zero(specimen, part.first, part.last);
    }
}

void erase(Specimen& specimen, std::size_t first, std::size_t last) {
    last = std::min(last, specimen.size);
    const auto begin = specimen.file.begin() + static_cast<std::ptrdiff_t>(specimen.offset);
    specimen.file.erase(begin + static_cast<std::ptrdiff_t>(first),
                        begin + static_cast<std::ptrdiff_t>(last));
    specimen.size -= last - first;
}

void insert(Specimen& specimen, std::size_t place, const Bytes& bytes) {
    specimen.file.insert(specimen.file.begin() + static_cast<std::ptrdiff_t>(specimen.offset + place),
                         bytes.begin(), bytes.end());
    specimen.size += bytes.size();
}

/// The place in the scan's data that is a share of them from their beginning.
std::size_t in_data(const Specimen& specimen, const Anatomy& anatomy, double share) {
    const std::size_t first = anatomy.scan_header.last;
    return first + static_cast<std::size_t>(static_cast<double>(specimen.size - first) * share);
}

/// The head of the file, whatever is in it.
Damage head_zeroed(std::size_t kib) {
    return {"head zeroed, " + std::to_string(kib) + " KiB",
            [kib](Specimen& specimen, const Anatomy&) {
                const std::size_t size = std::min(kib * 1024, specimen.file.size());
                std::fill_n(specimen.file.begin(), size, static_cast<unsigned char>(0));
            },
            kib > 12};
}

Damage cut(unsigned percent) {
    return {"cut at " + std::to_string(percent) + " %", [percent](Specimen& specimen, const Anatomy&) {
                specimen.file.resize(specimen.offset + specimen.size * percent / 100);
                specimen.size = specimen.size * percent / 100;
            }};
}

Damage block(const std::string& name, std::size_t size, const std::vector<double>& shares, bool random) {
    return {name, [size, shares, random](Specimen& specimen, const Anatomy& anatomy) {
                for (const double share : shares) {
                    const std::size_t first = in_data(specimen, anatomy, share);
                    if (random) {
                        put_bytes(specimen.file, specimen.offset + first,
                                  noise(std::min(size, specimen.size - first), 77));
                    } else {
                        zero(specimen, first, first + size);
                    }
                }
            }};
}

/// Cuts intervals out of the middle of a scan, where it has enough of them.
void remove_intervals(Specimen& specimen, const std::vector<Anatomy::Part>& intervals, std::size_t count) {
    if (intervals.size() >= count + 8) {
        const std::size_t first = intervals.size() / 3;
        erase(specimen, intervals[first].first, intervals[first + count - 1].last);
    }
}

Damage intervals_lost(std::size_t count, bool removed) {
    const std::string how = removed ? " removed" : " zeroed";
    return {std::to_string(count) + " restart intervals" + how,
            [count, removed](Specimen& specimen, const Anatomy& anatomy) {
                if (anatomy.intervals.size() < count + 8) {
                    return;
                }
                const std::size_t first = anatomy.intervals.size() / 3;
                const auto begin = anatomy.intervals[first].first;
                const auto end = anatomy.intervals[first + count - 1].last;
                removed ? erase(specimen, begin, end) : zero(specimen, begin, end);
            }};
}

void stray_markers(Specimen& specimen, const Anatomy& anatomy) {
    const Bytes strays{0xFF, 0xD9, 0x11, 0xFF, 0xD8, 0xFF, 0xE1, 0x12, 0xFF, 0xC4, 0x00, 0x13,
                       0xFF, 0xDA, 0x55, 0xFF, 0xD3, 0x00, 0xFF, 0xC0, 0x10, 0xFF, 0xDB, 0x31};
    const std::size_t first = in_data(specimen, anatomy, 0.4);
    Bytes span = noise(1024, 31);
    for (std::size_t place = 0; place + strays.size() < span.size(); place += 100) {
        put_bytes(span, place, strays);
    }
    span.resize(std::min(span.size(), specimen.size - first));
    put_bytes(specimen.file, specimen.offset + first, span);
}

std::vector<Damage> make_damages() {
    std::vector<Damage> all{
        {"none", [](Specimen&, const Anatomy&) {}},
        {"EOI lost", [](Specimen& s, const Anatomy& a) { zero(s, a.end.first, a.end.last); }},
        {"DHT lost", [](Specimen& s, const Anatomy& a) { zero(s, a.huffman_tables); }},
        {"DQT lost", [](Specimen& s, const Anatomy& a) { zero(s, a.quant_tables); }},
        {"DRI lost", [](Specimen& s, const Anatomy& a) { zero(s, a.restart_interval); }},
        {"SOF lost", [](Specimen& s, const Anatomy& a) { zero(s, a.frame); }},
        {"SOI lost", [](Specimen& s, const Anatomy&) { zero(s, 0, 2); }},
        {"header lost up to SOS", [](Specimen& s, const Anatomy& a) { zero(s, 0, a.scan_header.first); }},
        {"header lost with SOS", [](Specimen& s, const Anatomy& a) { zero(s, 0, a.scan_header.last + 100); }},
    };
    for (const std::size_t kib : {1U, 4U, 12U, 64U, 150U}) {
        all.push_back(head_zeroed(kib));
    }
    for (const unsigned percent : {10U, 20U, 30U, 40U, 50U, 60U, 70U, 80U, 90U}) {
        all.push_back(cut(percent));
    }
    all.push_back(block("zero block, 512", 512, {0.5}, false));
    all.push_back(block("zero block, 4096", 4096, {0.3}, false));
    all.push_back(block("three zero blocks", 512, {0.2, 0.45, 0.8}, false));
    all.push_back(block("random block, 512", 512, {0.5}, true));
    all.push_back(block("random block, 4096", 4096, {0.3}, true));
    all.push_back(block("three random blocks", 512, {0.2, 0.45, 0.8}, true));
    for (const std::size_t count : {1U, 100U}) {
        all.push_back({std::to_string(count) + " bytes dropped", [count](Specimen& s, const Anatomy& a) {
                           erase(s, in_data(s, a, 0.35), in_data(s, a, 0.35) + count);
                       }});
        all.push_back({std::to_string(count) + " bytes inserted", [count](Specimen& s, const Anatomy& a) {
                           insert(s, in_data(s, a, 0.35), noise(count, 3));
                       }});
    }
    for (const std::size_t count : {1U, 8U, 16U, 20U}) {
        all.push_back(intervals_lost(count, false));
        all.push_back(intervals_lost(count, true));
    }
    all.push_back({"8 restart intervals removed from the second scan", [](Specimen& s, const Anatomy& a) {
                       if (a.scans.size() > 1) {
                           remove_intervals(s, a.scans[1].intervals, 8);
                       }
                   }});
    all.push_back({"stray markers", stray_markers});
    return all;
}

} // namespace

const std::vector<Damage>& damages() {
    static const std::vector<Damage> all = make_damages();
    return all;
}

const Damage& damage_named(const std::string& name) {
    return named(damages(), name);
}

namespace {

/// The dequantised coefficients of a picture, as libjpeg alone reads them.
class Coefficients {
  public:
    explicit Coefficients(const Bytes& jpeg) {
        info_.err = quiet(errors_);
        jpeg_create_decompress(&info_);
        try {
            jpeg_mem_src(&info_, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
            jpeg_read_header(&info_, TRUE);
            arrays_ = jpeg_read_coefficients(&info_);
        } catch (const std::runtime_error&) {
            arrays_ = nullptr;
        }
    }
    Coefficients(const Coefficients&) = delete;
    Coefficients& operator=(const Coefficients&) = delete;
    ~Coefficients() { jpeg_destroy_decompress(&info_); }

    [[nodiscard]] bool decoded() const { return arrays_ != nullptr; }
    [[nodiscard]] bool clean() const { return decoded() && errors_.num_warnings == 0; }

    [[nodiscard]] bool same_layout(const Coefficients& other) const {
        if (info_.image_width != other.info_.image_width || info_.image_height != other.info_.image_height ||
            info_.num_components != other.info_.num_components) {
            return false;
        }
        for (int index = 0; index < info_.num_components; ++index) {
            if (info_.comp_info[index].width_in_blocks != other.info_.comp_info[index].width_in_blocks ||
                info_.comp_info[index].height_in_blocks != other.info_.comp_info[index].height_in_blocks) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] unsigned mcus_wide() const { return ceil_div(info_.image_width, 8 * h_max()); }
    [[nodiscard]] unsigned mcus_high() const { return ceil_div(info_.image_height, 8 * v_max()); }

    /// Whether all blocks of an MCU equal, within two levels, those of the other's that many columns beside.
    [[nodiscard]] bool same_mcu(Coefficients& other, unsigned row, unsigned column, int first,
                                int beside = 0) {
        for (int index = 0; index < info_.num_components; ++index) {
            const auto& component = info_.comp_info[index];
            const unsigned v = info_.num_components == 1 ? 1 : static_cast<unsigned>(component.v_samp_factor);
            const unsigned h = info_.num_components == 1 ? 1 : static_cast<unsigned>(component.h_samp_factor);
            for (unsigned y = row * v; y < std::min((row + 1) * v, component.height_in_blocks); ++y) {
                for (unsigned x = column * h; x < std::min((column + 1) * h, component.width_in_blocks);
                     ++x) {
                    const auto there = static_cast<std::int64_t>(x) + std::int64_t{beside} * h;
                    if (there < 0 || there >= component.width_in_blocks ||
                        !same_block(other, index, y, x, static_cast<unsigned>(there), first)) {
                        return false;
                    }
                }
            }
        }
        return true;
    }

  private:
    static unsigned ceil_div(unsigned value, unsigned by) { return (value + by - 1) / by; }
    [[nodiscard]] unsigned h_max() const {
        return info_.num_components == 1 ? 1 : static_cast<unsigned>(info_.max_h_samp_factor);
    }
    [[nodiscard]] unsigned v_max() const {
        return info_.num_components == 1 ? 1 : static_cast<unsigned>(info_.max_v_samp_factor);
    }

    bool same_block(Coefficients& other, int index, unsigned row, unsigned column, unsigned there,
                    int first) {
        const short* mine = block(index, row, column);
        const short* theirs = other.block(index, row, there);
        const auto* my_quant = quant(index);
        const auto* their_quant = other.quant(index);
        double sum = 0; // The transform keeps squares: of 64 pixels, or of 64 coefficients.
        for (int k = first; k < 64; ++k) {
            const double difference = static_cast<double>(mine[k]) * my_quant->quantval[k] -
                                      static_cast<double>(theirs[k]) * their_quant->quantval[k];
            sum += difference * difference;
        }
        return sum <= 64 * 2.0 * 2.0;
    }

    const short* block(int index, unsigned row, unsigned column) {
        return (*info_.mem->access_virt_barray)(reinterpret_cast<j_common_ptr>(&info_), arrays_[index], row,
                                                1, FALSE)[0][column];
    }
    [[nodiscard]] const JQUANT_TBL* quant(int index) const {
        const auto& component = info_.comp_info[index];
        return component.quant_table != nullptr ? component.quant_table
                                                : info_.quant_tbl_ptrs[component.quant_tbl_no];
    }

    jpeg_decompress_struct info_{};
    jpeg_error_mgr errors_{};
    jvirt_barray_ptr* arrays_ = nullptr;
};

std::size_t count_of(const std::vector<bool>& flags) {
    return static_cast<std::size_t>(std::count(flags.begin(), flags.end(), true));
}

} // namespace

namespace {

/// Forgets runs of MCUs that are the same by chance: where all is alike, as in a clear sky or in the grey of
/// what is lost, an MCU is the same wherever it came from. A run counts if two MCUs of it are unlike their
/// neighbours.
void forget_chance(Coefficients& original, std::vector<bool>& same) {
    const unsigned wide = original.mcus_wide();
    const auto tells_its_place = [&](std::size_t mcu) {
        const auto row = static_cast<unsigned>(mcu / wide);
        const auto column = static_cast<unsigned>(mcu % wide);
        return !original.same_mcu(original, row, column, 0, -1) &&
               !original.same_mcu(original, row, column, 0, 1);
    };
    for (std::size_t first = 0; first < same.size();) {
        std::size_t last = first;
        unsigned telling = 0;
        while (last < same.size() && same[last]) {
            telling += telling < 2 && tells_its_place(last) ? 1U : 0U;
            ++last;
        }
        if (telling < 2) {
            std::fill(same.begin() + static_cast<std::ptrdiff_t>(first),
                      same.begin() + static_cast<std::ptrdiff_t>(last), false);
        }
        first = last + 1;
    }
}

/// MCUs that are the same in their coefficients from the first on.
std::vector<bool> compare(const Bytes& original, const Bytes& picture, int from) {
    Coefficients first(original);
    Coefficients second(picture);
    if (!first.decoded() || !second.decoded() || !first.same_layout(second)) {
        return {};
    }
    std::vector<bool> same;
    for (unsigned row = 0; row < first.mcus_high(); ++row) {
        for (unsigned column = 0; column < first.mcus_wide(); ++column) {
            same.push_back(first.same_mcu(second, row, column, from));
        }
    }
    if (from == 0) {
        forget_chance(first, same);
    }
    return same;
}

} // namespace

std::vector<bool> mcus_in_place(const Bytes& original, const Bytes& picture) {
    return compare(original, picture, 0);
}

std::vector<bool> mcus_in_shape(const Bytes& original, const Bytes& picture) {
    return compare(original, picture, 1);
}

bool Trial::false_success() const {
    return result == 0 && !other && in_shape * 10 < claimed * 9;
}

double Trial::share() const {
    return static_cast<double>(recovered) / static_cast<double>(mcus);
}

double Trial::plain_share() const {
    return static_cast<double>(plain) / static_cast<double>(mcus);
}

Trial run_trial(const Bytes& original, const Specimen& damaged) {
    const auto [code, output, report] = salvage(damaged.file);
    Trial trial;
    trial.result = code;
    trial.mcus = mcus_in_place(original, original).size();
    const Bytes from_there =
        part(damaged.file, std::min(damaged.offset, damaged.file.size()), damaged.file.size());
    trial.plain = count_of(mcus_in_place(original, from_there));
    trial.claimed = static_cast<std::size_t>(report.own_mcu_count - report.coarse_mcu_count);
    trial.warnings = report.warnings;
    trial.offset = static_cast<std::size_t>(report.picture_offset);
    trial.other = trial.result == 0 && (report.picture_offset < damaged.offset ||
                                        report.picture_offset >= damaged.offset + damaged.size);
    if (!output.empty()) {
        trial.output = output;
        trial.recovered = count_of(mcus_in_place(original, trial.output));
        trial.in_shape = count_of(mcus_in_shape(original, trial.output));
        trial.clean = jpeg_decodes(trial.output);
        trial.kept = Coefficients(from_there).clean() && trial.output.size() <= from_there.size() &&
                     std::equal(trial.output.begin(), trial.output.end(), from_there.begin());
    }
    return trial;
}

Trial run_trial(const Coding& coding, const Container& container, const Damage& damage, bool with_sibling,
                unsigned width, unsigned height) {
    const Bytes picture = make_coded(coding, 1, width, height);
    // From the same camera with the same tables, but smaller, as previews and their small copies are.
    const Bytes sibling = with_sibling ? make_coded(coding, 1, width / 2, height / 2) : Bytes{};
    Specimen specimen = container.build(picture, sibling);
    const Bytes placed = part(specimen.file, specimen.offset, specimen.offset + specimen.size);
    damage.apply(specimen, dissect(placed));
    return run_trial(placed, specimen);
}

double share_outside(const Bytes& original, const Bytes& output, unsigned restart, std::size_t first,
                     std::size_t last) {
    const auto same = mcus_in_place(original, output);
    std::size_t there = 0;
    std::size_t all = 0;
    for (std::size_t mcu = 0; mcu < same.size(); ++mcu) {
        const std::size_t interval = mcu / restart;
        if (interval < first || interval >= last) {
            ++all;
            there += same[mcu] ? 1U : 0U;
        }
    }
    return all == 0 ? 0 : static_cast<double>(there) / static_cast<double>(all);
}

void mark_mcus(const Bytes& jpeg, std::size_t scan, unsigned restart, std::size_t first, std::size_t last,
               std::vector<bool>& marked) {
    const Anatomy anatomy = dissect(jpeg);
    const std::size_t frame = anatomy.frame.at(0).first;
    const std::size_t header = anatomy.scans.at(scan).header.first;
    const std::size_t width = get_u16(jpeg, frame + 7, ByteOrder::kBig);
    const std::size_t components = jpeg.at(frame + 9);
    const auto sampling = [&](std::size_t index) {
        return components == 1 ? 0x11U : unsigned{jpeg.at(frame + 11 + 3 * index)};
    };
    std::size_t h = 1; // Sampling factors of the only component of the scan; 1 and 1 for MCUs.
    std::size_t v = 1;
    const std::size_t wide = std::size_t{8} * (sampling(0) >> 4U);
    std::size_t units_wide = (width + wide - 1) / wide;
    if (components > 1 && jpeg.at(header + 4) == 1) {
        std::size_t index = 0;
        while (jpeg.at(frame + 10 + 3 * index) != jpeg.at(header + 5)) {
            ++index;
        }
        h = sampling(index) >> 4U;
        v = sampling(index) & 15U;
        units_wide = (width * h + wide - 1) / wide;
    }
    const std::size_t mcus_wide = (width + wide - 1) / wide;
    for (std::size_t unit = first * restart; unit < last * restart; ++unit) {
        const std::size_t mcu = unit / units_wide / v * mcus_wide + unit % units_wide / h;
        if (mcu < marked.size()) {
            marked[mcu] = true;
        }
    }
}

double share_unmarked(const Bytes& original, const Bytes& output, const std::vector<bool>& marked) {
    const auto same = mcus_in_place(original, output);
    std::size_t there = 0;
    for (std::size_t mcu = 0; mcu < same.size(); ++mcu) {
        there += same[mcu] && !marked[mcu] ? 1U : 0U;
    }
    const auto all = static_cast<double>(marked.size() - count_of(marked));
    return all == 0 ? 0 : static_cast<double>(there) / all;
}

} // namespace test
