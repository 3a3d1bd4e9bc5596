#include "bench/Batch.h"

#include "bench/Measure.h"
#include "bench/Pairs.h"

#include <plate_mend/plate_mend.h>

#include <cstdio>
#include <functional>

namespace bench {

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 1000;
constexpr std::size_t kSize = 100'000;
constexpr int kRounds = 7;

/// The rows of the table: what is done, and its times.
struct Row {
    const char* name;
    std::function<bool()> action; ///< Whether it was done.
    std::vector<double> times;
};

void print(const Row& row) {
    if (row.times.empty()) {
        std::printf("| %s | did not succeed | |\n", row.name);
        return;
    }
    const double time = median(row.times);
    std::printf("| %s | %.0f | %.2f |\n", row.name, time, time / kFiles);
}

} // namespace

void print_batch(const fs::path& folder, const fs::path& programs) {
    const Pair pair = make_pair("arw", kSize);
    const fs::path sample = folder / "sample.arw";
    const fs::path damaged = folder / "damaged";
    const fs::path output = folder / "output";
    fs::create_directory(damaged);
    test::write_file(sample, pair.sample);
    for (int file = 0; file < kFiles; ++file) {
        test::write_file(damaged / ("photo" + std::to_string(file) + ".arw"), pair.damaged);
    }
    MndRawInit(folder.c_str(), folder.c_str(), folder.c_str());

    std::vector<Row> rows;
    rows.push_back({"`cp` of the files",
                    [&] {
                        return run({"cp", "-r", "--reflink=never", damaged.string(), output.string()}) == 0;
                    },
                    {}});
    rows.push_back({"the library, in one process",
                    [&] {
                        fs::create_directory(output);
                        for (const auto& file : fs::directory_iterator(damaged)) {
                            const fs::path repaired = output / file.path().filename();
                            if (MndRawAdvanceRepair(file.path().c_str(), sample.c_str(), repaired.c_str()) !=
                                0) {
                                return false;
                            }
                        }
                        return true;
                    },
                    {}});
    rows.push_back({"`plate-mend repair` of the folder",
                    [&] {
                        return run({(programs / "plate-mend").string(), "repair", "--sample", sample.string(),
                                    "--out", output.string(), damaged.string()}) == 0;
                    },
                    {}});
    for (int round = 0; round < kRounds; ++round) {
        for (Row& row : rows) {
            fs::remove_all(output);
            bool done = false;
            const double time = milliseconds([&] { done = row.action(); });
            if (done) {
                row.times.push_back(time);
            }
        }
    }
    std::printf("| %d files of %.1f MB | ms | A file, ms |\n|---|---:|---:|\n", kFiles, kSize / 1e6);
    for (const Row& row : rows) {
        print(row);
    }
}

} // namespace bench
