#include "Laboratory.h"

#include <cstdio>
#include <cstdlib>
#include <string>

// Prints the laboratory's table as Markdown:  still_mend_laboratory [width height]

namespace {

using namespace test;

void print_table(const Container& container, bool with_sibling, unsigned width, unsigned height) {
    std::printf("\n## %s%s\n\n| Damage |", container.name.c_str(), with_sibling ? ", with a sibling" : "");
    for (const auto& coding : codings()) {
        std::printf(" %s |", coding.name.c_str());
    }
    std::printf("\n|---|");
    for (std::size_t index = 0; index < codings().size(); ++index) {
        std::printf("---|");
    }
    std::printf("\n");
    for (const auto& damage : damages()) {
        std::printf("| %s |", damage.name.c_str());
        for (const auto& coding : codings()) {
            const Trial trial = run_trial(coding, container, damage, with_sibling, width, height);
            const bool less = trial.recovered < trial.plain;
            if (trial.other) {
                std::printf(" other (%.3f)%s |", trial.plain_share(), less ? " LESS" : "");
            } else if (trial.result == 0) {
                std::printf(" %.3f (%.3f)%s%s |", trial.share(), trial.plain_share(), less ? " LESS" : "",
                            trial.false_success() ? " FALSE" : "");
            } else {
                std::printf(" - (%.3f)%s |", trial.plain_share(), less ? " LESS" : "");
            }
        }
        std::printf("\n");
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    const unsigned width = argc > 2 ? static_cast<unsigned>(std::atoi(argv[1])) : 640;
    const unsigned height = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 480;
    std::printf("Pictures of %u x %u pixels. Each cell: the share of MCUs that stand in their place in the "
                "salvaged picture, and in brackets in what libjpeg-turbo alone decodes of the same bytes. "
                "A dash: reported as lost. Other: the second picture of the file was delivered, since "
                "more of it is left.\n",
                width, height);
    for (const auto& container : containers()) {
        print_table(container, false, width, height);
        print_table(container, true, width, height);
    }
    return 0;
}
