#include "repair/Delivery.h"

#include "files/Failures.h"
#include "platform/Files.h"
#include "support/Bytes.h"
#include "support/TempDir.h"
#include "text/Paths.h"

#include <gmock/gmock.h>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::HasSubstr;

/// The finished files of one photograph, to be delivered to a folder.
class DeliveryOfFiles : public ::testing::Test {
  protected:
    DeliveryOfFiles() {
        fs::create_directory(folder / "work");
        fs::create_directory(folder / "mended");
        for (const fs::path& file :
             {folder / "broken.arw", finished_.raw, finished_.jpeg, finished_.mask, finished_.sidecar}) {
            write_file(file, Bytes(10, 7));
        }
        inputs_.add(file_.input.path);
        record_.damaged.path = utf8_from(file_.input.path);
        record_.damaged.modified = 1'600'000'000'000'000'000; // On a whole even second.
    }

    TempDir folder;
    Protected inputs_;
    DeliveryRules rules_{.inputs = inputs_};
    FinishedFiles finished_{folder / "work" / "raw", folder / "work" / "jpeg", folder / "work" / "mask",
                            folder / "work" / "sidecar"};
    PlannedFile file_{{folder / "broken.arw", "broken.arw", "arw"},
                      {.raw = folder / "mended" / "x.arw",
                       .jpeg = folder / "mended" / "x.jpg",
                       .other_jpeg = folder / "mended" / "x.arw.jpg",
                       .mask = folder / "mended" / "x.png",
                       .sidecar = folder / "mended" / "x.xmp"}};
    Record record_;
};

TEST_F(DeliveryOfFiles, HasTheDamagedFilesTimeExceptTheSidecar) {
    Delivery(file_, rules_).run(finished_, record_);
    for (const auto& result : {record_.raw, record_.jpeg, record_.mask}) {
        ASSERT_TRUE(result);
        EXPECT_EQ(plate_mend::host::platform::stamp_of(path_from(result->path))->modified,
                  record_.damaged.modified);
        EXPECT_EQ(result->modified, record_.damaged.modified);
    }
    ASSERT_TRUE(record_.sidecar);
    EXPECT_GT(plate_mend::host::platform::stamp_of(file_.outputs.sidecar)->modified,
              record_.damaged.modified);
}

TEST_F(DeliveryOfFiles, TakesBackTheSidecarOfAPhotographThatCannotBeDelivered) {
    file_.outputs.raw = folder / "missing" / "x.arw";
    Delivery delivery(file_, rules_);
    EXPECT_THROW(delivery.run(finished_, record_), MachineFailure);
    EXPECT_TRUE(fs::exists(file_.outputs.sidecar));
    delivery.take_back(record_);
    EXPECT_TRUE(fs::is_empty(folder / "mended"));
    EXPECT_FALSE(record_.sidecar);
}

TEST_F(DeliveryOfFiles, DoesWithoutASidecarThatCannotBeDelivered) {
    file_.outputs.sidecar = folder / "missing" / "x.xmp";
    Delivery(file_, rules_).run(finished_, record_);
    EXPECT_TRUE(record_.raw);
    EXPECT_FALSE(record_.sidecar);
    EXPECT_THAT(record_.problem, HasSubstr("there is no sidecar: "));
}

TEST_F(DeliveryOfFiles, HasNoSidecarWithoutAPhotograph) {
    fs::remove(finished_.raw);
    Delivery(file_, rules_).run(finished_, record_);
    EXPECT_TRUE(record_.jpeg);
    EXPECT_FALSE(record_.sidecar);
    EXPECT_FALSE(fs::exists(file_.outputs.sidecar));
}

} // namespace
} // namespace test
