#include "container/TiffDirectory.h"

#include <byte_reader/TiffTypes.h>

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::uint64_t kCountSize = 2;
constexpr std::uint64_t kEntrySize = 12;
constexpr std::uint64_t kLinkSize = 4;
constexpr std::uint64_t kValueField = 8; // Within an entry.
constexpr std::uint64_t kInlineSize = 4;
constexpr std::uint16_t kAscii = 2;
constexpr std::uint16_t kShort = 3;
constexpr std::uint16_t kLong = 4;
constexpr std::uint16_t kIfd = 13;

bool is_number(const TiffEntry& entry) {
    return entry.type == kShort || entry.type == kLong || entry.type == kIfd;
}

std::string at_offset(std::uint64_t offset) {
    return "at offset " + std::to_string(offset);
}

} // namespace

const TiffEntry* TiffDirectory::find(std::uint16_t tag) const {
    const auto found = std::ranges::find(entries, tag, &TiffEntry::tag);
    return found == entries.end() ? nullptr : &*found;
}

TiffReader::TiffReader(Inventory& inventory, ByteOrder order, std::uint64_t base, Scope scope)
    : inventory_(inventory), order_(order),
      bytes_(inventory.bytes(), order == ByteOrder::kLittle ? std::endian::little : std::endian::big),
      base_(base), scope_(scope) {}

void TiffReader::add_sentence(const std::string& sentence) const {
    if (scope_ == Scope::kFile) {
        inventory_.add_sentence(sentence);
    }
}

bool TiffReader::is_directory(std::uint64_t offset, std::uint16_t count) const {
    constexpr std::uint16_t kChecked = 4;
    for (std::uint16_t index = 0; index < std::min(count, kChecked); ++index) {
        const std::uint64_t entry = offset + kCountSize + index * kEntrySize;
        if (bytes_.holds(entry, kEntrySize) && byte_reader::size_of_tiff_type(*bytes_.u16(entry + 2)) == 0) {
            return false;
        }
    }
    return count != 0;
}

bool TiffReader::claim(const Extent& extent) const {
    switch (inventory_.claim(extent)) {
    case Inventory::Claim::kNew:
        return true;
    case Inventory::Claim::kSame:
        add_sentence("More than one table leads to the directory " + at_offset(extent.offset) + ".");
        return false;
    case Inventory::Claim::kTooMany:
        inventory_.add_sentence("There are more directories than any photograph has; some were not read.");
        return false;
    case Inventory::Claim::kOverlap:
        break;
    }
    add_sentence("The directory " + at_offset(extent.offset) + " overlaps another one and was not read.");
    return false;
}

TiffEntry TiffReader::read_entry(std::uint64_t at) const {
    TiffEntry entry{
        .tag = *bytes_.u16(at), .type = *bytes_.u16(at + 2), .count = *bytes_.u32(at + 4), .at = at};
    entry.length = byte_reader::size_of_tiff_type(entry.type) * entry.count;
    entry.is_inline = entry.length <= kInlineSize;
    entry.values = entry.is_inline ? at + kValueField : base_ + *bytes_.u32(at + kValueField);
    entry.is_inside = bytes_.holds(entry.values, entry.length);
    if (scope_ == Scope::kFile && !entry.is_inline) {
        if (entry.is_inside) {
            inventory_.add_reference({entry.values, entry.length}, long_field(at + kValueField));
        } else {
            inventory_.count_outside();
        }
    }
    return entry;
}

std::optional<TiffDirectory> TiffReader::read_directory(std::uint64_t offset) const {
    const auto count = bytes_.u16(offset);
    if (!count) {
        add_sentence("The directory " + at_offset(offset) + " is outside the file.");
        return std::nullopt;
    }
    if (!is_directory(offset, *count)) {
        add_sentence("There is no directory " + at_offset(offset) +
                     ", where a table says that there is one.");
        return std::nullopt;
    }
    const std::uint64_t in_file = (bytes_.size() - offset - kCountSize) / kEntrySize;
    const std::uint64_t present = std::min<std::uint64_t>(*count, in_file);
    if (!claim({offset, kCountSize + present * kEntrySize})) {
        return std::nullopt;
    }
    if (present < *count) {
        add_sentence("The directory " + at_offset(offset) + " is truncated: " + std::to_string(present) +
                     " of " + std::to_string(*count) + " entries are in the file.");
    }
    TiffDirectory directory{
        .extent = {offset, kCountSize + *count * kEntrySize + kLinkSize}, .entries = {}, .next = {}};
    directory.entries.reserve(static_cast<std::size_t>(present));
    for (std::uint64_t index = 0; index < present; ++index) {
        directory.entries.push_back(read_entry(offset + kCountSize + index * kEntrySize));
    }
    if (const std::uint32_t next = bytes_.u32(directory.link()).value_or(0); next != 0) {
        directory.next = base_ + next;
    }
    return directory;
}

std::optional<std::uint32_t> TiffReader::number(const TiffEntry* entry, std::uint32_t index) const {
    if (entry == nullptr || !entry->is_inside || !is_number(*entry) || index >= entry->count) {
        return std::nullopt;
    }
    if (entry->type == kShort) {
        return bytes_.u16(entry->values + std::uint64_t{2} * index);
    }
    return bytes_.u32(entry->values + std::uint64_t{4} * index);
}

std::uint32_t TiffReader::number_or(const TiffDirectory& directory, std::uint16_t tag,
                                    std::uint32_t otherwise) const {
    return number(directory.find(tag)).value_or(otherwise);
}

std::vector<std::uint64_t> TiffReader::numbers(const TiffEntry* entry) const {
    std::vector<std::uint64_t> values;
    if (entry == nullptr || !entry->is_inside || !is_number(*entry) ||
        !inventory_.spend_numbers(entry->count)) {
        return values;
    }
    values.reserve(entry->count);
    for (std::uint32_t index = 0; index < entry->count; ++index) {
        values.push_back(*number(entry, index));
    }
    return values;
}

NumberField TiffReader::long_field(std::uint64_t at) const {
    return {.at = at, .size = 4, .order = order_, .base = base_};
}

NumberField TiffReader::number_field(const TiffEntry& entry, std::uint64_t index) const {
    const auto size = static_cast<unsigned>(byte_reader::size_of_tiff_type(entry.type));
    return {.at = entry.values + size * index, .size = size, .order = order_, .base = 0};
}

NumberField TiffReader::offset_field(const TiffEntry& entry, std::uint64_t index) const {
    NumberField field = number_field(entry, index);
    field.base = base_;
    return field;
}

std::string TiffReader::text(const TiffEntry* entry) const {
    constexpr std::uint32_t kLongest = 256;
    if (entry == nullptr || entry->type != kAscii || !entry->is_inside) {
        return {};
    }
    const auto bytes =
        bytes_.bytes().subspan(static_cast<std::size_t>(entry->values), std::min(entry->count, kLongest));
    return trimmed({bytes.begin(), bytes.end()});
}

std::string trimmed(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

} // namespace raw_mend
