#include "diagnose/Diagnosis.h"

#include "host/Pairs.h"
#include "support/SmallPair.h"
#include "support/TempDir.h"
#include "support/Thinned.h"

#include <gtest/gtest.h>
#include <plate_mend/plate_mend.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// What a diagnosis with a sample says is compared with what the library then does: whether it repairs the
// photograph, and from where it takes the image.

namespace test {
namespace {

using namespace plate_mend::host;

/// A damaged file, and how it came to be.
struct Wreck {
    std::string name;
    Bytes bytes;
};

/// Diagnoses and repairs the wrecks of one photograph.
class Comparison {
  public:
    Comparison(const Bytes& sample, std::string extension) : extension_(std::move(extension)) {
        write_file(sample_file(), sample);
        const std::string work = utf8(folder_.path());
        const std::string no_log = work + "/no-log";
        static_cast<void>(MndRawInit(no_log.c_str(), no_log.c_str(), work.c_str()));
        const auto format = format_of(sample_file()).value();
        sample_image_ = find_landmarks(sample, format).images.at(0).offset;
    }

    void check(const Wreck& wreck) {
        SCOPED_TRACE(extension_ + ", " + wreck.name);
        write_file(photo_file(), wreck.bytes);
        const Diagnosis diagnosis = diagnose(photo_file(), sample_file());
        EXPECT_EQ(diagnosis.sample_problem, "");
        const std::optional<std::int32_t> code = repair();
        const auto says = [&diagnosis](const char* text) {
            return diagnosis.repair.find(text) != std::string::npos;
        };
        const bool repaired = code == PLATE_MEND_OK;
        (repaired ? repaired_ : refused_) += 1;
        if (says("one size for all samples")) {
            return; // The library may go by another number then.
        }
        const bool refuses = says("will not find") || says("will not rebuild") || says("will fail");
        EXPECT_NE(refuses, says("will probably rebuild") || says("locates the image")) << diagnosis.repair;
        EXPECT_EQ(refuses, !repaired) << diagnosis.repair << " code " << code.value_or(1);
        if (repaired && !refuses) {
            check_place(diagnosis, wreck.bytes);
        }
    }

    [[nodiscard]] std::size_t repaired() const { return repaired_; }
    [[nodiscard]] std::size_t refused() const { return refused_; }

  private:
    [[nodiscard]] std::filesystem::path sample_file() const { return folder_ / ("sample." + extension_); }
    [[nodiscard]] std::filesystem::path photo_file() const { return folder_ / ("photo." + extension_); }
    [[nodiscard]] std::filesystem::path output_file() const { return folder_ / "output"; }

    [[nodiscard]] std::optional<std::int32_t> repair() const {
        try {
            return MndRawAdvanceRepair(utf8(photo_file()).c_str(), utf8(sample_file()).c_str(),
                                       utf8(output_file()).c_str());
        } catch (const std::exception&) {
            return std::nullopt;
        }
    }

    void check_place(const Diagnosis& diagnosis, const Bytes& damaged) const {
        const Bytes output = read_file(output_file());
        const auto& images = diagnosis.landmarks.images;
        if (extension_ == "cr3") {
            const auto written = find_landmarks(output, RawFormat::kCr3).images;
            ASSERT_EQ(images.size(), 2U);
            ASSERT_EQ(written.size(), 2U);
            for (std::size_t index = 0; index < 2; ++index) {
                EXPECT_EQ(run_at(output, written[index]), run_at(damaged, images[index]));
            }
            return;
        }
        ASSERT_EQ(images.size(), 1U);
        ImageData image = images[0];
        if (extension_ != "dng" && extension_ != "raf") {
            image.size.reset(); // These repairs copy all that is there.
        }
        const Bytes taken = run_at(damaged, image);
        ASSERT_EQ(output.size(), sample_image_ + taken.size());
        EXPECT_EQ(part(output, output.size() - taken.size(), output.size()), taken);
    }

    static Bytes run_at(const Bytes& bytes, const ImageData& image) {
        const std::size_t first = std::min<std::size_t>(image.offset, bytes.size());
        const std::size_t rest = bytes.size() - first;
        return part(bytes, first, first + std::min<std::size_t>(image.size.value_or(rest), rest));
    }

    TempDir folder_{quick_folder()};
    std::string extension_;
    std::uint64_t sample_image_ = 0;
    std::size_t repaired_ = 0;
    std::size_t refused_ = 0;
};

// The wrecks.

using Wrecks = std::vector<Wreck>;

void add_lost_heads(Wrecks& wrecks, const Bytes& original, std::size_t step) {
    for (std::size_t lost = 0; lost <= original.size(); lost += step) {
        wrecks.push_back({"head lost, " + std::to_string(lost), zeroed(original, 0, lost)});
    }
}

void add_cuts(Wrecks& wrecks, const Bytes& original, std::size_t step) {
    for (std::size_t left = 0; left < original.size(); left += step) {
        wrecks.push_back({"cut at " + std::to_string(left), part(original, 0, left)});
    }
}

void add_displaced(Wrecks& wrecks, const Bytes& original, const Bytes& headless) {
    for (const std::size_t count : {1U, 2U, 3U, 4U, 7U, 127U, 512U, 4096U, 4097U}) {
        const std::string name = "displaced by " + std::to_string(count);
        wrecks.push_back({name + " zeros", joined(Bytes(count), original)});
        wrecks.push_back({name + " of noise", joined(noise(count, 3), headless)});
        if (count < original.size()) {
            wrecks.push_back({name + " the other way", part(original, count, original.size())});
        }
    }
}

void add_foreign_heads(Wrecks& wrecks, const Bytes& original, const Bytes& headless, std::size_t image) {
    for (const Format& format : formats()) {
        const Bytes other = format.make({}).sample;
        for (const std::size_t count : {16U, 300U, 2000U, 9000U}) {
            const Bytes head = part(other, 0, std::min<std::size_t>(count, other.size()));
            const std::string name =
                std::string("head of a ") + format.extension + ", " + std::to_string(head.size()) + " bytes";
            wrecks.push_back({name + " before it", joined(head, headless)});
            Bytes covered = original;
            put_bytes(covered, 0, part(head, 0, std::min(head.size(), image)));
            wrecks.push_back({name + " over it", covered});
        }
    }
}

void add_lost_landmarks(Wrecks& wrecks, const Bytes& original, const Landmarks& landmarks) {
    for (const Landmark& mark : landmarks.found) {
        const auto first = static_cast<std::size_t>(mark.offset.value());
        for (std::size_t more = 0; more < 48 && first + more < original.size(); ++more) {
            for (const unsigned char value : Bytes{0x00, 0x01, 0xFF}) {
                Bytes bytes = original;
                bytes[first + more] = value;
                wrecks.push_back(
                    {mark.name + ", byte " + std::to_string(more) + " is " + std::to_string(value), bytes});
            }
            wrecks.push_back({mark.name + " zeroed, " + std::to_string(more),
                              zeroed(original, first, std::min(first + more, original.size()))});
        }
    }
}

/// Writes what looks like the entries and boxes that repairs search for.
class Forger {
  public:
    Forger(std::uint32_t seed, std::size_t size, std::size_t image)
        : random_(seed), size_(size), image_(image) {}

    Bytes forge(Bytes bytes) {
        const unsigned count = 1 + one_of<unsigned>({0, 1, 3, 8});
        for (unsigned index = 0; index < count; ++index) {
            const Bytes forgery = one_of<int>({0, 1, 2}) != 0 ? entries() : box();
            const std::size_t room = bytes.size() - std::min(bytes.size(), forgery.size());
            const auto at =
                one_of<std::size_t>({0, below(bytes.size()), below(std::max<std::size_t>(image_, 1)),
                                     bytes.size() - below(std::min<std::size_t>(bytes.size(), 60))});
            // At the end of the file a part of it is enough.
            const std::size_t first = below(2) == 0 ? std::min(at, room) : at;
            put_bytes(
                bytes, std::min(first, bytes.size()),
                part(forgery, 0, std::min(forgery.size(), bytes.size() - std::min(first, bytes.size()))));
        }
        return bytes;
    }

    std::size_t below(std::size_t end) { return end == 0 ? 0 : random_() % end; }

  private:
    template <typename Value>
    Value one_of(std::initializer_list<Value> values) {
        return values.begin()[below(values.size())];
    }

    std::uint32_t number() {
        const auto size = static_cast<std::uint32_t>(size_);
        const auto image = static_cast<std::uint32_t>(image_);
        return one_of<std::uint32_t>({0, 1, image, image + 1, size - 1, size, size + 1, 0x7FFFFFFF,
                                      0xFFFFFFFF, static_cast<std::uint32_t>(random_()),
                                      static_cast<std::uint32_t>(below(size_))});
    }

    void put_entry(Bytes& bytes, std::size_t at, std::uint16_t tag, ByteOrder order) {
        put_u16(bytes, at, tag, order);
        put_u16(bytes, at + 2, one_of<std::uint16_t>({4, 4, 4, 3, 12, 13, 0, 1}), order);
        put_u32(bytes, at + 4, one_of<std::uint32_t>({1, 1, 2, 0, 4, 0x3FFFFFFF}), order);
        put_u32(bytes, at + 8, number(), order);
    }

    Bytes entries() {
        const auto order = one_of<ByteOrder>({ByteOrder::kLittle, ByteOrder::kBig});
        const auto tags = one_of<std::vector<std::uint16_t>>({{254},
                                                              {273},
                                                              {324},
                                                              {325},
                                                              {0xF007},
                                                              {0xF008},
                                                              {0xF007, 0xF008},
                                                              {273, 278, 279},
                                                              {273, 274, 277, 278, 279},
                                                              {273, 279},
                                                              {254, 273},
                                                              {254, 324, 325},
                                                              {279},
                                                              {278}});
        Bytes bytes(12 * tags.size());
        for (std::size_t index = 0; index < tags.size(); ++index) {
            put_entry(bytes, 12 * index, tags[index], order);
        }
        return below(4) == 0 ? part(bytes, 0, 1 + below(bytes.size())) : bytes;
    }

    Bytes box() {
        const auto text = one_of<std::string_view>(
            {"CRAW", "stsz", "co64", "CTMD", {"II*\0\x08\0\0\0", 8}, {"MM\0*\0\0\0\x08", 8}});
        Bytes bytes(28);
        put_u32(bytes, 0, one_of<std::uint32_t>({112, 228, 20, 24}), ByteOrder::kBig);
        put_text(bytes, 4, text);
        if (text.size() == 4) {
            put_u32(bytes, 12, one_of<std::uint32_t>({0, 0, 1, 77}), ByteOrder::kBig);
            put_u32(bytes, 16, 1, ByteOrder::kBig);
            put_u32(bytes, 20, number(), ByteOrder::kBig);
        }
        return below(3) == 0 ? part(bytes, 4, bytes.size()) : bytes;
    }

    std::mt19937 random_;
    std::size_t size_;
    std::size_t image_;
};

void add_forgeries(Wrecks& wrecks, const Bytes& original, std::size_t image, int rounds) {
    Forger forger(2026, original.size(), image);
    for (int round = 0; round < rounds; ++round) {
        Bytes bytes = original;
        if (round % 2 == 0) {
            bytes = zeroed(bytes, 0, forger.below(image));
        }
        if (round % 5 == 0) {
            bytes.resize(1 + forger.below(bytes.size()));
        }
        wrecks.push_back({"forgery " + std::to_string(round), forger.forge(bytes)});
    }
}

/// Where the image of an undamaged photograph begins.
std::size_t image_of(const Landmarks& landmarks) {
    return static_cast<std::size_t>(landmarks.images.back().offset);
}

void expect_agreement(Comparison& comparison, const Wrecks& wrecks) {
    for (const Wreck& wreck : thinned(wrecks)) {
        comparison.check(wreck);
        if (::testing::Test::HasFailure()) {
            return; // One line is enough to begin with.
        }
    }
    EXPECT_GT(comparison.repaired(), 20 / kEveryNth) << "too few damages were repaired to tell";
    EXPECT_GT(comparison.refused(), 20 / kEveryNth) << "too few damages were refused to tell";
}

class DiagnosisAgrees : public ::testing::TestWithParam<Format> {
  protected:
    const Pair pair = GetParam().make({});
    const std::string extension = GetParam().extension;
    const Landmarks landmarks = find_landmarks(pair.original, format_of("a." + extension).value());
    const std::size_t image = image_of(landmarks);
    const Bytes headless = zeroed(pair.original, 0, pair.lost);
    Comparison comparison{pair.sample, extension};
    Wrecks wrecks;
};

TEST_P(DiagnosisAgrees, WhereHeadsAreLostOrFilesAreCut) {
    add_lost_heads(wrecks, pair.original, 61);
    add_cuts(wrecks, headless, 331);
    for (const std::size_t left : {image - 1, image, image + 1}) {
        wrecks.push_back({"cut at the image", part(pair.original, 0, left)});
    }
    expect_agreement(comparison, wrecks);
}

TEST_P(DiagnosisAgrees, WherePhotographsAreDisplacedOrHaveForeignHeads) {
    add_displaced(wrecks, pair.original, headless);
    add_foreign_heads(wrecks, pair.original, headless, image);
    for (const std::size_t wide : {16U, 64U}) {
        add_lost_heads(wrecks, joined(Bytes(wide), pair.original), 601);
    }
    expect_agreement(comparison, wrecks);
}

TEST_P(DiagnosisAgrees, WhereLandmarksAreLost) {
    add_lost_landmarks(wrecks, pair.original, landmarks);
    expect_agreement(comparison, wrecks);
}

TEST_P(DiagnosisAgrees, WhereBytesLookLikeEntries) {
    add_forgeries(wrecks, pair.original, image, 800);
    expect_agreement(comparison, wrecks);
}

TEST_P(DiagnosisAgrees, WhereTheSampleHasTheOtherByteOrder) {
    if (!GetParam().has_orders) {
        GTEST_SKIP() << "cameras write one byte order";
    }
    const Pair other = GetParam().make({.other_order = true});
    Comparison with_other(other.sample, extension);
    add_forgeries(wrecks, other.original, image, 200);
    add_lost_heads(wrecks, other.original, 2003);
    for (const Wreck& wreck : thinned(wrecks)) {
        with_other.check(wreck);
    }
    EXPECT_GT(with_other.refused(), 20 / kEveryNth);
}

TEST_P(DiagnosisAgrees, WhereTheSampleIsOfAnotherSize) {
    const Pair other = GetParam().make({.large = true, .other_size = true});
    Comparison with_other(other.sample, extension);
    add_lost_heads(wrecks, pair.original, 2003);
    add_forgeries(wrecks, pair.original, image, 50);
    for (const Wreck& wreck : thinned(wrecks)) {
        with_other.check(wreck);
    }
}

INSTANTIATE_TEST_SUITE_P(Extensions, DiagnosisAgrees, ::testing::ValuesIn(formats()),
                         [](const auto& format) { return format.param.extension; });

// Photographs of some hundred bytes, in both byte orders: at each of their bytes.
class DiagnosisOfSmallFilesAgrees : public ::testing::TestWithParam<SmallPair> {};

TEST_P(DiagnosisOfSmallFilesAgrees, AtEveryByte) {
    const SmallPair& pair = GetParam();
    const std::string extension(pair.extension);
    Comparison comparison(pair.sample, extension);
    const auto landmarks = find_landmarks(pair.damaged, format_of("a." + extension).value());
    const std::size_t step = extension == "cr3" ? 11 : 1;
    Wrecks wrecks;
    add_cuts(wrecks, pair.damaged, step);
    add_lost_heads(wrecks, pair.damaged, step);
    for (std::size_t at = 0; at < pair.damaged.size(); at += step) {
        for (const unsigned char value : Bytes{0x00, 0xFF}) {
            Bytes bytes = pair.damaged;
            bytes[at] = value;
            wrecks.push_back({"byte " + std::to_string(at) + " is " + std::to_string(value), bytes});
        }
    }
    add_forgeries(wrecks, pair.damaged, image_of(landmarks), 200);
    expect_agreement(comparison, wrecks);
}

INSTANTIATE_TEST_SUITE_P(Pairs, DiagnosisOfSmallFilesAgrees, ::testing::ValuesIn(small_pairs()),
                         [](const auto& pair) { return pair.param.name; });

} // namespace
} // namespace test
