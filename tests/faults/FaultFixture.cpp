#include "faults/FaultFixture.h"

#include <plate_mend/plate_mend.h>
#include <quill_log/quill_log.h>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <map>

namespace test {

namespace {

namespace fs = std::filesystem;

std::function<void(std::string_view line)> listener_of_log;

} // namespace

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return outcome.code ? stream << *outcome.code : stream << outcome.exception;
}

const Endings& endings_of(std::string_view extension) {
    static const std::map<std::string_view, Endings> all{
        {"arw", {code(-1121), code(-1122), code(-1122), code(-1125)}},
        {"sr2", {code(-1131), code(-1132), code(-1132), code(-1135)}},
        {"raf", {code(-1151), code(-1152), code(-1152), code(-1155)}},
        {"orf", {code(-1141), code(-1142), code(-1142), code(-1146)}},
        {"dng", {code(-1022), code(-1023), code(-1026), code(0)}},
        {"cr2", {code(-1051), code(-1052), code(-1053), code(0)}},
        {"nef", {code(-1061), code(-1062), code(-1064), code(0)}},
        {"cr3", {code(0), code(-1094), code(-1094), exception("Visiting beyond boundaries")}}};
    return all.at(extension);
}

Fault::Fault() {
    fs::create_directory(work);
    fs::create_directory(output.parent_path());
    write_file(sample, pair.sample);
    write_file(damaged, pair.damaged);
    for (const fs::path& path : {folder.path(), work, output.parent_path(), sample, damaged}) {
        fs::permissions(path, fs::perms::all);
    }
    MndRawInit(utf8(work).c_str(), utf8(work).c_str(), utf8(work).c_str());
}

void Fault::TearDown() {
    listener_of_log = nullptr;
}

Outcome Fault::repair() const {
    try {
        return code(MndRawAdvanceRepair(utf8(damaged).c_str(), utf8(sample).c_str(), utf8(output).c_str()));
    } catch (const std::exception& e) {
        return exception(e.what());
    }
}

std::optional<Bytes> Fault::output_bytes() const {
    return fs::exists(output) ? std::optional(read_file(output)) : std::nullopt;
}

void Fault::expect_inputs_unchanged() const {
    EXPECT_EQ(read_file(sample), pair.sample);
    EXPECT_EQ(read_file(damaged), pair.damaged);
}

void Fault::on_log(std::function<void(std::string_view line)> listener) {
    listener_of_log = std::move(listener);
}

std::string pair_name(const ::testing::TestParamInfo<SmallPair>& pair) {
    return pair.param.name;
}

std::vector<SmallPair> one_pair_a_format() {
    std::vector<SmallPair> pairs;
    for (const SmallPair& pair : small_pairs()) {
        if (pairs.empty() || pairs.back().extension != pair.extension) {
            pairs.push_back(pair);
        }
    }
    return pairs;
}

} // namespace test

unsigned char InitLogEx(const char* /*config_directory*/, const char* /*module*/, const char* /*log_file*/) {
    return 1;
}

void LogEx(const char* /*module*/, int /*level*/, const char* format, ...) {
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (test::listener_of_log) {
        test::listener_of_log(text);
    }
}
