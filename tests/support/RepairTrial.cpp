#include "support/RepairTrial.h"

#include <plate_mend/plate_mend.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <sstream>
#include <string_view>

namespace test {

namespace {

std::string about_output(const Bytes& expected, const Bytes& output) {
    const auto differs = std::mismatch(expected.begin(), expected.end(), output.begin(), output.end());
    std::ostringstream text;
    text << "the output has " << output.size() << " bytes, expected are " << expected.size()
         << "; they differ from offset " << differs.first - expected.begin() << " on";
    return text.str();
}

} // namespace

void RepairTrial::Input::put(const Bytes& wanted) {
    if (bytes != wanted) {
        write_file(path, wanted);
        bytes = wanted;
    }
}

RepairTrial::RepairTrial(const oracle::Format& format, const std::filesystem::path& folder)
    : format_(format) {
    const std::string extension(format.extension);
    sample_.path = folder / ("sample." + extension);
    damaged_.path = folder / ("damaged." + extension);
    output_ = folder / ("output." + extension);
    temporary_ = folder / ("temp." + extension);
    const std::string work = utf8(folder);
    MndRawInit(work.c_str(), work.c_str(), work.c_str());
}

std::string RepairTrial::complaint(const Bytes& sample, const Bytes& damaged) {
    sample_.put(sample);
    damaged_.put(damaged);
    std::optional<std::int32_t> code; // Nothing: the one exception that is allowed.
    try {
        code = MndRawAdvanceRepair(utf8(damaged_.path).c_str(), utf8(sample_.path).c_str(),
                                   utf8(output_).c_str());
    } catch (const std::exception& e) {
        if (format_.extension != "cr3" || e.what() != std::string_view("Data can not found")) {
            return std::string("an exception: ") + e.what();
        }
    }
    if (code && *code != 0 && (*code > format_.highest_code || *code < format_.lowest_code)) {
        return "the code is " + std::to_string(*code);
    }
    if (!sample_.is_unchanged() || !damaged_.is_unchanged()) {
        return "an input has changed";
    }
    const oracle::Expected expected = format_.repaired(sample, damaged);
    const bool repaired = code == 0;
    if (repaired != expected.has_value()) {
        return repaired
                   ? "0, where the repair must fail"
                   : "code " + (code ? std::to_string(*code) : "none") + ", where the repair must succeed";
    }
    if (!repaired) {
        return {};
    }
    const Bytes output = read_file(output_);
    if (output != *expected) {
        return about_output(*expected, output);
    }
    return std::filesystem::exists(temporary_) ? "the temporary file is still there" : "";
}

} // namespace test
