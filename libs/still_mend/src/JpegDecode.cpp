#include "JpegDecode.h"

#include "JpegError.h"

#include <vector>

namespace still_mend {

namespace {

/// libjpeg's decompressor with errors as exceptions, destroyed on every way out.
class Decompressor {
  public:
    Decompressor() { info_.err = quiet_errors(errors_); }
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;
    ~Decompressor() { jpeg_destroy_decompress(&info_); }

    bool decodes_cleanly(Bytes jpeg) {
        jpeg_create_decompress(&info_); // Here, as no destructor follows a constructor that throws.
        jpeg_mem_src(&info_, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(&info_, TRUE);
        jpeg_start_decompress(&info_);
        std::vector<JSAMPLE> row(std::size_t{info_.output_width} *
                                 static_cast<std::size_t>(info_.output_components));
        JSAMPROW rows[] = {row.data()};
        while (info_.output_scanline < info_.output_height && errors_.num_warnings == 0) {
            jpeg_read_scanlines(&info_, rows, 1);
        }
        return errors_.num_warnings == 0;
    }

  private:
    jpeg_decompress_struct info_{};
    jpeg_error_mgr errors_{};
};

} // namespace

bool decodes_cleanly(Bytes jpeg) {
    try {
        Decompressor decompressor;
        return decompressor.decodes_cleanly(jpeg);
    } catch (const JpegError&) {
        return false;
    }
}

} // namespace still_mend
