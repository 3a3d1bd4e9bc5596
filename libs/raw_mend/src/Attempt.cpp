#include "Attempt.h"

#include <algorithm>

namespace raw_mend {

namespace {

std::uint32_t code_of(Way way) {
    switch (way) {
    case Way::kOwnTables:
        return RAW_MEND_WAY_OWN_TABLES;
    case Way::kCodedHeads:
        return RAW_MEND_WAY_CODED_HEADS;
    case Way::kRows:
        return RAW_MEND_WAY_ROWS;
    case Way::kSamplePlaces:
        return RAW_MEND_WAY_SAMPLE_PLACES;
    case Way::kTrialDecoding:
        return RAW_MEND_WAY_TRIAL_DECODING;
    }
    return RAW_MEND_WAY_NONE;
}

std::uint64_t first_offset(const FoundImage& image) {
    const auto first =
        std::ranges::find_if(image.pieces, [](const auto& piece) { return piece.has_value(); });
    return first == image.pieces.end() ? 0 : (*first)->offset;
}

/// Found pieces that are neither proved nor accounted for by pixels.
std::uint64_t count_unproved(const FoundImage& image) {
    const std::size_t found = image.count_found();
    return found - std::min(found, image.proved + image.mended.size());
}

} // namespace

Attempt::Attempt(Bytes damaged, const std::filesystem::path& sample, Filling filling)
    : result_(run(damaged, sample, filling)) {}

std::int32_t Attempt::run(Bytes damaged, const std::filesystem::path& path, Filling filling) {
    if (!mapping_.open(path) || mapping_.bytes().empty()) {
        return RAW_MEND_SAMPLE_UNREADABLE;
    }
    sample_ = Sample::read(mapping_.bytes());
    if (!sample_) {
        return RAW_MEND_SAMPLE_NOT_UNDERSTOOD;
    }
    if (repair_reordered(damaged, filling)) {
        return RAW_MEND_OK;
    }
    repaired_ = repair(damaged, *sample_, filling);
    if (!repaired_ || repaired_->image.count_found() == 0) {
        return RAW_MEND_NOT_FOUND;
    }
    account_ = account_for(repaired_->image, sample_->description.raw);
    return repaired_->file ? RAW_MEND_OK : RAW_MEND_DOES_NOT_FIT;
}

/// Whether the photograph's parts are in another order, or parted by another photograph, and all of it is
/// proved once they are put together.
bool Attempt::repair_reordered(Bytes damaged, Filling filling) {
    const auto named = find_named_images(damaged, *sample_);
    return repair_in_order(damaged, find_rotation(damaged, named), RAW_MEND_ROTATION_UNDONE, filling) ||
           repair_in_order(damaged, find_photograph_around(damaged, named, *sample_),
                           RAW_MEND_PHOTOGRAPH_REMOVED, filling);
}

bool Attempt::repair_in_order(Bytes damaged, const std::optional<Reordering>& order, std::uint32_t note,
                              Filling filling) {
    if (!order) {
        return false;
    }
    reordered_ = order->of(damaged);
    repaired_ = repair(reordered_, *sample_, filling);
    if (repaired_ && repaired_->file) {
        account_ = account_for(repaired_->image, sample_->description.raw);
        if (has_proof() && is_joint_proved(reordered_, order->first.length, repaired_->image, *sample_)) {
            order_ = order;
            order_note_ = note;
            return true;
        }
    }
    repaired_.reset();
    reordered_ = {};
    return false;
}

bool Attempt::has_proof() const {
    return repaired_->image.proved == repaired_->image.pieces.size() && repaired_->image.doubts.empty() &&
           account_.lost == 0 && account_.doubtful == 0;
}

bool Attempt::is_proved() const {
    return result_ == RAW_MEND_OK && has_proof();
}

bool Attempt::is_better_than(const Attempt& other) const {
    if (result_ == RAW_MEND_OK && other.result_ == RAW_MEND_OK) {
        return quality() > other.quality();
    }
    // The further a repair comes, the smaller is the number of its error.
    return result_ == RAW_MEND_OK || (other.result_ != RAW_MEND_OK && result_ < other.result_);
}

Attempt::Quality Attempt::quality() const {
    const FoundImage& image = repaired_->image;
    const std::uint64_t pieces = std::max<std::size_t>(1, image.pieces.size());
    const std::uint64_t unproved = account_.pixels / pieces * count_unproved(image);
    return {-static_cast<std::int64_t>(account_.lost + account_.doubtful + unproved), image.proved,
            -static_cast<std::int64_t>(image.pieces.size() - image.count_found()), image.doubts.empty()};
}

std::uint32_t Attempt::notes() const {
    const FoundImage& image = repaired_->image;
    std::uint32_t notes = 0;
    const auto note_if = [&notes](bool condition, std::uint32_t bit) { notes |= condition ? bit : 0U; };
    note_if(image.count_found() < image.pieces.size(), RAW_MEND_PIECES_LOST);
    note_if(!image.doubts.empty(), RAW_MEND_PLACES_GUESSED);
    note_if(order_.has_value(), order_note_);
    if (image.way != Way::kOwnTables) {
        const Description& description = sample_->description;
        note_if(!repaired_->own_metadata, RAW_MEND_SAMPLE_METADATA);
        note_if(!repaired_->own_pictures, RAW_MEND_SAMPLE_PICTURES);
        note_if(!repaired_->own_metadata && description.raw.parameters.has_value(),
                RAW_MEND_SAMPLE_PARAMETERS);
    }
    return notes;
}

RawMendReport Attempt::report() const {
    const FoundImage& image = repaired_->image;
    RawMendReport report{};
    report.way = code_of(image.way);
    report.notes = notes();
    report.piece_count = image.pieces.size();
    report.found_piece_count = image.count_found();
    report.proved_piece_count = image.proved;
    report.image_offset = order_ ? order_->offset_in_damaged(first_offset(image)) : first_offset(image);
    report.size = file().size();
    report.mended_piece_count = image.mended.size();
    report.frame_width = sample_->description.raw.frame.width;
    report.frame_height = sample_->description.raw.frame.height;
    report.pixel_count = account_.pixels;
    report.lost_pixel_count = account_.lost;
    report.doubtful_pixel_count = account_.doubtful;
    return report;
}

} // namespace raw_mend
