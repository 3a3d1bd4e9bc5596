#include "diagnose/Diagnosis.h"

#include "host/Pairs.h"
#include "support/ArwPhoto.h"
#include "support/Cr3Photo.h"
#include "support/Jpeg.h"
#include "support/RealFiles.h"
#include "support/Scene.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <plate_mend/plate_mend.h>

#include <random>
#include <stdexcept>

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// Spans.

constexpr std::size_t kSector = 512;

MATCHER_P3(IsSpan, kind, offset, size, "") {
    return arg.kind == kind && arg.offset == static_cast<std::uint64_t>(offset) &&
           arg.size == static_cast<std::uint64_t>(size);
}

/// Bytes that are not noise for a whole block, and not copies of one another.
Bytes structure(std::size_t count) {
    Bytes bytes = noise(count, 7);
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        bytes[index] = index % 2 == 0 ? static_cast<unsigned char>(bytes[index] & 0x1F) : 0x20;
    }
    return bytes;
}

TEST(DamagedSpans, UndamagedBytesHaveNone) {
    EXPECT_THAT(find_damaged_spans(structure(100'000)), IsEmpty());
    EXPECT_THAT(find_damaged_spans({}), IsEmpty());
}

TEST(DamagedSpans, RunsCountFrom512Bytes) {
    Bytes bytes = structure(20'000);
    std::fill_n(bytes.begin() + 1001, 511, 0);
    bytes[1000] = bytes[1512] = 1;
    EXPECT_THAT(find_damaged_spans(bytes), IsEmpty());
    bytes[1512] = 0;
    bytes[1513] = 1;
    EXPECT_THAT(find_damaged_spans(bytes), ElementsAre(IsSpan(SpanKind::kZero, 1001, 512)));
    std::fill(bytes.begin() + 19'000, bytes.end(), 0xFF);
    EXPECT_THAT(find_damaged_spans(bytes),
                ElementsAre(IsSpan(SpanKind::kZero, 1001, 512), IsSpan(SpanKind::kRepeated, 19'000, 1000)));
}

TEST(DamagedSpans, CopiesCountFromFourSectors) {
    const Bytes bytes = structure(40 * kSector);
    const auto with_copy = [&bytes](std::size_t from, std::size_t to, std::size_t sectors) {
        Bytes copy = bytes;
        put_bytes(copy, to * kSector, part(bytes, from * kSector, (from + sectors) * kSector));
        return find_damaged_spans(copy);
    };
    EXPECT_THAT(with_copy(3, 20, 3), IsEmpty());
    EXPECT_THAT(with_copy(3, 20, 4), ElementsAre(IsSpan(SpanKind::kCopied, 20 * kSector, 4 * kSector)));
    EXPECT_THAT(with_copy(3, 30, 10), ElementsAre(IsSpan(SpanKind::kCopied, 30 * kSector, 10 * kSector)));
}

TEST(DamagedSpans, OneSectorOverAndOverIsACopy) {
    Bytes bytes = structure(40 * kSector);
    for (std::size_t sector = 11; sector < 20; ++sector) {
        put_bytes(bytes, sector * kSector, part(bytes, 10 * kSector, 11 * kSector));
    }
    EXPECT_THAT(find_damaged_spans(bytes), ElementsAre(IsSpan(SpanKind::kCopied, 11 * kSector, 9 * kSector)));
}

TEST(DamagedSpans, NoiseCountsFromTheBeginningOnly) {
    const Bytes tail = structure(50'000);
    EXPECT_THAT(find_damaged_spans(joined(noise(8192, 1), tail)),
                ElementsAre(IsSpan(SpanKind::kNoise, 0, 8192)));
    EXPECT_THAT(find_damaged_spans(joined(part(tail, 0, 4096), noise(8192, 1))), IsEmpty());
    EXPECT_THAT(find_damaged_spans(noise(4095, 1)), IsEmpty()) << "too short to tell";
    EXPECT_THAT(find_damaged_spans(noise(200'000, 1)), ElementsAre(IsSpan(SpanKind::kNoise, 0, 65536)));
    Bytes jpeg = noise(8192, 1);
    put_bytes(jpeg, 100, {0xFF, 0xD8, 0xFF});
    EXPECT_THAT(find_damaged_spans(jpeg), IsEmpty());
}

TEST(DamagedSpans, FloodOfRunsIsCutShort) {
    Bytes bytes((2 * kMostSpansOfAKind + 10) * kSector);
    for (std::size_t first = 0; first < bytes.size(); first += 2 * kSector) {
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(first), kSector, 0xFF);
    }
    const auto spans = find_damaged_spans(bytes);
    ASSERT_THAT(spans, SizeIs(2 * kMostSpansOfAKind));
    EXPECT_THAT(spans.back(), IsSpan(SpanKind::kZero, (2 * kMostSpansOfAKind - 1) * kSector, kSector));
}

// Landmarks and how they are reported.

/// 4 MiB of one pattern.
Bytes flood_of(const Bytes& pattern) {
    Bytes bytes;
    while (bytes.size() < std::size_t{4} << 20U) {
        bytes.insert(bytes.end(), pattern.begin(), pattern.end());
    }
    return bytes;
}

// Were the time quadratic, some of these would take minutes.
TEST(Landmarks, FloodsTakeLinearTime) {
    const std::vector<Bytes> patterns = {
        {0x11, 0x01},
        {0x01, 0x11},
        {0xFE, 0x00},
        {0x00, 0xFE},
        {0x00},
        {'C', 'R', 'A', 'W'},
        {0, 0, 0, 112, 'C', 'R', 'A', 'W', 0, 0, 0, 228, 'C', 'R', 'A', 'W'},
        {'I', 'I', '*', 0, 8, 0, 0, 0},
        // Main images with invalid tile entries.
        {0xFE, 0x00, 4, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0x44, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        {0x00, 0xFE, 0, 4, 0, 0, 0, 1, 0, 0, 0, 0, 0x01, 0x45, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
    for (const Bytes& pattern : patterns) {
        const Bytes bytes = flood_of(pattern);
        for (const char* extension : {"arw", "sr2", "raf", "orf", "dng", "cr2", "cr3", "nef"}) {
            const auto format = format_of(std::string("a.") + extension).value();
            EXPECT_EQ(find_landmarks(bytes, format).found.empty(), false);
            static_cast<void>(read_sample_marks(bytes, format));
        }
    }
}

class DiagnosisOfEveryFormat : public ::testing::TestWithParam<Format> {
  protected:
    DiagnosisOfEveryFormat() { write_file(folder / sample_name, pair.sample); }

    Diagnosis diagnosis_of(const Bytes& bytes, bool with_sample) {
        write_file(folder / photo_name, bytes);
        return with_sample ? diagnose(folder / photo_name, folder / sample_name)
                           : diagnose(folder / photo_name);
    }

    /// Whether the library repairs the photograph as it was diagnosed last.
    bool is_repaired() {
        const std::string work = utf8(folder.path());
        const std::string no_log = work + "/no-log";
        static_cast<void>(MndRawInit(no_log.c_str(), no_log.c_str(), work.c_str()));
        try {
            return MndRawAdvanceRepair(utf8(folder / photo_name).c_str(), utf8(folder / sample_name).c_str(),
                                       utf8(folder / "output").c_str()) == PLATE_MEND_OK;
        } catch (const std::exception&) {
            return false;
        }
    }

    TempDir folder;
    const Pair pair = GetParam().make({});
    const std::string sample_name = std::string("sample.") + GetParam().extension;
    const std::string photo_name = std::string("photo.") + GetParam().extension;
};

TEST_P(DiagnosisOfEveryFormat, UndamagedPhotographIsComplete) {
    for (const bool with_sample : {false, true}) {
        const Diagnosis diagnosis = diagnosis_of(pair.original, with_sample);
        for (const Landmark& mark : diagnosis.landmarks.found) {
            EXPECT_TRUE(mark.offset.has_value()) << mark.name;
        }
        EXPECT_THAT(diagnosis.repair, HasSubstr("will probably rebuild the photograph"));
        EXPECT_FALSE(diagnosis.landmarks.images.empty());
        for (const ImageData& image : diagnosis.landmarks.images) {
            EXPECT_LE(image.offset + image.size.value_or(0), pair.original.size());
        }
    }
}

TEST_P(DiagnosisOfEveryFormat, HeadUpToTheNeededEntriesMayBeLost) {
    const Bytes damaged = zeroed(pair.original, 0, pair.lost);
    for (const bool with_sample : {false, true}) {
        const Diagnosis diagnosis = diagnosis_of(damaged, with_sample);
        EXPECT_EQ(diagnosis.landmarks.found.front().offset, std::nullopt) << "the header";
        EXPECT_THAT(diagnosis.repair, HasSubstr("will probably rebuild the photograph"));
        if (pair.lost >= 512) { // Fewer bytes are no span.
            ASSERT_FALSE(diagnosis.spans.empty());
            EXPECT_EQ(diagnosis.spans.front().kind, SpanKind::kZero);
            EXPECT_GE(diagnosis.spans.front().size, pair.lost);
        }
    }
    EXPECT_TRUE(is_repaired());
}

TEST_P(DiagnosisOfEveryFormat, RepairKeepsWhatTheDiagnosisSays) {
    for (const std::size_t more :
         {std::size_t{0}, std::size_t{4}, std::size_t{60}, pair.original.size() - pair.lost}) {
        const Bytes damaged = zeroed(pair.original, 0, pair.lost + more);
        const Diagnosis diagnosis = diagnosis_of(damaged, true);
        const bool likely = diagnosis.repair.find("will probably rebuild") != std::string::npos;
        EXPECT_EQ(likely, is_repaired()) << more << " more bytes lost: " << diagnosis.repair;
    }
}

TEST_P(DiagnosisOfEveryFormat, TruncatedFileShowsHowMuchOfTheImageIsLost) {
    const Diagnosis whole = diagnosis_of(pair.original, true);
    const std::uint64_t image = whole.landmarks.images.back().offset;
    const std::size_t half = (static_cast<std::size_t>(image) + pair.original.size()) / 2;
    const Diagnosis cut = diagnosis_of(part(pair.original, 0, half), true);
    if (whole.landmarks.images.back().size) {
        EXPECT_GT(cut.image_spoilt.value(), whole.image_spoilt.value_or(0));
        // Without all of the data a DNG and a CR3 are refused.
        EXPECT_THAT(cut.repair, HasSubstr(is_repaired() ? "% of the image data look lost"
                                                        : "will not rebuild the photograph"));
    }
}

TEST_P(DiagnosisOfEveryFormat, AnyBytesCanBeDiagnosed) {
    std::mt19937 random(5);
    std::uniform_int_distribution<std::size_t> place(0, pair.original.size() - 1);
    for (int round = 0; round < 60; ++round) {
        Bytes bytes = part(pair.original, 0, place(random));
        for (std::size_t change = 0; change < 200 && !bytes.empty(); ++change) {
            bytes[place(random) % bytes.size()] = static_cast<unsigned char>(random());
        }
        const Diagnosis diagnosis = diagnosis_of(bytes, round % 2 == 0);
        EXPECT_FALSE(describe(diagnosis).empty());
        EXPECT_TRUE(nlohmann::json::accept(to_json_line(diagnosis)));
    }
    for (const std::size_t size :
         std::initializer_list<std::size_t>{0, 1, 2, 3, 4, 8, 11, 12, 13, 60, 5000}) {
        EXPECT_THAT(diagnosis_of(noise(size, 3), false).repair, HasSubstr("will not find the image"));
        EXPECT_THAT(diagnosis_of(Bytes(size, 0xFF), false).repair, HasSubstr("will not find the image"));
    }
}

/// A damage to the sample's header, which a repair does read.
TEST_P(DiagnosisOfEveryFormat, SampleWithoutItsHeaderCannotBeUsed) {
    write_file(folder / sample_name, zeroed(pair.sample, 0, 8));
    // A RAF has its TIFF headers further on.
    if (std::string(GetParam().extension) == "raf") {
        write_file(folder / sample_name, zeroed(pair.sample, 0, pair.sample.size() / 2));
    }
    const Diagnosis diagnosis = diagnosis_of(pair.original, true);
    EXPECT_THAT(diagnosis.repair, HasSubstr("its own header is damaged"));
    EXPECT_FALSE(is_repaired());
}

INSTANTIATE_TEST_SUITE_P(Extensions, DiagnosisOfEveryFormat, ::testing::ValuesIn(formats()),
                         [](const auto& format) { return format.param.extension; });

// The rest.

class DiagnosisOf : public ::testing::Test {
  protected:
    DiagnosisOf() {
        write_file(folder / "good.arw", sample.bytes);
        write_file(folder / "broken.arw", damaged);
    }

    TempDir folder;
    ArwPhoto sample{ArwPhoto::Options{.number = 1}};
    ArwPhoto original{ArwPhoto::Options{.number = 2}};
    Bytes damaged = zeroed(original.bytes, 0, original.strip_entries);
};

TEST_F(DiagnosisOf, JpegsAreFoundWithTheirSizes) {
    const Bytes jpeg = make_preview(Scene(1), 320, 200);
    write_file(folder / "a.arw", joined(joined(structure(1000), jpeg), structure(1000)));
    const Diagnosis diagnosis = diagnose(folder / "a.arw");
    ASSERT_THAT(diagnosis.jpegs, SizeIs(1));
    EXPECT_EQ(diagnosis.jpegs[0].offset, 1000U);
    EXPECT_EQ(diagnosis.jpegs[0].width, 320U);
    EXPECT_EQ(diagnosis.jpegs[0].height, 200U);
    EXPECT_THAT(diagnosis.salvage, HasSubstr("320 x 200"));
}

TEST_F(DiagnosisOf, FloodsOfJpegStartsTakeLinearTime) {
    for (const Bytes& pattern : {Bytes{0xFF, 0xD8, 0xFF}, Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0, 2},
                                 Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0, 8}}) {
        write_file(folder / "flood.arw", flood_of(pattern));
        EXPECT_THAT(diagnose(folder / "flood.arw").jpegs, IsEmpty());
    }
}

TEST_F(DiagnosisOf, UnusableSampleIsReported) {
    const Pair dng = formats()[5].make({});
    write_file(folder / "other.dng", dng.sample);
    EXPECT_THAT(diagnose(folder / "broken.arw", folder / "other.dng").repair, HasSubstr("it is no ARW"));
    write_file(folder / "bad.arw", Bytes(5000));
    EXPECT_THAT(diagnose(folder / "broken.arw", folder / "bad.arw").repair,
                HasSubstr("its own header is damaged"));
    write_file(folder / "bad.arw", zeroed(sample.bytes, 8, sample.bytes.size()));
    EXPECT_THAT(diagnose(folder / "broken.arw", folder / "bad.arw").repair,
                HasSubstr("its own entries are damaged"));
}

TEST_F(DiagnosisOf, UnknownExtensionIsReported) {
    write_file(folder / "a.xyz", structure(1000));
    EXPECT_THAT(diagnose(folder / "a.xyz").repair, HasSubstr("No repair is known"));
    write_file(folder / "noextension", structure(1000));
    EXPECT_THAT(diagnose(folder / "noextension").repair, HasSubstr("No repair is known"));
}

TEST_F(DiagnosisOf, NothingIsWritten) {
    static_cast<void>(diagnose(folder / "broken.arw", folder / "good.arw"));
    const std::filesystem::directory_iterator files(folder.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 2);
    EXPECT_EQ(read_file(folder / "broken.arw"), damaged);
    EXPECT_EQ(read_file(folder / "good.arw"), sample.bytes);
}

TEST_F(DiagnosisOf, MissingFileThrows) {
    EXPECT_THROW(static_cast<void>(diagnose(folder / "missing.arw")), std::runtime_error);
    EXPECT_THROW(static_cast<void>(diagnose(folder.path())), std::runtime_error);
}

TEST_F(DiagnosisOf, ObstacleIsReported) {
    const Bytes cut = part(damaged, 0, original.strip_entries + 36);
    write_file(folder / "broken.arw", cut);
    const Diagnosis diagnosis = diagnose(folder / "broken.arw", folder / "good.arw");
    EXPECT_THAT(diagnosis.repair, HasSubstr("will not rebuild the photograph: the entries lead past"));
    const auto json = nlohmann::json::parse(to_json_line(diagnosis));
    EXPECT_EQ(json.at("complete"), true);
    EXPECT_EQ(json.at("obstacle"), "the entries lead past the end of the file");
}

/// What an exception says that a call throws; empty when it throws none.
template <typename Call>
std::string complaint_of(Call call) {
    try {
        static_cast<void>(call());
    } catch (const std::exception& e) {
        return e.what();
    }
    return "";
}

TEST_F(DiagnosisOf, FailuresAreSentences) {
    const auto complaint = [this](const char* name) {
        return complaint_of([&] { return diagnose(folder / name); });
    };
    EXPECT_EQ(complaint("missing.arw"), "no such file");
    EXPECT_EQ(complaint("missing/too.arw"), "no such file");
    EXPECT_EQ(complaint("."), "not a file");
    EXPECT_EQ(complaint_of([&] { return diagnose(folder / "broken.arw", folder / "missing.arw"); }),
              "the sample " + utf8(folder / "missing.arw") + ": no such file");
    write_file(folder / "long.arw", {});
    std::filesystem::resize_file(folder / "long.arw", std::uint64_t{1} << 31U);
    EXPECT_THAT(complaint("long.arw"), HasSubstr("2 GiB or more"));
}

TEST_F(DiagnosisOf, JsonReportsTheSame) {
    const Diagnosis diagnosis = diagnose(folder / "broken.arw", folder / "good.arw");
    const auto json = nlohmann::json::parse(to_json_line(diagnosis));
    EXPECT_EQ(json.at("schema"), "plate-mend/diagnosis/1");
    EXPECT_EQ(json.at("format"), "ARW");
    EXPECT_EQ(json.at("complete"), true);
    EXPECT_EQ(json.at("spans").at(0).at("kind"), "zeros");
    EXPECT_EQ(json.at("landmarks").at(0).at("offset"), nullptr);
    EXPECT_EQ(json.at("images").at(0).at("offset"), diagnosis.landmarks.images.at(0).offset);
    EXPECT_EQ(json.at("sample"), utf8(folder / "good.arw"));
}

TEST_F(DiagnosisOf, OneSizeForAllSamplesIsAnObstacle) {
    Cr3Photo photo(Cr3Photo::Options{.number = 1, .pictures = true});
    write_file(folder / "a.cr3", photo.bytes);
    EXPECT_THAT(diagnose(folder / "a.cr3").repair, HasSubstr("will probably rebuild"));
    const std::size_t box = photo.at("trak3/stsz");
    put_u32(photo.bytes, box, 20, ByteOrder::kBig); // Without a list of sizes.
    put_u32(photo.bytes, box + 12, 77, ByteOrder::kBig);
    write_file(folder / "a.cr3", photo.bytes);
    const Diagnosis diagnosis = diagnose(folder / "a.cr3");
    EXPECT_THAT(diagnosis.repair, HasSubstr("one size for all samples"));
    EXPECT_EQ(diagnosis.landmarks.images.back().size, 77U);
    write_file(folder / "b.cr3", Cr3Photo().bytes);
    EXPECT_THAT(diagnose(folder / "b.cr3", folder / "a.cr3").repair, HasSubstr("The sample cannot be used"));
}

TEST_F(DiagnosisOf, RealCameraWithOneSizeHasAnObstacle) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-eos-r-head.cr3");
    write_file(folder / "head.cr3", head);
    const Diagnosis diagnosis = diagnose(folder / "head.cr3");
    ASSERT_THAT(diagnosis.landmarks.images, SizeIs(2));
    EXPECT_EQ(diagnosis.landmarks.images[1].offset, 3873394U);
    EXPECT_EQ(diagnosis.landmarks.images[1].size, 25463584U);
    EXPECT_THAT(diagnosis.repair, HasSubstr("one size for all samples"));
}

TEST_F(DiagnosisOf, RealHeadLeadsPastItsEnd) {
    REAL_FILE_OR_SKIP(head, "arw/sony-a330-head.arw");
    write_file(folder / "head.arw", head);
    const Diagnosis diagnosis = diagnose(folder / "head.arw");
    ASSERT_THAT(diagnosis.landmarks.images, SizeIs(1));
    EXPECT_EQ(diagnosis.landmarks.images[0].offset, 688128U);
    EXPECT_EQ(diagnosis.landmarks.images[0].size, 8883620U);
    EXPECT_THAT(diagnosis.repair, HasSubstr("lead past the end"));
}

TEST_F(DiagnosisOf, RealFilesAreComplete) {
    for (const auto& [name, extension] :
         {std::pair{"dng/blackmagic-pocket.dng", "dng"}, {"nef/nikon-d1.nef", "nef"}}) {
        REAL_FILE_OR_SKIP(bytes, name);
        const std::filesystem::path file = folder / (std::string("real.") + extension);
        write_file(file, bytes);
        EXPECT_TRUE(diagnose(file).landmarks.complete()) << describe(diagnose(file));
    }
}

} // namespace
} // namespace test
