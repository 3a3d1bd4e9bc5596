#pragma once

#include "support/Bytes.h"
#include "support/TempDir.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace plate_mend {

/// Tests of a model of a file's directory entries: CR2 or NEF.
template <typename Model, typename Entry>
class EntryModelFixture : public ::testing::Test {
  protected:
    explicit EntryModelFixture(const std::string& extension) : file_name("photo." + extension) {}

    /// A model of a file of these bytes. It replaces the one before.
    Model& open(const test::Bytes& bytes, test::ByteOrder order = test::ByteOrder::kLittle) {
        model.reset();
        test::write_file(folder / file_name, bytes);
        model = std::make_unique<Model>(folder / file_name);
        model->set_big_endian(order == test::ByteOrder::kBig);
        return *model;
    }

    /// What the file holds now.
    [[nodiscard]] test::Bytes content() const {
        const auto bytes = model->mmap->bytes();
        return {bytes.begin(), bytes.end()};
    }

    /// A file of 200 bytes, FF everywhere except in an entry of StripOffsets and one of StripByteCounts.
    static test::Bytes strip_file(std::uint32_t offset, std::uint32_t length,
                                  test::ByteOrder order = test::ByteOrder::kLittle) {
        test::Bytes bytes(200, 0xFF);
        test::put_bytes(bytes, kOffsets, test::entry_bytes(0x0111, 4, 1, offset, order));
        test::put_bytes(bytes, kCounts, test::entry_bytes(0x0117, 4, 1, length, order));
        return bytes;
    }
    static constexpr std::uint32_t kOffsets = 10;
    static constexpr std::uint32_t kCounts = 30;
    static constexpr std::size_t kTypeLow = 2; ///< In a little-endian entry.

    const std::string file_name;
    test::TempDir folder;
    std::unique_ptr<Model> model;
    std::shared_ptr<Entry> entry = std::make_shared<Entry>();
    std::shared_ptr<Entry> counts = std::make_shared<Entry>();
};

} // namespace plate_mend
