#include "Commands.h"

#include "Codes.h"
#include "CommandLine.h"
#include "Diagnosis.h"
#include "SafeOutput.h"
#include "Worker.h"
#include "platform/Interrupt.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

int fail(const std::string& message) {
    std::cerr << "plate-mend: " << message << '\n';
    return kSomePartial;
}

/// How much of a salvaged picture is the photographer's own, in words.
std::string told(const SalvagedPicture& picture) {
    std::ostringstream text;
    text << picture.width << " x " << picture.height << " pixels, " << picture.blocks_own << " of "
         << picture.blocks << " blocks are the photographer's own";
    if (picture.blocks_coarse != 0) {
        text << ", " << picture.blocks_coarse << " of them without fine detail";
    }
    if (picture.blocks_guessed != 0) {
        text << ", " << picture.blocks_guessed << " more are shown where they fit best";
    }
    if (picture.first_bad_byte != STILL_MEND_NO_BAD_BYTE) {
        text << ", damage from byte " << picture.first_bad_byte << " on";
    }
    const bool coded_anew = (picture.warnings & STILL_MEND_REENCODED) != 0;
    text << (coded_anew ? ", coded anew" : ", coded data as the camera wrote them");
    return text.str();
}

int salvage(const SalvageOptions& options, const fs::path& program) {
    const fs::path damaged = path_from(options.damaged);
    const fs::path output = options.output.empty() ? fs::path(damaged).replace_extension(".salvaged.jpg")
                                                   : path_from(options.output);
    if (const auto refusal = refuse_output(output, {damaged}, options.force)) {
        return fail(*refusal);
    }
    const PrivateFolder folder(output);
    const fs::path made = folder.path() / "output.jpg";
    platform::remember_interrupts();
    const Workers workers({program, options.limits.seconds, options.limits.memory_mib << 20U}, {});
    const SalvagedPicture picture = workers.salvage(folder.path(), {damaged, made, {}});
    if (!picture.code) {
        return fail(options.damaged + ": " + picture.problem);
    }
    const std::int32_t code = *picture.code;
    if (code != STILL_MEND_OK && code != STILL_MEND_ONLY_THUMBNAIL) {
        return fail(options.damaged + ": " + explain_salvage(code));
    }
    deliver(made, output, options.force);
    std::cout << options.damaged << ": picture saved to " << utf8_from(output) << " (" << told(picture)
              << ")\n";
    return code == STILL_MEND_OK ? kAllWhole : fail(options.damaged + ": " + explain_salvage(code));
}

/// Runs a command, with exceptions of the library and of the file system as messages.
template <typename Command>
int guarded(const std::string& file, Command command) {
    try {
        return command();
    } catch (const Interrupted&) {
        return kInterrupted;
    } catch (const std::exception& e) {
        return fail(file + ": " + e.what());
    }
}

} // namespace

int run_salvage(const SalvageOptions& options, const fs::path& program) {
    return guarded(options.damaged, [&] { return salvage(options, program); });
}

int run_check(const std::vector<std::string>& files) {
    int status = kAllWhole;
    for (const std::string& file : files) {
        const int one = guarded(file, [&file] {
            const bool opens = CheckRawFile(file.c_str()) == PLATE_MEND_OK;
            std::cout << file << (opens ? ": opens" : ": does not open") << '\n';
            return opens ? kAllWhole : kSomePartial;
        });
        if (one != kAllWhole) {
            status = one;
        }
    }
    return status;
}

int run_diagnose(const DiagnoseOptions& options) {
    int status = kAllWhole;
    for (const std::string& file : options.files) {
        status = std::max(status, guarded(file, [&] {
                              const auto sample = options.sample.empty()
                                                      ? std::nullopt
                                                      : std::optional(path_from(options.sample));
                              const Diagnosis diagnosis = diagnose(path_from(file), sample);
                              std::cout << (options.json ? to_json(diagnosis) + "\n" : in_words(diagnosis));
                              return kAllWhole;
                          }));
    }
    return status;
}

int run_explain(const std::string& code) {
    const std::string text = explain(code);
    if (text.empty()) {
        return fail(code + ": no such code");
    }
    std::cout << text;
    return kAllWhole;
}

} // namespace plate_mend::host
