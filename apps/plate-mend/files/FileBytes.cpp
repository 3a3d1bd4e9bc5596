#include "files/FileBytes.h"

#include <algorithm>

namespace plate_mend::host {

FileBytes::FileBytes(const std::filesystem::path& path) : stream_(path, std::ios::binary) {
    std::error_code none;
    const auto size = std::filesystem::file_size(path, none);
    size_ = stream_ && !none ? size : 0;
}

std::vector<unsigned char> FileBytes::read(std::uint64_t offset, std::size_t count) {
    if (offset >= size_) {
        return {};
    }
    std::vector<unsigned char> bytes(
        static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - offset)));
    stream_.clear();
    stream_.seekg(static_cast<std::streamoff>(offset));
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): streams read char.
    stream_.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream_.gcount()));
    return bytes;
}

std::optional<std::uint64_t> FileBytes::find(const std::vector<unsigned char>& bytes, std::uint64_t from) {
    constexpr std::size_t kSearchedBlock = std::size_t{1} << 20U;
    for (std::uint64_t at = from; at < size_ && bytes.size() <= size_ - at; at += kSearchedBlock) {
        const auto block = read(at, kSearchedBlock + bytes.size() - 1);
        const auto found = std::search(block.begin(), block.end(), bytes.begin(), bytes.end());
        if (found != block.end()) {
            return at + static_cast<std::uint64_t>(found - block.begin());
        }
    }
    return std::nullopt;
}

bool FileBytes::only_slack_after(std::uint64_t offset) {
    constexpr std::uint64_t kSectorSize = 512;
    constexpr std::uint64_t kLargestCluster = std::uint64_t{2} << 20U;
    if (offset >= size_) {
        return true;
    }
    if (size_ % kSectorSize != 0 || size_ - offset > kLargestCluster) {
        return false;
    }
    const auto bytes = read(offset, static_cast<std::size_t>(size_ - offset));
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

} // namespace plate_mend::host
