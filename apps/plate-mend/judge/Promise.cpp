#include "judge/Promise.h"

#include "files/FileBytes.h"
#include "files/Formats.h"
#include "text/Format.h"

#include <algorithm>
#include <optional>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlock = std::size_t{1} << 20U;
constexpr std::size_t kNeedle = 256; ///< Bytes by which image data are found in the damaged file.

/// How many bytes are the same in both files from these offsets on, at most limit.
std::uint64_t count_same_bytes(FileBytes& one, std::uint64_t at_one, FileBytes& other, std::uint64_t at_other,
                               std::uint64_t limit) {
    std::uint64_t same = 0;
    while (same < limit) {
        const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, limit - same));
        const auto left = one.read(at_one + same, want);
        const auto right = other.read(at_other + same, want);
        if (left.size() == want && left == right) {
            same += want;
            continue;
        }
        const std::size_t both = std::min(left.size(), right.size());
        const auto pair =
            std::mismatch(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(both), right.begin());
        same += static_cast<std::uint64_t>(pair.first - left.begin());
        if (pair.first != left.begin() + static_cast<std::ptrdiff_t>(both) || both < want) {
            break;
        }
    }
    return same;
}

/// Whether the bytes before the image are the sample's, except what a repair blanks and patches there.
bool starts_like_sample(FileBytes& result, FileBytes& sample, std::uint64_t image) {
    constexpr std::uint64_t kMostPatched = 65536;
    std::uint64_t others = 0;
    for (std::uint64_t at = 0; at < image; at += kBlock) {
        const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, image - at));
        const auto ours = result.read(at, want);
        const auto theirs = sample.read(at, want);
        if (ours.size() < want || theirs.size() < want) {
            return false;
        }
        for (std::size_t index = 0; index < want; ++index) {
            others += ours[index] != theirs[index] && ours[index] != 0 ? 1U : 0U;
        }
    }
    return others <= kMostPatched;
}

} // namespace

Promise compare_with_promise(const fs::path& result_path, const fs::path& damaged_path,
                             const fs::path& sample_path, std::uint64_t image, std::uint64_t filled) {
    FileBytes result(result_path);
    FileBytes damaged(damaged_path);
    FileBytes sample(sample_path);
    const auto format = format_of(damaged_path);
    Promise promise;
    if (image + filled >= result.size()) {
        promise.broken.emplace_back("the file ends before its image");
        return promise;
    }
    // A CR3 is written box by box, and its tracks are in another order than in the damaged file.
    const bool in_one_piece = format != RawFormat::kCr3;
    if (in_one_piece && !starts_like_sample(result, sample, image)) {
        promise.broken.emplace_back("what precedes the image is not the sample's");
    }
    const std::uint64_t length = result.size() - image - filled;
    const bool to_the_end = in_one_piece && format != RawFormat::kDng && format != RawFormat::kRaf;
    if (to_the_end && length <= damaged.size() &&
        count_same_bytes(result, image, damaged, damaged.size() - length, length) == length) {
        return promise;
    }
    const auto found = damaged.find(result.read(image, kNeedle));
    const std::uint64_t proved = in_one_piece ? length : std::min<std::uint64_t>(length, kNeedle);
    if (!found || count_same_bytes(result, image, damaged, *found, proved) < proved) {
        promise.broken.emplace_back("the image data are not those of the damaged file");
    } else if (to_the_end && *found + length < damaged.size()) {
        promise.broken.push_back("the file ends " + format_count(damaged.size() - *found - length, "byte") +
                                 " too early: was the disk full?");
    } else if (in_one_piece && !damaged.only_slack_after(*found + length)) {
        promise.bytes_after = damaged.size() - *found - length;
    }
    return promise;
}

} // namespace plate_mend::host
