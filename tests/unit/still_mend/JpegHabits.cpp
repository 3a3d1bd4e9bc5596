#include "JpegHabits.h"

#include "support/Scene.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace test {

namespace {

/// libjpeg's errors as a jump, its warnings counted.
struct Errors : jpeg_error_mgr {
    Errors() : jpeg_error_mgr{} {
        jpeg_std_error(this);
        error_exit = [](j_common_ptr codec) { std::longjmp(static_cast<Errors*>(codec->err)->out, 1); };
        output_message = [](j_common_ptr) {};
    }
    std::jmp_buf out{};
};

/// Runs the calls to libjpeg; false when libjpeg failed.
template <typename Calls>
bool runs(Errors& errors, const Calls& calls) {
    // NOLINTNEXTLINE(cert-err52-cpp): libjpeg has no other way out.
    if (setjmp(errors.out) != 0) {
        return false;
    }
    calls();
    return true;
}

void write_rows(jpeg_compress_struct& info, const Pixels& pixels) {
    const std::size_t stride = std::size_t{pixels.width} * pixels.components;
    while (info.next_scanline < pixels.height) {
        auto* row = const_cast<unsigned char*>(pixels.samples.data()) + info.next_scanline * stride;
        jpeg_write_scanlines(&info, &row, 1);
    }
}

constexpr std::array<jpeg_scan_info, 3> kSeparateScans{
    {{1, {0}, 0, 63, 0, 0}, {1, {1}, 0, 63, 0, 0}, {1, {2}, 0, 63, 0, 0}}};

Setting sampled(int h, int v) {
    return [h, v](jpeg_compress_struct& info) {
        info.comp_info[0].h_samp_factor = h;
        info.comp_info[0].v_samp_factor = v;
    };
}

void separate(jpeg_compress_struct& info) {
    info.scan_info = kSeparateScans.data();
    info.num_scans = static_cast<int>(kSeparateScans.size());
}

/// Quantisation values of 16 bits.
void quantise_wide(jpeg_compress_struct& info) {
    std::array<unsigned, 64> values{};
    for (std::size_t index = 0; index < values.size(); ++index) {
        values[index] = static_cast<unsigned>(3 + 17 * index);
    }
    jpeg_add_quant_table(&info, 0, values.data(), 100, FALSE);
    jpeg_add_quant_table(&info, 1, values.data(), 200, FALSE);
}

void use_ycck(jpeg_compress_struct& info) {
    jpeg_set_colorspace(&info, JCS_YCCK);
}

void use_rgb(jpeg_compress_struct& info) {
    jpeg_set_colorspace(&info, JCS_RGB);
}

} // namespace

Pixels scene_pixels(unsigned scene, unsigned width, unsigned height, unsigned components) {
    const auto rgb = Scene(scene).rgb8(width, height);
    Pixels pixels{width, height, components, {}};
    for (std::size_t index = 0; index < rgb.size(); index += 3) {
        for (unsigned component = 0; component < components; ++component) {
            pixels.samples.push_back(rgb[index + component % 3]);
        }
    }
    return pixels;
}

Pixels captioned_pixels(unsigned scene, unsigned width, unsigned height) {
    Pixels pixels = scene_pixels(scene, width, height, 3);
    const unsigned bar = height / 8 / 16 * 16;
    for (unsigned y = 0; y < bar; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            const bool letter =
                y > bar / 4 && y < bar * 3 / 4 && x < width / 2 && x / 6 % 3 != 0 && y / 4 % 2 == 0;
            std::fill_n(pixels.samples.begin() + 3 * (std::ptrdiff_t{y} * width + x), 3,
                        static_cast<unsigned char>(letter ? 255 : 0));
        }
    }
    return pixels;
}

Bytes encode(const Pixels& pixels, const Setting& set) {
    jpeg_compress_struct info{};
    Errors errors;
    info.err = &errors;
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    const bool done = runs(errors, [&] {
        jpeg_create_compress(&info);
        jpeg_mem_dest(&info, &buffer, &size);
        info.image_width = pixels.width;
        info.image_height = pixels.height;
        info.input_components = static_cast<int>(pixels.components);
        info.in_color_space = pixels.components == 1   ? JCS_GRAYSCALE
                              : pixels.components == 3 ? JCS_RGB
                                                       : JCS_CMYK;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, 85, TRUE);
        set(info);
        jpeg_start_compress(&info, TRUE);
        write_rows(info, pixels);
        jpeg_finish_compress(&info);
    });
    jpeg_destroy_compress(&info);
    Bytes jpeg;
    if (done) {
        jpeg.assign(buffer, buffer + size);
    }
    std::free(buffer);
    return jpeg;
}

const std::vector<Habit>& habits() {
    const auto progressive = [](jpeg_compress_struct& info) { jpeg_simple_progression(&info); };
    const auto optimised = [](jpeg_compress_struct& info) { info.optimize_coding = TRUE; };
    const auto restarts = [](jpeg_compress_struct& info) { info.restart_interval = 3; };
    const auto rows = [](jpeg_compress_struct& info) { info.restart_in_rows = 1; };
    const auto arithmetic = [](jpeg_compress_struct& info) { info.arith_code = TRUE; };
    const auto both = [](const Setting& first, const Setting& second) {
        return [first, second](jpeg_compress_struct& info) {
            first(info);
            second(info);
        };
    };
    static const std::vector<Habit> all{
        {"defaults", 3, [](jpeg_compress_struct&) {}},
        {"optimised tables", 3, optimised},
        {"restarts", 3, restarts},
        {"restarts by rows", 3, rows},
        {"progressive", 3, progressive},
        {"progressive, restarts", 3, both(progressive, restarts)},
        {"progressive grey", 1, progressive},
        {"grey", 1, [](jpeg_compress_struct&) {}},
        {"grey that says 2 x 2", 1, sampled(2, 2)},
        {"RGB", 3, use_rgb},
        {"CMYK", 4, [](jpeg_compress_struct&) {}},
        {"YCCK", 4, use_ycck},
        {"progressive CMYK", 4, progressive},
        {"4:4:4", 3, sampled(1, 1)},
        {"4:2:2", 3, sampled(2, 1)},
        {"4:4:0", 3, sampled(1, 2)},
        {"4:1:1", 3, sampled(4, 1)},
        {"4:1:0", 3, sampled(4, 2)},
        {"separate scans", 3, separate},
        {"separate scans, restarts", 3, both(separate, restarts)},
        {"separate scans, 4:1:1", 3, both(sampled(4, 1), separate)},
        {"separate scans, 4 x 4", 3, both(sampled(4, 4), separate)},
        {"wide quantisation", 3, quantise_wide},
        {"without JFIF", 3, [](jpeg_compress_struct& info) { info.write_JFIF_header = FALSE; }},
        {"arithmetic", 3, arithmetic, true},
        {"arithmetic, restarts", 3, both(arithmetic, restarts), true},
        {"arithmetic grey", 1, arithmetic, true},
        {"arithmetic, progressive", 3, both(arithmetic, progressive), true},
        {"arithmetic CMYK", 4, arithmetic, true},
    };
    return all;
}

bool is_whole(const Bytes& jpeg) {
    jpeg_decompress_struct info{};
    Errors errors;
    info.err = &errors;
    std::vector<JSAMPLE> row(std::size_t{65536} * 4);
    const bool done = !jpeg.empty() && runs(errors, [&] {
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(&info, TRUE);
        jpeg_start_decompress(&info);
        JSAMPROW rows = row.data();
        while (info.output_scanline < info.output_height) {
            jpeg_read_scanlines(&info, &rows, 1);
        }
        jpeg_finish_decompress(&info);
    });
    jpeg_destroy_decompress(&info);
    return done && errors.num_warnings == 0;
}

std::vector<Coefficients> coefficients(const Bytes& jpeg) {
    jpeg_decompress_struct info{};
    Errors errors;
    info.err = &errors;
    std::vector<Coefficients> planes;
    jvirt_barray_ptr* arrays = nullptr;
    bool done = runs(errors, [&] {
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(&info, TRUE);
        arrays = jpeg_read_coefficients(&info);
    });
    for (int index = 0; done && index < info.num_components; ++index) {
        const auto& component = info.comp_info[index];
        Coefficients plane;
        plane.wide = component.width_in_blocks;
        plane.high = component.height_in_blocks;
        plane.h = info.num_components == 1 ? 1 : static_cast<unsigned>(component.h_samp_factor);
        plane.v = info.num_components == 1 ? 1 : static_cast<unsigned>(component.v_samp_factor);
        plane.values.resize(plane.wide * plane.high * 64);
        done = runs(errors, [&] {
            for (std::size_t row = 0; row < plane.high; ++row) {
                auto* const* blocks =
                    info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info), arrays[index],
                                                 static_cast<JDIMENSION>(row), 1, FALSE);
                std::copy_n(&blocks[0][0][0], plane.wide * 64,
                            plane.values.begin() + static_cast<std::ptrdiff_t>(row * plane.wide * 64));
            }
        });
        planes.push_back(std::move(plane));
    }
    jpeg_destroy_decompress(&info);
    return done ? planes : std::vector<Coefficients>{};
}

std::size_t same_mcus(const std::vector<Coefficients>& one, const std::vector<Coefficients>& other) {
    if (one.empty() || one.size() != other.size()) {
        return 0;
    }
    const std::size_t wide = (one[0].wide + one[0].h - 1) / one[0].h;
    std::size_t same = wide * ((one[0].high + one[0].v - 1) / one[0].v);
    for (std::size_t index = 0; index < one.size(); ++index) {
        const Coefficients& plane = one[index];
        if (plane.wide != other[index].wide || plane.high != other[index].high) {
            return 0;
        }
        for (std::size_t block = 0; block < plane.wide * plane.high; ++block) {
            const auto begin = static_cast<std::ptrdiff_t>(block * 64);
            if (!std::equal(plane.values.begin() + begin, plane.values.begin() + begin + 64,
                            other[index].values.begin() + begin)) {
                const std::size_t row = block / plane.wide / plane.v;
                same = std::min(same, row * wide + block % plane.wide / plane.h);
            }
        }
    }
    return same;
}

std::size_t decided_mcus(const Bytes& cut) {
    const auto followed_by = [&cut](std::uint32_t seed) {
        Bytes other = noise(300, seed);
        std::replace(other.begin(), other.end(), static_cast<unsigned char>(0xFF),
                     static_cast<unsigned char>(0x77));
        return coefficients(joined(joined(cut, other), {0xFF, 0xD9}));
    };
    const auto one = followed_by(1);
    return std::min(same_mcus(one, followed_by(2)), same_mcus(one, followed_by(3)));
}

} // namespace test
