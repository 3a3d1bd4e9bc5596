#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/Sr2Photo.h"
#include "support/TempDir.h"

#include <plate_mend/plate_mend.h>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

// golden                prints one line per format: its extension, the hashes of a damaged photograph, of a
//                       sample and of the repaired photograph
// golden check TABLE    compares them with a table of such lines; status 0 when all are the same
//
// The table was made on Linux. That the same program agrees with it on Windows proves that a repair's output
// is the same there, byte for byte.

namespace {

namespace fs = std::filesystem;
using test::Bytes;

struct Pair {
    const char* extension;
    Bytes damaged;
    Bytes sample;
};

template <typename Photo>
Bytes photo(unsigned number) {
    typename Photo::Options options;
    options.number = number;
    return Photo(options).bytes;
}

/// Two photographs from one camera, as the builder makes them by their numbers. The damaged one has lost its
/// first bytes.
Pair pair_of(const char* extension, Bytes (*build)(unsigned number)) {
    return {extension, test::zeroed(build(2), 0, 8), build(1)};
}

std::vector<Pair> all_pairs() {
    return {
        pair_of("arw", photo<test::ArwPhoto>),
        pair_of("sr2", [](unsigned scene) { return test::make_sr2({.scene = scene}).bytes; }),
        pair_of("raf", photo<test::RafPhoto>),
        pair_of("orf", [](unsigned scene) { return test::make_orf({.scene = scene}).bytes; }),
        pair_of("dng", photo<test::DngPhoto>),
        pair_of("cr2", photo<test::Cr2Photo>),
        pair_of("nef", photo<test::NefPhoto>),
        pair_of("cr3", photo<test::Cr3Photo>),
    };
}

/// FNV-1a, 64 bits, as 16 hexadecimal digits.
std::string hash_of(const Bytes& bytes) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const unsigned char byte : bytes) {
        hash = (hash ^ byte) * 0x100000001B3U;
    }
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4) {
        digits += "0123456789abcdef"[hash >> static_cast<unsigned>(shift) & 0xFU];
    }
    return digits;
}

std::string repaired_line(const Pair& pair, const fs::path& folder) {
    const std::string extension = pair.extension;
    const fs::path damaged = folder / ("damaged." + extension);
    const fs::path sample = folder / ("sample." + extension);
    const fs::path output = folder / ("output." + extension);
    test::write_file(damaged, pair.damaged);
    test::write_file(sample, pair.sample);
    const auto code = MndRawAdvanceRepair(test::utf8(damaged).c_str(), test::utf8(sample).c_str(),
                                          test::utf8(output).c_str());
    if (code != PLATE_MEND_OK) {
        return extension + " code " + std::to_string(code);
    }
    return extension + ' ' + hash_of(pair.damaged) + ' ' + hash_of(pair.sample) + ' ' +
           hash_of(test::read_file(output));
}

std::vector<std::string> repaired_lines() {
    const test::TempDir folder;
    const std::string work = test::utf8(folder.path());
    // No log: it would stay open, and Windows would not let its folder go.
    MndRawInit((work + "/missing").c_str(), work.c_str(), work.c_str());
    std::vector<std::string> lines;
    for (const Pair& pair : all_pairs()) {
        lines.push_back(repaired_line(pair, folder.path()));
    }
    return lines;
}

std::vector<std::string> lines_of(const fs::path& table) {
    const Bytes bytes = test::read_file(table);
    std::vector<std::string> lines;
    std::string line;
    for (const unsigned char byte : bytes) {
        if (byte == '\n') {
            lines.push_back(line);
            line.clear();
        } else if (byte != '\r') {
            line += static_cast<char>(byte);
        }
    }
    return lines;
}

int check(const fs::path& table) {
    const auto expected = lines_of(table);
    const auto found = repaired_lines();
    for (const std::string& line : found) {
        std::cout << "repaired " << line << '\n';
    }
    if (found == expected) {
        return 0;
    }
    for (const std::string& line : expected) {
        std::cout << "expected " << line << '\n';
    }
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        if (arguments.size() == 2 && arguments[0] == "check") {
            return check(arguments[1]);
        }
        for (const std::string& line : repaired_lines()) {
            std::cout << line << '\n';
        }
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "golden: " << e.what() << '\n';
        return 2;
    }
}
