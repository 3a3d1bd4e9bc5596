#include "report/SheetPictures.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace plate_mend::host {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Optional;

class SheetPicturesOf : public ::testing::Test {
  protected:
    [[nodiscard]] std::optional<std::string> refusal(bool may_replace) const {
        return refuse_pictures(pictures, inputs, may_replace);
    }

    [[nodiscard]] std::vector<std::string> names(const fs::path& place) const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(place)) {
            found.push_back(test::utf8(entry.path().filename()));
        }
        return found;
    }

    std::string publish(const std::string& picture) {
        SheetPictures made(page, inputs, true);
        std::string name = made.add(picture);
        made.publish();
        return name;
    }

    test::TempDir folder;
    fs::path page = folder / "sheet.html";
    fs::path pictures = folder / "sheet_files";
    Protected inputs;
};

TEST_F(SheetPicturesOf, APageAreInAFolderOfItsName) {
    EXPECT_EQ(pictures_folder_of("a/sheet.html"), fs::path("a") / "sheet_files");
    EXPECT_EQ(pictures_folder_of("sheet"), fs::path("sheet_files"));
    EXPECT_EQ(pictures_folder_of("a/b.c.htm"), fs::path("a") / "b.c_files");
}

TEST_F(SheetPicturesOf, APageAppearWhenTheyArePublished) {
    std::string name;
    {
        SheetPictures made(page, inputs, false);
        name = made.add("one");
        EXPECT_EQ(made.add("one"), name);
        EXPECT_EQ(made.read(name), "one");
        EXPECT_FALSE(fs::exists(pictures));
        made.publish();
        EXPECT_THAT(names(pictures), ElementsAre(name));
    }
    EXPECT_THAT(names(folder.path()), ElementsAre("sheet_files"));
    EXPECT_EQ(name, "7692c3ad3540bb803c020b3aee66cd88.jpg") << "the beginning of the sum";
}

TEST_F(SheetPicturesOf, APageThatIsNotPublishedLeaveNothing) {
    {
        SheetPictures made(page, inputs, false);
        EXPECT_NE(made.add("one"), made.add("two"));
    }
    EXPECT_THAT(names(folder.path()), IsEmpty());
}

TEST_F(SheetPicturesOf, AnEarlierPageAreReplacedWhereThatIsAllowed) {
    publish("one");
    EXPECT_THAT(refusal(false), Optional(HasSubstr("exists already; --force replaces it")));
    EXPECT_EQ(refusal(true), std::nullopt);
    EXPECT_THROW(SheetPictures(page, inputs, false).publish(), std::runtime_error);
    const std::string name = publish("two");
    EXPECT_THAT(names(pictures), ElementsAre(name));
    EXPECT_THAT(names(folder.path()), ElementsAre("sheet_files"));
}

TEST_F(SheetPicturesOf, AFolderWithAnythingElseAreNotReplaced) {
    const std::string name = publish("one");
    const fs::path picture = pictures / name;
    const auto expect_refused = [&](const char* why) {
        EXPECT_THAT(refusal(true), Optional(HasSubstr("is no picture of a contact sheet"))) << why;
        EXPECT_THROW(publish("two"), std::runtime_error) << why;
        SheetPictures made(page, inputs, true);
        made.remove_old();
        EXPECT_TRUE(fs::exists(picture)) << why;
    };
    test::write_file(pictures / "mine.jpg", {'m'});
    expect_refused("another name");
    fs::remove(pictures / "mine.jpg");
    fs::create_directory(pictures / "0123456789abcdef0123456789abcdef.jpg");
    expect_refused("a folder");
    fs::remove(pictures / "0123456789abcdef0123456789abcdef.jpg");
    test::write_file(picture, {'m', 'i', 'n', 'e'});
    expect_refused("changed");
    test::write_file(picture, {'o', 'n', 'e'});
    EXPECT_EQ(refusal(true), std::nullopt);
    inputs.add(picture);
    expect_refused("an input");
}

TEST_F(SheetPicturesOf, AFileIsNoFolder) {
    test::write_file(pictures, {'m'});
    for (const bool may_replace : {false, true}) {
        EXPECT_THAT(refusal(may_replace), Optional(HasSubstr("is not a folder")));
    }
    EXPECT_THROW(publish("one"), std::runtime_error);
    EXPECT_EQ(test::read_file(pictures), test::Bytes{'m'});
}

TEST_F(SheetPicturesOf, APageThatFailedAreTakenBack) {
    const std::string old = publish("one");
    {
        SheetPictures made(page, inputs, true);
        EXPECT_NE(made.add("two"), old);
        made.publish();
        made.take_back();
    }
    EXPECT_THAT(names(pictures), ElementsAre(old));
    {
        SheetPictures made(page, inputs, true);
        made.remove_old();
        EXPECT_FALSE(fs::exists(pictures));
        made.take_back();
    }
    EXPECT_THAT(names(pictures), ElementsAre(old));
}

} // namespace
} // namespace plate_mend::host
