#include "e2e/strip_group/StripGroupFixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace test {

using ::testing::ElementsAre;

Bytes front_destroyed(const StripPhoto& photo) {
    return zeroed(photo.bytes, 0, photo.image_ifd().entry(273));
}

Bytes without_pictures(const StripPhoto& photo) {
    return zeroed(photo.bytes, std::min(photo.preview, photo.thumbnail), photo.bytes.size());
}

StripGroupFixture::StripGroupFixture(const std::string& extension, MakeStripPhoto make, ByteOrder order)
    : log(repair_log(extension)), working_copy("temp." + extension),
      sample(make({.order = order, .scene = 1})),
      original(make({.order = order, .scene = 2, .preview_width = 96, .preview_height = 64})) {}

void StripGroupFixture::expect_failure(const std::string& text) const {
    EXPECT_THAT(lines(), ElementsAre(log.cloned, log.failed(text)));
    EXPECT_EQ(output(), std::nullopt);
    EXPECT_THAT(work_files(), ElementsAre(working_copy));
}

} // namespace test
