#include "container/TiffTree.h"

#include "container/TiffTags.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

constexpr std::uint16_t kByte = 1;

/// Directories that are still to be read.
struct Pointer {
    std::uint64_t offset;
    NumberField field; ///< Where that number is.
    TiffNode::Role role;
};

std::optional<TiffHeader::Kind> kind_of(const ByteReader& reader, std::uint64_t offset, ByteOrder order) {
    if (reader.u16(offset + 2) == 42U) {
        return TiffHeader::Kind::kTiff;
    }
    if (order == ByteOrder::kBig) {
        return reader.has(offset, "MMOR") ? std::optional(TiffHeader::Kind::kOrf) : std::nullopt;
    }
    if (reader.has(offset, "IIRO") || reader.has(offset, "IIRS")) {
        return TiffHeader::Kind::kOrf;
    }
    return reader.u16(offset + 2) == 0x55U ? std::optional(TiffHeader::Kind::kRw2) : std::nullopt;
}

void add_pointers(const TiffReader& reader, const TiffNode& node, std::vector<Pointer>& pointers) {
    using Role = TiffNode::Role;
    const TiffDirectory& directory = node.directory;
    const TiffEntry* const sub_ifds = directory.find(tag::kSubIfds);
    for (std::uint64_t index = 0; const std::uint64_t number : reader.numbers(sub_ifds)) {
        pointers.push_back({reader.base() + number, reader.offset_field(*sub_ifds, index), Role::kSub});
        ++index;
    }
    for (const auto& [pointer_tag, role] : {std::pair{tag::kExifIfd, Role::kExif},
                                            {tag::kGpsIfd, Role::kOther},
                                            {tag::kInteroperabilityIfd, Role::kOther}}) {
        const TiffEntry* const entry = directory.find(pointer_tag);
        if (const auto number = reader.number(entry); number && *number != 0) {
            pointers.push_back({reader.base() + *number, reader.offset_field(*entry, 0), role});
        }
    }
    const TiffEntry* const data = directory.find(tag::kPrivateData);
    if (data != nullptr && data->type == kByte && data->count == 4) {
        const std::uint64_t number = *reader.bytes().u32(data->values);
        pointers.push_back({reader.base() + number, reader.long_field(data->values), Role::kPrivate});
    }
    const bool is_in_chain = node.role == Role::kFirst || node.role == Role::kChain;
    if (directory.next && (is_in_chain || node.role == Role::kSub)) {
        pointers.push_back(
            {*directory.next, reader.long_field(directory.link()), is_in_chain ? Role::kChain : Role::kSub});
    }
}

/// Reads the directories at the pointers and those that they lead to.
void read_all(const TiffReader& reader, std::vector<Pointer> pointers, std::vector<TiffNode>& nodes) {
    for (std::size_t index = 0; index < pointers.size(); ++index) {
        if (auto directory = reader.read_directory(pointers[index].offset)) {
            reader.inventory().add_reference(directory->extent, pointers[index].field);
            nodes.push_back({std::move(*directory), pointers[index].role});
            add_pointers(reader, nodes.back(), pointers);
        }
    }
}

} // namespace

std::optional<TiffHeader> read_tiff_header(Bytes bytes, std::uint64_t offset) {
    const bool is_little = ByteReader(bytes, std::endian::little).has(offset, "II");
    const ByteReader reader(bytes, is_little ? std::endian::little : std::endian::big);
    if (!is_little && !reader.has(offset, "MM")) {
        return std::nullopt;
    }
    TiffHeader header;
    header.at = offset;
    header.order = is_little ? ByteOrder::kLittle : ByteOrder::kBig;
    const auto kind = kind_of(reader, offset, header.order);
    const auto first = reader.u32(offset + 4);
    if (!kind || !first) {
        return std::nullopt;
    }
    header.kind = *kind;
    header.first_directory = offset + *first;
    if (reader.has(offset + 8, "CR\x02") && reader.u32(offset + 12)) {
        header.raw_directory = offset + *reader.u32(offset + 12);
        header.length = 16;
    }
    return header;
}

std::vector<TiffNode> read_tiff_tree(const TiffReader& reader, const TiffHeader& header) {
    std::vector<TiffNode> nodes;
    reader.inventory().add_table({header.at, header.length});
    read_all(reader, {{header.first_directory, reader.long_field(header.at + 4), TiffNode::Role::kFirst}},
             nodes);
    if (!header.raw_directory) {
        return nodes;
    }
    const NumberField raw_field = reader.long_field(header.at + 12);
    const auto raw = std::ranges::find(nodes, *header.raw_directory,
                                       [](const TiffNode& node) { return node.directory.extent.offset; });
    if (raw != nodes.end()) {
        reader.inventory().add_reference(raw->directory.extent, raw_field);
    } else { // The chain is broken.
        read_all(reader, {{*header.raw_directory, raw_field, TiffNode::Role::kChain}}, nodes);
    }
    return nodes;
}

} // namespace raw_mend
