#include "Laboratory.h"

#include <gtest/gtest.h>

namespace test {
namespace {

TEST(Laboratory, AnUndamagedPictureIsDeliveredByteForByte) {
    for (const auto& coding : codings()) {
        for (const auto& container : containers()) {
            const Bytes picture = make_coded(coding, 1, 320, 240);
            const Trial trial = run_trial(picture, container.build(picture, {}));
            EXPECT_EQ(trial.result, 0) << coding.name << ", " << container.name;
            EXPECT_EQ(trial.output, picture) << coding.name << ", " << container.name;
        }
    }
}

} // namespace
} // namespace test
