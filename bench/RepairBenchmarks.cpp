#include "bench/Batch.h"
#include "bench/Floor.h"
#include "bench/Measure.h"
#include "bench/Pairs.h"

#include <plate_mend/plate_mend.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

// Prints tables of whole repairs: their time compared with what the machine needs to copy the same bytes, and
// their memory; the first repair of a process; a batch of small files.

namespace {

namespace fs = std::filesystem;
using bench::Folder;
using bench::Pair;
using bench::PairFiles;

using Sizes = std::vector<std::size_t>; // In MB.
constexpr std::size_t kMegabyte = 1'000'000;

PairFiles files_in(const fs::path& folder, const std::string& extension) {
    return {folder / ("sample." + extension), folder / ("damaged." + extension),
            folder / ("output." + extension), folder / ("temp." + extension)};
}

/// One repair. The library's work directory is the folder of the files.
void repair(const PairFiles& files) {
    const std::int32_t code =
        MndRawAdvanceRepair(files.damaged.c_str(), files.sample.c_str(), files.output.c_str());
    if (code != 0) {
        throw std::runtime_error(files.damaged.string() + ": code " + std::to_string(code));
    }
}

void start_library(const fs::path& folder) {
    MndRawInit(folder.c_str(), folder.c_str(), folder.c_str());
}

struct Times {
    double floor = 0;
    double repair = 0;
    double ratio = 0;
};

/// Medians of pairs of runs: the two of a pair follow each other closely, and take turns in coming first. The
/// output of a run is removed before the next.
Times measure(const Pair& pair, const PairFiles& files, int rounds) {
    std::vector<double> floors;
    std::vector<double> repairs;
    std::vector<double> ratios;
    const auto timed = [&files](const std::function<void()>& action) {
        fs::remove(files.output);
        return bench::milliseconds(action);
    };
    for (int round = -1; round < rounds; ++round) { // The first does not count.
        double floor = 0;
        double time = 0;
        for (const bool floor_now : {round % 2 == 0, round % 2 != 0}) {
            if (floor_now) {
                floor = timed([&] { bench::copy_as_the_machine_can(pair, files); });
            } else {
                time = timed([&] { repair(files); });
            }
        }
        if (round >= 0) {
            floors.push_back(floor);
            repairs.push_back(time);
            ratios.push_back(time / floor);
        }
    }
    fs::remove(files.output);
    return {bench::median(floors), bench::median(repairs), bench::median(ratios)};
}

/// How much a repair in a separate process raises anonymous memory. That process is this program with the
/// verb below.
double private_mebibytes(const PairFiles& files, const fs::path& folder) {
    const fs::path report = folder / "memory";
    const int status =
        bench::run({"/proc/self/exe", "memory-of", files.sample.string(), files.damaged.string(),
                    files.output.string(), folder.string(), report.string()});
    fs::remove(files.output);
    std::FILE* stream = std::fopen(report.c_str(), "r");
    unsigned long long bytes = 0;
    if (status != 0 || stream == nullptr || std::fscanf(stream, "%llu", &bytes) != 1) {
        throw std::runtime_error("no report of memory");
    }
    std::fclose(stream);
    return static_cast<double>(bytes) / (1024 * 1024);
}

void report_memory(char** arguments) {
    const PairFiles files{arguments[0], arguments[1], arguments[2], {}};
    start_library(arguments[3]);
    const std::uint64_t peak = bench::peak_of_anonymous_memory([&files] { repair(files); });
    std::FILE* stream = std::fopen(arguments[4], "w");
    std::fprintf(stream, "%llu\n", static_cast<unsigned long long>(peak));
    std::fclose(stream);
}

/// More rounds for small files, so that each size takes about as long at a given scale.
void print_repairs(const fs::path& folder, const Sizes& sizes, int scale) {
    std::printf("| Format | Size, MB | Floor, ms | Repair, ms | Ratio | Private memory, MiB |\n"
                "|---|---:|---:|---:|---:|---:|\n");
    for (const std::string& extension : bench::formats()) {
        for (const std::size_t size : sizes) {
            const Pair pair = bench::make_pair(extension, size * kMegabyte);
            const PairFiles files = files_in(folder, extension);
            test::write_file(files.sample, pair.sample);
            test::write_file(files.damaged, pair.damaged);
            const int rounds = std::max(9, scale * 600 / static_cast<int>(size + 16));
            const Times times = measure(pair, files, rounds);
            std::printf("| %s | %zu | %.1f | %.1f | %.2f | %.1f |\n", extension.c_str(), size, times.floor,
                        times.repair, times.ratio, private_mebibytes(files, folder));
            std::fflush(stdout);
            fs::remove(files.sample);
            fs::remove(files.damaged);
        }
    }
}

void print_first_repair(const fs::path& folder, const fs::path& programs) {
    const Pair pair = bench::make_pair("arw", kMegabyte / 4);
    const PairFiles files = files_in(folder, "arw");
    test::write_file(files.sample, pair.sample);
    test::write_file(files.damaged, pair.damaged);
    std::vector<double> empty;
    std::vector<double> loads;
    std::vector<double> repairs;
    const std::string program = (programs / "first_repair").string();
    for (int round = 0; round < 31; ++round) {
        empty.push_back(bench::milliseconds([&] { bench::run({program}); }));
        loads.push_back(bench::milliseconds([&] { bench::run({program, folder.string()}); }));
        repairs.push_back(bench::milliseconds([&] {
            if (bench::run({program, folder.string(), files.damaged.string(), files.sample.string(),
                            files.output.string()}) != 0) {
                throw std::runtime_error("the first repair failed");
            }
        }));
    }
    std::printf("| A process that | ms |\n|---|---:|\n");
    std::printf("| does nothing | %.2f |\n", bench::median(empty));
    std::printf("| loads and initialises the library | %.2f |\n", bench::median(loads));
    std::printf("| and repairs a photograph of 0.25 MB | %.2f |\n", bench::median(repairs));
}

} // namespace

int main(int count, char** arguments) {
    const std::string verb = count > 1 ? arguments[1] : "";
    try {
        if (verb == "memory-of" && count == 7) {
            report_memory(arguments + 2);
            return 0;
        }
        if (count < 3 || (verb != "repairs" && verb != "first" && verb != "small" && verb != "large")) {
            std::fprintf(stderr, "usage: repair_benchmarks repairs|first|small|large FOLDER [quick]\n");
            return 64;
        }
        const Folder folder(arguments[2]);
        const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
        const bool quick = count > 3; // Only 24 MB, or fewer rounds.
        if (verb == "repairs") {
            start_library(folder.path());
            print_repairs(folder.path(), quick ? Sizes{24} : Sizes{24, 64, 200}, quick ? 1 : 2);
        } else if (verb == "first") {
            print_first_repair(folder.path(), programs);
        } else if (verb == "small") {
            bench::print_small_files(folder.path(), programs, quick ? 1 : 7);
        } else {
            bench::print_large_files(folder.path(), programs, quick ? 1 : 3);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
