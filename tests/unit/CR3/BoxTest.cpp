#include "CR3/Box.h"

#include "CR3/StandardBoxes.h"
#include "CR3/VendorBoxes.h"
#include "api/Exceptions.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>

#include <sstream>
#include <type_traits>

namespace plate_mend {
namespace {

using test::Bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Box, TypeIsABigEndianNumberOnAnyMachine) {
    EXPECT_EQ(four_cc("ftyp"), 0x66747970U);
    EXPECT_EQ(four_cc("CRAW"), 0x43524157U);
}

TEST(Box, StartsEmptyAndKeepsWhatIsSet) {
    Box box;
    EXPECT_EQ(box.get_size(), 0U);
    EXPECT_EQ(box.get_type(), 0U);
    EXPECT_THAT(box.get_data(), IsEmpty());
    box.set_size(0xFFFFFFFF);
    box.set_type(0x66747970);
    box.set_data({1, 2});
    EXPECT_EQ(box.get_size(), 0xFFFFFFFFU);
    EXPECT_EQ(box.get_type(), 0x66747970U);
    EXPECT_THAT(box.get_data(), ElementsAre(1, 2));
}

/// That a vector accessor takes and returns copies.
template <typename BoxClass>
void expect_copies(void (BoxClass::*set)(Bytes), Bytes (BoxClass::*get)() const) {
    BoxClass box;
    Bytes given{1, 2, 3};
    (box.*set)(given);
    given[0] = 9;
    Bytes taken = (box.*get)();
    EXPECT_THAT(taken, ElementsAre(1, 2, 3));
    taken[0] = 9;
    EXPECT_THAT((box.*get)(), ElementsAre(1, 2, 3));
}

TEST(Box, VectorsPassByValueThroughEveryAccessor) {
    expect_copies<Box>(&Box::set_data, &Box::get_data);
    expect_copies<FtypBox>(&FtypBox::set_data, &FtypBox::get_data);
    expect_copies<StszBox>(&StszBox::set_header, &StszBox::get_header);
    expect_copies<THMBBox>(&THMBBox::set_jpeg, &THMBBox::get_jpeg);
    expect_copies<THMBBox>(&THMBBox::set_padding, &THMBBox::get_padding);
    expect_copies<PRVWBox>(&PRVWBox::set_jpeg, &PRVWBox::get_jpeg);
    expect_copies<MdatBox>(&MdatBox::set_track1_data, &MdatBox::get_track1_data);
    expect_copies<MdatBox>(&MdatBox::set_track2_data, &MdatBox::get_track2_data);
    expect_copies<MdatBox>(&MdatBox::set_track3_data, &MdatBox::get_track3_data);
    expect_copies<MdatBox>(&MdatBox::set_track4_data, &MdatBox::get_track4_data);
    expect_copies<MdatBox>(&MdatBox::set_padding, &MdatBox::get_padding);
}

TEST(Box, GetterOfAChildSharesIt) {
    MoovBox moov;
    EXPECT_EQ(moov.get_thmb(), nullptr);
    const auto thmb = std::make_shared<THMBBox>();
    moov.set_thmb(thmb);
    EXPECT_EQ(moov.get_thmb(), thmb);
    EXPECT_EQ(thmb.use_count(), 2);
}

TEST(Box, ClassesHaveNoVirtualOperations) {
    EXPECT_FALSE(std::is_polymorphic_v<Box>);
    EXPECT_FALSE(std::is_polymorphic_v<MoovBox>);
    EXPECT_FALSE(std::is_polymorphic_v<CCTPBox>);
    EXPECT_FALSE(std::is_polymorphic_v<MdatBox>);
}

/// That of all codes a class accepts these and no other.
template <typename BoxClass>
void expect_types(const std::vector<std::uint32_t>& accepted) {
    const std::vector<std::uint32_t> codes{
        four_cc("ftyp"), four_cc("moov"), four_cc("CNCV"), four_cc("CCTP"), four_cc("CCDT"), four_cc("CTBO"),
        four_cc("free"), four_cc("CMT1"), four_cc("CMT2"), four_cc("CMT3"), four_cc("CMT4"), four_cc("THMB"),
        four_cc("mvhd"), four_cc("trak"), four_cc("tkhd"), four_cc("mdia"), four_cc("mdhd"), four_cc("hdlr"),
        four_cc("minf"), four_cc("vmhd"), four_cc("nmhd"), four_cc("dinf"), four_cc("dref"), four_cc("stbl"),
        four_cc("stsd"), four_cc("CRAW"), four_cc("CTMD"), four_cc("stts"), four_cc("stsc"), four_cc("stsz"),
        four_cc("co64"), four_cc("uuid"), four_cc("PRVW"), four_cc("mdat"), four_cc("FTYP"), 0};
    for (const std::uint32_t code : codes) {
        BoxClass box;
        box.set_type(code);
        const bool expected = std::find(accepted.begin(), accepted.end(), code) != accepted.end();
        EXPECT_EQ(box.check_type(), expected) << std::hex << accepted.front() << " and " << code;
    }
}

TEST(Box, EveryClassAcceptsItsOwnTypeAlone) {
    expect_types<FtypBox>({four_cc("ftyp")});
    expect_types<CNCVBox>({four_cc("CNCV")});
    expect_types<CCTPBox>({four_cc("CCTP")});
    expect_types<CCDTBox>({four_cc("CCDT")});
    expect_types<CTBOBox>({four_cc("CTBO")});
    expect_types<FreeBox>({four_cc("free")});
    expect_types<CMT1Box>({four_cc("CMT1")});
    expect_types<CMT2Box>({four_cc("CMT2")});
    expect_types<CMT3Box>({four_cc("CMT3")});
    expect_types<CMT4Box>({four_cc("CMT4")});
    expect_types<THMBBox>({four_cc("THMB")});
    expect_types<MvhdBox>({four_cc("mvhd")});
    expect_types<TrakBox>({four_cc("trak")});
    expect_types<TkhdBox>({four_cc("tkhd")});
    expect_types<MdiaBox>({four_cc("mdia")});
    expect_types<MdhdBox>({four_cc("mdhd")});
    expect_types<HdlrBox>({four_cc("hdlr")});
    expect_types<MinfBox>({four_cc("minf")});
    expect_types<VmhdBox>({four_cc("vmhd"), four_cc("nmhd")});
    expect_types<DinfBox>({four_cc("dinf")});
    expect_types<DrefBox>({four_cc("dref")});
    expect_types<StblBox>({four_cc("stbl")});
    expect_types<StsdBox>({four_cc("stsd")});
    expect_types<CRAWBox>({four_cc("CRAW"), four_cc("CTMD")});
    expect_types<SttsBox>({four_cc("stts")});
    expect_types<StscBox>({four_cc("stsc")});
    expect_types<StszBox>({four_cc("stsz")});
    expect_types<Co64Box>({four_cc("co64")});
    expect_types<XPacketDataBox>({four_cc("uuid")});
    expect_types<PreviewDataBox>({four_cc("uuid")});
    expect_types<PRVWBox>({four_cc("PRVW")});
    expect_types<MdatBox>({four_cc("mdat")});
}

TEST(Box, IdentifiersAreComparedWordByWord) {
    XPacketDataBox xpacket;
    PreviewDataBox preview;
    EXPECT_FALSE(xpacket.check_uuid());
    EXPECT_FALSE(preview.check_uuid());
    const BoxUuid xmp{0xBE7ACFCB, 0x97A942E8, 0x9C719994, 0x91E3AFAC};
    const BoxUuid prvw{0xEAF42B5E, 0x1C984B88, 0xB9FBB7DC, 0x406E4D16};
    xpacket.set_uuid(xmp);
    preview.set_uuid(prvw);
    EXPECT_TRUE(xpacket.check_uuid());
    EXPECT_TRUE(preview.check_uuid());
    for (std::size_t word = 0; word < 4; ++word) {
        BoxUuid other = xmp;
        ++other[word];
        xpacket.set_uuid(other);
        EXPECT_FALSE(xpacket.check_uuid()) << word;
        other = prvw;
        --other[word];
        preview.set_uuid(other);
        EXPECT_FALSE(preview.check_uuid()) << word;
    }
}

bool accepted_line(const Bytes& data) {
    CCDTBox line;
    line.set_data(data);
    return line.check_data();
}

TEST(Box, LineIsJudgedByTwoBytesOfItsPayload) {
    for (unsigned value = 0; value < 256; ++value) {
        Bytes data(16, 0x77);
        data[7] = static_cast<unsigned char>(value);
        data[15] = 1;
        EXPECT_EQ(accepted_line(data), value == 0 || value == 1 || value == 16) << value;
        data[7] = 16;
        data[15] = static_cast<unsigned char>(value);
        EXPECT_EQ(accepted_line(data), value >= 1 && value <= 3) << value;
    }
}

TEST(Box, LineOfFewerThanSixteenBytesIsRefused) {
    for (std::size_t size = 0; size < 16; ++size) {
        EXPECT_FALSE(accepted_line(Bytes(size, 1))) << size;
    }
    EXPECT_TRUE(accepted_line(Bytes(16, 1)));
    EXPECT_TRUE(accepted_line(Bytes(17, 1)));
}

// Primitives.

class BoxPrimitives : public ::testing::Test {
  protected:
    /// A file with the cursor on its first byte, as if that had just been read.
    std::shared_ptr<MMAP> map(const Bytes& bytes) const {
        const auto path = folder / "file";
        test::write_file(path, bytes);
        return std::make_shared<MMAP>(path);
    }

    test::TempDir folder;
};

TEST_F(BoxPrimitives, ReadingBeginsAfterTheCursorAndEndsOnTheLastByte) {
    Bytes file{0};
    for (unsigned char byte = 1; byte <= 24; ++byte) {
        file.push_back(byte);
    }
    const auto bytes = map(file);
    EXPECT_EQ(read_next_uuid(*bytes), (BoxUuid{0x01020304, 0x05060708, 0x090A0B0C, 0x0D0E0F10}));
    EXPECT_EQ(bytes->position(), 16U);
    EXPECT_THAT(read_next_four(*bytes), ElementsAre(17, 18, 19, 20));
    EXPECT_EQ(bytes->position(), 20U);
    EXPECT_THAT(read_next_bytes(*bytes, 3), ElementsAre(21, 22, 23));
    EXPECT_EQ(bytes->position(), 23U);
    EXPECT_THAT(read_next_bytes(*bytes, 1), ElementsAre(24));
    EXPECT_EQ(bytes->position(), 24U);
}

TEST_F(BoxPrimitives, ReadingPastTheEndIsOutOfRange) {
    EXPECT_THROW((void)read_next_uuid(*map(Bytes(16))), OutRangeException);
    EXPECT_NO_THROW((void)read_next_uuid(*map(Bytes(17))));
    EXPECT_THROW((void)read_next_four(*map(Bytes(4))), OutRangeException);
    EXPECT_NO_THROW((void)read_next_four(*map(Bytes(5))));
    EXPECT_THROW((void)read_next_bytes(*map(Bytes(4)), 4), OutRangeException);
    EXPECT_NO_THROW((void)read_next_bytes(*map(Bytes(5)), 4));
}

TEST_F(BoxPrimitives, MoreBytesThanAnyFileHasAreOutOfRange) {
    for (const std::uint32_t count : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
        EXPECT_THROW((void)read_next_bytes(*map(Bytes(9)), count), OutRangeException);
    }
}

TEST_F(BoxPrimitives, NoBytesAreReadWhereverTheCursorIs) {
    const auto bytes = map({1, 2});
    bytes->seek(0xFFFFFFFF);
    EXPECT_THAT(read_next_bytes(*bytes, 0), IsEmpty());
    EXPECT_THROW((void)read_next_bytes(*bytes, 1), OutRangeException);
}

TEST_F(BoxPrimitives, NothingMappedIsOutOfRange) {
    MMAP missing(folder / "missing");
    EXPECT_THROW((void)read_next_uuid(missing), OutRangeException);
    EXPECT_THROW((void)read_next_bytes(missing, 1), OutRangeException);
}

TEST(BoxWriting, NumbersGoOutHighByteFirst) {
    std::ostringstream stream;
    write_u16(stream, 0x0102);
    write_u32(stream, 0x03040506);
    write_u64(stream, 0x0708090A0B0C0D0E);
    write_uuid(stream, {0x0F101112, 0x13141516, 0x1718191A, 0x1B1C1D1E});
    write_four(stream, {0x1F, 0x20, 0x21, 0x22});
    write_bytes(stream, {0x23, 0x24});
    std::string expected;
    for (char byte = 1; byte <= 0x24; ++byte) {
        expected.push_back(byte);
    }
    EXPECT_EQ(stream.str(), expected);
}

TEST(BoxWriting, EmptyVectorWritesNothing) {
    std::ostringstream stream;
    write_bytes(stream, {});
    EXPECT_EQ(stream.str(), "");
    EXPECT_TRUE(stream.good());
}

} // namespace
} // namespace plate_mend
