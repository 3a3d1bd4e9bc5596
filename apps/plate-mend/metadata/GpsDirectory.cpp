#include "metadata/GpsDirectory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;

/// The first letter of a text of one letter; 0 for anything else.
char letter_of(const ByteReader& file, const ExifEntry& entry) {
    return entry.type == 2 && entry.count == 2 ? static_cast<char>(file.u8(entry.values).value_or(0)) : '\0';
}

/// Reads the entries of one directory.
class GpsReader {
  public:
    GpsReader(const ByteReader& file, const std::vector<ExifEntry>& entries)
        : file_(file), entries_(entries) {}

    CameraFacts run() {
        const ExifEntry* status = entry(9);
        if (status != nullptr && letter_of(file_, *status) == 'V') {
            return {};
        }
        const std::string latitude = coordinate(1, 90, "NS");
        const std::string longitude = coordinate(3, 180, "EW");
        if (latitude.empty() || longitude.empty()) {
            return {};
        }
        facts_[CameraFact::kLatitude] = latitude;
        facts_[CameraFact::kLongitude] = longitude;
        add_altitude();
        add_time();
        return std::move(facts_);
    }

  private:
    [[nodiscard]] const ExifEntry* entry(std::uint16_t tag) const {
        const auto found = std::find_if(entries_.begin(), entries_.end(),
                                        [tag](const ExifEntry& one) { return one.tag == tag; });
        return found == entries_.end() ? nullptr : &*found;
    }

    [[nodiscard]] std::optional<std::vector<double>> values(std::uint16_t tag, std::size_t count) const {
        const ExifEntry* found = entry(tag);
        return found == nullptr ? std::nullopt : exif_rationals(file_, *found, count);
    }

    /// "48,12.500000N", by the letter of an entry and the degrees, minutes and seconds of the next one.
    [[nodiscard]] std::string coordinate(std::uint16_t tag, double most, std::string_view letters) const {
        const ExifEntry* side = entry(tag);
        const auto parts = values(static_cast<std::uint16_t>(tag + 1), 3);
        if (side == nullptr || !parts) {
            return "";
        }
        const char letter = letter_of(file_, *side);
        const double degrees = parts->at(0) + parts->at(1) / 60 + parts->at(2) / 3600;
        if (letter == '\0' || letters.find(letter) == std::string_view::npos || parts->at(1) >= 60 ||
            parts->at(2) >= 60 || degrees > most) {
            return "";
        }
        // A millionth of a minute is 2 mm.
        const long long millionths = std::llround(degrees * 60e6);
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "%lld,%lld.%06lld%c", millionths / 60000000,
                      millionths / 1000000 % 60, millionths % 1000000, letter);
        return text.data();
    }

    void add_altitude() {
        constexpr double kHighest = 100000;
        const ExifEntry* altitude = entry(6);
        const ExifEntry* side = entry(5);
        if (altitude == nullptr || side == nullptr) {
            return;
        }
        const auto below = file_.u8(side->values).value_or(2);
        const auto metres = exif_ratio(file_, *altitude, 0, kHighest);
        if (metres && below <= 1) {
            facts_[CameraFact::kAltitude] = (below == 1 ? "-" : "") + *metres;
        }
    }

    void add_time() {
        const ExifEntry* date = entry(29);
        const auto time = values(7, 3);
        if (date == nullptr || !time || time->at(0) >= 24 || time->at(1) >= 60 || time->at(2) >= 60) {
            return;
        }
        if (const auto day = exif_day(file_, *date)) {
            std::array<char, 16> text{};
            std::snprintf(text.data(), text.size(), "T%02d:%02d:%02dZ", static_cast<int>(time->at(0)),
                          static_cast<int>(time->at(1)), static_cast<int>(time->at(2)));
            facts_[CameraFact::kGpsTime] = *day + text.data();
        }
    }

    const ByteReader& file_;
    const std::vector<ExifEntry>& entries_;
    CameraFacts facts_;
};

} // namespace

bool is_gps_directory(const std::vector<ExifEntry>& entries) {
    const auto has = [&](std::uint16_t tag, std::uint16_t type, std::uint64_t count) {
        return std::any_of(entries.begin(), entries.end(), [&](const ExifEntry& entry) {
            return entry.tag == tag && entry.type == type && entry.count == count;
        });
    };
    return has(1, 2, 2) && has(2, 5, 3) && has(3, 2, 2) && has(4, 5, 3);
}

CameraFacts read_gps(const ByteReader& file, const std::vector<ExifEntry>& entries) {
    return GpsReader(file, entries).run();
}

} // namespace plate_mend::host
