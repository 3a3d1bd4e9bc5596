#include "Damages.h"

#include <algorithm>

namespace test {

namespace {

constexpr std::size_t kFiller = 65536;

Damage head_lost(const std::string& name, std::size_t bytes) {
    return {"head_" + name, [bytes](const Bytes& file, std::size_t image, const Bytes&) {
                return zeroed(file, 0, std::min(bytes, image));
            }};
}

Damage displaced(std::size_t bytes) {
    return {"displaced_" + std::to_string(bytes),
            [bytes](const Bytes& file, std::size_t, const Bytes&) { return joined(noise(bytes, 7), file); }};
}

Damage head_lost_and_displaced(std::size_t bytes) {
    return {"head_all_displaced_" + std::to_string(bytes),
            [bytes](const Bytes& file, std::size_t image, const Bytes&) {
                return joined(noise(bytes, 7), zeroed(file, 0, image));
            }};
}

Bytes text() {
    Bytes bytes;
    while (bytes.size() < kFiller) {
        const std::string line =
            "line " + std::to_string(bytes.size()) + " of a text that is no photograph\n";
        bytes.insert(bytes.end(), line.begin(), line.end());
    }
    bytes.resize(kFiller);
    return bytes;
}

Damage head_lost_after(const std::string& name, const std::function<Bytes(const Bytes& other)>& filler) {
    return {"head_all_after_" + name, [filler](const Bytes& file, std::size_t image, const Bytes& other) {
                return joined(filler(other), zeroed(file, 0, image));
            }};
}

Damage head_lost_before(const std::string& name, const Bytes& more) {
    return {"head_all_before_" + name,
            [more](const Bytes& file, std::size_t image, const Bytes&) {
                return joined(zeroed(file, 0, image), more);
            },
            false};
}

/// In place of the head, so that the remains are directly before the image.
Damage head_replaced_by_remains() {
    return {"head_replaced_by_remains", [](const Bytes& file, std::size_t image, const Bytes& other) {
                Bytes result = file;
                std::copy(other.end() - static_cast<std::ptrdiff_t>(image), other.end(), result.begin());
                return result;
            }};
}

} // namespace

const std::vector<Damage>& damages() {
    static const std::vector<Damage> all{
        {"none", [](const Bytes& file, std::size_t, const Bytes&) { return file; }},
        head_lost("4k", 4096),
        head_lost("64k", 65536),
        head_lost("all", ~std::size_t{0}),
        displaced(512),
        displaced(4096),
        displaced(1000),
        displaced(1),
        displaced(3),
        displaced(12345),
        head_lost_and_displaced(1000),
        head_lost_and_displaced(1),
        head_lost_and_displaced(4096),
        head_lost_after("text", [](const Bytes&) { return text(); }),
        head_lost_after("ff", [](const Bytes&) { return Bytes(kFiller, 0xFF); }),
        head_lost_after(
            "remains",
            [](const Bytes& other) { return part(other, other.size() - other.size() / 3, other.size()); }),
        head_replaced_by_remains(),
        head_lost_before("zeros", Bytes(20000)),
        head_lost_before("noise", noise(20000, 11)),
    };
    return all;
}

} // namespace test
