#include "PictureTables.h"

#include "PictureTrials.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace test {

namespace {

struct Options {
    std::string folder;
    bool cells = false;
    std::string damage;
    std::string picture;
    std::string keep;
    std::size_t some = 1;
    std::size_t most_kib = 4096;
    std::size_t threads = 2;
};

Options parse(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& name = arguments[index];
        if (!name.starts_with("--")) {
            options.folder = name;
            continue;
        }
        if (name == "--cells") {
            options.cells = true;
            continue;
        }
        const std::string& value = arguments.at(++index);
        if (name == "--damage") {
            options.damage = value;
        } else if (name == "--picture") {
            options.picture = value;
        } else if (name == "--keep") {
            options.keep = value;
        } else if (name == "--some") {
            options.some = std::max<std::size_t>(std::stoul(value), 1);
        } else if (name == "--most") {
            options.most_kib = std::stoul(value);
        } else if (name == "--threads") {
            options.threads = std::clamp<std::size_t>(std::stoul(value), 1, 64);
        } else {
            throw std::invalid_argument(name + " is no option");
        }
    }
    return options;
}

struct Cell {
    const RealPicture* picture = nullptr;
    const RealPicture* other = nullptr;
    const PictureDamage* damage = nullptr;
    PictureTrial trial;
};

std::vector<Cell> cells_of(const std::vector<RealPicture>& pictures, const Options& options) {
    std::vector<Cell> cells;
    std::size_t number = 0;
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        for (const auto& damage : picture_damages()) {
            const bool wanted = damage.name.find(options.damage) != std::string::npos &&
                                pictures[index].name.find(options.picture) != std::string::npos;
            if (wanted && number++ % options.some == 0) {
                cells.push_back({&pictures[index], &pictures[(index + 1) % pictures.size()], &damage, {}});
            }
        }
    }
    return cells;
}

void run(std::vector<Cell>& cells, std::size_t threads) {
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::exception_ptr failure;
    const auto work = [&] {
        try {
            for (std::size_t index = next++; index < cells.size(); index = next++) {
                Cell& cell = cells[index];
                cell.trial = run_picture_trial(*cell.picture, *cell.damage, cell.other->file);
            }
        } catch (...) {
            const std::lock_guard lock(mutex);
            failure = std::current_exception();
        }
    };
    std::vector<std::thread> workers;
    for (std::size_t index = 0; index < threads; ++index) {
        workers.emplace_back(work);
    }
    for (auto& worker : workers) {
        worker.join();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// Sums over trials.
struct Sum {
    std::size_t trials = 0;
    double survives = 0;
    double plain = 0;
    double salvaged = 0;
    double claimed = 0;
    std::size_t better = 0;
    std::size_t worse = 0;
    std::size_t boasting = 0;

    void add(const PictureTrial& trial) {
        ++trials;
        survives += trial.survives;
        plain += trial.plain;
        salvaged += trial.salvaged;
        claimed += trial.claimed;
        better += trial.is_better() ? 1U : 0U;
        worse += trial.is_worse() ? 1U : 0U;
        boasting += trial.boasts() ? 1U : 0U;
    }

    void print(const std::string& name) const {
        const auto count = static_cast<double>(std::max<std::size_t>(trials, 1));
        std::printf("| %s | %zu | %.3f | %.3f | %.3f | %.3f | %zu | %zu | %zu |\n", name.c_str(), trials,
                    survives / count, plain / count, salvaged / count, claimed / count, better, worse,
                    boasting);
    }
};

void print_summary(const std::vector<Cell>& cells) {
    std::printf("| Damage | Trials | Survives | libjpeg | Salvaged | Claimed | Better | Worse | Boasting |\n"
                "|---|---|---|---|---|---|---|---|---|\n");
    Sum all;
    for (const auto& damage : picture_damages()) {
        Sum sum;
        for (const auto& cell : cells) {
            if (cell.damage == &damage) {
                sum.add(cell.trial);
                all.add(cell.trial);
            }
        }
        if (sum.trials > 0) {
            sum.print(damage.name);
        }
    }
    all.print("all");
}

void write_damaged(const std::vector<Cell>& cells, const std::filesystem::path& folder) {
    for (const auto& cell : cells) {
        DamagedCopy copy(*cell.picture);
        cell.damage->apply(copy, cell.other->file);
        std::string name = cell.damage->name + " " + cell.picture->name;
        std::replace(name.begin(), name.end(), '/', '_');
        write_file(folder / name, copy.file());
    }
}

void print_cells(const std::vector<Cell>& cells, bool every) {
    std::printf("\n| Picture | Damage | Survives | libjpeg | Salvaged | Claimed | |\n"
                "|---|---|---|---|---|---|---|\n");
    for (const auto& cell : cells) {
        const PictureTrial& trial = cell.trial;
        if (every || trial.is_worse() || trial.boasts()) {
            std::printf("| %s | %s | %.3f | %.3f | %.3f | %.3f |%s%s%s%s |\n", trial.picture.c_str(),
                        trial.damage.c_str(), trial.survives, trial.plain, trial.salvaged, trial.claimed,
                        trial.is_worse() ? " worse" : "", trial.boasts() ? " boasts" : "",
                        trial.kept ? " kept" : "", trial.delivered ? "" : " nothing");
        }
    }
}

} // namespace

int print_picture_tables(const std::vector<std::string>& arguments) {
    const Options options = parse(arguments);
    const auto pictures = find_pictures(options.folder, options.most_kib * 1024);
    auto cells = cells_of(pictures, options);
    if (!options.keep.empty()) {
        write_damaged(cells, options.keep);
    }
    run(cells, options.threads);
    std::printf("%zu pictures, %zu trials.\n\n", pictures.size(), cells.size());
    print_summary(cells);
    print_cells(cells, options.cells);
    return 0;
}

} // namespace test
