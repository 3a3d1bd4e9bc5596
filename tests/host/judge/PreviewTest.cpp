#include "judge/Preview.h"

#include "support/TempDir.h"
#include "unit/still_mend/Laboratory.h"

#include <gtest/gtest.h>

namespace plate_mend::host {
namespace {

/// A photograph whose preview is a JPEG that libjpeg decodes without a warning.
class Preview : public ::testing::TestWithParam<const char*> {
  protected:
    test::Specimen photograph =
        test::container_named(GetParam())
            .build(test::make_coded(test::coding_named("baseline 4:2:0"), 2, 320, 240), {});

    [[nodiscard]] bool is_whole() const {
        const auto file = folder / "photograph";
        test::write_file(file, photograph.file);
        return is_preview_whole(file);
    }

  private:
    test::TempDir folder;
};

TEST_P(Preview, IsWholeAsTheCameraWroteIt) {
    EXPECT_TRUE(is_whole());
}

TEST_P(Preview, IsNotWholeWithZerosInIt) {
    test::put_bytes(photograph.file, photograph.offset + photograph.size / 2, test::Bytes(512));
    EXPECT_FALSE(is_whole());
}

// In the ORF and DNG photographs LibRaw does not take this picture for the preview.
INSTANTIATE_TEST_SUITE_P(Formats, Preview, ::testing::Values("ARW", "SR2", "RAF", "CR2", "CR3", "NEF"),
                         [](const auto& format) { return std::string(format.param); });

} // namespace
} // namespace plate_mend::host
