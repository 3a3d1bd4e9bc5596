#include <mapped_file/MappedFile.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <new>

namespace mapped_file {

bool MappedFile::open(const std::filesystem::path& path) {
    close();
    // Not blocking: opening a named pipe must not wait before it is recognised as one.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return false;
    }
    struct ::stat status {};
    bool no_room = false;
    bool opened = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size >= 0 &&
                  static_cast<std::uintmax_t>(status.st_size) <= std::numeric_limits<std::size_t>::max();
    if (opened && status.st_size > 0) {
        const auto size = static_cast<std::size_t>(status.st_size);
        void* view = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
        opened = view != MAP_FAILED;
        no_room = !opened && errno == ENOMEM;
        if (opened) {
            data_ = static_cast<const unsigned char*>(view);
            size_ = size;
        }
    }
    ::close(file);
    if (no_room) {
        throw std::bad_alloc();
    }
    return opened;
}

void MappedFile::close() {
    if (data_ != nullptr) {
        ::munmap(const_cast<unsigned char*>(data_), size_);
        data_ = nullptr;
        size_ = 0;
    }
}

} // namespace mapped_file
