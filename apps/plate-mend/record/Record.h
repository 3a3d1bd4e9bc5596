#pragma once

#include "files/WorkingCopy.h"
#include "record/CameraFacts.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The result for one damaged file, from which all reports are made. Paths are bytes, as in text/Paths.h;
// sizes are in bytes.

namespace plate_mend::host {

/// What the user gets. An independent decode decides, never a code alone.
enum class Verdict {
    kWhole,       ///< The RAW photograph decodes without a sign of damage.
    kIntact,      ///< The input itself decodes without a sign of damage. It was left alone.
    kPartial,     ///< The RAW photograph decodes, but part of the picture is lost.
    kPreviewOnly, ///< No RAW photograph, but a JPEG that was inside the damaged file.
    kNotRepaired, ///< Nothing could be delivered.
    kNotDone,     ///< The machine or a refusal prevented it; nothing is known about the photograph.
};

inline constexpr std::array kVerdicts = {Verdict::kWhole,       Verdict::kIntact,      Verdict::kPartial,
                                         Verdict::kPreviewOnly, Verdict::kNotRepaired, Verdict::kNotDone};

/// "whole", "intact", "partial", "preview only", "not repaired", "not done": in reports, messages and JSON.
[[nodiscard]] const char* name_of(Verdict verdict);

/// The verdict with this name; nothing for any other text.
[[nodiscard]] std::optional<Verdict> verdict_from_name(const std::string& name);

/// A file on the disk.
struct FileIdentity {
    std::string path; ///< As it was given; its bytes need not be UTF-8.
    std::uint64_t size = 0;
    std::string sha256;        ///< 64 lower-case hexadecimal digits; empty when it was not computed.
    std::int64_t modified = 0; ///< When its bytes changed, as FileStamp has it; 0: unknown. Not in reports.
    std::int64_t changed = 0;  ///< When anything about it changed, likewise.
};

/// Where the picture is on the sensor.
struct PicturePlace {
    std::uint32_t sensor_width = 0; ///< In pixels, as for all that follow; borders are included.
    std::uint32_t sensor_height = 0;
    std::uint32_t left = 0; ///< Of the picture.
    std::uint32_t top = 0;
    std::uint32_t width = 0; ///< Before it is turned upright.
    std::uint32_t height = 0;
    unsigned turn = 0; ///< How it is turned, as LibRaw has it: 4 swaps rows and columns before 2 mirrors
                       ///< the sensor's rows and 1 its columns.
    double pixel_aspect = 1; ///< Width of a pixel by its height.
    bool operator==(const PicturePlace&) const = default;
};

/// What an independent decode of a RAW file showed.
struct Judgement {
    bool decodes = false;    ///< LibRaw opens and unpacks it.
    std::uint32_t width = 0; ///< Of the upright picture, in pixels.
    std::uint32_t height = 0;
    std::uint32_t data_errors = 0; ///< As LibRaw counts them.
    std::optional<double>
        rows_good; ///< Share of rows without a sign of damage, 0 to 1; nothing when unknown.
    /// Share of pixels that are promised to be the photograph's own, 0 to 1: those that the raw engine counts
    /// as such, less the rows in which the decode shows another sign of damage. Nothing when it is unknown,
    /// and for results of the exact engine, which counts none.
    std::optional<double> pixels_good = std::nullopt;
    std::vector<std::string> findings; ///< Each sign of damage. None: the picture is whole.
    std::string camera;                ///< Maker and model according to LibRaw; may be empty.
    std::string taken;                 ///< The date in the file, "2026-05-01 12:30:00"; may be empty.
    /// Nothing where it is not known, or where the sensor's rows are oblique in the picture.
    std::optional<PicturePlace> place = std::nullopt;

    /// The share of the picture that is promised, by pixels where these are counted, and else by rows;
    /// nothing when it is unknown.
    [[nodiscard]] std::optional<double> share() const;
};

/// The engines' names in records: lib_plate_mend, which knows formats, and lib_raw_mend, which understands
/// the sample.
inline constexpr const char* kExactEngine = "exact";
inline constexpr const char* kRawEngine = "raw";

/// A rectangle of the raw image's frame, in pixels.
struct FrameArea {
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool operator==(const FrameArea&) const = default;
};

/// How the raw engine found the image of a damaged file. A piece is a strip, a tile, or a sample of a track.
struct FoundImage {
    std::uint32_t way = 0;           ///< RawMendReport.way.
    std::uint32_t notes = 0;         ///< Bits of RawMendReport.notes.
    std::uint64_t pieces = 0;        ///< Of the image.
    std::uint64_t pieces_found = 0;  ///< Of these, those that were found.
    std::uint64_t pieces_proved = 0; ///< Of these, those that are proved to be in their place.
    std::uint64_t offset = 0;        ///< Of the first found piece in the damaged file.
    std::uint64_t pieces_mended = 0; ///< Of all, those that were put together anew.
    std::uint32_t frame_width = 0;   ///< Of the image, in pixels; 0 where it is not known.
    std::uint32_t frame_height = 0;
    std::uint64_t pixels = 0;          ///< Of the frame.
    std::uint64_t pixels_lost = 0;     ///< Of these, those that are not the photograph's own.
    std::uint64_t pixels_doubtful = 0; ///< Of these, those that nothing proves; none of them is lost, too.
    bool filled = true;                ///< Lost pixels were filled from their neighbours; otherwise zero.
    /// Areas of lost pixels. Only those of the delivered result are kept.
    std::vector<FrameArea> lost{};
    std::vector<FrameArea> doubtful{}; ///< Likewise.

    /// Whether some pixels are lost or doubtful.
    [[nodiscard]] bool is_incomplete() const { return pixels_lost != 0 || pixels_doubtful != 0; }
};

/// One sample that was tried by one engine, or was set aside.
struct Attempt {
    std::string sample;
    std::string why;                  ///< Why the sample has this rank.
    std::optional<std::int32_t> code; ///< Of the engine; nothing when it returned none.
    std::string problem;      ///< Why there was no code: an exception, a crash, the time limit. May be empty.
    Judgement judgement;      ///< Of the result; all empty unless the code is 0.
    bool taken = false;       ///< The delivered RAW photograph was made with this sample.
    std::string room_problem; ///< The machine's, if the result could not have grown to its full length. Not
                              ///< in JSON or CSV.
    bool no_room = false;     ///< That is a full disk. Likewise.
    std::string engine; ///< What made the result: kExactEngine or kRawEngine. Empty for a sample that was
                        ///< set aside.
    std::optional<FoundImage> image = std::nullopt; ///< Of the raw engine, if its code is 0.
    std::uint64_t pictures_rendered = 0; ///< Previews of the result that were rendered from its own image.
};

/// The general repair's part.
struct SalvagedPicture {
    std::optional<std::int32_t>
        code;            ///< Of the general repair; nothing when it was not run or returned none.
    std::string problem; ///< As in Attempt.
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint64_t blocks = 0;         ///< Of the picture.
    std::uint64_t blocks_own = 0;     ///< Of these, the photographer's own.
    std::uint64_t blocks_coarse = 0;  ///< Of these, those that miss fine detail.
    std::uint64_t blocks_guessed = 0; ///< Shown where they fit best; not among the photographer's own.
    std::uint64_t first_bad_byte = UINT64_MAX; ///< Offset in the damaged file; UINT64_MAX when there is none.
    std::uint32_t warnings = 0;                ///< Bits of StillMendReport.
};

/// The result for one damaged file.
struct Record {
    FileIdentity damaged;
    Verdict verdict = Verdict::kNotRepaired;
    std::string problem; ///< Why nothing was tried, or why the file is not done. May be empty.
    std::vector<UnreadableSpan> unreadable; ///< In the damaged file; replaced by zeros.
    std::uint64_t zeros_left_out = 0; ///< At the end of the damaged file, longer than any photograph here.
    std::vector<Attempt> attempts;    ///< In the order they were tried.
    SalvagedPicture salvage;
    std::optional<FileIdentity> raw;     ///< The delivered RAW photograph.
    std::optional<FileIdentity> jpeg;    ///< The delivered JPEG.
    std::optional<FileIdentity> mask;    ///< The delivered mask of lost and doubtful pixels.
    std::optional<FileIdentity> sidecar; ///< The delivered XMP sidecar of the RAW photograph.
    /// Metadata of the photograph that survived in the damaged file; nothing where none did for certain, and
    /// where no RAW photograph was delivered.
    std::optional<OwnMetadata> metadata;
    double seconds = 0;  ///< Time spent.
    std::string picture; ///< A small upright JPEG of what was delivered, its bytes; empty for none. Not in
                         ///< JSON or CSV.
    std::string sample_picture; ///< Likewise, of the sample that the delivered RAW photograph was made with.

    /// The attempt the delivered RAW photograph came from; null when there is none.
    [[nodiscard]] const Attempt* taken() const;
    [[nodiscard]] Attempt* taken();
};

} // namespace plate_mend::host
