#include "facts/FilePages.h"

#include "platform/Files.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <system_error>

namespace plate_mend::host {

namespace {

/// A page costs a disk little more than a sector does, and most directories fit into one.
constexpr std::size_t kPageBytes = std::size_t{16} << 10U;

} // namespace

FilePages::FilePages(const std::filesystem::path& path, std::size_t most_bytes)
    : pages_left_(most_bytes / kPageBytes) {
    try {
        file_ = std::make_unique<platform::SourceFile>(path);
        size_ = file_->stamp().size;
    } catch (const std::system_error&) {
        file_.reset();
    }
}

FilePages::~FilePages() = default;

const FilePages::Page& FilePages::page(std::uint64_t number) {
    static const Page kNone;
    if (const auto found = pages_.find(number); found != pages_.end()) {
        return found->second;
    }
    if (pages_left_ == 0 || file_ == nullptr) {
        return kNone;
    }
    --pages_left_;
    Page bytes(kPageBytes);
    try {
        bytes.resize(file_->read(number * kPageBytes, bytes.data(), bytes.size()));
    } catch (const std::system_error&) {
        bytes.clear();
    }
    return pages_.emplace(number, std::move(bytes)).first->second;
}

std::vector<unsigned char> FilePages::bytes(std::uint64_t offset, std::size_t count) {
    std::vector<unsigned char> all;
    while (all.size() < count && offset < size_) {
        const Page& one = page(offset / kPageBytes);
        const auto first = static_cast<std::size_t>(offset % kPageBytes);
        if (first >= one.size()) {
            break;
        }
        const std::size_t taken = std::min(one.size() - first, count - all.size());
        const auto from = one.begin() + static_cast<std::ptrdiff_t>(first);
        all.insert(all.end(), from, from + static_cast<std::ptrdiff_t>(taken));
        offset += taken;
    }
    return all;
}

std::optional<std::uint8_t> FilePages::u8(std::uint64_t offset) {
    return byte_reader::ByteReader(bytes(offset, 1), std::endian::little).u8(0);
}

std::optional<std::uint16_t> FilePages::u16(std::uint64_t offset, std::endian order) {
    return byte_reader::ByteReader(bytes(offset, sizeof(std::uint16_t)), order).u16(0);
}

std::optional<std::uint32_t> FilePages::u32(std::uint64_t offset, std::endian order) {
    return byte_reader::ByteReader(bytes(offset, sizeof(std::uint32_t)), order).u32(0);
}

bool FilePages::has(std::uint64_t offset, std::string_view text_there) {
    return text(offset, text_there.size()) == text_there;
}

std::string FilePages::text(std::uint64_t offset, std::size_t count) {
    const std::vector<unsigned char> found = bytes(offset, count);
    return {found.begin(), found.end()};
}

} // namespace plate_mend::host
