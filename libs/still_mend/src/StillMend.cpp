#include <mapped_file/MappedFile.h>
#include <still_mend/still_mend.h>
#include <system_path/system_path.h>
#include <text_mode/TextMode.h>

#include "Salvage.h"
#include "Work.h"
#include "header/Hypotheses.h"
#include "output/Delivery.h"

#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using still_mend::Assessment;
using still_mend::Delivered;

fs::path path_of(const char* utf8) {
    const std::string text(utf8);
    return system_path::reachable(fs::path(std::u8string(text.begin(), text.end())));
}

std::uint32_t warnings_of(const Assessment& assessment, Delivered delivered) {
    const auto& hypothesis = assessment.hypothesis;
    std::uint32_t warnings = 0;
    const auto warn_if = [&warnings](bool condition, std::uint32_t bit) { warnings |= condition ? bit : 0U; };
    warn_if(hypothesis.candidate.damaged_header, STILL_MEND_HEADER_REBUILT);
    warn_if(hypothesis.tables_borrowed, STILL_MEND_TABLES_BORROWED);
    warn_if(hypothesis.tables_standard, STILL_MEND_TABLES_STANDARD);
    warn_if(hypothesis.frame_borrowed, STILL_MEND_FRAME_BORROWED);
    warn_if(assessment.interval_inferred, STILL_MEND_INTERVAL_INFERRED);
    warn_if(!assessment.eoi_found, STILL_MEND_END_ADDED);
    warn_if(assessment.own + assessment.guessed < assessment.total, STILL_MEND_PARTS_LOST);
    warn_if(assessment.resynchronised, STILL_MEND_RESYNCHRONISED);
    warn_if(delivered == Delivered::kReencoded, STILL_MEND_REENCODED);
    warn_if(hypothesis.from_sample && (hypothesis.tables_borrowed || hypothesis.frame_borrowed),
            STILL_MEND_FROM_SAMPLE);
    return warnings;
}

StillMendReport report_of(const Assessment& assessment, Delivered delivered) {
    const auto& candidate = assessment.hypothesis.candidate;
    StillMendReport report{};
    report.width = candidate.frame->width;
    report.height = candidate.frame->height;
    report.mcu_count = assessment.total;
    report.own_mcu_count = assessment.own;
    report.coarse_mcu_count = assessment.coarse;
    report.guessed_mcu_count = static_cast<std::uint32_t>(assessment.guessed);
    report.picture_offset = candidate.offset;
    const bool sound = delivered == Delivered::kUnchanged && assessment.own == assessment.total;
    report.first_bad_byte = sound ? STILL_MEND_NO_BAD_BYTE : assessment.first_bad;
    report.warnings = warnings_of(assessment, delivered);
    return report;
}

/// The picture is whole, but the file was not.
void note_order(const still_mend::OrderedFile& ordered, StillMendReport& report) {
    report.warnings |= STILL_MEND_PUT_IN_ORDER;
    report.first_bad_byte = ordered.first_moved;
}

/// Offsets are those in the file as it is.
void note_text_mode(const text_mode::TextMode& undone, StillMendReport& report) {
    report.warnings |= STILL_MEND_TEXT_MODE_UNDONE;
    report.picture_offset = undone.offset_in_file(report.picture_offset);
    report.first_bad_byte = undone.first_change();
}

/// Without a sample if there is no name.
std::int32_t repair(const char* damaged, const char* sample_name, const char* output_name,
                    StillMendReport& report) {
    if (damaged == nullptr) {
        return STILL_MEND_INPUT_UNREADABLE;
    }
    if (output_name == nullptr) {
        return STILL_MEND_OUTPUT_UNWRITABLE;
    }
    const fs::path output = path_of(output_name);
    mapped_file::MappedFile file;
    if (!file.open(path_of(damaged))) {
        return STILL_MEND_INPUT_UNREADABLE;
    }
    mapped_file::MappedFile sample;
    if (sample_name != nullptr &&
        (!sample.open(path_of(sample_name)) || still_mend::find_donors(sample.bytes()).empty())) {
        return STILL_MEND_SAMPLE_UNUSABLE;
    }
    const auto undone = text_mode::TextMode::undo(file.bytes());
    still_mend::Work::add(undone ? file.bytes().size() : 0);
    const still_mend::Bytes bytes = undone ? undone->bytes() : file.bytes();
    const auto find =
        still_mend::find_best(bytes, sample_name != nullptr ? sample.bytes() : still_mend::Bytes());
    if (!find) {
        return STILL_MEND_NOTHING_FOUND;
    }
    const Delivered delivered = still_mend::deliver(find->bytes(bytes), find->assessment, output);
    if (delivered == Delivered::kUnwritable) {
        return STILL_MEND_OUTPUT_UNWRITABLE;
    }
    if (delivered == Delivered::kUndecodable) {
        return STILL_MEND_NOTHING_FOUND;
    }
    report = report_of(find->assessment, delivered);
    if (find->ordered) {
        note_order(*find->ordered, report);
    }
    if (undone) {
        note_text_mode(*undone, report);
    }
    return find->thumbnail ? STILL_MEND_ONLY_THUMBNAIL : STILL_MEND_OK;
}

/// No exception leaves the library.
std::int32_t repair_safely(const char* damaged, const char* sample, const char* output,
                           StillMendReport* report) {
    StillMendReport filled{};
    std::int32_t result = STILL_MEND_INTERNAL;
    try {
        result = repair(damaged, sample, output, filled);
    } catch (...) {
        result = STILL_MEND_INTERNAL;
    }
    if (report != nullptr) {
        *report = filled;
    }
    return result;
}

} // namespace

std::int32_t MndJpegGeneralRepair(const char* damaged_file, const char* output_file) {
    return MndJpegGeneralRepairReport(damaged_file, output_file, nullptr);
}

std::int32_t MndJpegGeneralRepairReport(const char* damaged_file, const char* output_file,
                                        StillMendReport* report) {
    return repair_safely(damaged_file, nullptr, output_file, report);
}

std::int32_t MndJpegSampleRepair(const char* damaged_file, const char* sample_file, const char* output_file,
                                 StillMendReport* report) {
    return repair_safely(damaged_file, sample_file == nullptr ? "" : sample_file, output_file, report);
}
