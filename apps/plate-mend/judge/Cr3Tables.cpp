#include "judge/Cr3Tables.h"

#include "files/FileBytes.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t kLookedAt = std::size_t{4} << 20U; ///< "moov" stands in front.

bool is(const Bytes& bytes, std::size_t at, std::string_view name) {
    return std::equal(name.begin(), name.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
                      [](char one, unsigned char other) { return static_cast<unsigned char>(one) == other; });
}

std::uint64_t number(const Bytes& bytes, std::size_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value = value << 8U | bytes[at + index];
    }
    return value;
}

} // namespace

TracksEnd end_of_tracks(const std::filesystem::path& path) {
    FileBytes file(path);
    const Bytes bytes = file.read(0, kLookedAt);
    std::uint64_t length = 0;
    std::uint64_t end = 0;
    constexpr std::size_t kReach = 24;
    for (std::size_t at = 0; at + kReach <= bytes.size(); ++at) {
        if (is(bytes, at, "stsz")) {
            // | "stsz" | version and flags (4) | size of all samples, or 0 (4) | count (4) | sizes (4 each) |
            const std::uint64_t all = number(bytes, at + 8, 4);
            length = number(bytes, at + 12, 4) != 1 ? 0 : all != 0 ? all : number(bytes, at + 16, 4);
        } else if (is(bytes, at, "co64") && length != 0 && number(bytes, at + 8, 4) == 1) {
            // | "co64" | version and flags (4) | count (4) | offsets (8 each) |
            const std::uint64_t offset = number(bytes, at + 12, 8);
            if (offset < std::uint64_t{1} << 40U) {
                end = std::max(end, offset + length);
            }
            length = 0;
        }
    }
    if (end == 0 || end >= file.size()) {
        return {end == 0 ? 0 : end - file.size(), 0};
    }
    return {0, file.only_slack_behind(end) ? 0 : file.size() - end};
}

} // namespace plate_mend::host
