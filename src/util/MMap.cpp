#include "util/MMap.h"

#include "api/Exceptions.h"
#include "util/Log.h"

#include <iostream>
#include <utility>

namespace plate_mend {

MMAP::MMAP(std::filesystem::path path) : MMAP(std::move(path), platform::MapMode::kReadWrite) {}

MMAP::MMAP(std::filesystem::path path, bool read_only)
    : MMAP(std::move(path), read_only ? platform::MapMode::kReadOnly : platform::MapMode::kCopyOnWrite) {}

MMAP::MMAP(std::filesystem::path path, platform::MapMode mode) : file_name_(std::move(path)) {
    map(mode);
}

MMAP::~MMAP() {
    close();
}

void MMAP::map(platform::MapMode mode) {
    size_ = platform::file_size(file_name_);
    if (size_ == 0) {
        return;
    }
    // When a later step fails, handles opened by then stay open, since close skips a size of 0: see
    // docs/compatibility.md, All formats.
    file_ = platform::open_file(file_name_, mode);
    if (file_ == platform::kNoHandle) {
        PLATE_MEND_LOG_ERROR("MMAP::MMAP", "Open File Error %x", platform::last_error());
        size_ = 0;
        return;
    }
    mapping_ = platform::create_mapping(file_, mode);
    if (mapping_ == platform::kNoHandle) {
        PLATE_MEND_LOG_ERROR("MMAP::MMAP", "Create File Error %x", platform::last_error());
        size_ = 0;
        return;
    }
    view_ = platform::map_view(mapping_, mode, size_);
    if (view_ == nullptr) {
        PLATE_MEND_LOG_ERROR("MMAP::MMAP", "Map view of file %x", platform::last_error());
        size_ = 0;
        return;
    }
    base = view_;
}

void MMAP::close() {
    if (!closed_ && size_ != 0) {
        platform::unmap_view(view_, size_);
        platform::close_mapping(mapping_);
        platform::close_file(file_);
    }
    closed_ = true;
}

std::uint32_t MMAP::advance(std::uint64_t count) {
    if (count > ~cursor_) {
        std::cerr << "offset is too big" << std::endl;
        return 0xFFFFFFFF;
    }
    const std::uint64_t moved = cursor_ + count;
    if (moved > size_ - 1) {
        throw OutRangeException();
    }
    cursor_ = moved;
    return static_cast<std::uint32_t>(cursor_);
}

std::uint64_t MMAP::back(std::uint64_t count) {
    if (count > cursor_) {
        std::cerr << "offset is too big" << std::endl;
        return 0xFFFFFFFF;
    }
    cursor_ -= count;
    return cursor_;
}

std::span<unsigned char> MMAP::bytes() const {
    if (closed_ || size_ == 0) {
        return {};
    }
    return {base, static_cast<std::size_t>(size_)};
}

} // namespace plate_mend
