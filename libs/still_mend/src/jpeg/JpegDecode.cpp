#include "jpeg/JpegDecode.h"

#include "jpeg/JpegDecompressor.h"

#include <vector>

namespace still_mend {

bool decodes_cleanly(Bytes jpeg) {
    JpegDecompressor codec(jpeg);
    codec.errors.strict = true;
    jpeg_decompress_struct& info = codec.info;
    if (!codec.read_header() || !run_jpeg(codec.errors, [&info] { jpeg_start_decompress(&info); })) {
        return false;
    }
    std::vector<JSAMPLE> row(std::size_t{info.output_width} *
                             static_cast<std::size_t>(info.output_components));
    return run_jpeg(codec.errors, [&] {
        JSAMPROW rows[] = {row.data()};
        while (info.output_scanline < info.output_height) {
            jpeg_read_scanlines(&info, rows, 1);
        }
    });
}

} // namespace still_mend
