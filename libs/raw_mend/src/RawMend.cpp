#include <raw_mend/raw_mend.h>

#include "Attempt.h"
#include "Pictures.h"
#include "container/Describe.h"
#include "mend/Filling.h"
#include "platform/OutputFile.h"

#include <mapped_file/MappedFile.h>
#include <system_path/system_path.h>
#include <text_mode/TextMode.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace raw_mend {

namespace {

namespace fs = std::filesystem;

fs::path path_of(const char* utf8) {
    const std::string text(utf8);
    return system_path::reachable(fs::path(std::u8string(text.begin(), text.end())));
}

/// What a function returns; exceptions become codes.
template <typename Function>
std::int32_t result_of(const Function& function) noexcept {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return RAW_MEND_NO_MEMORY;
    } catch (...) {
        return RAW_MEND_INTERNAL;
    }
}

bool is_valid(const RawMendOptions& options) {
    constexpr std::uint32_t kFlags = RAW_MEND_NO_FILL | RAW_MEND_NO_OUTPUT;
    return (options.flags & ~kFlags) == 0 && options.reserved == 0;
}

bool wants_output(const RawMendOptions* options) {
    return options == nullptr || (options->flags & RAW_MEND_NO_OUTPUT) == 0;
}

Filling filling_of(const RawMendOptions* options) {
    return options != nullptr && (options->flags & RAW_MEND_NO_FILL) != 0 ? Filling::kZeros
                                                                          : Filling::kNeighbours;
}

std::int32_t write_file(const Splice& file, const fs::path& path) {
    OutputFile output;
    switch (output.create(path)) {
    case OutputFile::Created::kYes:
        break;
    case OutputFile::Created::kExists:
        return RAW_MEND_OUTPUT_EXISTS;
    case OutputFile::Created::kUnwritable:
        return RAW_MEND_OUTPUT_UNWRITABLE;
    }
    bool good = true;
    file.write([&](Bytes bytes) { good = good && output.write(bytes); });
    return good && output.finish() ? RAW_MEND_OK : RAW_MEND_OUTPUT_UNWRITABLE;
}

/// Whether a file begins with all bytes of another. Parts of the file itself, in their place, are not read.
bool begins_with(Bytes file, const Splice& beginning) {
    bool is_same = beginning.size() <= file.size();
    std::size_t done = 0;
    if (is_same) {
        beginning.write([&](Bytes bytes) {
            const Bytes there = file.subspan(done, bytes.size());
            is_same = is_same && (there.data() == bytes.data() || std::ranges::equal(there, bytes));
            done += bytes.size();
        });
    }
    return is_same;
}

/// The best result of all samples, and the index of its sample.
struct Best {
    std::unique_ptr<Attempt> attempt;
    std::uint32_t sample = 0;
};

Best try_samples(Bytes damaged, std::span<const char* const> samples, Filling filling) {
    Best best;
    for (std::uint32_t index = 0; index < samples.size(); ++index) {
        auto attempt = std::make_unique<Attempt>(damaged, path_of(samples[index]), filling);
        if (!best.attempt || attempt->is_better_than(*best.attempt)) {
            best = {std::move(attempt), index};
        }
        if (best.attempt->is_proved()) {
            break;
        }
    }
    return best;
}

/// What a repair reports.
struct Outcome {
    RawMendReport report{};
    std::vector<RawMendArea> areas;
};

/// Offsets are those in the file as it is.
void note_text_mode(const text_mode::TextMode& undone, RawMendReport& report) {
    report.notes |= RAW_MEND_TEXT_MODE_UNDONE;
    report.image_offset = undone.offset_in_file(static_cast<std::size_t>(report.image_offset));
}

/// Writes the output where one is wanted, and says in the report what it is like where none is.
std::int32_t finish(const Attempt& attempt, const std::optional<fs::path>& output_file, Bytes damaged,
                    RawMendReport& report) {
    report = attempt.report();
    if (output_file) {
        return write_file(attempt.file(), *output_file);
    }
    report.notes |= begins_with(damaged, attempt.file()) ? std::uint32_t{RAW_MEND_UNCHANGED} : 0U;
    return RAW_MEND_OK;
}

std::int32_t repair_file(const fs::path& damaged_file, std::span<const char* const> samples,
                         const std::optional<fs::path>& output_file, Filling filling, Outcome& outcome) {
    mapped_file::MappedFile damaged;
    if (!damaged.open(damaged_file) || damaged.bytes().empty()) {
        return RAW_MEND_DAMAGED_UNREADABLE;
    }
    // Asked before the search, which takes longer. That nothing is replaced does not depend on it.
    std::error_code ignored;
    if (output_file && fs::exists(system_path::status(*output_file, ignored))) {
        return RAW_MEND_OUTPUT_EXISTS;
    }
    const auto undone = text_mode::TextMode::undo(damaged.bytes());
    const Best best = try_samples(undone ? undone->bytes() : damaged.bytes(), samples, filling);
    if (best.attempt->result() != RAW_MEND_OK) {
        return best.attempt->result();
    }
    RawMendReport report{};
    const std::int32_t result = finish(*best.attempt, output_file, damaged.bytes(), report);
    if (result == RAW_MEND_OK) {
        outcome.report = report;
        outcome.report.sample = best.sample;
        outcome.areas = best.attempt->areas();
        if (undone) {
            note_text_mode(*undone, outcome.report);
        }
    }
    return result;
}

/// Maps a photograph and describes it. RAW_MEND_OK, or why it could not.
std::int32_t read_photograph(const fs::path& path, mapped_file::MappedFile& file,
                             std::optional<Description>& description) {
    if (!file.open(path) || file.bytes().empty()) {
        return RAW_MEND_SAMPLE_UNREADABLE;
    }
    description = describe(file.bytes());
    return description ? RAW_MEND_OK : RAW_MEND_SAMPLE_NOT_UNDERSTOOD;
}

std::int32_t pictures_of_file(const fs::path& path, std::span<RawMendPicture> pictures,
                              std::uint32_t& count) {
    mapped_file::MappedFile file;
    std::optional<Description> description;
    if (const auto failure = read_photograph(path, file, description); failure != RAW_MEND_OK) {
        return failure;
    }
    const auto all = list_pictures(file.bytes(), *description);
    std::ranges::copy(std::span(all).first(std::min(all.size(), pictures.size())), pictures.begin());
    count = static_cast<std::uint32_t>(
        std::min<std::size_t>(all.size(), std::numeric_limits<std::uint32_t>::max()));
    return RAW_MEND_OK;
}

std::int32_t replace_pictures(const fs::path& path, std::span<const RawMendPictureData> data,
                              const fs::path& output) {
    mapped_file::MappedFile file;
    std::optional<Description> description;
    if (const auto failure = read_photograph(path, file, description); failure != RAW_MEND_OK) {
        return failure;
    }
    if (description->raw.pieces.empty()) {
        return RAW_MEND_SAMPLE_NOT_UNDERSTOOD;
    }
    const auto replacements = replacements_of(file.bytes(), list_pictures(file.bytes(), *description), data);
    if (!replacements) {
        return RAW_MEND_BAD_ARGUMENT;
    }
    const auto copy = replace(file.bytes(), *description, *replacements);
    return copy ? write_file(*copy, output) : RAW_MEND_DOES_NOT_FIT;
}

} // namespace

} // namespace raw_mend

std::int32_t RawMendRepair(const char* damaged_file, const char* const* sample_files,
                           std::uint32_t sample_count, const char* output_file, RawMendReport* report) {
    return RawMendRepairImage(damaged_file, sample_files, sample_count, output_file, nullptr, report, nullptr,
                              0, nullptr);
}

std::int32_t RawMendRepairImage(const char* damaged_file, const char* const* sample_files,
                                std::uint32_t sample_count, const char* output_file,
                                const RawMendOptions* options, RawMendReport* report, RawMendArea* areas,
                                std::uint32_t capacity, std::uint32_t* area_count) {
    raw_mend::Outcome outcome;
    std::int32_t result = RAW_MEND_BAD_ARGUMENT;
    const std::span samples(sample_files, sample_files == nullptr ? 0 : sample_count);
    const bool has_output = raw_mend::wants_output(options);
    const bool is_complete = damaged_file != nullptr && (output_file != nullptr || !has_output) &&
                             !samples.empty() && std::ranges::find(samples, nullptr) == samples.end();
    const bool has_room = capacity == 0 || (areas != nullptr && area_count != nullptr);
    if (is_complete && has_room && (options == nullptr || raw_mend::is_valid(*options))) {
        result = raw_mend::result_of([&] {
            return raw_mend::repair_file(raw_mend::path_of(damaged_file), samples,
                                         has_output ? std::optional(raw_mend::path_of(output_file))
                                                    : std::nullopt,
                                         raw_mend::filling_of(options), outcome);
        });
    }
    if (report != nullptr) {
        *report = outcome.report;
    }
    if (area_count != nullptr) {
        *area_count = static_cast<std::uint32_t>(outcome.areas.size());
    }
    if (areas != nullptr) {
        std::ranges::copy_n(outcome.areas.begin(),
                            std::min<std::ptrdiff_t>(capacity, std::ssize(outcome.areas)), areas);
    }
    return result;
}

std::int32_t RawMendPictures(const char* file, RawMendPicture* pictures, std::uint32_t capacity,
                             std::uint32_t* count) {
    if (count == nullptr) {
        return RAW_MEND_BAD_ARGUMENT;
    }
    *count = 0;
    if (file == nullptr || (pictures == nullptr && capacity != 0)) {
        return RAW_MEND_BAD_ARGUMENT;
    }
    return raw_mend::result_of([&] {
        return raw_mend::pictures_of_file(raw_mend::path_of(file), {pictures, capacity}, *count);
    });
}

std::int32_t RawMendReplacePictures(const char* file, const RawMendPictureData* pictures, std::uint32_t count,
                                    const char* output_file) {
    if (file == nullptr || output_file == nullptr || (pictures == nullptr && count != 0)) {
        return RAW_MEND_BAD_ARGUMENT;
    }
    return raw_mend::result_of([&] {
        return raw_mend::replace_pictures(raw_mend::path_of(file), {pictures, count},
                                          raw_mend::path_of(output_file));
    });
}

const char* RawMendDescribe(std::int32_t result) {
    static constexpr std::array<const char*, 11> kSentences{
        "The photograph was repaired.",
        "A required argument is missing.",
        "The damaged file cannot be read.",
        "The sample cannot be read.",
        "The sample is not a photograph whose structure is understood.",
        "The damaged file holds no image like the sample's, or nothing shows where it is.",
        "The image was found, but the sample's tables have no room for its offsets or lengths.",
        "Something is at the output's path already.",
        "The output cannot be written, or the disk is full.",
        "Memory ran out.",
        "An unexpected error occurred.",
    };
    const bool is_known = result <= RAW_MEND_OK && result >= RAW_MEND_INTERNAL;
    return is_known ? kSentences[static_cast<std::size_t>(-result)] : "This result is not known.";
}
