#include <text_mode/TextMode.h>

#include <algorithm>

namespace text_mode {

namespace {

constexpr unsigned char kCr = 0x0D;
constexpr unsigned char kLf = 0x0A;
constexpr std::size_t kLeastLines = 16;

/// How many LF there are; 0 if one of them has no CR before it.
std::size_t count_lines(std::span<const unsigned char> file) {
    std::size_t lines = 0;
    for (auto at = std::find(file.begin(), file.end(), kLf); at != file.end();
         at = std::find(at + 1, file.end(), kLf)) {
        if (at == file.begin() || *(at - 1) != kCr) {
            return 0;
        }
        ++lines;
    }
    return lines;
}

} // namespace

std::optional<TextMode> TextMode::undo(std::span<const unsigned char> file) {
    const std::size_t lines = count_lines(file);
    if (lines < kLeastLines) {
        return std::nullopt;
    }
    TextMode undone;
    undone.bytes_.reserve(file.size() - lines);
    for (const unsigned char byte : file) {
        if (byte == kLf) {
            undone.bytes_.pop_back();
        }
        undone.bytes_.push_back(byte);
    }
    return undone;
}

std::size_t TextMode::offset_in_file(std::size_t offset) const {
    const auto end = bytes_.begin() + static_cast<std::ptrdiff_t>(std::min(offset, bytes_.size()));
    return offset + static_cast<std::size_t>(std::count(bytes_.begin(), end, kLf));
}

std::size_t TextMode::first_change() const {
    return static_cast<std::size_t>(std::find(bytes_.begin(), bytes_.end(), kLf) - bytes_.begin());
}

} // namespace text_mode
