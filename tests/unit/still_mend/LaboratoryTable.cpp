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
            if (trial.result == 0) {
                std::printf(" %.3f (%.3f)%s%s |", trial.share(), trial.plain_share(), less ? " LESS" : "",
                            trial.false_success() ? " FALSE" : "");
            } else {
                std::printf(" - (%.3f)%s |", trial.plain_share(), trial.plain > 0 ? " LESS" : "");
            }
        }
        std::printf("\n");
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 || argc == 5) { const Trial t = run_trial(coding_named(argv[1]), container_named("alone"), damage_named(argv[2]), argv[3][0]==49, argc == 5 ? 1280 : 640, argc == 5 ? 960 : 480); std::printf("result %d mcus %zu recovered %zu shape %zu plain %zu claimed %zu warnings %u\n", t.result, t.mcus, t.recovered, t.in_shape, t.plain, t.claimed, t.warnings); write_file("/tmp/out.jpg", t.output); write_file("/tmp/orig.jpg", make_coded(coding_named(argv[1]), 1, 640, 480)); return 0; }
    const unsigned width = argc > 2 ? static_cast<unsigned>(std::atoi(argv[1])) : 640;
    const unsigned height = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 480;
    std::printf("Pictures of %u x %u pixels. Each cell: the share of MCUs that stand in their place in the "
                "salvaged picture, and in brackets in what libjpeg-turbo alone decodes of the same bytes. "
                "A dash: reported as lost.\n",
                width, height);
    for (const auto& container : containers()) {
        print_table(container, false, width, height);
        print_table(container, true, width, height);
    }
    return 0;
}
