#include "unit/CR3/Cr3ModelFixture.h"

#include "api/Exceptions.h"

#include <gmock/gmock.h>

#include <vector>

// Every box of a whole sample, damaged one way after the other.

namespace plate_mend {
namespace {

constexpr ByteOrder kBig = ByteOrder::kBig;

/// What a box makes of its size.
enum class Kind {
    kRaw,    ///< It bounds the payload.
    kPacket, ///< It bounds the payload after an identifier.
    kOther,  ///< It is read, kept and written back.
    kMdat,   ///< It is read, and written anew.
};

struct BoxCase {
    std::string name;
    Kind kind;
};

std::vector<BoxCase> all_boxes() {
    std::vector<BoxCase> cases;
    for (const char* name : {"ftyp", "CNCV", "CCDT1", "CCDT2", "CCDT3", "CTBO", "free", "CMT1", "CMT2",
                             "CMT3", "CMT4", "mvhd"}) {
        cases.push_back({name, Kind::kRaw});
    }
    for (const char* name : {"moov", "canon", "CCTP", "THMB", "preview", "PRVW"}) {
        cases.push_back({name, Kind::kOther});
    }
    for (const std::string trak : {"trak1", "trak2", "trak3", "trak4"}) {
        for (const char* name : {"tkhd", "mdhd", "hdlr", "vmhd", "dref", "entry", "stts", "stsc", "free2"}) {
            cases.push_back({trak + "/" + name, Kind::kRaw});
        }
        if (trak != "trak4") {
            cases.push_back({trak + "/free1", Kind::kRaw});
        }
        cases.push_back({trak, Kind::kOther});
        for (const char* name : {"mdia", "minf", "dinf", "stbl", "stsd", "stsz", "co64"}) {
            cases.push_back({trak + "/" + name, Kind::kOther});
        }
    }
    cases.push_back({"xmp", Kind::kPacket});
    cases.push_back({"mdat", Kind::kMdat});
    return cases;
}

bool judges_its_type(const BoxCase& box) {
    return box.name != "moov" && box.name != "canon";
}

class Cr3BoxTable : public Cr3ModelFixture {
  protected:
    /// Reads the file with this number as the size of the box.
    std::shared_ptr<CR3> read_with_size(const BoxCase& box, std::uint32_t size) {
        Bytes bytes = photo.bytes;
        test::put_u32(bytes, photo.at(box.name), size, kBig);
        return read(bytes);
    }

    Cr3Photo photo{Cr3Photo::Options{.maker_notes = 40,
                                     .thumbnail = 41,
                                     .preview = 43,
                                     .tracks = {31, 10, 33, 13},
                                     .after_tracks = 1000,
                                     .large_mdat = false}};
};

TEST_F(Cr3BoxTable, KnowsEveryBoxOfThePhotograph) {
    std::vector<std::string> names;
    for (const BoxCase& box : all_boxes()) {
        names.push_back(box.name);
    }
    std::vector<std::string> written;
    for (const auto& [name, offset] : photo.boxes) {
        written.push_back(name);
    }
    EXPECT_THAT(names, ::testing::UnorderedElementsAreArray(written));
}

TEST_F(Cr3BoxTable, WrongTypeIsIllegalWithThePayloadUnread) {
    for (const BoxCase& box : all_boxes()) {
        for (std::size_t byte = 4; byte < 8; ++byte) {
            SCOPED_TRACE(box.name + " byte " + std::to_string(byte));
            Bytes bytes = photo.bytes;
            bytes[photo.at(box.name) + byte] ^= 0x80U;
            const auto cr3 = open(bytes);
            if (judges_its_type(box)) {
                EXPECT_THROW(read_all(*cr3), IllegalException);
                EXPECT_EQ(cr3->mmap->position(), photo.at(box.name) + 7);
            } else {
                EXPECT_NO_THROW(read_all(*cr3));
            }
        }
    }
}

TEST_F(Cr3BoxTable, TypeThatNobodyJudgesIsWrittenBack) {
    for (const char* name : {"moov", "canon"}) {
        Cr3Photo changed = photo;
        test::put_text(changed.bytes, changed.at(name) + 4, "what");
        EXPECT_EQ(repaired_with_itself(changed), expected_cr3(changed, changed.track(1), changed.track(3)));
    }
}

TEST_F(Cr3BoxTable, SizeBelowTheHeaderIsOutOfRangeInRawBoxes) {
    for (const BoxCase& box : all_boxes()) {
        for (const std::uint32_t size : {0U, 1U, 7U}) {
            SCOPED_TRACE(box.name + " size " + std::to_string(size));
            if (box.kind == Kind::kRaw || box.kind == Kind::kPacket) {
                EXPECT_THROW(read_with_size(box, size), OutRangeException);
            }
        }
    }
}

TEST_F(Cr3BoxTable, SizePastTheFileIsOutOfRangeInRawBoxes) {
    for (const BoxCase& box : all_boxes()) {
        SCOPED_TRACE(box.name);
        const auto left = static_cast<std::uint32_t>(photo.bytes.size() - photo.at(box.name));
        if (box.kind == Kind::kRaw || box.kind == Kind::kPacket) {
            EXPECT_THROW(read_with_size(box, left + 1), OutRangeException);
            EXPECT_THROW(read_with_size(box, 0x7FFFFFFF), OutRangeException);
            EXPECT_THROW(read_with_size(box, 0xFFFFFFFF), OutRangeException);
        }
    }
}

TEST_F(Cr3BoxTable, SizeEightOfARawBoxTakesItsPayloadForTheNextBox) {
    for (const BoxCase& box : all_boxes()) {
        SCOPED_TRACE(box.name);
        if (box.kind == Kind::kRaw) {
            EXPECT_THROW(read_with_size(box, 8), IllegalException);
        }
    }
}

TEST_F(Cr3BoxTable, SizeOneOffIsNoticedInTheBoxAfterARawBox) {
    for (const BoxCase& box : all_boxes()) {
        SCOPED_TRACE(box.name);
        if (box.kind == Kind::kRaw || box.kind == Kind::kPacket) {
            const std::uint32_t size = test::get_u32(photo.bytes, photo.at(box.name), kBig);
            EXPECT_NO_THROW(read_with_size(box, size));
            EXPECT_ANY_THROW(read_with_size(box, size - 1));
            EXPECT_ANY_THROW(read_with_size(box, size + 1));
        }
    }
}

TEST_F(Cr3BoxTable, RawBoxOfSizeEightIsEmptyAndWritesEightBytes) {
    for (const BoxCase& box : all_boxes()) {
        if (box.kind != Kind::kRaw || box.name.starts_with("CCDT")) {
            continue; // A line needs its 16 bytes.
        }
        SCOPED_TRACE(box.name);
        // The payload taken out. All after it has moved, so the tracks hold other bytes; that is all the
        // same.
        const std::size_t place = photo.at(box.name);
        const std::uint32_t size = test::get_u32(photo.bytes, place, kBig);
        ASSERT_GT(size, 8U);
        Bytes bytes = test::joined(test::part(photo.bytes, 0, place + 8),
                                   test::part(photo.bytes, place + size, photo.bytes.size()));
        test::put_u32(bytes, place, 8, kBig);
        const Bytes out = write(damaged_with({1}, {2}), read(bytes));
        EXPECT_EQ(test::part(out, place, place + 16), test::part(bytes, place, place + 16));
        EXPECT_EQ(out[place + 3], 8);
    }
}

TEST_F(Cr3BoxTable, SizeOfAnyOtherBoxIsReadAndWrittenBackWhateverItSays) {
    for (const BoxCase& box : all_boxes()) {
        for (const std::uint32_t size : {0U, 1U, 7U, 8U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(box.name + " size " + std::to_string(size));
            if (box.kind == Kind::kOther) {
                Cr3Photo changed = photo;
                test::put_u32(changed.bytes, changed.at(box.name), size, kBig);
                EXPECT_EQ(repaired_with_itself(changed),
                          expected_cr3(changed, changed.track(1), changed.track(3)));
            }
        }
    }
}

TEST_F(Cr3BoxTable, SizeOfMdatIsWrittenAnew) {
    const Bytes expected = expected_cr3(photo, photo.track(1), photo.track(3));
    for (const std::uint32_t size : {0U, 7U, 8U, 0xFFFFFFFFU}) {
        Cr3Photo changed = photo;
        test::put_u32(changed.bytes, changed.at("mdat"), size, kBig);
        EXPECT_EQ(repaired_with_itself(changed), expected) << size;
    }
}

TEST_F(Cr3BoxTable, SizeOneOfMdatBringsTwoMoreWords) {
    // Here the words are the first bytes of track 1, which then begins before the payload.
    EXPECT_THROW(read_with_size({"mdat", Kind::kMdat}, 1), MismatchingException);
}

TEST_F(Cr3BoxTable, SizeOfTheXmpBoxBoundsWhatIsAfterItsIdentifier) {
    const BoxCase xmp{"xmp", Kind::kPacket};
    for (const std::uint32_t size : {8U, 16U, 23U}) {
        EXPECT_THROW(read_with_size(xmp, size), OutRangeException) << size;
    }
    // Nothing is left for the packet, which is then taken for the preview's box.
    Bytes bytes = photo.bytes;
    test::put_u32(bytes, photo.at("xmp"), 24, kBig);
    const auto cr3 = open(bytes);
    cr3->parse_ftyp();
    cr3->parse_moov();
    cr3->parse_xpacket();
    EXPECT_TRUE(cr3->xpacket->get_data().empty());
    EXPECT_THROW(cr3->parse_preview(), IllegalException);
}

TEST_F(Cr3BoxTable, SampleCutAtAnyByteIsOutOfRange) {
    const Cr3Photo small(
        Cr3Photo::Options{.maker_notes = 9, .thumbnail = 6, .preview = 5, .tracks = {3, 4, 5, 6}});
    const auto path = folder / "cut.cr3";
    test::write_file(path, small.bytes);
    ASSERT_EQ(small.tracks[3].offset + 6, small.bytes.size());
    EXPECT_NO_THROW(read_all(*std::make_unique<CR3>(path)));
    for (std::size_t size = small.bytes.size(); size-- > 0;) {
        std::filesystem::resize_file(path, size);
        CR3 cr3(path);
        ASSERT_THROW(read_all(cr3), OutRangeException) << size;
    }
}

} // namespace
} // namespace plate_mend
