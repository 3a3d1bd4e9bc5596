#include "files/Protected.h"

#include "platform/Files.h"
#include "platform/Names.h"

#include <optional>
#include <system_error>

namespace plate_mend::host {

namespace {

/// Also nothing for what cannot be examined: no result can be written there either.
std::optional<std::pair<std::uint64_t, std::uint64_t>> identity_of(const std::filesystem::path& path) {
    try {
        const auto stamp = platform::stamp_of(path);
        return stamp ? std::optional(std::pair(stamp->volume, stamp->index)) : std::nullopt;
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

} // namespace

void Protected::add(const std::filesystem::path& file) {
    names_.insert(platform::name_key(file));
    if (const auto identity = identity_of(file)) {
        files_.insert(*identity);
    }
}

bool Protected::covers(const std::filesystem::path& path) const {
    if (names_.count(platform::name_key(path)) != 0) {
        return true;
    }
    const auto identity = identity_of(path);
    return identity && files_.count(*identity) != 0;
}

} // namespace plate_mend::host
