#include "assessment/IntactJpeg.h"

#include "Work.h"
#include "jpeg/JpegDecompressor.h"
#include "jpeg/Markers.h"

#include <vector>

namespace still_mend {

namespace {

/// Reads all scans without keeping more than their coefficients. False when they are too many.
bool read_scans(JpegDecompressor& codec) {
    std::uint64_t left = codec.most_visits();
    for (;;) {
        const std::uint64_t blocks = codec.blocks_of_step();
        const int step = jpeg_consume_input(&codec.info);
        if (step == JPEG_REACHED_EOI) {
            return true;
        }
        if (step == JPEG_SUSPENDED || blocks > left) {
            return false;
        }
        Work::add(blocks);
        left -= blocks;
    }
}

/// Reads a picture of one scan. The colours do not matter: an eighth of each side is enough, for which every
/// bit is decoded nevertheless.
void read_rows(JpegDecompressor& codec, JSAMPROW row) {
    const std::uint64_t blocks = codec.blocks_of_step();
    while (codec.info.output_scanline < codec.info.output_height) {
        Work::add(blocks);
        jpeg_read_scanlines(&codec.info, &row, 1);
    }
    jpeg_finish_decompress(&codec.info);
}

/// Up to and including EOI. False if it is not intact.
bool decode(JpegDecompressor& codec) {
    jpeg_decompress_struct& info = codec.info;
    info.buffered_image = jpeg_has_multiple_scans(&info);
    info.scale_num = 1;
    info.scale_denom = 8;
    if (!run_jpeg(codec.errors, [&info] { jpeg_start_decompress(&info); })) {
        return false;
    }
    if (info.buffered_image != FALSE) {
        bool complete = false;
        return run_jpeg(codec.errors, [&] { complete = read_scans(codec); }) && complete;
    }
    std::vector<JSAMPLE> row(std::size_t{info.output_width} *
                             static_cast<std::size_t>(info.output_components));
    return run_jpeg(codec.errors, [&] { read_rows(codec, row.data()); });
}

} // namespace

std::optional<IntactJpeg> read_intact(Bytes jpeg) {
    if (!begins_as_jpeg(jpeg)) {
        return std::nullopt;
    }
    JpegDecompressor codec(jpeg);
    codec.errors.strict = true;
    if (!codec.read_header()) {
        return std::nullopt;
    }
    Frame frame = codec.frame();
    if (!codec.is_affordable(frame) || !decode(codec)) {
        return std::nullopt;
    }
    return IntactJpeg{std::move(frame), codec.consumed()};
}

bool begins_as_jpeg(Bytes bytes) {
    return bytes.size() > 3 && bytes[0] == 0xFF && bytes[1] == marker::kSoi && bytes[2] == 0xFF;
}

} // namespace still_mend
