#include "cli/SalvageCommand.h"

#include "cli/FileCommands.h"
#include "files/SafeOutput.h"
#include "files/WorkingCopy.h"
#include "platform/Interrupt.h"
#include "record/Codes.h"
#include "repair/Workers.h"
#include "report/Notes.h"
#include "report/Words.h"
#include "run/ExitStatus.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <still_mend/still_mend.h>

#include <iostream>
#include <sstream>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// How much of a salvaged picture is the photographer's own.
std::string describe(const SalvagedPicture& picture) {
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
    text << (coded_anew ? ", re-encoded" : ", coded data as the camera wrote them");
    return text.str();
}

int salvage(const SalvageOptions& options, const fs::path& program) {
    const fs::path damaged = path_from(options.damaged);
    const fs::path output = options.output.empty() ? fs::path(damaged).replace_extension(".salvaged.jpg")
                                                   : path_from(options.output);
    const fs::path sample = options.sample.empty() ? fs::path() : path_from(options.sample);
    Protected inputs;
    inputs.add(damaged);
    if (!sample.empty()) {
        inputs.add(sample);
    }
    if (inputs.covers(output)) {
        complain(utf8_from(output) + ": the output is also an input");
        return kUsage;
    }
    if (const auto refusal = refuse_output(output, inputs, options.force)) {
        complain(*refusal);
        return kSomeNotDone;
    }
    platform::remember_interrupts();
    clear_stale_folders(folder_of(output));
    const PrivateFolder folder(folder_of(output));
    const fs::path copy = folder.path() / "damaged";
    const fs::path result = folder.path() / "output.jpg";
    const CopiedFile copied = copy_readable(damaged, copy);
    fs::resize_file(copy, copied.size);
    Notes notes;
    const Workers workers({program, options.limits.seconds, options.limits.memory_mib << 20U, &notes});
    const fs::path reachable = sample.empty() ? fs::path() : reachable_name(sample, folder.path(), "sample");
    const SalvagedPicture picture = workers.salvage(folder.path(), {copy, result, {}, reachable});
    const std::int32_t code = picture.code.value_or(STILL_MEND_INTERNAL);
    if (code != STILL_MEND_OK && code != STILL_MEND_ONLY_THUMBNAIL) {
        complain(options.damaged + ": " + (picture.code ? explain_salvage(code) : picture.problem));
        return code == STILL_MEND_SAMPLE_UNUSABLE ? kSomeNotDone : kSomeLost;
    }
    deliver(result, output, inputs, options.force);
    if (!copied.unreadable.empty()) {
        notes.add(options.damaged + ": " + describe_unreadable(copied.unreadable));
    }
    std::cout << printable(options.damaged) << ": picture saved to " << printable(utf8_from(output)) << " ("
              << describe(picture) << ")\n";
    if (code == STILL_MEND_ONLY_THUMBNAIL) {
        return fail(options.damaged + ": " + explain_salvage(code));
    }
    const bool is_whole = picture.blocks_own == picture.blocks && picture.blocks_coarse == 0;
    return is_whole ? kAllWhole : kSomePartial;
}

} // namespace

int run_salvage(const SalvageOptions& options, const fs::path& program) {
    return run_for_file(options.damaged, [&] { return salvage(options, program); });
}

} // namespace plate_mend::host
