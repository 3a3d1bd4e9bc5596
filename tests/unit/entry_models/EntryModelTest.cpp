#include "unit/entry_models/EntryModelFixture.h"

#include "CR2/CR2.h"
#include "NEF/NEF.h"
#include "api/Exceptions.h"

#include <gmock/gmock.h>

#include <vector>

namespace plate_mend {
namespace {

using test::ByteOrder;
using test::Bytes;
using test::entry_bytes;
using test::joined;
using test::zeroed;
using Shorts = std::vector<std::uint16_t>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Cr2 {
    using Model = CR2;
    using Entry = CR2_DE;
    static constexpr const char* kExtension = "cr2";
};

struct Nef {
    using Model = NEF;
    using Entry = NEF_DE;
    static constexpr const char* kExtension = "nef";
};

/// What holds of both models.
template <typename Format>
class EntryModel : public EntryModelFixture<typename Format::Model, typename Format::Entry> {
  protected:
    EntryModel() : EntryModelFixture<typename Format::Model, typename Format::Entry>(Format::kExtension) {}
};

struct FormatName {
    template <typename Format>
    static std::string GetName(int /*index*/) {
        return Format::kExtension;
    }
};

using Formats = ::testing::Types<Cr2, Nef>;
TYPED_TEST_SUITE(EntryModel, Formats, FormatName);

// The model itself.

TYPED_TEST(EntryModel, StartsEmpty) {
    const auto& photo = this->open(Bytes{1});
    EXPECT_TRUE(photo.is_valid());
    EXPECT_FALSE(photo.is_big_endian());
    EXPECT_EQ(photo.size(), 1U);
    EXPECT_EQ(photo.get_raw_offset(), 0U);
    EXPECT_EQ(photo.ifh, nullptr);
    ASSERT_NE(photo.ifd, nullptr);
    EXPECT_THAT(photo.ifd->entries, IsEmpty());
    EXPECT_EQ(photo.ifd->entry_count, 0U);
    EXPECT_EQ(photo.ifd->next_ifd_offset, 0U);
}

TYPED_TEST(EntryModel, KeepsTheRawOffset) {
    auto& photo = this->open(Bytes{1});
    photo.set_raw_offset(0xFFFFFFFF);
    EXPECT_EQ(photo.get_raw_offset(), 0xFFFFFFFFU);
}

// Entries.

TYPED_TEST(EntryModel, ReadsAnEntryInBothByteOrders) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        auto& photo = this->open(joined({9}, entry_bytes(0x0111, 4, 7, 0x01020304, order)), order);
        EXPECT_EQ(photo.read_entry_value(this->entry, 1), 0x01020304U);
        EXPECT_EQ(this->entry->tag, 0x0111U);
        EXPECT_EQ(this->entry->type, 4U);
        EXPECT_EQ(this->entry->count, 7U);
        EXPECT_EQ(this->entry->value, 0x01020304U);
        EXPECT_THAT(photo.ifd->entries, ElementsAre(this->entry));
    }
}

TYPED_TEST(EntryModel, ShortOfABigEndianFileIsInTheHighHalf) {
    Bytes bytes = entry_bytes(0x0111, 3, 1, 0, ByteOrder::kBig);
    test::put_u16(bytes, 8, 0x1234, ByteOrder::kBig);
    EXPECT_EQ(this->open(bytes, ByteOrder::kBig).read_entry_value(this->entry, 0), 0x12340000U);
}

TYPED_TEST(EntryModel, AcceptsTypesOneToTwelve) {
    for (const std::uint16_t type : Shorts{1, 2, 11, 12}) {
        EXPECT_EQ(this->open(entry_bytes(1, type, 1, 3)).read_entry_value(this->entry, 0), 3U) << type;
    }
    for (const std::uint16_t type : Shorts{0, 13, 256, 0xFFFF}) {
        EXPECT_THROW(this->open(entry_bytes(1, type, 1, 3)).read_entry_value(this->entry, 0),
                     IllegalException)
            << type;
    }
}

TYPED_TEST(EntryModel, RefusesTagZeroAndCountZero) {
    EXPECT_THROW(this->open(entry_bytes(0, 4, 1, 3)).read_entry_value(this->entry, 0), IllegalException);
    EXPECT_THROW(this->open(entry_bytes(1, 4, 0, 3)).read_entry_value(this->entry, 0), IllegalException);
    EXPECT_EQ(this->open(entry_bytes(1, 4, 0xFFFFFFFF, 0)).read_entry_value(this->entry, 0), 0U);
}

// Blanking a strip.

TYPED_TEST(EntryModel, StripIsZeroedInFullInABigEndianFileToo) {
    const Bytes bytes = this->strip_file(50, 77, ByteOrder::kBig);
    this->open(bytes, ByteOrder::kBig).blank_strip(this->entry, this->counts, this->kOffsets, this->kCounts);
    EXPECT_EQ(this->content(), zeroed(bytes, 50, 127));
}

TYPED_TEST(EntryModel, StripLengthIsTheValueWhateverTheCount) {
    Bytes bytes = this->strip_file(50, 3);
    test::put_u32(bytes, this->kCounts + 4, 9, ByteOrder::kLittle);
    this->open(bytes).blank_strip(this->entry, this->counts, this->kOffsets, this->kCounts);
    EXPECT_EQ(this->content(), zeroed(bytes, 50, 53));
}

// The output.

TYPED_TEST(EntryModel, AppendsToAFileThatItMakesWhereMissing) {
    const auto path = this->folder / "output";
    TypeParam::Model::append_to_file(Bytes{1, 2}, path);
    TypeParam::Model::append_to_file(Bytes{3}, path);
    TypeParam::Model::append_to_file(Bytes{}, path);
    EXPECT_EQ(test::read_file(path), (Bytes{1, 2, 3}));
}

TYPED_TEST(EntryModel, AppendsNothingAndStillMakesTheFile) {
    TypeParam::Model::append_to_file(Bytes{}, this->folder / "output");
    EXPECT_EQ(test::read_file(this->folder / "output"), Bytes{});
}

TYPED_TEST(EntryModel, FailedOutputIsNotNoticed) {
    EXPECT_NO_THROW(TypeParam::Model::append_to_file(Bytes{1}, this->folder / "missing" / "output"));
    EXPECT_FALSE(std::filesystem::exists(this->folder / "missing"));
}

} // namespace
} // namespace plate_mend
