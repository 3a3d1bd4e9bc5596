#include "metadata/Sidecar.h"

#include <gmock/gmock.h>

#include <thread>

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(SidecarText, HasEachFactWherePhotographsHaveIt) {
    const std::string text = sidecar_text({{CameraFact::kTaken, "2026-05-01T12:30:00.25+02:00"},
                                           {CameraFact::kExposureTime, "1/250"},
                                           {CameraFact::kAperture, "28/10"},
                                           {CameraFact::kIso, "400"},
                                           {CameraFact::kFocalLength, "50/1"},
                                           {CameraFact::kLens, "DT 50mm"},
                                           {CameraFact::kMake, "SONY"},
                                           {CameraFact::kModel, "DSLR-A330"},
                                           {CameraFact::kSerialNumber, "0123"},
                                           {CameraFact::kOrientation, "6"},
                                           {CameraFact::kArtist, "A. <B> & \"C\""},
                                           {CameraFact::kCopyright, "(c) A"},
                                           {CameraFact::kLatitude, "48,12.500000N"},
                                           {CameraFact::kLongitude, "16,22.250000W"},
                                           {CameraFact::kAltitude, "-12/1"},
                                           {CameraFact::kGpsTime, "2026-05-01T10:30:00Z"}},
                                          "good.arw");
    EXPECT_THAT(text, StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<x:xmpmeta"));
    for (const char* part : {"exif:DateTimeOriginal=\"2026-05-01T12:30:00.25+02:00\"",
                             "xmp:CreateDate=\"2026-05-01T12:30:00.25+02:00\"",
                             "photoshop:DateCreated=\"2026-05-01T12:30:00.25+02:00\"",
                             "exif:ExposureTime=\"1/250\"",
                             "exif:FNumber=\"28/10\"",
                             "<rdf:li>400</rdf:li>",
                             "exif:FocalLength=\"50/1\"",
                             "aux:Lens=\"DT 50mm\"",
                             "exifEX:LensModel=\"DT 50mm\"",
                             "tiff:Make=\"SONY\"",
                             "tiff:Model=\"DSLR-A330\"",
                             "aux:SerialNumber=\"0123\"",
                             "exifEX:BodySerialNumber=\"0123\"",
                             "tiff:Orientation=\"6\"",
                             "<rdf:li>A. &lt;B&gt; &amp; \"C\"</rdf:li>",
                             "<rdf:li xml:lang=\"x-default\">(c) A</rdf:li>",
                             "exif:GPSLatitude=\"48,12.500000N\"",
                             "exif:GPSLongitude=\"16,22.250000W\"",
                             "exif:GPSAltitude=\"12/1\"",
                             "exif:GPSAltitudeRef=\"1\"",
                             "exif:GPSTimeStamp=\"2026-05-01T10:30:00Z\"",
                             "stEvt:action=\"edited\"",
                             "Repaired with the sample good.arw."}) {
        EXPECT_THAT(text, HasSubstr(part));
    }
}

TEST(SidecarText, HasNothingThatIsNotKnown) {
    const std::string text = sidecar_text({{CameraFact::kIso, "400"}}, "good.arw");
    for (const char* name : {"Date", "exif:FNumber", "tiff:", "GPS", "dc:", "aux:"}) {
        EXPECT_THAT(text, Not(HasSubstr(name)));
    }
}

TEST(SidecarText, IsTheSameInEachThread) {
    const CameraFacts facts = {{CameraFact::kTaken, "2026-05-01T12:30:00"}, {CameraFact::kIso, "400"}};
    const std::string text = sidecar_text(facts, "good.arw");
    std::vector<std::string> others(4);
    std::vector<std::thread> threads;
    threads.reserve(others.size());
    for (std::string& other : others) {
        threads.emplace_back([&other, &facts] { other = sidecar_text(facts, "good.arw"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(others, ::testing::Each(text));
}

} // namespace
} // namespace test
