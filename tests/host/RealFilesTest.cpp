#include "host/HostFixture.h"

#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using HostRealFiles = HostFixture;

TEST_F(HostRealFiles, SonyA330IsWholeAgain) {
    REAL_FILE_OR_SKIP(head, "arw/sony-a330-head.arw");
    constexpr std::size_t kStripEntries = 92922;
    constexpr std::size_t kImage = 688128;
    constexpr std::size_t kImageSize = 8883620;
    const auto completed = [&](std::uint32_t seed) {
        return joined(joined(head, noise(kImage - head.size(), seed)), noise(kImageSize, seed + 100));
    };
    const Bytes photo = completed(2);
    write_file(folder / "good.arw", completed(1));
    write_file(folder / "broken.arw", zeroed(photo, 0, kStripEntries));
    EXPECT_EQ(run({"check", in("broken.arw")}), 1);
    EXPECT_EQ(run({"repair", "-s", in("good.arw"), in("broken.arw")}), 0) << err;
    const auto picture = decode_raw(folder / "broken.repaired.arw");
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture, decode_raw(photo));
}

} // namespace
} // namespace test
