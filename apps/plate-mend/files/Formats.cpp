#include "files/Formats.h"

#include "files/SafeOutput.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <array>

namespace plate_mend::host {

namespace {

struct Extension {
    const char* text;
    RawFormat format;
};

constexpr std::array kExtensions = {
    Extension{"arw", RawFormat::kArw}, Extension{"raw", RawFormat::kArw}, Extension{"sr2", RawFormat::kSr2},
    Extension{"raf", RawFormat::kRaf}, Extension{"orf", RawFormat::kOrf}, Extension{"dng", RawFormat::kDng},
    Extension{"cr2", RawFormat::kCr2}, Extension{"nef", RawFormat::kNef}, Extension{"cr3", RawFormat::kCr3}};

/// Of photographs that only the raw engine repairs; it goes by content.
constexpr std::array kOtherExtensions = {"3fr", "arq", "dcr", "erf", "fff", "gpr", "iiq", "kdc",
                                         "mef", "mos", "nrw", "pef", "rw2", "rwl", "srf", "srw"};

} // namespace

const char* name_of(RawFormat format) {
    constexpr std::array kNames = {"ARW", "SR2", "RAF", "ORF", "DNG", "CR2", "NEF", "CR3"};
    return kNames.at(static_cast<std::size_t>(format));
}

const std::vector<std::string>& raw_extensions() {
    static const std::vector<std::string> extensions = [] {
        std::vector<std::string> texts;
        texts.reserve(kExtensions.size() + kOtherExtensions.size());
        for (const Extension& one : kExtensions) {
            texts.emplace_back(one.text);
        }
        texts.insert(texts.end(), kOtherExtensions.begin(), kOtherExtensions.end());
        return texts;
    }();
    return extensions;
}

std::string extension_of(const std::filesystem::path& path) {
    const std::string text = lower(utf8_from(path.extension()));
    return text.empty() ? text : text.substr(1);
}

std::optional<RawFormat> format_of_extension(const std::string& extension) {
    for (const Extension& one : kExtensions) {
        if (extension == one.text) {
            return one.format;
        }
    }
    return std::nullopt;
}

std::optional<RawFormat> format_of(const std::filesystem::path& path) {
    return format_of_extension(extension_of(path));
}

bool are_same_kind(const std::string& one, const std::string& other) {
    const auto format = format_of_extension(one);
    return format ? format == format_of_extension(other) : one == other;
}

} // namespace plate_mend::host
