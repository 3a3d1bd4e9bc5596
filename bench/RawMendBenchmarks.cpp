#include "bench/Floor.h"
#include "bench/Measure.h"
#include "bench/Pairs.h"

#include "support/ArwPhoto.h"
#include "support/DngPhoto.h"

#include "Repair.h"

#include <raw_mend/raw_mend.h>

#include <mapped_file/MappedFile.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

// Prints a table of repairs with the engine that understands its sample: how fast the image is found, and the
// time of the whole repair compared with what the machine needs to copy the same bytes.

namespace {

namespace fs = std::filesystem;
using bench::Piece;
using test::Bytes;

constexpr int kRounds = 9;
constexpr double kMegabyte = 1'000'000;

/// A damaged file and its sample, and the pieces of the output except for a few patched bytes.
struct Pair {
    std::string name;
    Bytes sample;
    Bytes damaged;
    std::vector<Piece> output;
};

struct Files {
    fs::path sample;
    fs::path damaged;
    fs::path output;
};

struct Photo {
    Bytes bytes;
    std::size_t image = 0; ///< Offset; up to the end of the file.
};

Pair displaced(const std::string& name, const Photo& photo, const Bytes& sample) {
    constexpr std::size_t kFiller = 4096;
    return {name,
            sample,
            test::joined(test::noise(kFiller, 1), photo.bytes),
            {{Piece::From::kDamaged, kFiller, photo.bytes.size()}}};
}

Pair without_head(const std::string& name, const Photo& photo, const Bytes& sample,
                  std::size_t sample_image) {
    return {name,
            sample,
            test::zeroed(photo.bytes, 0, photo.image),
            {{Piece::From::kSample, 0, sample_image},
             {Piece::From::kDamaged, photo.image, photo.bytes.size() - photo.image}}};
}

std::vector<Pair> make_pairs() {
    const auto rows = [](unsigned number) {
        const test::ArwPhoto photo({.number = number, .width = 6400, .height = 5000});
        return Photo{photo.bytes, photo.image_offset};
    };
    // The main image is the last in the file, so that the file ends with its last tile.
    const auto tiles = [](unsigned number) {
        const test::DngPhoto photo({.number = number,
                                    .width = 6400,
                                    .height = 5120,
                                    .tile_width = 256,
                                    .tile_height = 256,
                                    .main_index = 2});
        return Photo{photo.bytes, photo.tile_offsets.front()};
    };
    const Photo row_photo = rows(1);
    const Photo row_sample = rows(2);
    const Photo tile_photo = tiles(1);
    const Photo tile_sample = tiles(2);
    return {
        displaced("rows, by own tables", row_photo, row_sample.bytes),
        without_head("rows, by how they fit", row_photo, row_sample.bytes, row_sample.image),
        displaced("lossless JPEG, by own tables", tile_photo, tile_sample.bytes),
        without_head("lossless JPEG, by heads", tile_photo, tile_sample.bytes, tile_sample.image),
    };
}

void search(const Files& files) {
    mapped_file::MappedFile damaged;
    mapped_file::MappedFile file;
    if (!damaged.open(files.damaged) || !file.open(files.sample)) {
        throw std::runtime_error("the files cannot be mapped");
    }
    const auto sample = raw_mend::Sample::read(file.bytes());
    if (!sample || !raw_mend::repair(damaged.bytes(), *sample)) {
        throw std::runtime_error(files.damaged.string() + ": nothing is found");
    }
}

void repair(const Files& files) {
    const char* const samples[] = {files.sample.c_str()};
    RawMendReport report;
    const std::int32_t code = RawMendRepair(files.damaged.c_str(), samples, 1, files.output.c_str(), &report);
    if (code != RAW_MEND_OK || report.proved_piece_count != report.piece_count) {
        throw std::runtime_error(files.damaged.string() + ": code " + std::to_string(code));
    }
}

/// Times of one thing. Other work on the machine does not count as processor time.
struct Times {
    std::vector<double> wall; ///< Milliseconds; so is the next.
    std::vector<double> processor;

    template <typename Work>
    void measure(const Work& work) {
        const std::clock_t begin = std::clock();
        wall.push_back(bench::milliseconds(work));
        processor.push_back(1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
    }

    [[nodiscard]] double least() const { return std::ranges::min(processor); }
};

void print_row(const Pair& pair, const Files& files) {
    test::write_file(files.sample, pair.sample);
    test::write_file(files.damaged, pair.damaged);
    Times searches;
    Times floors;
    Times repairs;
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        searches.measure([&] { search(files); });
        fs::remove(files.output);
        floors.measure([&] { bench::copy_pieces(pair.output, files.sample, files.damaged, files.output); });
        fs::remove(files.output);
        repairs.measure([&] { repair(files); });
        fs::remove(files.output);
        ratios.push_back(repairs.wall.back() / floors.wall.back());
    }
    const double size = static_cast<double>(pair.damaged.size()) / kMegabyte;
    std::printf("| %s | %.0f | %.1f | %.1f | %.0f | %.1f | %.1f | %.1f | %.1f | %.2f |\n", pair.name.c_str(),
                size, bench::median(searches.wall), searches.least(), size * 1000 / searches.least(),
                bench::median(floors.wall), floors.least(), bench::median(repairs.wall), repairs.least(),
                bench::median(ratios));
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: raw_mend_benchmarks FOLDER\n");
        return 64;
    }
    try {
        const bench::Folder folder(arguments[1]);
        const Files files{folder.path() / "sample", folder.path() / "damaged", folder.path() / "output"};
        std::printf(
            "| Image, and how it is found | Size, MB | Search, ms | Its CPU, ms | Search, MB/s of CPU | "
            "Floor, ms | Its CPU, ms | Repair, ms | Its CPU, ms | Ratio |\n"
            "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
        for (const Pair& pair : make_pairs()) {
            print_row(pair, files);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
