#include "Codes.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

namespace plate_mend::host {

namespace {

constexpr const char* kInputMissing = "the damaged file or the sample does not exist";
constexpr const char* kCloneFailed = "the sample could not be copied; is there room beside the output?";
constexpr const char* kMapFailed =
    "the sample or the damaged file is empty, or this program may not write to it";
constexpr const char* kBadSample =
    "the sample is not usable; take another whole photograph from the same camera";
constexpr const char* kNotFound =
    "the damaged file has lost the entries that lead to its image; try 'plate-mend salvage'";
constexpr const char* kOutOfRange =
    "the sample or the damaged file ends too early; take another sample, or try 'plate-mend salvage'";
constexpr const char* kDamagedCut =
    "the damaged file ends too early or has lost what leads to its image; try 'plate-mend salvage'";
constexpr const char* kMergeFailed =
    "the parts of the two files could not be joined; is the sample from the same camera?";

const char* meaning(std::int32_t code) {
    switch (code) {
    case PLATE_MEND_UNKNOWN:
        return "no format is known for this extension; known are arw, raw, sr2, raf, orf, dng, cr2, nef, cr3";
    case PLATE_MEND_DNG_INPUT_MISSING:
    case PLATE_MEND_CR2_INPUT_MISSING:
    case PLATE_MEND_NEF_INPUT_MISSING:
    case PLATE_MEND_CR3_INPUT_MISSING:
    case PLATE_MEND_ARW_INPUT_MISSING:
    case PLATE_MEND_SR2_INPUT_MISSING:
    case PLATE_MEND_ORF_INPUT_MISSING:
    case PLATE_MEND_RAF_INPUT_MISSING:
        return kInputMissing;
    case PLATE_MEND_DNG_CLONE_FAILED:
    case PLATE_MEND_CR2_CLONE_FAILED:
    case PLATE_MEND_NEF_CLONE_FAILED:
    case PLATE_MEND_ARW_CLONE_FAILED:
    case PLATE_MEND_SR2_CLONE_FAILED:
    case PLATE_MEND_ORF_CLONE_FAILED:
    case PLATE_MEND_RAF_CLONE_FAILED:
        return kCloneFailed;
    case PLATE_MEND_ARW_MAP_FAILED:
    case PLATE_MEND_SR2_MAP_FAILED:
    case PLATE_MEND_ORF_MAP_FAILED:
    case PLATE_MEND_RAF_MAP_FAILED:
        return kMapFailed;
    case PLATE_MEND_DNG_SAMPLE_UNUSABLE:
    case PLATE_MEND_CR2_SAMPLE_UNUSABLE:
    case PLATE_MEND_NEF_SAMPLE_UNUSABLE:
    case PLATE_MEND_CR3_SAMPLE_UNUSABLE:
    case PLATE_MEND_ARW_SAMPLE_UNUSABLE:
    case PLATE_MEND_SR2_SAMPLE_UNUSABLE:
    case PLATE_MEND_ORF_SAMPLE_UNUSABLE:
    case PLATE_MEND_ORF_SAMPLE_ILLEGAL:
    case PLATE_MEND_RAF_SAMPLE_UNUSABLE:
    case PLATE_MEND_RAF_SAMPLE_NOT_FOUND:
        return kBadSample;
    case PLATE_MEND_DNG_NOT_FOUND:
    case PLATE_MEND_NEF_NOT_FOUND:
    case PLATE_MEND_CR3_NOT_FOUND:
    case PLATE_MEND_CR3_LANDMARKS_MISPLACED:
    case PLATE_MEND_ARW_NOT_FOUND:
    case PLATE_MEND_SR2_NOT_FOUND:
    case PLATE_MEND_ORF_NOT_FOUND:
        return kNotFound;
    case PLATE_MEND_DNG_DAMAGED_UNUSABLE:
    case PLATE_MEND_CR2_DAMAGED_UNUSABLE:
    case PLATE_MEND_NEF_DAMAGED_UNUSABLE:
    case PLATE_MEND_ORF_OUT_OF_RANGE:
        return kDamagedCut;
    case PLATE_MEND_CR3_OUT_OF_RANGE:
    case PLATE_MEND_ARW_OUT_OF_RANGE:
    case PLATE_MEND_SR2_OUT_OF_RANGE:
    case PLATE_MEND_RAF_OUT_OF_RANGE:
        return kOutOfRange;
    case PLATE_MEND_CR3_MISMATCH:
    case PLATE_MEND_DNG_MERGE_FAILED:
    case PLATE_MEND_CR2_MERGE_FAILED:
    case PLATE_MEND_NEF_MERGE_FAILED:
    case PLATE_MEND_ARW_MERGE_FAILED:
    case PLATE_MEND_SR2_MERGE_FAILED:
    case PLATE_MEND_ORF_MERGE_FAILED:
    case PLATE_MEND_RAF_MERGE_FAILED:
        return kMergeFailed;
    default:
        return "unknown result";
    }
}

std::string with_number(const char* text, std::int32_t code) {
    return std::string(text) + " (code " + std::to_string(code) + ")";
}

} // namespace

std::string explain_repair(std::int32_t code) {
    return with_number(meaning(code), code);
}

std::string explain_salvage(std::int32_t code) {
    switch (code) {
    case STILL_MEND_INPUT_UNREADABLE:
        return with_number("the file cannot be read", code);
    case STILL_MEND_NOTHING_FOUND:
        return with_number("no picture is left in this file; with a sample, try 'plate-mend repair'", code);
    case STILL_MEND_OUTPUT_UNWRITABLE:
        return with_number("the picture could not be written", code);
    case STILL_MEND_ONLY_THUMBNAIL:
        return with_number("only a thumbnail is left; with a sample, try 'plate-mend repair'", code);
    default:
        return with_number("the picture could not be salvaged", code);
    }
}

} // namespace plate_mend::host
