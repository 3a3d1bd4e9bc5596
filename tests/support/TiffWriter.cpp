#include "support/TiffWriter.h"

#include <algorithm>
#include <stdexcept>

namespace test {

namespace {

enum FieldType : std::uint16_t {
    kByte = 1,
    kAscii = 2,
    kShort = 3,
    kLong = 4,
    kRational = 5,
    kUndefined = 7,
    kSrational = 10
};

Bytes encode_longs(const std::vector<std::uint32_t>& values, ByteOrder order) {
    Bytes bytes(4 * values.size());
    for (std::size_t index = 0; index < values.size(); ++index) {
        put_u32(bytes, 4 * index, values[index], order);
    }
    return bytes;
}

} // namespace

Bytes entry_bytes(std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::uint32_t value,
                  ByteOrder order) {
    return joined(u16_bytes({tag, type}, order), u32_bytes({count, value}, order));
}

Bytes strip_group(std::uint32_t offset, std::uint32_t byte_count, ByteOrder order) {
    Bytes bytes = entry_bytes(273, 4, 1, offset, order);
    bytes = joined(bytes, entry_bytes(274, 3, 1, 0x55555555, order));
    bytes = joined(bytes, entry_bytes(277, 3, 1, 0x66666666, order));
    bytes = joined(bytes, entry_bytes(278, 4, 1, 0x01020304, order));
    return joined(bytes, entry_bytes(279, 4, 1, byte_count, order));
}

std::uint32_t TiffDirectory::entry(std::uint16_t tag) const {
    const auto found = std::find(tags.begin(), tags.end(), tag);
    if (found == tags.end()) {
        throw std::out_of_range("TiffDirectory::entry");
    }
    return offset + 2 + 12 * static_cast<std::uint32_t>(found - tags.begin());
}

TiffEntry TiffWriter::byte(std::uint16_t tag, const Bytes& values) const {
    return {tag, kByte, static_cast<std::uint32_t>(values.size()), values};
}

TiffEntry TiffWriter::ascii(std::uint16_t tag, std::string_view text) const {
    Bytes values(text.begin(), text.end());
    values.push_back(0);
    return {tag, kAscii, static_cast<std::uint32_t>(values.size()), values};
}

TiffEntry TiffWriter::shorts(std::uint16_t tag, const std::vector<std::uint16_t>& values) const {
    Bytes bytes(2 * values.size());
    for (std::size_t index = 0; index < values.size(); ++index) {
        put_u16(bytes, 2 * index, values[index], order_);
    }
    return {tag, kShort, static_cast<std::uint32_t>(values.size()), bytes};
}

TiffEntry TiffWriter::longs(std::uint16_t tag, const std::vector<std::uint32_t>& values) const {
    return {tag, kLong, static_cast<std::uint32_t>(values.size()), encode_longs(values, order_)};
}

TiffEntry TiffWriter::rationals(std::uint16_t tag, const std::vector<std::uint32_t>& values) const {
    return {tag, kRational, static_cast<std::uint32_t>(values.size() / 2), encode_longs(values, order_)};
}

TiffEntry TiffWriter::srationals(std::uint16_t tag, const std::vector<std::int32_t>& values) const {
    const std::vector<std::uint32_t> unsigned_values(values.begin(), values.end());
    return {tag, kSrational, static_cast<std::uint32_t>(values.size() / 2),
            encode_longs(unsigned_values, order_)};
}

TiffEntry TiffWriter::undefined(std::uint16_t tag, const Bytes& values) const {
    return {tag, kUndefined, static_cast<std::uint32_t>(values.size()), values};
}

void TiffWriter::write_header(std::uint32_t first_ifd) {
    const unsigned char mark = order_ == ByteOrder::kLittle ? 'I' : 'M';
    bytes_ = {mark, mark, 0, 0, 0, 0, 0, 0};
    put_u16(bytes_, 2, 42, order_);
    put_u32(bytes_, 4, first_ifd, order_);
}

TiffDirectory TiffWriter::write_directory(const std::vector<TiffEntry>& entries) {
    TiffDirectory directory{offset(), 0, {}};
    Bytes frame(2 + 12 * entries.size() + 4);
    put_u16(frame, 0, static_cast<std::uint16_t>(entries.size()), order_);
    Bytes outside;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        const TiffEntry& entry = entries[index];
        const std::size_t at = 2 + 12 * index;
        put_u16(frame, at, entry.tag, order_);
        put_u16(frame, at + 2, entry.type, order_);
        put_u32(frame, at + 4, entry.count, order_);
        if (entry.values.size() <= 4) {
            put_bytes(frame, at + 8, entry.values);
        } else {
            put_u32(frame, at + 8, static_cast<std::uint32_t>(offset() + frame.size() + outside.size()),
                    order_);
            outside.insert(outside.end(), entry.values.begin(), entry.values.end());
            outside.resize(outside.size() + outside.size() % 2); // Values begin on a word boundary.
        }
        directory.tags.push_back(entry.tag);
    }
    directory.next_link = static_cast<std::uint32_t>(offset() + frame.size() - 4);
    append(frame);
    append(outside);
    return directory;
}

std::uint32_t TiffWriter::append(const Bytes& bytes) {
    const std::uint32_t at = offset();
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return at;
}

std::uint32_t TiffWriter::place(const TiffDirectory& directory, std::uint16_t offset_tag,
                                std::uint16_t length_tag, const Bytes& bytes) {
    const std::uint32_t at = append(bytes);
    set_value(directory, offset_tag, at);
    set_value(directory, length_tag, static_cast<std::uint32_t>(bytes.size()));
    return at;
}

void TiffWriter::pad_to(std::size_t offset) {
    if (offset < bytes_.size()) {
        throw std::out_of_range("TiffWriter::pad_to");
    }
    bytes_.resize(offset);
}

} // namespace test
