#include "cli/CommandLine.h"
#include "run/ExitStatus.h"

#include "cli/CheckCommand.h"
#include "cli/Completion.h"
#include "cli/DiagnoseCommand.h"
#include "cli/ExplainCommand.h"
#include "cli/ManPage.h"
#include "cli/ParserTree.h"
#include "cli/RepairCommand.h"
#include "cli/SalvageCommand.h"
#include "cli/Suggestion.h"
#include "repair/Worker.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <CLI/CLI.hpp>
#include <libraw/libraw.h>

#include <algorithm>
#include <iostream>
#include <sstream>

namespace plate_mend::host {

namespace {

constexpr const char* kFooter =
    R"(In a browser window, without any of this: plate-mend open
Example: IMG_0042.ARW is broken, IMG_0007.ARW from the same camera is intact.
  plate-mend repair --sample IMG_0007.ARW --out mended IMG_0042.ARW
writes mended/IMG_0042.ARW. For a folder of broken photographs and one of intact ones:
  plate-mend repair --samples good --out mended --report sheet.html broken
Without an intact photograph from the same camera:
  plate-mend salvage IMG_0042.ARW
writes the best picture inside the broken file to IMG_0042.salvaged.jpg.

Exit status: 0 all photographs are whole or were intact already, 1 some are only partly there or
only a JPEG, 2 some are lost, 3 some were not done (such as a full disk, or a file in the way),
64 wrong command line, 130 interrupted.)";

std::string version_text() {
    return std::string("plate-mend " PLATE_MEND_VERSION "\nLibRaw ") + LibRaw::version();
}

void add_limit_options(CLI::App& command, LimitOptions& limits) {
    command
        .add_option("--time-limit", limits.seconds, "Seconds that one step of one file may take; 0: no limit")
        ->capture_default_str()
        ->group("Limits");
    command
        .add_option("--memory-limit", limits.memory_mib,
                    "MiB that one step of one file may take; 0: no limit")
        ->capture_default_str()
        ->group("Limits");
}

void add_repair_inputs(CLI::App& command, RepairOptions& options) {
    command.add_option("PATH", options.paths, "Damaged photographs, and folders of them");
    command
        .add_option(
            "-s,--sample", options.samples,
            "An intact photograph from the same camera, or a folder of them; may be repeated (default: "
            "none)")
        ->allow_extra_args(false); // The next word is a path.
    command
        .add_option(
            "--samples", options.sample_folders,
            "A folder of intact photographs: those that fit best are tried for each file; may be repeated "
            "(default: none)")
        ->allow_extra_args(false); // The next word is a path.
    command
        .add_option("--ext", options.extensions,
                    "Take only files with these extensions from folders, such as arw,nef, whatever their "
                    "content (default: all in which something shows a RAW photograph)")
        ->delimiter(',')
        ->allow_extra_args(false);
    command.add_option(
        "--files-from", options.files_from,
        "Read further paths from this list: one per line, or JSON Lines; - is the standard input (default: "
        "none)");
    command.add_flag("-0,--null", options.list_ends_in_null,
                     "Each path in the list of --files-from ends in a NUL byte, as find -print0 writes them");
    command.add_option("--root", options.root,
                       "Results keep their folders below this one (default: the folder that all paths have "
                       "in common)");
    command.add_option("--max-samples", options.most_samples, "How many samples to try per file")
        ->capture_default_str();
}

void add_repair_outputs(CLI::App& command, RepairOptions& options) {
    command.add_option(
        "--out", options.out,
        "The folder for results, best on another disk (default: NAME.repaired.EXT beside each damaged file)");
    command.add_option("-o,--output", options.output,
                       "The file to write, for one damaged file (default: as for --out)");
    command.add_flag("--force", options.force, "Replace existing files, though never an input or a sample");
    command.add_flag("--no-fallback", options.no_fallback,
                     "Do not salvage a JPEG where a photograph is not whole");
    command.add_flag("--no-fill", options.no_fill,
                     "Leave lost pixels zero instead of filling them from their neighbours");
    command.add_flag(
        "--no-sidecar", options.no_sidecar,
        "Do not write NAME.xmp with the photograph's own date and settings, where they survive and "
        "are not in the result itself");
    command.add_option("--mask", options.mask,
                       "A PNG of what is lost, as large as the raw image: 0 the photograph's own pixels, 128 "
                       "doubtful, 255 lost; a file for one damaged file, or an ending such as .mask.png "
                       "for NAME.mask.png beside each result (default: none)");
    command.add_flag(
        "-n,--dry-run", options.dry_run,
        "Print what would be done with each file, and the room that results need; write nothing");
    command.add_flag("--resume", options.resume,
                     "Go on with a run: skip what the record in --out says is finished and unchanged");
    command.add_option("--task", options.task,
                       "This run's name, where several runs share one --out (default: run)");
    command.add_option("-j,--jobs", options.jobs, "Files at a time (default: one per processor)");
}

void add_repair_reports(CLI::App& command, RepairOptions& options) {
    constexpr const char* kGroup = "Reports";
    command
        .add_option(
            "--report", options.report,
            "A contact sheet: one HTML page with every picture and verdict; beyond 10 MiB its pictures "
            "are in a folder beside it, sheet_files for sheet.html; - is the standard output, with all "
            "pictures in the page (default: none)")
        ->group(kGroup);
    command
        .add_option("--json", options.json,
                    "One JSON object per file; - is the standard output (default: none)")
        ->group(kGroup);
    command
        .add_option("--csv", options.csv,
                    "A table, one line per file; - is the standard output (default: none)")
        ->group(kGroup);
    command
        .add_option("--log", options.log_directory,
                    "Existing folder for the library's log \"PlateMend.log\" (default: none)")
        ->group(kGroup);
    command
        .add_flag("-q,--quiet", options.quiet, "Print no per-file output, and the summary only on a terminal")
        ->group(kGroup);
}

/// The commands, their options, and the exit status of the one that ran.
class Program {
  public:
    Program(const std::filesystem::path& program, const Desktop& desktop)
        : program_(program), desktop_(desktop) {
        app_.footer(kFooter);
        app_.set_version_flag("--version", version_text());
        app_.require_subcommand(1);
        add_repair();
        add_open();
        add_salvage();
        add_check();
        add_diagnose();
        add_explain();
        add_man();
        add_completion();
        add_worker();
    }

    int run(const std::vector<std::string>& arguments) {
        try {
            std::vector<std::string> reversed(arguments.rbegin(), arguments.rend()); // As CLI11 expects.
            app_.parse(std::move(reversed));
        } catch (const CLI::ParseError& e) {
            return print_error(e, arguments);
        }
        return status_;
    }

  private:
    /// Prints help and messages about arguments. They repeat the arguments, so control characters are
    /// replaced.
    int print_error(const CLI::ParseError& error, const std::vector<std::string>& arguments) {
        std::ostringstream help;
        std::ostringstream message;
        const int code = app_.exit(error, help, message);
        print_lines(std::cout, help.str());
        print_lines(std::cerr, message.str());
        if (code == 0) {
            return kAllWhole;
        }
        if (const std::string meant = suggestion_for(command_tree_of(app_), arguments); !meant.empty()) {
            print_lines(std::cerr, "Did you mean " + meant + "?");
        }
        return kUsage;
    }

    static void print_lines(std::ostream& stream, const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            stream << printable(line) << '\n';
        }
        stream << std::flush;
    }

    void add_repair() {
        auto* command =
            app_.add_subcommand("repair", "Rebuild damaged photographs with the structure of intact samples");
        command->footer(kFooter);
        add_repair_inputs(*command, repair_);
        add_repair_outputs(*command, repair_);
        add_repair_reports(*command, repair_);
        add_limit_options(*command, repair_.limits);
        command->callback([this] {
            if (repair_.paths.empty() && repair_.files_from.empty()) {
                throw CLI::RequiredError("PATH or --files-from");
            }
            if (repair_.samples.empty() && repair_.sample_folders.empty()) {
                throw CLI::RequiredError("--sample or --samples");
            }
            status_ = run_repair(repair_, program_);
        });
    }

    void add_open() {
        auto* command = app_.add_subcommand("open", "Do the whole of the work on a page in your own browser");
        command->footer("The page comes from this program itself, and can be reached from this machine only. "
                        "It ends when the page says so, after an hour without it, or with Ctrl-C. A run that "
                        "was stopped can be resumed, there or with repair --resume.");
        command->add_option("FOLDER", open_.folder,
                            "A folder of damaged photographs (default: it is chosen on the page)");
        command->add_flag("--no-browser", open_.no_browser, "Print the address, and start no browser");
        command->callback([this] { status_ = run_open(open_, program_, desktop_); });
    }

    void add_salvage() {
        auto* command = app_.add_subcommand(
            "salvage", "Save the best picture from a damaged photograph or a damaged JPEG");
        command->footer(kFooter);
        command->add_option("DAMAGED", salvage_.damaged, "The damaged photograph")->required();
        command->add_option("-s,--sample", salvage_.sample,
                            "An intact photograph from the same camera, taken with the same settings: it "
                            "lends size and tables if the header is lost (default: none)");
        command->add_option("-o,--output", salvage_.output,
                            "The file to write (default: NAME.salvaged.jpg beside the damaged file)");
        command->add_flag("--force", salvage_.force, "Replace an existing output file");
        add_limit_options(*command, salvage_.limits);
        command->callback([this] { status_ = run_salvage(salvage_, program_); });
    }

    void add_check() {
        auto* command = app_.add_subcommand("check", "Report whether LibRaw opens each file");
        command->add_option("FILE", check_.files, "Photographs")->required();
        add_limit_options(*command, check_.limits);
        command->callback([this] { status_ = run_check(check_, program_); });
    }

    void add_diagnose() {
        auto* command =
            app_.add_subcommand("diagnose", "Report what is left of damaged files, and write nothing");
        command->add_option("FILE", diagnosis_.files, "Damaged photographs")->required();
        command->add_option("-s,--sample", diagnosis_.sample,
                            "An intact photograph from the same camera (default: none)");
        command->add_flag("--json", diagnosis_.json, "One JSON object per file");
        add_limit_options(*command, diagnosis_.limits);
        command->callback([this] { status_ = run_diagnose(diagnosis_, program_); });
    }

    void add_explain() {
        auto* command = app_.add_subcommand("explain", "Explain what a code means, and what to try next");
        command->add_option("CODE", code_, "A number, such as -1124, or a name from the headers")->required();
        command->callback([this] { status_ = run_explain(code_); });
    }

    void add_man() {
        auto* command = app_.add_subcommand("man", "Print the manual page");
        command->callback([this] { std::cout << man_page(command_tree_of(app_)); });
    }

    void add_completion() {
        auto* command = app_.add_subcommand("completion", "Print a shell's completion script");
        command->add_option("SHELL", shell_, "The shell")
            ->required()
            ->check(CLI::IsMember({"bash", "zsh", "fish"}));
        command->callback(
            [this] { std::cout << completion(command_tree_of(app_), shell_from_name(shell_).value()); });
    }

    /// Not for users: the program starts itself this way for tasks, the first of which is in the folder.
    void add_worker() {
        auto* command = app_.add_subcommand("worker", "")->group("");
        command->add_option("FOLDER", folder_)->required();
        command->callback([this] { status_ = serve(path_from(folder_)); });
    }

    CLI::App app_{"Rebuilds damaged camera RAW photographs: ARW, SR2, RAF, ORF, DNG, CR2, CR3, NEF, and "
                  "others by their content.",
                  "plate-mend"};
    const std::filesystem::path& program_;
    const Desktop& desktop_;
    RepairOptions repair_;
    OpenOptions open_;
    SalvageOptions salvage_;
    DiagnoseOptions diagnosis_;
    CheckOptions check_;
    std::string code_;
    std::string shell_;
    std::string folder_;
    int status_ = kAllWhole;
};

} // namespace

int run(const std::vector<std::string>& arguments, const std::filesystem::path& program,
        const Desktop& desktop) {
    if (arguments.empty() && desktop.has_started_program()) {
        return run_open({}, program, desktop);
    }
    return Program(program, desktop).run(arguments);
}

} // namespace plate_mend::host
