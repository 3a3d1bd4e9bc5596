#include "metadata/ExifValues.h"

#include "text/Text.h"

#include <algorithm>
#include <chrono>
#include <string_view>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;

constexpr std::uint16_t kAscii = 2;
constexpr std::uint16_t kShort = 3;
constexpr std::uint16_t kLong = 4;
constexpr std::uint16_t kRational = 5;
constexpr std::uint16_t kSignedRational = 10;

/// The bytes of a text up to its first NUL.
std::string_view ascii(const ByteReader& file, const ExifEntry& entry) {
    constexpr std::uint64_t kLongest = 256;
    if (entry.type != kAscii || entry.count > kLongest || !file.holds(entry.values, entry.count)) {
        return {};
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    const std::string_view text(reinterpret_cast<const char*>(file.bytes().data()) + entry.values,
                                static_cast<std::size_t>(entry.count));
    return text.substr(0, text.find('\0'));
}

bool is_digit(char letter) {
    return letter >= '0' && letter <= '9';
}

/// Whether a text has this form, in which 0 is any digit.
bool has_form(std::string_view text, std::string_view form) {
    return text.size() == form.size() &&
           std::equal(text.begin(), text.end(), form.begin(), [](char letter, char wanted) {
               return wanted == '0' ? is_digit(letter) : letter == wanted;
           });
}

int number_in(std::string_view text, std::size_t at, std::size_t digits) {
    int number = 0;
    for (const char digit : text.substr(at, digits)) {
        number = 10 * number + (digit - '0');
    }
    return number;
}

constexpr std::size_t kDayLength = 10;

/// "2026-05-01" of "2026:05:01".
std::optional<std::string> day_from(std::string_view text) {
    constexpr int kFirstYear = 1990;
    constexpr int kLastYear = 2099;
    if (!has_form(text, "0000:00:00")) {
        return std::nullopt;
    }
    const int year = number_in(text, 0, 4);
    const std::chrono::year_month_day day{std::chrono::year(year),
                                          std::chrono::month(static_cast<unsigned>(number_in(text, 5, 2))),
                                          std::chrono::day(static_cast<unsigned>(number_in(text, 8, 2)))};
    if (year < kFirstYear || year > kLastYear || !day.ok()) {
        return std::nullopt;
    }
    std::string date(text);
    date[4] = '-';
    date[7] = '-';
    return date;
}

std::string_view without_spaces(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

} // namespace

std::optional<std::string> exif_date(const ByteReader& file, const ExifEntry& entry) {
    const std::string_view text = ascii(file, entry);
    if (!has_form(text, "0000:00:00 00:00:00") || number_in(text, 11, 2) > 23 ||
        number_in(text, 14, 2) > 59 || number_in(text, 17, 2) > 59) {
        return std::nullopt;
    }
    const auto day = day_from(text.substr(0, kDayLength));
    return day ? std::optional(*day + 'T' + std::string(text.substr(kDayLength + 1))) : std::nullopt;
}

std::optional<std::string> exif_day(const ByteReader& file, const ExifEntry& entry) {
    return day_from(ascii(file, entry));
}

std::optional<std::string> exif_text(const ByteReader& file, const ExifEntry& entry) {
    const std::string_view text = without_spaces(ascii(file, entry));
    const bool has_control = std::any_of(text.begin(), text.end(), [](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return byte < 0x20 || byte == 0x7F;
    });
    return text.empty() || has_control || well_formed(text) != text ? std::nullopt
                                                                    : std::optional(std::string(text));
}

std::optional<std::string> exif_fraction(const ByteReader& file, const ExifEntry& entry) {
    constexpr std::size_t kMostDigits = 9;
    const std::string_view text = without_spaces(ascii(file, entry));
    return text.empty() || text.size() > kMostDigits || !std::all_of(text.begin(), text.end(), is_digit)
               ? std::nullopt
               : std::optional(std::string(text));
}

std::optional<std::string> exif_zone(const ByteReader& file, const ExifEntry& entry) {
    constexpr int kMostHours = 14;
    const std::string_view text = ascii(file, entry);
    const bool is_zone = (has_form(text, "+00:00") || has_form(text, "-00:00")) &&
                         number_in(text, 1, 2) <= kMostHours && number_in(text, 4, 2) < 60;
    return is_zone ? std::optional(std::string(text)) : std::nullopt;
}

std::optional<std::uint32_t> exif_number(const ByteReader& file, const ExifEntry& entry) {
    if (entry.count == 0) {
        return std::nullopt;
    }
    return entry.type == kShort  ? std::optional<std::uint32_t>(file.u16(entry.values))
           : entry.type == kLong ? file.u32(entry.values)
                                 : std::nullopt;
}

std::optional<std::string> exif_ratio(const ByteReader& file, const ExifEntry& entry, double least,
                                      double most) {
    const auto values = exif_rationals(file, entry, 1);
    if (!values || values->front() < least || values->front() > most) {
        return std::nullopt;
    }
    return std::to_string(file.u32(entry.values).value_or(0)) + "/" +
           std::to_string(file.u32(entry.values + 4).value_or(0));
}

std::optional<std::vector<double>> exif_rationals(const ByteReader& file, const ExifEntry& entry,
                                                  std::size_t count) {
    constexpr std::uint64_t kSize = 8;
    const bool is_rational = entry.type == kRational || entry.type == kSignedRational;
    if (!is_rational || entry.count != count || !file.holds(entry.values, kSize * count)) {
        return std::nullopt;
    }
    std::vector<double> values;
    for (std::size_t nth = 0; nth < count; ++nth) {
        const std::uint32_t numerator = file.u32(entry.values + kSize * nth).value_or(0);
        const std::uint32_t denominator = file.u32(entry.values + kSize * nth + 4).value_or(0);
        const bool is_negative =
            entry.type == kSignedRational && std::max(numerator, denominator) > INT32_MAX;
        if (denominator == 0 || is_negative) {
            return std::nullopt;
        }
        values.push_back(static_cast<double>(numerator) / denominator);
    }
    return values;
}

} // namespace plate_mend::host
