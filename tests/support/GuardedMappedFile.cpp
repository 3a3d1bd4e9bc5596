#include <mapped_file/MappedFile.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// Takes the place of the libraries' own mapping when a program is linked. The last byte of a file is the last
// one before a page that cannot be read, so that one byte too far stops the program.

namespace mapped_file {

namespace {

std::size_t page_size() {
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t rounded_up(std::size_t size) {
    return (size + page_size() - 1) / page_size() * page_size();
}

} // namespace

bool MappedFile::open(const std::filesystem::path& path) {
    close();
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    struct ::stat status {};
    bool opened = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    const auto size = static_cast<std::size_t>(status.st_size);
    if (opened && size > 0) {
        const std::size_t area = rounded_up(size);
        void* whole =
            ::mmap(nullptr, area + page_size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        opened = whole != MAP_FAILED;
        if (opened) {
            unsigned char* const view = static_cast<unsigned char*>(whole) + (area - size);
            opened = ::pread(file, view, size, 0) == static_cast<ssize_t>(size);
            ::mprotect(whole, area, PROT_READ);
            ::mprotect(static_cast<unsigned char*>(whole) + area, page_size(), PROT_NONE);
            data_ = view;
            size_ = size;
        }
    }
    ::close(file);
    return opened;
}

void MappedFile::close() {
    if (data_ != nullptr) {
        const std::size_t area = rounded_up(size_);
        ::munmap(const_cast<unsigned char*>(data_) - (area - size_), area + page_size());
        data_ = nullptr;
        size_ = 0;
    }
}

} // namespace mapped_file
