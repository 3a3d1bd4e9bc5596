#include "bench/Batch.h"

#include "bench/Measure.h"

#include "support/ArwPhoto.h"

#include <plate_mend/plate_mend.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>

namespace bench {

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 1000;
constexpr int kRounds = 7;

/// A photograph of about 0.1 MB. It is complete: the host would call a repair of anything less partial.
test::ArwPhoto photo(unsigned number) {
    return test::ArwPhoto({.number = number, .width = 240, .height = 180});
}

/// The rows of the table: what is done, and its times.
struct Row {
    const char* name;
    std::function<bool()> action; ///< Returns whether it succeeded.
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
    const test::ArwPhoto original = photo(2);
    const test::Bytes broken = test::zeroed(original.bytes, 0, original.strip_entries);
    const fs::path sample = folder / "sample.arw";
    const fs::path damaged = folder / "damaged";
    const fs::path output = folder / "output";
    fs::create_directory(damaged);
    test::write_file(sample, photo(1).bytes);
    for (int file = 0; file < kFiles; ++file) {
        test::write_file(damaged / ("photo" + std::to_string(file) + ".arw"), broken);
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
    std::printf("| %d files of %.1f MB | ms | Per file, ms |\n|---|---:|---:|\n", kFiles,
                static_cast<double>(broken.size()) / 1e6);
    for (const Row& row : rows) {
        print(row);
    }
    if (std::any_of(rows.begin(), rows.end(), [](const Row& row) { return row.times.empty(); })) {
        throw std::runtime_error("a batch was not repaired completely");
    }
}

} // namespace bench
