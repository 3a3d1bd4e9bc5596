#include "host/Pairs.h"
#include "support/Bytes.h"
#include "support/Jpeg.h"
#include "support/RafPhoto.h"
#include "support/RealFiles.h"
#include "support/Scene.h"
#include "support/TempDir.h"
#include "support/Thinned.h"
#include "support/TiffWriter.h"

#include "facts/Remains.h"
#include "facts/SampleFacts.h"
#include "files/Formats.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>

// What the heads of photographs say, and what a search of damaged files finds of it.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class FactsOf : public ::testing::Test {
  protected:
    [[nodiscard]] PhotographFacts facts(const Bytes& bytes) const {
        write_file(file_, bytes);
        return facts_of(file_);
    }

    [[nodiscard]] static PhotographFacts facts_of(const fs::path& file) {
        SampleFacts sample = stamped_sample(file);
        read_sample(sample);
        return sample.photograph;
    }

    [[nodiscard]] Remains remains(const Bytes& bytes, const KnownTexts& texts = {}) const {
        write_file(file_, bytes);
        return remains_of(file_, texts);
    }

    TempDir folder_;
    fs::path file_ = folder_ / "photograph.bin";
};

template <typename Value>
void expect_all_in(const std::set<Value>& found, const std::set<Value>& known, const char* what) {
    EXPECT_TRUE(std::includes(known.begin(), known.end(), found.begin(), found.end())) << what;
}

/// Whatever a search of all bytes finds, the head of an intact photograph has said.
void expect_to_hold(const PhotographFacts& sample, const PhotographFacts& found) {
    expect_all_in(found.models, sample.models, "models");
    expect_all_in(found.software, sample.software, "software");
    expect_all_in(found.sizes, sample.sizes, "sizes");
    expect_all_in(found.codings, sample.codings, "codings");
    expect_all_in(found.tables, sample.tables, "tables");
    expect_all_in(found.samplings, sample.samplings, "samplings");
    EXPECT_EQ(found.little_endian > found.big_endian, sample.little_endian > sample.big_endian);
}

TEST_F(FactsOf, EachFormatHoldWhatASearchFinds) {
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.extension);
        const Bytes photo = format.make({.large = true}).original;
        const PhotographFacts sample = facts(photo);
        EXPECT_THAT(sample.models, Not(IsEmpty()));
        EXPECT_THAT(sample.sizes, Not(IsEmpty()));
        EXPECT_THAT(sample.tables, Not(IsEmpty()));
        expect_to_hold(sample, remains(photo).facts);
        KnownTexts models(sample.models.begin(), sample.models.end());
        EXPECT_EQ(remains(joined(noise(777, 3), photo), models).facts.models, sample.models);
    }
}

TEST_F(FactsOf, RealFilesHoldWhatASearchFinds) {
    const auto cameras = real_folder();
    if (!cameras) {
        GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";
    }
    const std::vector<std::string>& known = raw_extensions();
    for (const auto& entry : fs::recursive_directory_iterator(*cameras)) {
        if (std::find(known.begin(), known.end(), extension_of(entry.path())) != known.end()) {
            SCOPED_TRACE(entry.path());
            const PhotographFacts sample = facts_of(entry.path());
            EXPECT_THAT(sample.models, Not(IsEmpty()));
            expect_to_hold(sample, remains_of(entry.path(), {}).facts);
        }
    }
}

TEST_F(FactsOf, CamerasAreNamedByEveryFormat) {
    using Names = std::set<std::string>;
    REAL_FILE_OR_SKIP(nef, "nef/nikon-d1.nef");
    EXPECT_EQ(facts(nef).models, Names{"NIKON D1"});
    EXPECT_EQ(facts(nef).software, Names{"Ver.1.05"});
    REAL_FILE_OR_SKIP(cr3, "cr3/canon-eos-r-head.cr3");
    EXPECT_EQ(facts(cr3).models, Names{"Canon EOS R"});
    EXPECT_EQ(facts(cr3).software, Names{"Firmware Version 1.2.0"});
    REAL_FILE_OR_SKIP(raf, "raf/fuji-s5pro-stripped.raf");
    EXPECT_THAT(facts(raf).models, Contains("FinePix S5Pro"));
    REAL_FILE_OR_SKIP(dng, "pairs/nikon-d5000-dng/sample1.dng");
    EXPECT_THAT(facts(dng).models, Contains("NIKON D5000"));
}

/// IFD 0 with these entries and a link to itself.
Bytes tiff_of(const std::vector<TiffEntry>& entries, const TiffWriter& writer) {
    TiffWriter tiff = writer;
    tiff.write_header();
    const TiffDirectory ifd0 = tiff.write_directory(entries);
    tiff.set_next(ifd0, ifd0.offset);
    return joined(tiff.bytes(), Bytes(1000));
}

TEST_F(FactsOf, DirectoriesInACircleAreReadOnce) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        const TiffWriter tiff(order);
        const PhotographFacts found =
            facts(tiff_of({tiff.longs(256, {640}), tiff.longs(257, {480}), tiff.ascii(272, "  Camera 1 "),
                           tiff.longs(330, {8, 8, 8}), tiff.longs(513, {4}), tiff.longs(34665, {8}),
                           tiff.longs(37500, {8})},
                          tiff));
        EXPECT_THAT(found.sizes, ElementsAre(::testing::Pair(640U, 480U)));
        EXPECT_THAT(found.models, ElementsAre("Camera 1"));
        EXPECT_EQ(found.little_endian + found.big_endian, 2U) << "by the search of its head, and by the walk";
    }
}

TEST_F(FactsOf, PreviewsFarBehindTheHeadAreRead) {
    TiffWriter tiff(ByteOrder::kLittle);
    tiff.write_header();
    const TiffDirectory ifd0 = tiff.write_directory({tiff.ascii(272, "Camera 1"), tiff.longs(513, {0})});
    tiff.pad_to(3'000'000);
    tiff.set_value(ifd0, 513, tiff.append(make_jpeg(Scene(1).rgb8(64, 48), 64, 48)));
    const PhotographFacts found = facts(tiff.bytes());
    EXPECT_THAT(found.sizes, ElementsAre(::testing::Pair(64U, 48U)));
    EXPECT_EQ(found.tables.size(), 2U);
    EXPECT_EQ(found.samplings.size(), 1U);
}

TEST_F(FactsOf, TablesDifferByTheQualityOfJpegs) {
    const auto tables = [&](int quality) {
        return remains(make_jpeg(Scene(1).rgb8(64, 48), 64, 48, quality)).facts.tables;
    };
    EXPECT_EQ(tables(80), tables(80));
    EXPECT_NE(tables(80), tables(81));
}

TEST_F(FactsOf, WhatCannotBeTablesIsNone) {
    const Bytes jpeg = make_jpeg(Scene(1).rgb8(64, 48), 64, 48);
    const Bytes marker{0xFF, 0xDB};
    const auto at = static_cast<std::size_t>(
        std::search(jpeg.begin(), jpeg.end(), marker.begin(), marker.end()) - jpeg.begin());
    const Bytes segment = part(jpeg, at, at + 69);
    EXPECT_EQ(remains(segment).facts.tables.size(), 1U);
    EXPECT_THAT(remains(part(segment, 0, 68)).facts.tables, IsEmpty()) << "truncated";
    EXPECT_THAT(remains(with(segment, 20, {0})).facts.tables, IsEmpty()) << "a step of 0";
    EXPECT_THAT(remains(with(segment, 4, {0x20})).facts.tables, IsEmpty()) << "no such precision";
    EXPECT_THAT(remains(with(segment, 4, {0x04})).facts.tables, IsEmpty()) << "no such number";
    EXPECT_THAT(remains(with(segment, 3, {68})).facts.tables, IsEmpty()) << "another length";
}

TEST_F(FactsOf, ManyDifferentFactsTakeLittleMemory) {
    TiffWriter tiff(ByteOrder::kLittle);
    Bytes bytes;
    for (std::uint32_t width = 16; width < 2016; ++width) {
        bytes = joined(std::move(bytes), entry_bytes(256, 4, 1, width));
        bytes = joined(std::move(bytes), entry_bytes(257, 4, 1, 480));
    }
    EXPECT_EQ(remains(bytes).facts.sizes.size(), 256U);
}

TEST_F(FactsOf, DamagedHeadsAreReadWithoutHarm) {
    std::mt19937 random(5);
    for (const Format& format : formats()) {
        SCOPED_TRACE(format.extension);
        const Bytes photo = format.make({}).original;
        const PhotographFacts intact = facts(photo);
        unsigned changed = 0;
        for (unsigned round = 0; round < 60; ++round) {
            Bytes bytes = part(photo, 0, round % 3 == 0 ? random() % photo.size() : photo.size());
            for (unsigned count = 0; count < 20 && !bytes.empty(); ++count) {
                bytes[random() % std::min<std::size_t>(bytes.size(), 1000)] =
                    static_cast<unsigned char>(random());
            }
            changed += facts(bytes) == intact ? 0 : 1;
        }
        EXPECT_GT(changed, 0U);
    }
}

TEST_F(FactsOf, FilesThatCannotBeReadHaveNone) {
    EXPECT_EQ(facts_of(folder_ / "missing.nef"), PhotographFacts());
    EXPECT_EQ(facts_of(folder_.path()), PhotographFacts());
    EXPECT_EQ(facts({}), PhotographFacts());
    EXPECT_EQ(remains_of(folder_ / "missing.nef", {"x"}).facts, PhotographFacts());
}

} // namespace
} // namespace test
