#include "bench/Batch.h"

#include "bench/Floor.h"
#include "bench/Measure.h"
#include "repair/WorkerTasks.h"

#include "support/ArwPhoto.h"

#include <libraw/libraw.h>
#include <plate_mend/plate_mend.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace bench {

namespace fs = std::filesystem;

namespace {

using plate_mend::host::Json;

/// A folder of copies of one damaged photograph, and a sample.
struct Batch {
    fs::path sample;
    fs::path damaged; ///< The folder.
    fs::path output;  ///< A folder; missing before each round.
    int files = 0;
    std::size_t size = 0; ///< Bytes of each.

    [[nodiscard]] fs::path file(int number) const {
        return damaged / ("photo" + std::to_string(number) + ".arw");
    }
    [[nodiscard]] fs::path result(int number) const { return output / file(number).filename(); }
};

/// Only the head is damaged: the host would call a repair of anything less complete partial.
Batch make_batch(const fs::path& folder, int files, std::uint32_t width, std::uint32_t height) {
    const test::ArwPhoto original({.number = 2, .width = width, .height = height});
    const test::Bytes broken = test::zeroed(original.bytes, 0, original.strip_entries);
    Batch batch{folder / "sample.arw", folder / "damaged", folder / "output", files, broken.size()};
    fs::create_directory(batch.damaged);
    test::write_file(batch.sample, test::ArwPhoto({.number = 1, .width = width, .height = height}).bytes);
    for (int file = 0; file < files; ++file) {
        test::write_file(batch.file(file), broken);
    }
    return batch;
}

/// Rows of a table: what is done, and its times.
struct Row {
    const char* name;
    std::function<bool()> action; ///< Returns whether it succeeded.
    std::vector<double> times{};
    std::vector<double> processor_times{};
};

void print(const Row& row, int files) {
    if (row.times.empty()) {
        std::printf("| %s | did not succeed | | |\n", row.name);
        return;
    }
    const double time = median(row.times);
    const double least = *std::min_element(row.processor_times.begin(), row.processor_times.end());
    std::printf("| %s | %.0f | %.2f | %.2f |\n", row.name, time, time / files, least / files);
}

/// Measures the rows alternately, and prints them. Throws std::runtime_error when one never succeeds.
void measure(const Batch& batch, std::vector<Row> rows, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        for (Row& row : rows) {
            fs::remove_all(batch.output);
            bool done = false;
            const double before = processor_milliseconds();
            const double time = milliseconds([&] { done = row.action(); });
            if (done) {
                row.times.push_back(time);
                row.processor_times.push_back(processor_milliseconds() - before);
            }
        }
    }
    std::printf("| %d files of %.1f MB | ms | Per file, ms | Its CPU, ms |\n|---|---:|---:|---:|\n",
                batch.files, static_cast<double>(batch.size) / 1e6);
    for (const Row& row : rows) {
        print(row, batch.files);
    }
    if (std::any_of(rows.begin(), rows.end(), [](const Row& row) { return row.times.empty(); })) {
        throw std::runtime_error("a batch was not repaired completely");
    }
}

bool repair_with_library(const Batch& batch) {
    fs::create_directory(batch.output);
    for (int file = 0; file < batch.files; ++file) {
        if (MndRawAdvanceRepair(batch.file(file).c_str(), batch.sample.c_str(), batch.result(file).c_str()) !=
            0) {
            return false;
        }
    }
    return true;
}

bool repair_with_program(const Batch& batch, const fs::path& programs, const char* jobs) {
    return run({(programs / "plate-mend").string(), "repair", "--jobs", jobs, "--sample",
                batch.sample.string(), "--out", batch.output.string(), batch.damaged.string()}) == 0;
}

/// A task of the program, done in this process.
Json answer_to(const Json& task) {
    return plate_mend::host::do_task(task, {}).json;
}

Json judge_task(const std::string& result, const std::string& damaged, const std::string& sample) {
    return Json::object({{"task", "judge"},
                         {"result", result},
                         {"damaged", damaged},
                         {"sample", sample},
                         {"picture", ""},
                         {"filled", 0},
                         {"image", Json()},
                         {"lost_in_preview", false},
                         {"memory", 0}});
}

/// The tasks that the program has workers do for one file, without anything around them.
bool do_tasks_of_a_file(const std::string& damaged, const std::string& sample, const std::string& result) {
    const bool is_intact =
        answer_to(Json::object({{"task", "intact"}, {"photograph", damaged}, {"picture", ""}, {"memory", 0}}))
            .required_truth("intact");
    const Json repair = answer_to(Json::object({{"task", "repair"},
                                                {"damaged", damaged},
                                                {"sample", sample},
                                                {"output", result},
                                                {"log", false},
                                                {"memory", 0}}));
    const Json judgement = answer_to(judge_task(result, damaged, sample));
    const Json check = answer_to(Json::object({{"task", "raw"},
                                               {"damaged", result},
                                               {"sample", sample},
                                               {"output", ""},
                                               {"fill", true},
                                               {"memory", 0}}));
    return !is_intact && repair.required_integer<int>("code") == 0 && judgement.required_truth("decodes") &&
           check.required_integer<int>("code") == 0;
}

bool do_tasks(const Batch& batch) {
    fs::create_directory(batch.output);
    const fs::path before = fs::current_path();
    fs::current_path(batch.output); // The library works there, as it does in a worker.
    bool done = true;
    for (int file = 0; done && file < batch.files; ++file) {
        done = do_tasks_of_a_file(batch.file(file), batch.sample, batch.result(file));
    }
    fs::current_path(before);
    return done;
}

bool decode(const fs::path& file) {
    LibRaw raw(0U);
    return raw.open_file(file.c_str()) == LIBRAW_SUCCESS && raw.unpack() == LIBRAW_SUCCESS;
}

/// Copies each file and decodes the sample, which has the same kind of image, twice: the result is decoded to
/// be judged, and the damaged file to see whether it needs a repair.
bool copy_and_decode(const Batch& batch, unsigned jobs) {
    fs::create_directory(batch.output);
    std::atomic<int> next = 0;
    std::atomic<bool> done = true;
    const auto work = [&] {
        for (int file = next++; file < batch.files; file = next++) {
            copy_pieces({{Piece::From::kDamaged, 0, batch.size}}, batch.sample, batch.file(file),
                        batch.result(file));
            for (int round = 0; round < 2; ++round) {
                done = decode(batch.sample) && done;
            }
        }
    };
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < jobs; ++thread) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return done;
}

} // namespace

void print_small_files(const fs::path& folder, const fs::path& programs, int rounds) {
    const Batch batch = make_batch(folder, 1000, 240, 180); // 0.1 MB.
    MndRawInit(folder.c_str(), folder.c_str(), folder.c_str());
    measure(
        batch,
        {{"`cp` of the files",
          [&] {
              return run({"cp", "-r", "--reflink=never", batch.damaged.string(), batch.output.string()}) == 0;
          },
          {}},
         {"the library, in one process", [&] { return repair_with_library(batch); }},
         {"the tasks of workers, in one process", [&] { return do_tasks(batch); }},
         {"`plate-mend repair --jobs 1`", [&] { return repair_with_program(batch, programs, "1"); }},
         {"`plate-mend repair --jobs 2`", [&] { return repair_with_program(batch, programs, "2"); }}},
        rounds);
}

void print_large_files(const fs::path& folder, const fs::path& programs, int rounds) {
    const Batch batch = make_batch(folder, 100, 4240, 2832); // 24 MB.
    measure(
        batch,
        {{"copied, and decoded twice by LibRaw, on two threads", [&] { return copy_and_decode(batch, 2); }},
         {"`plate-mend repair --jobs 2`", [&] { return repair_with_program(batch, programs, "2"); }}},
        rounds);
}

} // namespace bench
