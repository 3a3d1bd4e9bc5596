#include "e2e/RepairFixture.h"

#include <plate_mend/plate_mend.h>

namespace test {
namespace {

using ::testing::IsEmpty;

using Dispatch = RepairFixture;

TEST_F(Dispatch, UnknownExtensionIsRefusedSilently) {
    EXPECT_EQ(advance("jpg", Bytes{1}, Bytes{1}), -1);
    EXPECT_THAT(lines(), IsEmpty());
}

} // namespace
} // namespace test
