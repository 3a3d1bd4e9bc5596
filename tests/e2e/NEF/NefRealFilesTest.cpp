#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/NefPhoto.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>

// A whole real NEF. This early camera writes one sub-directory, and its raw data in many strips.

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const RepairLog kLog = repair_log("nef");

// Where the D1's directories put things.
constexpr std::size_t kSubIfdsEntry = 238;
constexpr std::size_t kUserComment = 1224; // 48 empty bytes.
constexpr std::size_t kThumbnail = 1280;
constexpr std::size_t kThumbnailSize = 57600;
constexpr std::uint32_t kRawIfd = 58880;
constexpr std::size_t kMainEntry = kRawIfd + 2;
constexpr std::size_t kStripEntry = 58954;
constexpr std::size_t kRowsPerStripEntry = kStripEntry + 24;
constexpr std::size_t kByteCountsEntry = kStripEntry + 36;
constexpr std::uint32_t kStripList = 59090; // A list of 67 offsets.
constexpr std::uint32_t kRaw = 59642;       // The strips are end to end up to the end of the file.
constexpr std::uint32_t kHeight = 1324;

void put_entry(Bytes& bytes, std::size_t offset, std::uint16_t tag, std::uint32_t count,
               std::uint32_t value) {
    put_bytes(bytes, offset, entry_bytes(tag, 4, count, value, ByteOrder::kBig));
}

/// The file as a later camera would write it: a directory with a preview before the raw image's,
/// whose picture is the thumbnail's start. The list and the directory take the place of the user comment.
Bytes with_preview_directory(Bytes photo) {
    const auto list = static_cast<std::uint32_t>(kUserComment);
    const std::uint32_t preview_ifd = list + 8;
    put_entry(photo, kSubIfdsEntry, 330, 2, list);
    put_u32(photo, list, preview_ifd, ByteOrder::kBig);
    put_u32(photo, list + 4, kRawIfd, ByteOrder::kBig);
    put_u16(photo, preview_ifd, 1, ByteOrder::kBig);
    put_entry(photo, preview_ifd + 2, 513, 1, static_cast<std::uint32_t>(kThumbnail));
    return photo;
}

/// The same photograph with its raw data in one strip.
Bytes with_one_strip(Bytes photo) {
    put_entry(photo, kStripEntry, 273, 1, kRaw);
    put_entry(photo, kRowsPerStripEntry, 278, 1, kHeight);
    put_entry(photo, kByteCountsEntry, 279, 1, static_cast<std::uint32_t>(photo.size()) - kRaw);
    return photo;
}

/// Another photograph from the same camera: every byte of the raw data is another.
Bytes with_other_image(Bytes photo) {
    for (std::size_t offset = kRaw; offset < photo.size(); ++offset) {
        photo[offset] ^= 0x5A;
    }
    return photo;
}

/// The preview is inside the thumbnail, which is zeroed whole.
Bytes spoiled(const Bytes& sample) {
    return zeroed(sample, kThumbnail, kThumbnail + kThumbnailSize);
}

class NefRealFiles : public RepairFixture {
  protected:
    /// Repairs original, with all before its raw directory's entries destroyed, and expects its picture.
    void expect_whole_again(const Bytes& original, const Bytes& sample, std::uint32_t raw_offset) {
        const auto picture = decode_raw(original);
        ASSERT_TRUE(picture.has_value());
        ASSERT_NE(picture, decode_raw(sample));
        const Bytes damaged = zeroed(original, 0, kMainEntry);
        ASSERT_EQ(decode_raw(damaged), std::nullopt);
        ASSERT_EQ(advance("nef", damaged, sample), 0);
        EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.repaired));
        EXPECT_THAT(work_files(), IsEmpty());
        EXPECT_EQ(output(),
                  joined(part(spoiled(sample), 0, raw_offset), part(original, raw_offset, original.size())));
        EXPECT_EQ(decode_raw(output_path), picture);
    }
};

TEST_F(NefRealFiles, NikonD1IsRepaired) {
    REAL_FILE_OR_SKIP(photo, "nef/nikon-d1.nef");
    // What the entry of many strips names is the list of their offsets: it is carried over with the image.
    expect_whole_again(photo, with_other_image(with_preview_directory(photo)), kStripList);
}

TEST_F(NefRealFiles, NikonD1InOneStripIsRepaired) {
    REAL_FILE_OR_SKIP(photo, "nef/nikon-d1.nef");
    const Bytes original = with_one_strip(photo);
    ASSERT_EQ(decode_raw(original), decode_raw(photo));
    expect_whole_again(original, with_other_image(with_preview_directory(original)), kRaw);
}

TEST_F(NefRealFiles, NikonD1AsItIsIsFoundAfterItsIfd0) {
    REAL_FILE_OR_SKIP(photo, "nef/nikon-d1.nef");
    // IFD 0 begins with a NewSubfileType of 1.
    const NefPhoto sample;
    EXPECT_EQ(advance("nef", photo, sample.bytes), 0);
    ASSERT_TRUE(output().has_value());
    EXPECT_EQ(part(*output(), sample.raw_offset, output()->size()), part(photo, kStripList, photo.size()));
}

TEST_F(NefRealFiles, NikonD1AsItIsIsNoSample) {
    REAL_FILE_OR_SKIP(photo, "nef/nikon-d1.nef");
    // Its one sub-directory holds no JPEG, and the bytes that look like the tag are no entry.
    EXPECT_EQ(advance("nef", photo, photo), -1062);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("nef sample repaired failed, reason is "
                                                              "Data is illegal")));
    EXPECT_EQ(work_file("temp.nef"), spoiled(photo));
}

} // namespace
} // namespace test
