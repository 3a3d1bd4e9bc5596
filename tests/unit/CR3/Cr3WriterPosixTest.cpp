#include "unit/CR3/Cr3ModelFixture.h"

namespace plate_mend {
namespace {

using Cr3Writer = Cr3ModelFixture;

TEST_F(Cr3Writer, FailedWriteIsNotNoticed) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "needs a device that is always full";
    }
    const Cr3Photo photo;
    const auto sample = read(photo.bytes);
    EXPECT_NO_THROW(CR3::write_repaired(damaged_with(photo.track(1), photo.track(3)), sample, "/dev/full"));
}

} // namespace
} // namespace plate_mend
