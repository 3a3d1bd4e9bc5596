#include "cli/RepairCommand.h"

#include "files/Failures.h"
#include "platform/Interrupt.h"
#include "report/Notes.h"
#include "run/ExitStatus.h"
#include "run/PathList.h"
#include "run/RepairRun.h"
#include "run/UsageError.h"

namespace plate_mend::host {

namespace {

int complain_about(const std::exception& e, int status) {
    complain(describe_error(e));
    return status;
}

} // namespace

int run_repair(const RepairOptions& options, const std::filesystem::path& program,
               const std::function<bool(const std::filesystem::path&)>& is_removable) {
    try {
        platform::remember_interrupts();
        Notes notes;
        return run_repairs(options, {program, is_removable, notes});
    } catch (const UsageError& e) {
        return complain_about(e, kUsage);
    } catch (const ListError& e) {
        return complain_about(e, kUsage);
    } catch (const Interrupted&) {
        return kInterrupted;
    } catch (const std::exception& e) {
        return complain_about(e, kSomeNotDone);
    }
}

} // namespace plate_mend::host
