#include "judge/Judge.h"

#include "files/FileBytes.h"
#include "judge/Account.h"
#include "judge/CompressedData.h"
#include "judge/FoundPieces.h"
#include "judge/GoodRows.h"
#include "judge/Lengths.h"
#include "judge/OtherPhotographs.h"
#include "judge/Picture.h"
#include "judge/PixelSigns.h"
#include "judge/PreviewOverlay.h"
#include "judge/Promise.h"
#include "judge/RawDecoder.h"
#include "judge/Repeats.h"
#include "judge/SonyCells.h"
#include "text/Format.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

using Findings = std::vector<std::string>;

void add(const Findings& more, Findings& findings) {
    findings.insert(findings.end(), more.begin(), more.end());
}

void describe(const PhotoFacts& facts, Judgement& judgement) {
    judgement.width = facts.width;
    judgement.height = facts.height;
    judgement.camera = facts.camera;
    judgement.taken = facts.taken;
}

Findings explain_not_opened(const RawDecoder& decoder) {
    const std::string& problem = decoder.version_problem();
    return {problem.empty() ? "LibRaw does not open the file" : problem};
}

Findings describe_data_errors(std::uint32_t count) {
    return count == 0 ? Findings{} : Findings{"LibRaw counted " + format_count(count, "data error")};
}

/// How the result agrees with what the repair promises. Bytes of the damaged file that were left over count
/// where nothing follows the image.
Findings check_promise(const JudgeRequest& request, std::uint64_t image, bool image_is_last) {
    if (request.damaged.empty()) {
        return {};
    }
    Promise promise =
        compare_with_promise(request.result, request.damaged, request.sample, image, request.filled);
    if (promise.bytes_after != 0 && image_is_last) {
        promise.broken.push_back(describe_bytes_after_image(promise.bytes_after));
    }
    return promise.broken;
}

/// What the files show beside the picture: one list or struct per step.
struct FileEvidence {
    Findings compressed_data;
    Sign repeats; ///< Sectors that are in rows twice.
    Findings tables;
    Lengths lengths;
    Findings promise;
    Findings others; ///< Photographs.
    PieceDoubts pieces;

    /// Every part of a lossless JPEG ends where its image does.
    [[nodiscard]] bool decodes_exactly(const RawDecoder& decoder) const {
        return decoder.is_lossless_jpeg() && compressed_data.empty();
    }

    /// Something is wrong, and nothing shows from which row on.
    [[nodiscard]] bool place_unknown() const {
        return !compressed_data.empty() || !tables.empty() || lengths.place_unknown || !promise.empty() ||
               !others.empty() || pieces.place_unknown;
    }
};

/// Looks for sectors that are in the image twice. Where they have no rows, any may be displaced by them.
void find_repeats_in(const JudgeRequest& request, const RawDecoder& decoder, FileEvidence& evidence) {
    if (request.image && request.image->is_incomplete()) {
        return; // What fills lost rows is a copy of others.
    }
    evidence.repeats = find_repeated_sectors(decoder, request.result);
    if (evidence.repeats.bad_rows.empty() && !evidence.repeats.finding.empty()) {
        evidence.compressed_data.push_back(std::exchange(evidence.repeats.finding, {}));
    }
}

/// The decoder has unpacked the result, which is this file.
FileEvidence examine_files(const JudgeRequest& request, const RawDecoder& decoder, FileBytes& file,
                           std::uint64_t image) {
    FileEvidence evidence;
    evidence.compressed_data = check_compressed_data(decoder, file, image);
    find_repeats_in(request, decoder, evidence);
    evidence.lengths = compare_lengths(request, decoder, file.size(), image);
    evidence.others = find_other_photographs(request, decoder, file);
    if (request.image) {
        evidence.pieces = find_doubts(*request.image, evidence.decodes_exactly(decoder));
        evidence.promise = compare_with_damaged(request, decoder, file);
        return evidence;
    }
    evidence.tables = compare_with_tables(request.damaged);
    evidence.promise = check_promise(request, image, evidence.lengths.image_is_last);
    return evidence;
}

/// Rows of the picture for which there are bytes, where each takes the same number.
std::optional<double> picture_rows_there(const Lengths& lengths, const RawDecoder& decoder) {
    return decoder.has_fixed_rate()
               ? std::optional(std::max(0.0, lengths.rows_there - decoder.rows_above_picture()))
               : std::nullopt;
}

/// A view with rows for columns. What its samples are in must exist as long.
SensorView turn_over(const SensorView& view, std::vector<std::uint16_t>& samples) {
    samples.resize(view.columns * view.rows);
    for (std::size_t y = 0; y < view.rows; ++y) {
        const std::uint16_t* row = view.row(y);
        for (std::size_t x = 0; x < view.columns; ++x) {
            samples[x * view.rows + y] = row[x];
        }
    }
    SensorView turned = view;
    turned.samples = samples.data();
    turned.stride = turned.columns = view.rows;
    turned.rows = view.columns;
    std::swap(turned.dx, turned.dy);
    turned.in_columns = true;
    return turned;
}

/// Signs along columns, where the image is coded column by column. They show nothing about rows.
Findings find_signs_in_columns(const SensorView& view, const RawDecoder& decoder) {
    Findings findings;
    if (decoder.is_in_columns()) {
        std::vector<std::uint16_t> samples;
        for (const std::string& finding : find_signs(turn_over(view, samples)).findings) {
            findings.push_back("column by column: " + finding);
        }
    }
    return findings;
}

/// Rows that are no part of a comparison: they are bad or accounted for, there are no bytes for them, or they
/// are displaced.
std::vector<bool> known_rows(const PixelSigns& signs, std::vector<bool> accounted,
                             const std::optional<double>& rows_there) {
    accounted.resize(signs.bad_rows.size());
    for (std::size_t row = 0; row < accounted.size(); ++row) {
        const bool is_there = !rows_there || static_cast<double>(row) < *rows_there;
        const bool in_place = !signs.displaced_from || row < *signs.displaced_from;
        accounted[row] = accounted[row] || signs.bad_rows[row] || !is_there || !in_place;
    }
    return accounted;
}

void forget_share(Judgement& judgement) {
    if (judgement.share().value_or(0) != 0) { // What is no photograph stays none.
        judgement.rows_good.reset();
        judgement.pixels_good.reset();
    }
}

/// Looks for signs in the unpacked samples, and counts the good rows. Returns whether previews show another
/// photograph in some of it, so that the count says nothing.
bool judge_samples(const JudgeRequest& request, const RawDecoder& decoder, const FileEvidence& evidence,
                   const std::vector<Sign>& of_data, Judgement& judgement) {
    SensorView view = decoder.sensor_view();
    view.doubtful = !judgement.findings.empty() || (request.image && request.image->is_incomplete());
    view.decodes_exactly = evidence.decodes_exactly(decoder) && judgement.data_errors == 0;
    if (view.samples == nullptr || view.rows == 0) {
        judgement.findings.emplace_back("the samples are of a kind that is not checked");
        return false;
    }
    const auto accounted = request.image ? accounted_rows(*request.image, decoder.sensor_rows(),
                                                          decoder.rows_above_picture(), view.rows)
                                         : std::vector<bool>();
    const PixelSigns signs = find_signs(view, accounted, of_data);
    add(signs.findings, judgement.findings);
    const auto rows_there = picture_rows_there(evidence.lengths, decoder);
    const PreviewDoubts previews =
        compare_with_previews(decoder, request.damaged.empty() ? request.result : request.damaged,
                              known_rows(signs, accounted, rows_there));
    add(previews.findings, judgement.findings);
    const Findings in_columns = find_signs_in_columns(view, decoder);
    add(in_columns, judgement.findings);
    if (!in_columns.empty()) {
        return false; // The share of good rows is unknown.
    }
    judgement.rows_good =
        share_of_good_rows({.signs = signs,
                            .rows_there = rows_there,
                            .data_errors = judgement.data_errors != 0,
                            .place_unknown = evidence.place_unknown(),
                            .lost_inside = evidence.lengths.lost_inside || evidence.pieces.damaged_inside,
                            .filled = request.filled != 0});
    return previews.strange || !previews.findings.empty();
}

/// Adds what the raw engine counts to what the judge has found.
///
///   is_exact  every piece of coded data ends where its image does
void take_account(const FoundImage& image, const FileEvidence& evidence, bool is_exact,
                  Judgement& judgement) {
    constexpr double kMostRows = 0.5; // Without signs of damage.
    if (is_refuted_guess(image, judgement.findings.size() - evidence.pieces.findings.size())) {
        judgement.rows_good = 0;
    }
    if (image.pieces_mended != 0 && judgement.data_errors != 0) {
        judgement.rows_good.reset(); // What was put together is not what a camera writes.
    }
    judgement.pixels_good = share_of_good_pixels(image, judgement.rows_good);
    if (!judgement.rows_good && is_exact && judgement.data_errors == 0) {
        judgement.pixels_good = share_of_proved_pieces(image);
    }
    if (has_unknown_levels(image) ||
        (is_nearly_all_doubtful(image) && judgement.rows_good.value_or(0) >= kMostRows)) {
        judgement.rows_good.reset();
        judgement.pixels_good.reset();
    }
    add(describe_account(image), judgement.findings);
}

/// Bytes from the start of the image to the end of the file.
std::uint64_t bytes_from_image(const RawDecoder& decoder, FileBytes& file) {
    return file.size() - std::min(file.size(), decoder.image_offset(file));
}

} // namespace

std::uint64_t missing_at_the_end(const fs::path& result, const fs::path& sample) {
    RawDecoder ours;
    RawDecoder theirs;
    FileBytes our_bytes(result);
    FileBytes their_bytes(sample);
    if (!ours.open(result) || !theirs.open(sample)) {
        return 0;
    }
    const std::uint64_t wanted = bytes_from_image(theirs, their_bytes);
    const std::uint64_t there = bytes_from_image(ours, our_bytes);
    return there == 0 || wanted < there ? 0 : wanted - there;
}

Judgement judge_raw(const JudgeRequest& request) {
    Judgement judgement;
    RawDecoder decoder;
    if (!decoder.open(request.result)) {
        judgement.findings = explain_not_opened(decoder);
        return judgement;
    }
    describe(decoder.facts(), judgement);
    FileBytes file(request.result);
    const std::uint64_t image = decoder.image_offset(file);

    const std::string problem = decoder.unpack();
    judgement.data_errors = decoder.data_errors();
    if (!problem.empty()) {
        judgement.findings = {"LibRaw cannot decode the image: " + problem};
        return judgement;
    }
    judgement.decodes = true;
    add(describe_data_errors(judgement.data_errors), judgement.findings);

    const FileEvidence evidence = examine_files(request, decoder, file, image);
    for (const Findings* findings : {&evidence.compressed_data, &evidence.tables, &evidence.lengths.findings,
                                     &evidence.promise, &evidence.others, &evidence.pieces.findings}) {
        add(*findings, judgement.findings);
    }
    const bool is_mixed = judge_samples(
        request, decoder, evidence, {find_broken_cells(decoder, file, image), evidence.repeats}, judgement);
    if (request.image) {
        take_account(*request.image, evidence, evidence.decodes_exactly(decoder), judgement);
    }
    if (!evidence.others.empty() || is_mixed) {
        forget_share(judgement); // Any part may be another photograph's.
    }
    judgement.place = decoder.picture_place();
    if (!request.picture.empty()) {
        write_raw_picture(decoder.raw(), request.picture);
    }
    return judgement;
}

} // namespace plate_mend::host
