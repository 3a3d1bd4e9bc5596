#include "Harness.h"
#include "RepairInput.h"

#include "unit/raw_mend/Inconsistency.h"

#include "Account.h"
#include "Repair.h"
#include "container/Describe.h"

#include <algorithm>
#include <sstream>
#include <vector>

// The repair of any file with any sample: what is reported of the image is true to the damaged file, the
// result is as long as it says, and its tables are true to it and describe what was put into it.

namespace {

using raw_mend::Extent;
using raw_mend::FoundImage;

/// Whether the account is one of the frame, and the pieces that were put together anew are those of the
/// image.
bool is_account_true(const FoundImage& image, const raw_mend::Image& raw) {
    const raw_mend::Account account = raw_mend::account_for(image, raw);
    const std::uint64_t pixels = std::uint64_t{raw.frame.width} * raw.frame.height;
    const auto is_inside = [&](const RawMendArea& area) {
        return area.width != 0 && area.height != 0 && area.left < raw.frame.width &&
               area.width <= raw.frame.width - area.left && area.top < raw.frame.height &&
               area.height <= raw.frame.height - area.top;
    };
    std::vector<bool> mended(image.pieces.size());
    for (const raw_mend::MendedPiece& piece : image.mended) {
        if (piece.piece >= mended.size() || mended[piece.piece]) {
            return false;
        }
        mended[piece.piece] = true;
    }
    return account.pixels == pixels && account.lost <= pixels && account.doubtful <= pixels - account.lost &&
           account.areas.size() <= RAW_MEND_MOST_AREAS && std::ranges::all_of(account.areas, is_inside) &&
           account.areas.empty() == (account.lost + account.doubtful == 0);
}

std::string about_image(const FoundImage& image, const test::Bytes& damaged) {
    const bool inside = std::ranges::all_of(
        image.pieces, [&](const auto& piece) { return !piece || piece->is_within(damaged); });
    if (inside && (image.count_found() > 0 || !image.others.empty()) && image.proved <= image.count_found()) {
        return "";
    }
    std::ostringstream text;
    text << image.proved << " pieces are proved, " << image.count_found() << " of " << image.pieces.size()
         << " found, " << (inside ? "all within" : "not all within") << " the file";
    return text.str();
}

/// Whether a piece of the result holds what was put together or found for it, or nothing but zeros if nothing
/// was.
bool holds(const Extent& place, const test::Bytes& result, const FoundImage& image, std::size_t index,
           const test::Bytes& damaged) {
    if (!place.is_within(result)) {
        return false;
    }
    const auto bytes = place.of(result);
    const auto mended = std::ranges::find(image.mended, index, &raw_mend::MendedPiece::piece);
    if (mended != image.mended.end()) {
        return std::ranges::equal(bytes, mended->bytes);
    }
    const auto& found = image.pieces[index];
    return found ? std::ranges::equal(bytes, found->of(damaged))
                 : std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0; });
}

std::string about_result(const test::Bytes& result, const FoundImage& image, const test::Bytes& damaged) {
    const auto description = raw_mend::describe(result);
    if (!description) {
        return image.proved < image.pieces.size() ? "" : "the result is not understood";
    }
    std::string found = raw_mend::inconsistency(result, *description);
    if (!found.empty() || image.proved < image.pieces.size()) {
        return found; // Where pieces are lost, the sample's image may be of a kind that is no longer seen.
    }
    const auto& pieces = description->raw.pieces;
    if (pieces.size() != image.pieces.size()) {
        return "the result has another number of pieces";
    }
    for (std::size_t index = 0; index < pieces.size(); ++index) {
        if (!holds(pieces[index].data, result, image, index, damaged)) {
            return "a piece of the result is not what was found: " + std::to_string(index);
        }
    }
    return "";
}

std::string complaint(const fuzz::RepairInput& input) {
    const auto sample = raw_mend::Sample::read(input.sample);
    const auto repaired = sample ? raw_mend::repair(input.damaged, *sample) : std::nullopt;
    if (!repaired) {
        return "";
    }
    std::string found = about_image(repaired->image, input.damaged);
    if (found.empty() && !is_account_true(repaired->image, sample->description.raw)) {
        return "the account of pixels is not one of the frame";
    }
    if (!found.empty() || !repaired->file) {
        return found;
    }
    test::Bytes result;
    repaired->file->write(
        [&](raw_mend::Bytes part) { result.insert(result.end(), part.begin(), part.end()); });
    if (result.size() != repaired->file->size()) {
        return "the result is not as long as it says";
    }
    return about_result(result, repaired->image, input.damaged);
}

} // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::stop_on(complaint(fuzz::split(data, size)));
    return 0;
}
