#include "CommandLine.h"

#include "Commands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace plate_mend::host {

namespace {

constexpr const char* kFooter =
    R"(Example: IMG_0042.ARW is broken, IMG_0007.ARW from the same camera is whole.
  plate-mend repair --sample IMG_0007.ARW IMG_0042.ARW
writes IMG_0042.repaired.ARW. Without a whole photograph from the same camera:
  plate-mend salvage IMG_0042.ARW
writes the best picture inside the broken file to IMG_0042.salvaged.jpg.

Exit status: 0 when everything succeeded, 1 when something did not, 64 for a wrong command line.)";

void add_output_options(CLI::App& command, OutputOptions& options, const std::string& by_default) {
    command.add_option("-o,--output", options.output, "The file to write (default: " + by_default + ")");
    command.add_flag("--force", options.force, "Replace an existing output file");
}

} // namespace

int run(const std::vector<std::string>& arguments) {
    CLI::App app{"Rebuilds damaged camera RAW photographs: ARW, SR2, RAF, ORF, DNG, CR2, CR3, NEF.",
                 "plate-mend"};
    app.footer(kFooter);
    app.set_version_flag("--version", "plate-mend " PLATE_MEND_VERSION);
    app.require_subcommand(1);
    int status = kSucceeded;

    RepairOptions repair;
    auto* repair_command =
        app.add_subcommand("repair", "Join a damaged photograph's image to a sample's structure");
    repair_command->footer(kFooter);
    repair_command->add_option("-s,--sample", repair.sample, "A whole photograph from the same camera")
        ->required();
    repair_command->add_option("--log", repair.log_directory,
                               "Folder for the log \"PlateMend.log\" (default: none)");
    add_output_options(*repair_command, repair.output, "NAME.repaired.EXT beside the damaged file");
    repair_command->add_option("DAMAGED", repair.damaged, "The damaged photograph")->required();
    repair_command->callback([&] { status = run_repair(repair); });

    SalvageOptions salvage;
    auto* salvage_command =
        app.add_subcommand("salvage", "Save the best JPEG inside a damaged photograph, or of a damaged JPEG");
    salvage_command->footer(kFooter);
    add_output_options(*salvage_command, salvage.output, "NAME.salvaged.jpg beside the damaged file");
    salvage_command->add_option("DAMAGED", salvage.damaged, "The damaged photograph")->required();
    salvage_command->callback([&] { status = run_salvage(salvage); });

    std::vector<std::string> files;
    auto* check_command = app.add_subcommand("check", "Tell whether LibRaw opens each file");
    check_command->add_option("FILE", files, "Photographs")->required();
    check_command->callback([&] { status = run_check(files); });

    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend()); // As CLI11 takes them.
        app.parse(std::move(reversed));
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? kSucceeded : kUsage;
    }
    return status;
}

} // namespace plate_mend::host
