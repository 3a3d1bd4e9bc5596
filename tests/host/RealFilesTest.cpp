#include "host/ProgramFile.h"

#include "support/RealFiles.h"
#include "support/TempDir.h"

#include "judge/Judge.h"

#include <gmock/gmock.h>

// The judge on photographs from real cameras, whole and damaged.

namespace test {
namespace {

using plate_mend::host::judge_raw;
using plate_mend::host::Judgement;
using ::testing::IsEmpty;
using ::testing::Not;

Judgement judged(const Bytes& bytes, const std::string& extension) {
    const TempDir folder;
    write_file(folder / ("photo." + extension), bytes);
    return judge_raw({folder / ("photo." + extension), {}, {}, {}, 0});
}

TEST(JudgeOfRealFiles, WholePhotographsHaveNoSignOfDamage) {
    for (const std::string name :
         {"dng/blackmagic-pocket.dng", "dng/canon-x4-colorchart.dng", "nef/nikon-d1.nef"}) {
        REAL_FILE_OR_SKIP(photo, name);
        const Judgement judgement = judged(photo, name.substr(name.size() - 3));
        EXPECT_TRUE(judgement.decodes) << name;
        EXPECT_THAT(judgement.findings, IsEmpty()) << name;
        EXPECT_EQ(judgement.rows_good, 1.0) << name;
    }
}

TEST(JudgeOfRealFiles, BlocksOfZerosAndOfNoiseShow) {
    for (const std::string name :
         {"dng/blackmagic-pocket.dng", "dng/canon-x4-colorchart.dng", "nef/nikon-d1.nef"}) {
        REAL_FILE_OR_SKIP(photo, name);
        const std::size_t middle = photo.size() / 2;
        Bytes noisy = photo;
        put_bytes(noisy, middle, noise(512, 4));
        EXPECT_THAT(judged(noisy, name.substr(name.size() - 3)).findings, Not(IsEmpty())) << name;
        EXPECT_THAT(judged(zeroed(photo, middle, middle + 512), name.substr(name.size() - 3)).findings,
                    Not(IsEmpty()))
            << name;
    }
}

TEST(JudgeOfRealFiles, ByteThatIsLostShows) {
    for (const std::string name : {"dng/blackmagic-pocket.dng", "dng/canon-x4-colorchart.dng"}) {
        REAL_FILE_OR_SKIP(photo, name);
        const std::size_t middle = photo.size() / 2;
        const Bytes shorter = joined(part(photo, 0, middle), part(photo, middle + 1, photo.size()));
        EXPECT_THAT(judged(shorter, "dng").findings, Not(IsEmpty())) << name;
    }
}

} // namespace
} // namespace test
