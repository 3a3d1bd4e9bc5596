#include "bench/Floor.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <vector>

namespace bench {

namespace {

constexpr std::size_t kBuffer = std::size_t{1} << 20;

class File {
  public:
    File(const std::filesystem::path& path, int flags) : descriptor_(::open(path.c_str(), flags, 0644)) {
        if (descriptor_ < 0) {
            throw std::system_error(errno, std::generic_category(), path.string());
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { ::close(descriptor_); }

    [[nodiscard]] std::size_t read_at(std::size_t offset, char* buffer, std::size_t size) const {
        return checked(::pread(descriptor_, buffer, size, static_cast<::off_t>(offset)));
    }

    void write(const char* buffer, std::size_t size) const {
        while (size != 0) {
            const std::size_t written = checked(::write(descriptor_, buffer, size));
            buffer += written;
            size -= written;
        }
    }

  private:
    static std::size_t checked(::ssize_t result) {
        if (result < 0) {
            throw std::system_error(errno, std::generic_category());
        }
        return static_cast<std::size_t>(result);
    }

    int descriptor_;
};

/// Copies up to size bytes from the offset on.
void copy(const File& from, std::size_t offset, std::size_t size, const File& to, std::vector<char>& buffer) {
    while (size != 0) {
        const std::size_t read = from.read_at(offset, buffer.data(), std::min(size, buffer.size()));
        if (read == 0) {
            return;
        }
        to.write(buffer.data(), read);
        offset += read;
        size -= read;
    }
}

/// In memory before the first measured copy ends.
std::vector<char>& the_buffer() {
    static std::vector<char> buffer(kBuffer);
    return buffer;
}

} // namespace

void copy_pieces(const std::vector<Piece>& pieces, const std::filesystem::path& sample,
                 const std::filesystem::path& damaged, const std::filesystem::path& output) {
    const File to(output, O_WRONLY | O_CREAT | O_EXCL);
    for (const Piece& piece : pieces) {
        const File from(piece.from == Piece::From::kSample ? sample : damaged, O_RDONLY);
        copy(from, piece.offset, piece.size, to, the_buffer());
    }
}

void copy_as_the_machine_can(const Pair& pair, const PairFiles& files) {
    const bool clones = pair.extension != "cr3";
    const auto& sample_path = clones ? files.temporary : files.sample;
    if (clones) {
        const File sample(files.sample, O_RDONLY);
        const File temporary(files.temporary, O_WRONLY | O_CREAT | O_EXCL);
        copy(sample, 0, pair.sample.size(), temporary, the_buffer());
    }
    copy_pieces(pair.output, sample_path, files.damaged, files.output);
    if (clones) {
        std::filesystem::remove(files.temporary);
    }
}

} // namespace bench
