#include "facts/SampleFacts.h"

#include "facts/Containers.h"
#include "facts/FilePages.h"
#include "facts/Remains.h"
#include "files/Kind.h"
#include "platform/Files.h"

#include <cstddef>
#include <system_error>

namespace plate_mend::host {

namespace {

constexpr std::size_t kMostRead = std::size_t{384} << 10U;

/// Previews and directories of makers are here too that no structure names.
constexpr std::size_t kSearchedHead = std::size_t{32} << 10U;

} // namespace

std::optional<platform::FileStamp> known_stamp(const std::filesystem::path& path) {
    try {
        return platform::stamp_of(path);
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

SampleFacts stamped_sample(const std::filesystem::path& path) {
    SampleFacts sample;
    sample.path = path;
    if (const auto stamp = known_stamp(path)) {
        sample.volume = stamp->volume;
        sample.index = stamp->index;
        sample.size = stamp->size;
        sample.modified = stamp->modified;
    }
    return sample;
}

void read_sample(SampleFacts& sample) {
    sample.kind = kind_of(sample.path);
    FilePages pages(sample.path, kMostRead);
    add_remains(pages.bytes(0, kSearchedHead), sample.photograph);
    add_photograph(pages, sample.photograph);
}

} // namespace plate_mend::host
