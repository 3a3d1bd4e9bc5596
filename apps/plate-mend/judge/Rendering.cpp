#include "judge/Rendering.h"

#include <libraw/libraw.h>

#include <cstddef>
#include <memory>

namespace plate_mend::host {

Image render(LibRaw& unpacked, bool upright) {
    libraw_output_params_t& parameters = unpacked.imgdata.params;
    parameters.half_size = 1;
    parameters.use_camera_wb = 1;
    parameters.output_bps = 8;
    parameters.user_flip = upright ? -1 : 0;
    if (unpacked.dcraw_process() != LIBRAW_SUCCESS) {
        return {};
    }
    int error = 0;
    const std::unique_ptr<libraw_processed_image_t, decltype(&LibRaw::dcraw_clear_mem)> rendered(
        unpacked.dcraw_make_mem_image(&error), &LibRaw::dcraw_clear_mem);
    if (rendered == nullptr || rendered->type != LIBRAW_IMAGE_BITMAP || rendered->bits != 8 ||
        (rendered->colors != 3 && rendered->colors != 1)) {
        return {};
    }
    Image image{rendered->width, rendered->height, {}};
    const std::size_t colours = rendered->colors;
    image.rgb.reserve(3 * image.width * image.height);
    for (std::size_t index = 0; index < image.width * image.height; ++index) {
        for (std::size_t colour = 0; colour < 3; ++colour) {
            image.rgb.push_back(rendered->data[index * colours + (colours == 3 ? colour : 0)]);
        }
    }
    return image;
}

} // namespace plate_mend::host
