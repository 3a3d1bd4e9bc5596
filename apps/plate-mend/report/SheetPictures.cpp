#include "report/SheetPictures.h"

#include "files/Failures.h"
#include "files/InputFile.h"
#include "files/Sha256.h"
#include "text/Paths.h"

#include <cstdint>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSumDigits = 32; ///< Of a picture's sum in its name.
constexpr const char* kJpegExtension = ".jpg";
constexpr std::uintmax_t kLargestPicture = std::uintmax_t{4}
                                           << 20U; ///< Bytes; a picture of this program has far fewer.

std::string name_for(std::string_view jpeg) {
    Sha256 sum;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    sum.add(reinterpret_cast<const unsigned char*>(jpeg.data()), jpeg.size());
    return sum.hexadecimal().substr(0, kSumDigits) + kJpegExtension;
}

bool has_name_of_picture(const std::string& name) {
    return name.size() > kSumDigits && name.substr(kSumDigits) == kJpegExtension &&
           name.find_first_not_of("0123456789abcdef") == kSumDigits;
}

/// Whether an entry is a picture of a sheet, as it was written.
bool is_picture(const fs::directory_entry& entry, const Protected& inputs) {
    const std::string name = utf8_from(entry.path().filename());
    return has_name_of_picture(name) && fs::is_regular_file(entry.symlink_status()) &&
           !inputs.covers(entry.path()) && entry.file_size() <= kLargestPicture &&
           name_for(read_small_file(entry.path())) == name;
}

std::string problem_at(const fs::path& path, const char* what) {
    return utf8_from(path) + ": " + what;
}

} // namespace

fs::path pictures_folder_of(const fs::path& page) {
    fs::path name = page.stem();
    name += "_files";
    return page.parent_path() / name;
}

std::optional<std::string> refuse_pictures(const fs::path& folder, const Protected& inputs,
                                           bool may_replace) {
    try {
        if (!platform::is_taken(folder)) {
            return std::nullopt;
        }
        if (!fs::is_directory(fs::symlink_status(folder))) {
            return problem_at(folder, "is not a folder, and the contact sheet's pictures need its name");
        }
        if (!may_replace) {
            return problem_at(folder, "exists already; --force replaces it");
        }
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            if (!is_picture(entry, inputs)) {
                return problem_at(entry.path(), "is no picture of a contact sheet, so its folder is not "
                                                "replaced; name another contact sheet");
            }
        }
        return std::nullopt;
    } catch (const std::system_error& e) {
        throw MachineFailure(problem_at(folder, "cannot be examined"), e.code());
    }
}

SheetPictures::SheetPictures(const fs::path& page, const Protected& inputs, bool replace)
    : folder_(pictures_folder_of(page)), inputs_(&inputs), replace_(replace),
      private_(std::make_unique<PrivateFolder>(folder_of(page))) {
    try {
        fs::create_directory(growing());
        stamp_ = platform::stamp_of(growing()).value();
    } catch (const std::system_error& e) {
        throw MachineFailure(problem_at(folder_, "cannot be written"), e.code());
    }
}

fs::path SheetPictures::growing() const {
    return private_->path() / "pictures";
}

fs::path SheetPictures::old() const {
    return private_->path() / "old";
}

std::string SheetPictures::add(std::string_view jpeg) {
    std::string name = name_for(jpeg);
    try {
        if (const fs::path file = growing() / name; !platform::is_taken(file)) {
            // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
            platform::NewFile(file).write(reinterpret_cast<const unsigned char*>(jpeg.data()), jpeg.size());
        }
    } catch (const std::system_error& e) {
        throw MachineFailure(problem_at(folder_, "cannot be written"), e.code());
    }
    return name;
}

std::string SheetPictures::read(const std::string& name) const {
    std::string bytes = read_small_file(growing() / name);
    if (bytes.empty()) {
        throw MachineFailure(problem_at(growing() / name, "cannot be read"));
    }
    return bytes;
}

void SheetPictures::publish() {
    if (const auto refusal = refuse_pictures(folder_, *inputs_, replace_)) {
        throw MachineFailure(*refusal);
    }
    try {
        if (platform::is_taken(folder_)) {
            platform::move_new(folder_, old());
        }
        platform::move_new(growing(), folder_);
    } catch (const std::system_error& e) {
        take_back();
        throw MachineFailure(problem_at(folder_, "cannot be written"), e.code());
    }
}

void SheetPictures::remove_old() {
    try {
        if (replace_ && platform::is_taken(folder_) && !refuse_pictures(folder_, *inputs_, true)) {
            platform::move_new(folder_, old());
        }
    } catch (const std::system_error&) { // It stays, and no page refers to it.
        return;
    } catch (const MachineFailure&) {
        return;
    }
}

void SheetPictures::take_back() {
    try {
        const auto there = platform::stamp_of(folder_);
        if (there && there->volume == stamp_.volume && there->index == stamp_.index) {
            platform::move_new(folder_, growing());
        }
        if (platform::is_taken(old())) {
            platform::move_new(old(), folder_);
        }
    } catch (const std::system_error&) { // The pictures of a page that is not there do no harm.
        return;
    }
}

} // namespace plate_mend::host
