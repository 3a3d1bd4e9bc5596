#include "Commands.h"

#include "Codes.h"
#include "CommandLine.h"
#include "SafeOutput.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

int fail(const std::string& message) {
    std::cerr << "plate-mend: " << message << '\n';
    return kFailed;
}

/// "photo.arw" with ".repaired" and nothing gives "photo.repaired.arw"; with ".salvaged" and ".jpg" it gives
/// "photo.salvaged.jpg".
fs::path name_beside(const fs::path& file, const std::string& middle, const std::string& extension) {
    fs::path name = file.stem();
    name += middle;
    if (extension.empty()) {
        name += file.extension();
    } else {
        name += extension;
    }
    return file.parent_path() / name;
}

/// Starts the library in a private folder. Where nobody wants a log it is sent to a folder that is not there:
/// an open log would keep Windows from removing the private folder.
void start_library(const PrivateFolder& folder, const std::string& log_directory) {
    const std::string work = utf8_from(folder.path());
    const std::string log = log_directory.empty() ? work + "/no-log" : log_directory;
    if (MndRawInit(log.c_str(), log.c_str(), work.c_str()) != PLATE_MEND_OK && !log_directory.empty()) {
        throw std::runtime_error(log + ": no log can be written there");
    }
}

int repair(const RepairOptions& options) {
    const fs::path damaged = path_from(options.damaged);
    const fs::path sample = path_from(options.sample);
    const fs::path output = options.output.output.empty() ? name_beside(damaged, ".repaired", "")
                                                          : path_from(options.output.output);
    if (const auto refusal = refuse_output(output, {damaged, sample}, options.output.force)) {
        return fail(*refusal);
    }
    const PrivateFolder folder(output);
    start_library(folder, options.log_directory);
    const fs::path made = folder.path() / "output";
    const auto code =
        MndRawAdvanceRepair(options.damaged.c_str(), options.sample.c_str(), utf8_from(made).c_str());
    if (code != PLATE_MEND_OK) {
        return fail(options.damaged + ": " + explain_repair(code));
    }
    deliver(made, output, options.output.force);
    if (CheckRawFile(utf8_from(output).c_str()) != PLATE_MEND_OK) {
        return fail(utf8_from(output) +
                    ": written, but LibRaw does not open it. Is the sample from the same camera?");
    }
    std::cout << options.damaged << ": repaired to " << utf8_from(output) << '\n';
    return kSucceeded;
}

/// How much of a salvaged picture is the photographer's own, in words.
std::string told(const StillMendReport& report) {
    std::ostringstream text;
    text << report.width << " x " << report.height << " pixels, " << report.own_mcu_count << " of "
         << report.mcu_count << " blocks are the photographer's own";
    if (report.coarse_mcu_count != 0) {
        text << ", " << report.coarse_mcu_count << " of them without fine detail";
    }
    if (report.first_bad_byte != STILL_MEND_NO_BAD_BYTE) {
        text << ", damage from byte " << report.first_bad_byte << " on";
    }
    const bool coded_anew = (report.warnings & STILL_MEND_REENCODED) != 0;
    text << (coded_anew ? ", coded anew" : ", coded data as the camera wrote them");
    return text.str();
}

int salvage(const SalvageOptions& options) {
    const fs::path damaged = path_from(options.damaged);
    const fs::path output = options.output.output.empty() ? name_beside(damaged, ".salvaged", ".jpg")
                                                          : path_from(options.output.output);
    if (const auto refusal = refuse_output(output, {damaged}, options.output.force)) {
        return fail(*refusal);
    }
    const PrivateFolder folder(output);
    const fs::path made = folder.path() / "output";
    // The salvager itself takes any file, and tells more than a code.
    StillMendReport report{};
    const auto code = MndJpegGeneralRepairReport(options.damaged.c_str(), utf8_from(made).c_str(), &report);
    if (code != STILL_MEND_OK && code != STILL_MEND_ONLY_THUMBNAIL) {
        return fail(options.damaged + ": " + explain_salvage(code));
    }
    deliver(made, output, options.output.force);
    std::cout << options.damaged << ": picture saved to " << utf8_from(output) << " (" << told(report)
              << ")\n";
    return code == STILL_MEND_OK ? kSucceeded : fail(options.damaged + ": " + explain_salvage(code));
}

/// Runs a command, with exceptions of the library and of the file system as messages.
template <typename Command>
int guarded(const std::string& file, Command command) {
    try {
        return command();
    } catch (const std::exception& e) {
        return fail(file + ": " + e.what());
    }
}

} // namespace

int run_repair(const RepairOptions& options) {
    return guarded(options.damaged, [&] { return repair(options); });
}

int run_salvage(const SalvageOptions& options) {
    return guarded(options.damaged, [&] { return salvage(options); });
}

int run_check(const std::vector<std::string>& files) {
    int status = kSucceeded;
    for (const std::string& file : files) {
        const int one = guarded(file, [&file] {
            const bool opens = CheckRawFile(file.c_str()) == PLATE_MEND_OK;
            std::cout << file << (opens ? ": opens" : ": does not open") << '\n';
            return opens ? kSucceeded : kFailed;
        });
        if (one != kSucceeded) {
            status = one;
        }
    }
    return status;
}

} // namespace plate_mend::host
