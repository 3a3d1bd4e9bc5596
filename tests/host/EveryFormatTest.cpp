#include "host/HostFixture.h"
#include "host/Pairs.h"

#include "support/RawDecode.h"

// What a user does, with every extension: a damaged photograph and a sample go in, the picture comes out.

namespace test {
namespace {

class EveryFormat : public HostFixture, public ::testing::WithParamInterface<Format> {};

TEST_P(EveryFormat, IsRepairedToTheOriginalsPicture) {
    const Pair pair = GetParam().make({});
    const std::string extension = std::string(".") + GetParam().extension;
    write_file(folder / ("sample" + extension), pair.sample);
    write_file(folder / ("photo" + extension), zeroed(pair.original, 0, pair.lost));
    EXPECT_EQ(run({"check", in("photo" + extension)}), 1) << "the damage must show";
    ASSERT_EQ(run({"repair", "-s", in("sample" + extension), in("photo" + extension)}), 0) << out << err;
    const auto picture = decode_raw(folder / ("photo.repaired" + extension));
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture, decode_raw(pair.original));
    EXPECT_NE(picture, decode_raw(pair.sample));
}

INSTANTIATE_TEST_SUITE_P(Extensions, EveryFormat, ::testing::ValuesIn(formats()),
                         [](const auto& format) { return format.param.extension; });

} // namespace
} // namespace test
