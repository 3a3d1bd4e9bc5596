#include "TextMode.h"

#include "Work.h"

#include <algorithm>

namespace still_mend {

namespace {

constexpr unsigned char kCr = 0x0D;
constexpr unsigned char kLf = 0x0A;
constexpr std::size_t kLeastLines = 16; // Each is one in 256 by chance.

bool is_in_text_mode(Bytes file) {
    std::size_t lines = 0;
    for (std::size_t offset = 0; offset < file.size(); ++offset) {
        if (file[offset] == kLf) {
            if (offset == 0 || file[offset - 1] != kCr) {
                return false;
            }
            ++lines;
        }
    }
    return lines >= kLeastLines;
}

} // namespace

std::optional<TextMode> TextMode::undo(Bytes file) {
    if (!is_in_text_mode(file)) {
        return std::nullopt;
    }
    Work::add(file.size());
    TextMode undone;
    undone.bytes_.reserve(file.size());
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

} // namespace still_mend
