#include "judge/Promise.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using plate_mend::host::compare_with_promise;
using plate_mend::host::Promise;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A sample of 1000 bytes with its image at 400, a damaged file of 2000 bytes with its image at 700.
class Promises : public ::testing::Test {
  protected:
    [[nodiscard]] Promise compared(const Bytes& result, const std::string& extension = "arw",
                                   std::uint64_t filled = 0) const {
        write_file(folder / "sample", sample);
        write_file(folder / ("damaged." + extension), damaged);
        write_file(folder / "result", result);
        return compare_with_promise(folder / "result", folder / ("damaged." + extension), folder / "sample",
                                    400, filled);
    }

    TempDir folder;
    Bytes sample = noise(1000, 1);
    Bytes damaged = noise(2000, 2);
    Bytes kept = joined(part(sample, 0, 400), part(damaged, 700, 2000));
};

TEST_F(Promises, KeptOne) {
    EXPECT_THAT(compared(kept).broken, IsEmpty());
    EXPECT_EQ(compared(kept).bytes_after, 0U);
}

TEST_F(Promises, BlankedAndPatchedBytesBeforeTheImageKeepIt) {
    Bytes result = zeroed(kept, 100, 200);
    put_bytes(result, 300, {1, 2, 3, 4});
    EXPECT_THAT(compared(result).broken, IsEmpty());
}

TEST_F(Promises, ResultThatEndsTooEarlyIsNoticed) {
    EXPECT_THAT(compared(part(kept, 0, 1600)).broken,
                ElementsAre("the file ends 100 bytes too early: was the disk full?"));
    EXPECT_THAT(compared(part(kept, 0, 400)).broken, ElementsAre("the file ends before its image"));
    EXPECT_THAT(compared({}).broken, ElementsAre("the file ends before its image"));
}

TEST_F(Promises, ForeignImageDataAreNoticed) {
    Bytes result = kept;
    result[1000] ^= 1U;
    EXPECT_THAT(compared(result).broken, ElementsAre("the image data are not those of the damaged file"));
}

TEST_F(Promises, ForeignBytesBeforeTheImageAreNoticed) {
    sample = noise(200000, 1);
    const Bytes result = joined(noise(150000, 3), part(damaged, 700, 2000));
    write_file(folder / "sample", sample);
    write_file(folder / "damaged.arw", damaged);
    write_file(folder / "result", result);
    const Promise promise =
        compare_with_promise(folder / "result", folder / "damaged.arw", folder / "sample", 150000, 0);
    EXPECT_THAT(promise.broken, ElementsAre(HasSubstr("not the sample's")));
}

TEST_F(Promises, FilledBytesArePartOfNoPromise) {
    EXPECT_THAT(compared(joined(kept, Bytes(50)), "arw", 50).broken, IsEmpty());
}

TEST_F(Promises, BytesAfterAPartOfTheDamagedFileAreCounted) {
    const Bytes result = joined(part(sample, 0, 400), part(damaged, 700, 1900));
    EXPECT_EQ(compared(result, "raf").bytes_after, 100U);
    EXPECT_THAT(compared(result, "raf").broken, IsEmpty());
}

TEST_F(Promises, SlackIsNotCounted) {
    damaged = joined(part(damaged, 0, 1900), Bytes(2048 - 1900)); // Zeros up to a sector's end.
    const Bytes result = joined(part(sample, 0, 400), part(damaged, 700, 1900));
    EXPECT_EQ(compared(result, "raf").bytes_after, 0U);
}

TEST_F(Promises, TracksOfACr3MayBeInAnotherOrder) {
    const Bytes result =
        joined(joined(part(sample, 0, 400), part(damaged, 1200, 2000)), part(damaged, 700, 1200));
    EXPECT_THAT(compared(result, "cr3").broken, IsEmpty());
}

} // namespace
} // namespace test
