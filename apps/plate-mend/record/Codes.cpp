#include "record/Codes.h"

#include "record/Record.h"

#include <plate_mend/plate_mend.h>
#include <raw_mend/raw_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <system_error>

namespace plate_mend::host {

namespace {

struct Text {
    const char* meaning;
    const char* next;
};

constexpr Text kOk = {"the repair was carried out",
                      "check the picture: this is about the steps, not about the picture"};
constexpr Text kUnknownFormat = {
    "no format is known for this extension; known are arw, raw, sr2, raf, orf, dng, "
    "cr2, nef, cr3; or, from a check, LibRaw does not open the file",
    "give the damaged file the extension of its camera"};
constexpr Text kLogFailed = {"the log could not be started; repairs work all the same",
                             "name a folder that is there and may be written to"};
constexpr Text kInputMissing = {"the damaged file or the sample does not exist", "check the two names"};
constexpr Text kCloneFailed = {"the sample could not be copied", "is there room beside the output?"};
constexpr Text kMapFailed = {"the sample or the damaged file is empty, or this program may not write to it",
                             "copy both to a disk with room, and remove the write protection"};
constexpr Text kBadSample = {"the sample is not usable",
                             "use another intact photograph from the same camera"};
constexpr Text kNotFound = {"the damaged file has lost the entries that lead to its image",
                            "try 'plate-mend salvage'"};
constexpr Text kOutOfRange = {"the sample or the damaged file ends too early",
                              "use another sample, or try 'plate-mend salvage'"};
constexpr Text kDamagedCut = {"the damaged file ends too early or has lost what leads to its image",
                              "try 'plate-mend salvage'"};
constexpr Text kMergeFailed = {"the parts of the two files could not be joined",
                               "is the sample from the same camera?"};

constexpr Text kNothingNamed = {"a file was not named", "report this: the program names all files"};
constexpr Text kDamagedUnreadable = {"the damaged file cannot be read, or is empty",
                                     "is it there, is it a file, and may you read it?"};
constexpr Text kSampleUnreadable = {"the sample cannot be read, or is empty", "check the sample"};
constexpr Text kSampleNotUnderstood = {"the structure of the sample is not understood",
                                       "use another intact photograph from the same camera"};
constexpr Text kImageNotFound = {
    "the damaged file has no image like the sample's, or nothing shows where it is",
    "is the sample from the same camera, with the same settings?"};
constexpr Text kDoesNotFit = {"the sample's tables have no room for the image that was found",
                              "use another sample"};
constexpr Text kOutputExists = {"something is at the path of the result already",
                                "choose another path; nothing was replaced"};
constexpr Text kOutputUnwritable = {"the result cannot be written", "is there room?"};
constexpr Text kRawNoMemory = {"memory ran out",
                               "close other programs and try again, or allow more with --memory-limit"};
constexpr Text kRawInternal = {"another unexpected error", "try another sample"};

constexpr Text kWayNone = {"the image was not found", ""};
constexpr Text kWayOwnTables = {"by the damaged file's own tables", ""};
constexpr Text kWayCodedHeads = {"by the heads of its coded pieces", ""};
constexpr Text kWayRows = {"by how its rows fit one another", ""};
constexpr Text kWaySamplePlaces = {"at the places where the sample has its image", ""};
constexpr Text kWayTrialDecoding = {"by trial decoding", ""};

/// By RawMendReport.way.
constexpr std::array<const char*, 6> kWayNames = {"none", "own tables",    "coded heads",
                                                  "rows", "sample places", "trial decoding"};

constexpr Text kSampleMetadata = {"date, exposure, serial number and the like are the sample's", ""};
constexpr Text kSamplePictures = {"some previews are the sample's, and show another photograph",
                                  "render new previews with your RAW converter"};
constexpr Text kPiecesLost = {"some pieces of the image are lost; zeros are in their place", ""};
constexpr Text kPlacesGuessed = {"the place of some pieces of the image is a guess",
                                 "check whether the parts of the picture are in the right place"};
constexpr Text kSampleParameters = {
    "curves, predictors and levels that a decoder needs are the sample's, and may differ",
    "check the brightness and colours"};

constexpr Text kRotationUndone = {
    "the photograph's end was at the beginning of the damaged file; it was put back", ""};
constexpr Text kPhotographRemoved = {
    "another whole photograph was inside this one, which goes on after it; it was left out", ""};

constexpr Text kUnchanged = {"the damaged file begins with all of the result", ""};

constexpr Text kPictureWritten = {"a picture that decodes was written", ""};
constexpr Text kUnreadable = {"the file cannot be read", "is it there, is it a file, and may you read it?"};
constexpr Text kNothing = {"no picture is left in this file", "with a sample, try 'plate-mend repair'"};
constexpr Text kUnwritable = {"the picture could not be written",
                              "is there room, and is anything but a file at the output?"};
constexpr Text kInternal = {"the picture could not be salvaged: memory ran out, or another unexpected error",
                            "close other programs and try again, or allow more with --memory-limit"};
constexpr Text kThumbnail = {"only a thumbnail is left", "with a sample, try 'plate-mend repair'"};

constexpr Text kNoHeader = {"the sample cannot be read, or holds no JPEG with a complete header",
                            "name an intact photograph from the same camera"};

constexpr Text kFromSample = {"its size or tables are those of the sample",
                              "check its brightness and colours"};
constexpr Text kTextModeUndone = {"a transfer in text mode had put CR before each LF; that was undone",
                                  "transfer it again, in binary mode"};
constexpr Text kPutInOrder = {
    "clusters of the file were in another order, repeated, or parted by foreign data; they were put in order",
    ""};
constexpr Text kHeaderRebuilt = {"its header was put together from what was left of it", ""};
constexpr Text kTablesBorrowed = {"its tables were taken from another picture of the file",
                                  "check its brightness and colours"};
constexpr Text kTablesStandard = {"its tables were lost; the standard ones fit", ""};
constexpr Text kFrameBorrowed = {"its size was taken from another picture of the file", ""};
constexpr Text kIntervalInferred = {"its restart interval was found by its markers", ""};
constexpr Text kEndAdded = {"its end was lost, and was added", ""};
constexpr Text kPartsLost = {"parts of it are lost; they are grey, or bridged", ""};
constexpr Text kResynchronised = {"parts after damage were placed where they fit",
                                  "check whether they are in the right place"};
constexpr Text kReencoded = {"it was re-encoded, with its own quantisation", ""};

CodeEntry row(std::int32_t code, const char* name, CodeSource source, const Text& text) {
    return {code, name, source, text.meaning, text.next};
}

std::vector<CodeEntry> make_codes() {
// A constant and its name.
#define ROW(name) (name), #name
    return {
        row(ROW(PLATE_MEND_OK), CodeSource::kAny, kOk),
        row(ROW(PLATE_MEND_UNKNOWN), CodeSource::kRepair, kUnknownFormat),
        row(ROW(PLATE_MEND_LOG_FAILED), CodeSource::kStart, kLogFailed),
        row(ROW(PLATE_MEND_DNG_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_DNG_CLONE_FAILED), CodeSource::kRepair, kCloneFailed),
        row(ROW(PLATE_MEND_DNG_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_DNG_NOT_FOUND), CodeSource::kRepair, kNotFound),
        row(ROW(PLATE_MEND_DNG_DAMAGED_UNUSABLE), CodeSource::kRepair, kDamagedCut),
        row(ROW(PLATE_MEND_DNG_MERGE_FAILED), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_CR2_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_CR2_CLONE_FAILED), CodeSource::kRepair, kCloneFailed),
        row(ROW(PLATE_MEND_CR2_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_CR2_DAMAGED_UNUSABLE), CodeSource::kRepair, kDamagedCut),
        row(ROW(PLATE_MEND_CR2_MERGE_FAILED), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_NEF_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_NEF_CLONE_FAILED), CodeSource::kRepair, kCloneFailed),
        row(ROW(PLATE_MEND_NEF_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_NEF_NOT_FOUND), CodeSource::kRepair, kNotFound),
        row(ROW(PLATE_MEND_NEF_DAMAGED_UNUSABLE), CodeSource::kRepair, kDamagedCut),
        row(ROW(PLATE_MEND_NEF_MERGE_FAILED), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_CR3_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_CR3_LANDMARKS_MISPLACED), CodeSource::kRepair, kNotFound),
        row(ROW(PLATE_MEND_CR3_NOT_FOUND), CodeSource::kRepair, kNotFound),
        row(ROW(PLATE_MEND_CR3_MISMATCH), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_CR3_OUT_OF_RANGE), CodeSource::kRepair, kOutOfRange),
        row(ROW(PLATE_MEND_CR3_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_ARW_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_ARW_CLONE_FAILED), CodeSource::kRepair, kCloneFailed),
        row(ROW(PLATE_MEND_ARW_MAP_FAILED), CodeSource::kRepair, kMapFailed),
        row(ROW(PLATE_MEND_ARW_OUT_OF_RANGE), CodeSource::kRepair, kOutOfRange),
        row(ROW(PLATE_MEND_ARW_NOT_FOUND), CodeSource::kRepair, kNotFound),
        row(ROW(PLATE_MEND_ARW_MERGE_FAILED), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_ARW_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_SR2_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_SR2_CLONE_FAILED), CodeSource::kRepair, kCloneFailed),
        row(ROW(PLATE_MEND_SR2_MAP_FAILED), CodeSource::kRepair, kMapFailed),
        row(ROW(PLATE_MEND_SR2_OUT_OF_RANGE), CodeSource::kRepair, kOutOfRange),
        row(ROW(PLATE_MEND_SR2_NOT_FOUND), CodeSource::kRepair, kNotFound),
        row(ROW(PLATE_MEND_SR2_MERGE_FAILED), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_SR2_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_ORF_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_ORF_CLONE_FAILED), CodeSource::kRepair, kCloneFailed),
        row(ROW(PLATE_MEND_ORF_MAP_FAILED), CodeSource::kRepair, kMapFailed),
        row(ROW(PLATE_MEND_ORF_OUT_OF_RANGE), CodeSource::kRepair, kDamagedCut),
        row(ROW(PLATE_MEND_ORF_NOT_FOUND), CodeSource::kRepair, kNotFound),
        row(ROW(PLATE_MEND_ORF_SAMPLE_ILLEGAL), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_ORF_MERGE_FAILED), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_ORF_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_RAF_INPUT_MISSING), CodeSource::kRepair, kInputMissing),
        row(ROW(PLATE_MEND_RAF_CLONE_FAILED), CodeSource::kRepair, kCloneFailed),
        row(ROW(PLATE_MEND_RAF_MAP_FAILED), CodeSource::kRepair, kMapFailed),
        row(ROW(PLATE_MEND_RAF_OUT_OF_RANGE), CodeSource::kRepair, kOutOfRange),
        row(ROW(PLATE_MEND_RAF_SAMPLE_NOT_FOUND), CodeSource::kRepair, kBadSample),
        row(ROW(PLATE_MEND_RAF_MERGE_FAILED), CodeSource::kRepair, kMergeFailed),
        row(ROW(PLATE_MEND_RAF_SAMPLE_UNUSABLE), CodeSource::kRepair, kBadSample),
        row(ROW(RAW_MEND_OK), CodeSource::kAny, kOk),
        row(ROW(RAW_MEND_BAD_ARGUMENT), CodeSource::kRawRepair, kNothingNamed),
        row(ROW(RAW_MEND_DAMAGED_UNREADABLE), CodeSource::kRawRepair, kDamagedUnreadable),
        row(ROW(RAW_MEND_SAMPLE_UNREADABLE), CodeSource::kRawRepair, kSampleUnreadable),
        row(ROW(RAW_MEND_SAMPLE_NOT_UNDERSTOOD), CodeSource::kRawRepair, kSampleNotUnderstood),
        row(ROW(RAW_MEND_NOT_FOUND), CodeSource::kRawRepair, kImageNotFound),
        row(ROW(RAW_MEND_DOES_NOT_FIT), CodeSource::kRawRepair, kDoesNotFit),
        row(ROW(RAW_MEND_OUTPUT_EXISTS), CodeSource::kRawRepair, kOutputExists),
        row(ROW(RAW_MEND_OUTPUT_UNWRITABLE), CodeSource::kRawRepair, kOutputUnwritable),
        row(ROW(RAW_MEND_NO_MEMORY), CodeSource::kRawRepair, kRawNoMemory),
        row(ROW(RAW_MEND_INTERNAL), CodeSource::kRawRepair, kRawInternal),
        row(ROW(RAW_MEND_WAY_NONE), CodeSource::kWay, kWayNone),
        row(ROW(RAW_MEND_WAY_OWN_TABLES), CodeSource::kWay, kWayOwnTables),
        row(ROW(RAW_MEND_WAY_CODED_HEADS), CodeSource::kWay, kWayCodedHeads),
        row(ROW(RAW_MEND_WAY_ROWS), CodeSource::kWay, kWayRows),
        row(ROW(RAW_MEND_WAY_SAMPLE_PLACES), CodeSource::kWay, kWaySamplePlaces),
        row(ROW(RAW_MEND_WAY_TRIAL_DECODING), CodeSource::kWay, kWayTrialDecoding),
        row(ROW(RAW_MEND_SAMPLE_METADATA), CodeSource::kNote, kSampleMetadata),
        row(ROW(RAW_MEND_SAMPLE_PICTURES), CodeSource::kNote, kSamplePictures),
        row(ROW(RAW_MEND_PIECES_LOST), CodeSource::kNote, kPiecesLost),
        row(ROW(RAW_MEND_PLACES_GUESSED), CodeSource::kNote, kPlacesGuessed),
        row(ROW(RAW_MEND_SAMPLE_PARAMETERS), CodeSource::kNote, kSampleParameters),
        row(ROW(RAW_MEND_TEXT_MODE_UNDONE), CodeSource::kNote, kTextModeUndone),
        row(ROW(RAW_MEND_ROTATION_UNDONE), CodeSource::kNote, kRotationUndone),
        row(ROW(RAW_MEND_PHOTOGRAPH_REMOVED), CodeSource::kNote, kPhotographRemoved),
        row(ROW(RAW_MEND_UNCHANGED), CodeSource::kNote, kUnchanged),
        row(ROW(STILL_MEND_OK), CodeSource::kAny, kPictureWritten),
        row(ROW(STILL_MEND_INPUT_UNREADABLE), CodeSource::kSalvage, kUnreadable),
        row(ROW(STILL_MEND_NOTHING_FOUND), CodeSource::kSalvage, kNothing),
        row(ROW(STILL_MEND_OUTPUT_UNWRITABLE), CodeSource::kSalvage, kUnwritable),
        row(ROW(STILL_MEND_INTERNAL), CodeSource::kSalvage, kInternal),
        row(ROW(STILL_MEND_ONLY_THUMBNAIL), CodeSource::kSalvage, kThumbnail),
        row(ROW(STILL_MEND_SAMPLE_UNUSABLE), CodeSource::kSalvage, kNoHeader),
        row(ROW(STILL_MEND_HEADER_REBUILT), CodeSource::kWarning, kHeaderRebuilt),
        row(ROW(STILL_MEND_TABLES_BORROWED), CodeSource::kWarning, kTablesBorrowed),
        row(ROW(STILL_MEND_TABLES_STANDARD), CodeSource::kWarning, kTablesStandard),
        row(ROW(STILL_MEND_FRAME_BORROWED), CodeSource::kWarning, kFrameBorrowed),
        row(ROW(STILL_MEND_INTERVAL_INFERRED), CodeSource::kWarning, kIntervalInferred),
        row(ROW(STILL_MEND_END_ADDED), CodeSource::kWarning, kEndAdded),
        row(ROW(STILL_MEND_PARTS_LOST), CodeSource::kWarning, kPartsLost),
        row(ROW(STILL_MEND_RESYNCHRONISED), CodeSource::kWarning, kResynchronised),
        row(ROW(STILL_MEND_REENCODED), CodeSource::kWarning, kReencoded),
        row(ROW(STILL_MEND_FROM_SAMPLE), CodeSource::kWarning, kFromSample),
        row(ROW(STILL_MEND_TEXT_MODE_UNDONE), CodeSource::kWarning, kTextModeUndone),
        row(ROW(STILL_MEND_PUT_IN_ORDER), CodeSource::kWarning, kPutInOrder),
    };
#undef ROW
}

/// The entry of a number among those of one source; null when there is none.
const CodeEntry* find(std::int32_t code, CodeSource source) {
    const auto& codes = all_codes();
    const auto found = std::find_if(codes.begin(), codes.end(), [&](const CodeEntry& entry) {
        return entry.code == code && entry.source == source;
    });
    return found == codes.end() ? nullptr : &*found;
}

std::string explain_entry(const CodeEntry* entry, const char* unknown, std::int32_t code) {
    std::string text = entry == nullptr ? unknown : entry->meaning;
    if (entry != nullptr && *entry->next != '\0') {
        text += std::string("; ") + entry->next;
    }
    return text + " (code " + std::to_string(code) + ")";
}

const char* describe(CodeSource source) {
    switch (source) {
    case CodeSource::kAny:
        return "success";
    case CodeSource::kStart:
        return "from the start of the log";
    case CodeSource::kRepair:
        return "from a repair with a sample";
    case CodeSource::kRawRepair:
        return "from a repair by the raw engine";
    case CodeSource::kWay:
        return "how the raw engine found an image";
    case CodeSource::kNote:
        return "noted by the raw engine about a result";
    case CodeSource::kSalvage:
        return "from a salvage";
    case CodeSource::kWarning:
        break;
    }
    return "reported about a salvaged picture";
}

std::string sentence(std::string text) {
    if (!text.empty()) {
        text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
        text += text.back() == '?' ? "" : ".";
    }
    return text;
}

std::string paragraph(const CodeEntry& entry) {
    std::string text = std::string(entry.name) + " (" + std::to_string(entry.code) + "), " +
                       describe(entry.source) + "\n  " + sentence(entry.meaning) + '\n';
    if (*entry.next != '\0') {
        text += "  Next: " + sentence(entry.next) + '\n';
    }
    return text;
}

bool is_name_of(const CodeEntry& entry, std::string_view text) {
    const std::string_view name = entry.name;
    return std::equal(name.begin(), name.end(), text.begin(), text.end(), [](char left, char right) {
        return left == static_cast<char>(std::toupper(static_cast<unsigned char>(right)));
    });
}

bool is_number_of(const CodeEntry& entry, std::string_view text) {
    std::int32_t number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    return end.ec == std::errc() && end.ptr == text.data() + text.size() && number == entry.code;
}

} // namespace

const std::vector<CodeEntry>& all_codes() {
    static const std::vector<CodeEntry> kCodes = make_codes();
    return kCodes;
}

std::string explain_repair(std::int32_t code) {
    const CodeEntry* entry = find(code, code == 0 ? CodeSource::kAny : CodeSource::kRepair);
    return explain_entry(entry, "unknown result", code);
}

std::string explain_attempt(const std::string& engine, std::int32_t code) {
    return engine == kRawEngine && code != 0
               ? explain_entry(find(code, CodeSource::kRawRepair), "unknown result", code)
               : explain_repair(code);
}

const char* name_of_way(std::uint32_t way) {
    return kWayNames.at(way < kWayNames.size() ? way : 0);
}

std::uint32_t way_from_name(std::string_view name) {
    const auto* const found = std::find(kWayNames.begin(), kWayNames.end(), name);
    const auto way = static_cast<std::uint32_t>(found - kWayNames.begin());
    return way < kWayNames.size() ? way : std::uint32_t{RAW_MEND_WAY_NONE};
}

const char* explain_way(std::uint32_t way) {
    const CodeEntry* entry = find(static_cast<std::int32_t>(way), CodeSource::kWay);
    return entry == nullptr ? "in an unknown way" : entry->meaning;
}

std::vector<std::string> explain_bits(std::uint32_t bits, CodeSource source) {
    std::vector<std::string> lines;
    for (const CodeEntry& entry : all_codes()) {
        if (entry.source == source && (bits & static_cast<std::uint32_t>(entry.code)) != 0) {
            lines.emplace_back(entry.meaning);
        }
    }
    return lines;
}

std::string explain_salvage(std::int32_t code) {
    if (code == STILL_MEND_OK) {
        return explain_entry(nullptr, kPictureWritten.meaning, code);
    }
    return explain_entry(find(code, CodeSource::kSalvage), "the picture could not be salvaged", code);
}

std::string explain(std::string_view code) {
    std::string text;
    for (const CodeEntry& entry : all_codes()) {
        if (is_name_of(entry, code) || is_number_of(entry, code)) {
            text += paragraph(entry);
        }
    }
    return text;
}

} // namespace plate_mend::host
