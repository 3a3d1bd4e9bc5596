#include "report/Spool.h"

#include "files/Failures.h"
#include "text/Paths.h"

#include <system_error>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

platform::NewFile new_file(const fs::path& path) {
    try {
        return platform::NewFile(path);
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(path) + ": cannot be written", e.code());
    }
}

} // namespace

Spool::Spool(fs::path file) : path_(std::move(file)), file_(new_file(path_)) {}

Spool::Place Spool::add(std::string_view text) {
    const Place place{size_, text.size()};
    try {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
        file_.write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(path_) + ": cannot be written", e.code());
    }
    size_ += text.size();
    return place;
}

std::string Spool::read(const Place& place) const {
    std::vector<unsigned char> bytes(place.size);
    try {
        if (platform::SourceFile(path_).read(place.offset, bytes.data(), bytes.size()) != bytes.size()) {
            throw MachineFailure(utf8_from(path_) + ": has been changed by another program");
        }
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(path_) + ": cannot be read", e.code());
    }
    return {bytes.begin(), bytes.end()};
}

} // namespace plate_mend::host
