#include "cli/Commands.h"
#include "cli/ExitStatus.h"

#include "diagnose/Diagnosis.h"
#include "files/Failures.h"
#include "files/SafeOutput.h"
#include "files/WorkingCopy.h"
#include "platform/Files.h"
#include "platform/Interrupt.h"
#include "repair/Worker.h"
#include "report/Codes.h"
#include "report/Notes.h"
#include "report/Words.h"
#include "text/Text.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <optional>
#include <sstream>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

int fail(const std::string& message) {
    complain(message);
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
    Protected inputs;
    inputs.add(damaged);
    if (const auto refusal = refuse_output(output, inputs, options.force)) {
        return fail(*refusal);
    }
    platform::remember_interrupts();
    clear_stale_folders(folder_of(output));
    const PrivateFolder folder(folder_of(output));
    const fs::path copy = folder.path() / "damaged";
    const fs::path made = folder.path() / "output.jpg";
    const CopiedFile copied = copy_what_is_readable(damaged, copy);
    fs::resize_file(copy, copied.size);
    Notes notes;
    const Workers workers({program, options.limits.seconds, options.limits.memory_mib << 20U, &notes});
    const SalvagedPicture picture = workers.salvage(folder.path(), {copy, made, {}});
    if (!picture.code) {
        return fail(options.damaged + ": " + picture.problem);
    }
    const std::int32_t code = *picture.code;
    if (code != STILL_MEND_OK && code != STILL_MEND_ONLY_THUMBNAIL) {
        return fail(options.damaged + ": " + explain_salvage(code));
    }
    deliver(made, output, inputs, options.force);
    if (!copied.unreadable.empty()) {
        notes.add(options.damaged + ": " + unreadable_in_words(copied.unreadable));
    }
    std::cout << printable(options.damaged) << ": picture saved to " << printable(utf8_from(output)) << " ("
              << told(picture) << ")\n";
    return code == STILL_MEND_OK ? kAllWhole : fail(options.damaged + ": " + explain_salvage(code));
}

/// Runs a command on one file, with exceptions as messages.
template <typename Command>
int guarded(const std::string& file, Command command) {
    try {
        return command();
    } catch (const Interrupted&) {
        return kInterrupted;
    } catch (const MachineFailure& e) {
        complain(file + ": " + e.what());
        return kSomeNotDone;
    } catch (const std::system_error& e) {
        complain(file + ": " + reason_in_words(e));
        return kSomeNotDone;
    } catch (const std::bad_alloc& e) {
        complain(file + ": " + reason_in_words(e));
        return kSomeNotDone;
    } catch (const std::exception& e) {
        return fail(file + ": " + reason_in_words(e));
    }
}

/// False where nothing is. Throws MachineFailure for what cannot be read.
bool is_there_to_read(const fs::path& file) {
    try {
        if (!platform::stamp_of(file)) {
            return false;
        }
        const platform::SourceFile source(file);
        return true;
    } catch (const std::system_error& e) {
        throw MachineFailure("cannot be read", e.code());
    }
}

} // namespace

int run_salvage(const SalvageOptions& options, const fs::path& program) {
    return guarded(options.damaged, [&] { return salvage(options, program); });
}

namespace {

/// Calls look(file, workers, folder) for each file, with a working folder on another disk than the file's:
/// nothing is written there. Returns the worst status.
template <typename LookAt>
int look_at_each(const std::vector<std::string>& files, const LimitOptions& limits, const fs::path& program,
                 LookAt look_at) {
    platform::remember_interrupts();
    Notes notes;
    const Workers workers({program, limits.seconds, limits.memory_mib << 20U, &notes});
    int status = kAllWhole;
    std::error_code none;
    clear_stale_folders(fs::temp_directory_path(none));
    for (const std::string& file : files) {
        const int one = guarded(file, [&] {
            const PrivateFolder folder(fs::temp_directory_path());
            return look_at(file, workers, folder.path());
        });
        if (one == kInterrupted) {
            return one;
        }
        status = std::max(status, one);
    }
    return status;
}

} // namespace

int run_check(const std::vector<std::string>& files, const LimitOptions& limits, const fs::path& program) {
    return look_at_each(
        files, limits, program, [](const std::string& file, const Workers& workers, const fs::path& folder) {
            const auto look = is_there_to_read(path_from(file))
                                  ? workers.check(folder, reachable_name(path_from(file), folder, "file"))
                                  : Workers::Look{.opens = false, .text = {}, .problem = "no such file"};
            std::cout << printable(file) << (look.opens ? ": opens" : ": does not open")
                      << (look.problem.empty() ? "" : " (" + printable(look.problem) + ")") << '\n';
            return look.opens ? kAllWhole : kSomePartial;
        });
}

int run_diagnose(const DiagnoseOptions& options, const fs::path& program) {
    return look_at_each(options.files, options.limits, program,
                        [&](const std::string& file, const Workers& workers, const fs::path& folder) {
                            const auto look = workers.diagnose(
                                folder, {path_from(file), path_from(options.sample), options.json});
                            if (!look.problem.empty()) {
                                return fail(look.problem);
                            }
                            std::cout << look.text;
                            return kAllWhole;
                        });
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
