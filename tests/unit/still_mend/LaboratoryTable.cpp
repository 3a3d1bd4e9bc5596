#include "Laboratory.h"
#include "PictureTables.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

// still_mend_laboratory [WIDTH HEIGHT]  prints the tables of docs/measurements/salvage-*.md
// still_mend_laboratory --rows          prints the heads of these tables and the first cell of each row
// still_mend_laboratory --pictures DIR  prints what is saved of the JPEGs below DIR

namespace {

using namespace test;

constexpr unsigned kLarger = 4; // Sides of the pictures that survive the loss of a long head.

std::string cell(const Trial& trial) {
    std::string text = "-";
    if (trial.other) {
        text = "other";
    } else if (trial.result == 0) {
        text.resize(8);
        text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%.3f", trial.share())));
    }
    std::string plain(8, ' ');
    plain.resize(
        static_cast<std::size_t>(std::snprintf(plain.data(), plain.size(), "%.3f", trial.plain_share())));
    return text + " (" + plain + ")" + (trial.recovered < trial.plain ? " less" : "") +
           (trial.false_success() ? " doubtful" : "");
}

void print_head(const char* first) {
    std::printf("| %s |", first);
    for (const auto& coding : codings()) {
        std::printf(" %s |", coding.name.c_str());
    }
    std::printf("\n|---|");
    for (std::size_t index = 0; index < codings().size(); ++index) {
        std::printf("---|");
    }
    std::printf("\n");
}

void print_table(const Container& container, bool with_sibling, unsigned width, unsigned height) {
    std::printf("\n### %s%s\n\n", container.name.c_str(), with_sibling ? ", with a smaller sibling" : "");
    print_head("Damage");
    for (const auto& damage : damages()) {
        std::printf("| %s |", damage.name.c_str());
        for (const auto& coding : codings()) {
            const unsigned scale = damage.large ? kLarger : 1;
            const Trial trial =
                run_trial(coding, container, damage, with_sibling, width * scale, height * scale);
            std::printf(" %s |", cell(trial).c_str());
        }
        std::printf("\n");
    }
}

/// One row per container: the mean share over all damages.
void print_means(unsigned width, unsigned height) {
    std::printf("\n### The same in other containers: mean over all damages\n\n");
    print_head("Container");
    for (const auto& container : containers()) {
        std::printf("| %s |", container.name.c_str());
        for (const auto& coding : codings()) {
            double sum = 0;
            for (const auto& damage : damages()) {
                const Trial trial = run_trial(coding, container, damage, false, width, height);
                sum += trial.result == 0 ? trial.share() : 0;
            }
            std::printf(" %.3f |", sum / static_cast<double>(damages().size()));
        }
        std::printf("\n");
    }
}

void print_rows() {
    print_head("Damage");
    for (const auto& damage : damages()) {
        std::printf("| %s |\n", damage.name.c_str());
    }
    std::printf("\n");
    print_head("Container");
    for (const auto& container : containers()) {
        std::printf("| %s |\n", container.name.c_str());
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 2 && std::string(argv[1]) == "--pictures") {
        try {
            return print_picture_tables({argv + 2, argv + argc});
        } catch (const std::exception& error) {
            std::fprintf(stderr, "still_mend_laboratory: %s\n", error.what());
            return 2;
        }
    }
    if (argc == 2 && std::string(argv[1]) == "--rows") {
        print_rows();
        return 0;
    }
    const unsigned width = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10)) : 640;
    const unsigned height = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : 480;
    std::printf("Pictures of %u x %u pixels, and of %u x %u for heads of 64 and 150 KiB.\n", width, height,
                width * kLarger, height * kLarger);
    print_table(containers().front(), false, width, height);
    print_table(containers().front(), true, width, height);
    print_means(width / 2, height / 2);
    return 0;
}
