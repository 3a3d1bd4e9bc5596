#include "host/Outcome.h"

#include "host/ProgramFile.h"
#include "support/Bytes.h"
#include "support/TempDir.h"

#include "cli/CommandLine.h"
#include "record/RecordJson.h"

#include <raw_mend/raw_mend.h>

#include <fstream>
#include <stdexcept>

namespace test {

using plate_mend::host::Record;
using plate_mend::host::Verdict;

std::vector<Record> read_records(const std::filesystem::path& file) {
    std::vector<Record> records;
    std::ifstream lines(file, std::ios::binary);
    for (std::string line; std::getline(lines, line);) {
        records.push_back(plate_mend::host::from_json_line(line).value());
    }
    return records;
}

std::vector<Record> repair_all(std::vector<std::string> options, const std::filesystem::path& folder) {
    const auto file = folder / "records.jsonl";
    options.insert(options.begin(), {"repair", "--quiet", "--json", utf8(file)});
    const int status = plate_mend::host::run(options, program_file());
    if (status > 2) {
        const Bytes records = std::filesystem::exists(file) ? read_file(file) : Bytes();
        throw std::runtime_error("the program returned " + std::to_string(status) + ":\n" +
                                 std::string(records.begin(), records.end()));
    }
    return read_records(file);
}

bool is_called_whole(const Record& record) {
    return record.verdict == Verdict::kWhole || record.verdict == Verdict::kIntact;
}

bool is_guess(const Record& record) {
    const auto* taken = record.taken();
    return taken != nullptr && taken->image && (taken->image->notes & RAW_MEND_PLACES_GUESSED) != 0;
}

std::optional<double> promised_share(const Record& record) {
    const auto* taken = record.taken();
    return record.verdict == Verdict::kPartial && taken != nullptr ? taken->judgement.share() : std::nullopt;
}

bool counts_pixels(const Record& record) {
    const auto* taken = record.taken();
    return taken != nullptr && taken->judgement.pixels_good;
}

} // namespace test
