#include "host/Pairs.h"
#include "support/Bytes.h"
#include "support/RealFiles.h"
#include "support/TempDir.h"

#include "files/Formats.h"
#include "files/Kind.h"
#include "repair/SampleCache.h"
#include "repair/Samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

// Which sample is the first choice for a damaged file.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;

Samples samples_of(const std::vector<fs::path>& files) {
    return {files, SampleCache({}), [](std::size_t, std::size_t) {}};
}

struct HeadLoss {
    const char* name;
    std::function<Bytes(const Bytes& bytes)> apply;
};

Bytes without_first(const Bytes& bytes, std::size_t length) {
    return zeroed(bytes, 0, std::min(length, bytes.size()));
}

Bytes encrypted(const Bytes& bytes, std::size_t length) {
    const std::size_t end = std::min(length, bytes.size());
    return joined(noise(end, 77), part(bytes, end, bytes.size()));
}

const std::vector<HeadLoss>& head_losses() {
    static const std::vector<HeadLoss> kAll = {
        {"none", [](const Bytes& b) { return b; }},
        {"head of 512 bytes zeroed", [](const Bytes& b) { return zeroed(b, 0, 512); }},
        {"head of 4 KiB zeroed", [](const Bytes& b) { return without_first(b, 4096); }},
        {"head of 64 KiB zeroed", [](const Bytes& b) { return without_first(b, 65536); }},
        {"displaced by 1000 bytes", [](const Bytes& b) { return joined(noise(1000, 12), b); }},
        {"displaced, head of 4 KiB zeroed",
         [](const Bytes& b) { return joined(noise(4096, 13), without_first(b, 4096)); }},
        {"head of 16 KiB encrypted", [](const Bytes& b) { return encrypted(b, 16384); }},
        {"head of 256 KiB encrypted", [](const Bytes& b) { return encrypted(b, 262144); }},
    };
    return kAll;
}

std::set<std::string> joined_sets(std::set<std::string> one, const std::set<std::string>& other) {
    one.insert(other.begin(), other.end());
    return one;
}

/// RAW photographs of the folder of real files, and which camera each is from: a folder of a pair, or the
/// only photograph of its camera.
std::map<fs::path, fs::path> real_photographs(const fs::path& cameras) {
    std::map<fs::path, fs::path> photographs;
    const std::vector<std::string>& known = raw_extensions();
    for (const auto& entry : fs::recursive_directory_iterator(cameras)) {
        const fs::path& file = entry.path();
        if (std::find(known.begin(), known.end(), extension_of(file)) != known.end()) {
            const bool is_pair = file.parent_path().parent_path().filename() == "pairs";
            photographs[file] = is_pair ? file.parent_path() : file;
        }
    }
    return photographs;
}

/// Losses that take every trace of the camera, so that kind and length alone are left. In one file a preview
/// survives that is like those of another camera.
bool has_no_trace(const fs::path& file, const std::string& loss) {
    static const std::set<std::string> kFirst64 = {"head of 64 KiB zeroed", "head of 256 KiB encrypted"};
    static const std::set<std::string> kFirst16 = joined_sets(kFirst64, {"head of 16 KiB encrypted"});
    static const std::set<std::string> kFirst4 =
        joined_sets(kFirst16, {"head of 4 KiB zeroed", "displaced, head of 4 KiB zeroed"});
    static const std::set<std::string> kAny = joined_sets(kFirst4, {"head of 512 bytes zeroed"});
    static const std::map<std::string, std::set<std::string>> kAll = {{"sony-a7m3-head.arw", kAny},
                                                                      {"sony-zv-e10-head.arw", kFirst64},
                                                                      {"canon-m50-stripped.cr3", kFirst16},
                                                                      {"canon-r6-pruned.cr3", kFirst64},
                                                                      {"canon-x4-colorchart.dng", kFirst4},
                                                                      {"lg-h815-lossy.dng", kFirst64},
                                                                      {"image_0.dng", kAny},
                                                                      {"image_3.dng", kAny}};
    const auto found = kAll.find(file.filename().string());
    return found != kAll.end() && found->second.contains(loss);
}

/// Without its last third, so that no length says which file it was.
TEST(SampleChoice, RealFilesGetTheirOwnCameras) {
    const auto cameras = real_folder();
    if (!cameras) {
        GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";
    }
    const auto photographs = real_photographs(*cameras);
    std::vector<fs::path> files;
    for (const auto& [file, camera] : photographs) {
        files.push_back(file);
    }
    const Samples samples = samples_of(files);
    TempDir folder;
    for (const auto& [file, camera] : photographs) {
        const Bytes bytes = read_file(file);
        for (const HeadLoss& loss : head_losses()) {
            const fs::path broken = folder / fs::path("broken").replace_extension(file.extension());
            write_file(broken, loss.apply(part(bytes, 0, bytes.size() / 3 * 2)));
            const RankedSample first = samples.ranked_for(broken, kind_of(broken), broken).front();
            if (!has_no_trace(file, loss.name)) {
                EXPECT_EQ(photographs.at(first.path), camera)
                    << file << ", " << loss.name << ": " << first.why;
            }
        }
    }
}

} // namespace
} // namespace test
