#include "host/Pairs.h"
#include "support/Bytes.h"
#include "support/RealFiles.h"
#include "support/TempDir.h"

#include "files/Formats.h"
#include "files/Kind.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;

Bytes bytes_from(std::string_view text) {
    return {text.begin(), text.end()};
}

/// A file in which nothing is left except this text, amid bytes that mean nothing.
Bytes remains(std::string_view text) {
    Bytes bytes(300'000, 0xA5);
    const Bytes inner = bytes_from(text);
    std::copy(inner.begin(), inner.end(), bytes.begin() + 100'000);
    return bytes;
}

class KindOf : public ::testing::Test {
  protected:
    std::string kind(const fs::path& name, const Bytes& bytes) {
        write_file(folder / name, bytes);
        return kind_of(folder / name);
    }

    TempDir folder;
};

TEST_F(KindOf, PhotographOfAnyFormatIsKnownByItsHead) {
    for (const Format& format : formats()) {
        const std::string extension = format.extension;
        const std::string found = kind("f123.tif", format.make({}).original);
        EXPECT_TRUE(are_same_kind(found, extension)) << extension << " is taken for " << found;
    }
}

TEST_F(KindOf, RealPhotographsAreKnownByTheirHeads) {
    const auto cameras = real_folder();
    if (!cameras) {
        GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";
    }
    unsigned count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(*cameras)) {
        const std::string extension = extension_of(entry.path());
        if (format_of_extension(extension)) {
            Bytes head = read_file(entry.path());
            head.resize(std::min<std::size_t>(head.size(), 65536));
            EXPECT_EQ(kind_of_head(head), extension) << entry.path();
            ++count;
        } else if (extension == "jpg") {
            EXPECT_EQ(kind_of(entry.path()), "") << entry.path();
        }
    }
    EXPECT_GE(count, 12U);
}

TEST_F(KindOf, OwnExtensionComesFirst) {
    EXPECT_EQ(kind("x.NEF", formats().front().make({}).original), "nef");
    EXPECT_EQ(kind("x.rw2", {}), "rw2");
}

TEST_F(KindOf, ExtensionInsideTheNameSurvivesEncryption) {
    EXPECT_EQ(kind("IMG_1.ARW.locked", remains("")), "arw");
    EXPECT_EQ(kind("IMG_1.cr2.id-12.crypt", remains("")), "cr2");
    EXPECT_EQ(kind("IMG_1.locked", remains("")), "");
}

TEST_F(KindOf, RemainsNameTheMaker) {
    using namespace std::string_view_literals;
    EXPECT_EQ(kind("f1", remains("\0NIKON CORPORATION\0"sv)), "nef");
    EXPECT_EQ(kind("f1.dat", remains("\0SONY\0"sv)), "arw");
    EXPECT_EQ(kind("f1.tif", remains("\x12\xC6\1\0\4\0\0\0\1\4\0\0"sv)), "dng");
    EXPECT_EQ(kind("f1.dat", remains("CRAW....CMP1"sv)), "cr3");
    EXPECT_EQ(kind("f1.dat", remains("\xFF\xD8\xFF\xC4\0\4..\xFF\xC3\0\x0E"sv)), "cr2");
    EXPECT_EQ(kind("f1.dat", remains("\xFF\xD8\xFF\xC3\0\x0E"sv)), "dng");
    EXPECT_EQ(kind("f1.dat", remains("\xFF\xD8\xFF\xC3\0\x0F"sv)), "") << "of no number of components";
    EXPECT_EQ(kind("f1.dat", remains("\0xSONY\0"sv)), "") << "within another word";
    EXPECT_EQ(kind("f1.dat", remains("\0SONY"sv)), "") << "without an end";
}

TEST_F(KindOf, ConverterIsKnownByItsStreamsWhateverTheCamera) {
    using namespace std::string_view_literals;
    EXPECT_EQ(kind("f1", remains("\0NIKON CORPORATION\0..\xFF\xD8\xFF\xC3\0\x0E"sv)), "dng");
    EXPECT_EQ(kind("f1", remains("\0Canon\0..\xFF\xD8\xFF\xC4\0\4..\xFF\xC3\0\x0E"sv)), "cr2");
    EXPECT_EQ(kind("f1", remains("\0SONY\0..\xFF\xD8\xFF\xC3\0\x0E"sv)), "arw") << "its cameras may code so";
}

TEST_F(KindOf, FilesOfOtherKindsAreNone) {
    using namespace std::string_view_literals;
    const Bytes maker = remains("\0SONY\0"sv);
    for (const std::string_view head :
         {"\xFF\xD8\xFF\xE0"sv, "\x89PNG"sv, "....ftypqt  "sv, "PK\3\4"sv, "RIFF"sv}) {
        Bytes bytes = maker;
        std::copy(head.begin(), head.end(), bytes.begin());
        EXPECT_EQ(kind("f1.dat", bytes), "") << head;
    }
    EXPECT_EQ(kind("f1.jpg", maker), "") << "a damaged JPEG has a maker too";
    EXPECT_EQ(kind("f1.dat", Bytes(300'000, 'a')), "");
    EXPECT_EQ(kind("f1.dat", bytes_from("\0SONY\0"sv)), "") << "too short for a photograph";
    EXPECT_EQ(kind("f1.dat", {}), "");
    EXPECT_EQ(kind_of(folder / "missing"), "");
}

/// A TIFF of one directory with a maker and a photometric interpretation.
Bytes tiff(std::uint16_t photometric, std::uint16_t subdirectories) {
    Bytes bytes = bytes_from(std::string_view("II*\0\10\0\0\0\3\0", 10));
    const auto add = [&](std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::uint32_t value) {
        for (const std::uint32_t number : {tag | std::uint32_t{type} << 16U, count, value}) {
            for (unsigned shift = 0; shift < 32; shift += 8) {
                bytes.push_back(static_cast<unsigned char>(number >> shift));
            }
        }
    };
    add(262, 3, 1, photometric);
    add(271, 2, 5, 50);
    add(subdirectories, 4, 1, 60);
    bytes.resize(50);
    const Bytes make = bytes_from(std::string_view("SONY\0", 5));
    bytes.insert(bytes.end(), make.begin(), make.end());
    return bytes;
}

TEST_F(KindOf, PlainTiffOfACamerasPictureIsNone) {
    EXPECT_EQ(kind_of_head(tiff(2, 700)), "");
    EXPECT_EQ(kind_of_head(tiff(2, 330)), "arw") << "with directories of its own";
    EXPECT_EQ(kind_of_head(tiff(32803, 700)), "arw") << "a colour filter array";
    for (Bytes bytes = tiff(2, 330); !bytes.empty(); bytes.pop_back()) {
        (void)kind_of_head(bytes); // Reads nothing past the end.
    }
}

TEST_F(KindOf, TiffWithoutItsDirectoryIsKnownByWhatRemains) {
    using namespace std::string_view_literals;
    Bytes bytes = remains("\0SONY\0"sv);
    const Bytes head = bytes_from("II*\0\10\0\0\0\0\0"sv);
    std::copy(head.begin(), head.end(), bytes.begin());
    EXPECT_EQ(kind_of_remains(bytes), "arw");
    const Bytes plain = tiff(2, 700);
    std::copy(plain.begin(), plain.end(), bytes.begin());
    EXPECT_EQ(kind_of_remains(bytes), "");
}

TEST_F(KindOf, CompanionsAreKnownByTheirNames) {
    for (const char* name : {"._IMG_1.ARW", "IMG_1.xmp", "IMG_1.THM"}) {
        EXPECT_TRUE(is_companion(name)) << name;
    }
    EXPECT_FALSE(is_companion("IMG_1.ARW"));
    EXPECT_FALSE(is_companion(".IMG_1.ARW"));
}

} // namespace
} // namespace test
