#include "files/WorkingCopy.h"

#include "files/Failures.h"
#include "files/FileBytes.h"
#include "files/Sha256.h"
#include "platform/Files.h"
#include "text/Paths.h"

#include <algorithm>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPiece = std::size_t{1} << 20U;
constexpr std::size_t kPage = 4096;
constexpr std::size_t kSector = 512;

/// Copies one file.
class Copier {
  public:
    Copier(const fs::path& from, const fs::path& to)
        : name_(utf8_from(from)), to_(to), source_(opened(from)) {
        const platform::FileStamp stamp = source_.stamp();
        copied_.size = stamp.size;
        copied_.modified = stamp.modified;
        copied_.changed = stamp.changed;
    }

    CopiedFile run() {
        try {
            platform::NewFile copy(to_);
            std::vector<unsigned char> piece(kPiece);
            for (std::uint64_t offset = 0; offset < copied_.size; offset += kPiece) {
                check_interruption();
                const auto count =
                    static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, copied_.size - offset));
                read(offset, piece.data(), count, kPiece);
                sum_.add(piece.data(), count);
                write(copy, offset, piece.data(), count);
            }
        } catch (const std::system_error& e) {
            throw MachineFailure(utf8_from(to_) + ": the working copy cannot be written", e.code());
        }
        if (copied_.size != 0 && lost_ == copied_.size) {
            throw MachineFailure(name_ + ": cannot be read", reason_);
        }
        copied_.sha256 = sum_.hexadecimal();
        return std::move(copied_);
    }

  private:
    static platform::SourceFile opened(const fs::path& from) {
        try {
            return platform::SourceFile(from);
        } catch (const std::system_error& e) {
            throw MachineFailure(utf8_from(from) + ": cannot be opened", e.code());
        }
    }

    /// Reads data[0..count-1]; where that fails, in parts of the next smaller size, down to a sector. If the
    /// file has become shorter meanwhile, the rest counts as unreadable.
    void read(std::uint64_t offset, unsigned char* data, std::size_t count, std::size_t unit) {
        try {
            const std::size_t there = source_.read(offset, data, count);
            std::fill(data + there, data + count, static_cast<unsigned char>(0));
            if (there != count) {
                lose(offset + there, count - there);
            }
        } catch (const std::system_error& e) {
            if (!platform::means_unreadable(e.code())) {
                throw MachineFailure(name_ + ": cannot be read", e.code());
            }
            reason_ = e.code();
            read_in_parts(offset, data, count, unit);
        }
    }

    void read_in_parts(std::uint64_t offset, unsigned char* data, std::size_t count, std::size_t unit) {
        if (unit == kSector) {
            std::fill(data, data + count, static_cast<unsigned char>(0));
            lose(offset, count);
            return;
        }
        const std::size_t smaller = unit == kPiece ? kPage : kSector;
        for (std::size_t at = 0; at < count; at += smaller) {
            check_interruption(); // A dying card takes seconds for each.
            read(offset + at, data + at, std::min(smaller, count - at), smaller);
        }
    }

    void lose(std::uint64_t offset, std::uint64_t count) {
        lost_ += count;
        auto& spans = copied_.unreadable;
        if (!spans.empty() && spans.back().offset + spans.back().size == offset) {
            spans.back().size += count;
        } else {
            spans.push_back({offset, count});
        }
    }

    void write(platform::NewFile& copy, std::uint64_t offset, const unsigned char* data, std::size_t count) {
        std::size_t last = count;
        while (last != 0 && data[last - 1] == 0) {
            --last;
        }
        if (last != 0) {
            copy.write_at(offset, data, last);
            copied_.end_of_data = offset + last;
        }
    }

    std::string name_;
    const fs::path& to_;
    platform::SourceFile source_;
    Sha256 sum_;
    CopiedFile copied_;
    std::uint64_t lost_ = 0;
    std::error_code reason_; ///< Of the last sector that could not be read.
};

} // namespace

CopiedFile copy_readable(const fs::path& from, const fs::path& to) {
    return Copier(from, to).run();
}

std::uint64_t copy_without_text_mode(const fs::path& from, const fs::path& to, std::uint64_t offset) {
    constexpr unsigned char kCr = 0x0D;
    constexpr unsigned char kLf = 0x0A;
    FileBytes file(from);
    platform::NewFile copy(to);
    std::vector<unsigned char> kept;
    std::uint64_t dropped = 0; // Before the offset.
    bool ends_in_cr = false;   // It is written once it is known what follows it.
    for (std::uint64_t done = 0; done < file.size(); done += kPiece) {
        kept.clear();
        std::uint64_t at = done;
        for (const unsigned char byte : file.read(done, kPiece)) {
            if (ends_in_cr && byte != kLf) {
                kept.push_back(kCr);
            }
            dropped += ends_in_cr && byte == kLf && at <= offset ? 1U : 0U;
            ++at;
            ends_in_cr = byte == kCr;
            if (!ends_in_cr) {
                kept.push_back(byte);
            }
        }
        copy.write(kept.data(), kept.size());
    }
    if (ends_in_cr) {
        copy.write(&kCr, 1);
    }
    return offset - dropped;
}

} // namespace plate_mend::host
