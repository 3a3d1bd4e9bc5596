#include "repair/SampleCache.h"

#include "files/Failures.h"
#include "files/SafeOutput.h"
#include "files/Sha256.h"
#include "platform/Names.h"
#include "record/Json.h"
#include "text/Paths.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* kCacheSchema = "plate-mend/samples/1";
constexpr const char* kFile = "samples.jsonl";
constexpr std::uintmax_t kLongestFile = std::uintmax_t{1} << 30U;

std::string sum_of_lines(const std::string& text) {
    Sha256 sum;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    sum.add(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    return sum.hexadecimal();
}

Json texts_to_json(const std::set<std::string>& texts) {
    Json all = Json::array();
    for (const std::string& text : texts) {
        all.append(escaped_name(text));
    }
    return all;
}

std::set<std::string> texts_from(const Json& json) {
    std::set<std::string> texts;
    for (const Json& text : json.elements()) {
        texts.insert(unescaped_name(text.text()));
    }
    return texts;
}

/// An object with one number for each value.
template <typename Value>
Json numbers_to_json(const std::set<Value>& values, const char* name) {
    Json all = Json::array();
    for (const Value value : values) {
        all.append(Json::object({{name, value}}));
    }
    return all;
}

template <typename Value>
std::set<Value> numbers_from(const Json& json, const char* name) {
    std::set<Value> values;
    for (const Json& element : json.elements()) {
        values.insert(element.required_integer<Value>(name));
    }
    return values;
}

Json pictures_to_json(const PhotographFacts& facts) {
    Json all = Json::array();
    for (const auto& [width, height] : facts.sizes) {
        all.append(Json::object({{"width", width}, {"height", height}}));
    }
    for (const ImageCoding& coding : facts.codings) {
        all.append(Json::object({{"width", coding.width},
                                 {"height", coding.height},
                                 {"bits", coding.bits},
                                 {"compression", coding.compression}}));
    }
    return all;
}

void add_pictures(const Json& json, PhotographFacts& facts) {
    for (const Json& picture : json.elements()) {
        const auto width = picture.required_integer<std::uint32_t>("width");
        const auto height = picture.required_integer<std::uint32_t>("height");
        if (picture.has("bits")) {
            facts.codings.insert({width, height, picture.required_integer<std::uint32_t>("bits"),
                                  picture.required_integer<std::uint32_t>("compression")});
        } else {
            facts.sizes.emplace(width, height);
        }
    }
}

Json to_json(const std::string& key, const SampleFacts& sample) {
    const PhotographFacts& facts = sample.photograph;
    return Json::object({{"schema", kCacheSchema},
                         {"key", escaped_name(key)},
                         {"size", sample.size},
                         {"modified", sample.modified},
                         {"kind", sample.kind},
                         {"makes", texts_to_json(facts.makes)},
                         {"models", texts_to_json(facts.models)},
                         {"software", texts_to_json(facts.software)},
                         {"little_endian", facts.little_endian},
                         {"big_endian", facts.big_endian},
                         {"pictures", pictures_to_json(facts)},
                         {"tables", numbers_to_json(facts.tables, "hash")},
                         {"samplings", numbers_to_json(facts.samplings, "factors")}});
}

/// Throws JsonError.
SampleFacts sample_from(const Json& json) {
    if (json.required_text("schema") != kCacheSchema) {
        throw JsonError();
    }
    SampleFacts sample;
    sample.size = json.required_integer<std::uint64_t>("size");
    sample.modified = json.required_integer<std::int64_t>("modified");
    sample.kind = json.required_text("kind");
    PhotographFacts& facts = sample.photograph;
    facts.makes = texts_from(json.required("makes"));
    facts.models = texts_from(json.required("models"));
    facts.software = texts_from(json.required("software"));
    facts.little_endian = json.required_integer<unsigned>("little_endian");
    facts.big_endian = json.required_integer<unsigned>("big_endian");
    add_pictures(json.required("pictures"), facts);
    facts.tables = numbers_from<std::uint64_t>(json.required("tables"), "hash");
    facts.samplings = numbers_from<std::uint32_t>(json.required("samplings"), "factors");
    return sample;
}

/// The last line, with the sum of those before it.
std::string sum_line(const std::string& lines) {
    return Json::object({{"schema", kCacheSchema}, {"sha256", sum_of_lines(lines)}}).line() + "\n";
}

/// The lines of a cache without the last one; nothing if its sum is not theirs.
std::optional<std::string> intact_lines(const fs::path& file) {
    std::error_code none;
    const bool is_file = fs::is_regular_file(fs::symlink_status(file, none));
    const std::uintmax_t size = is_file ? fs::file_size(file, none) : 0;
    if (none || size == 0 || size > kLongestFile) {
        return std::nullopt;
    }
    std::ifstream stream(file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    const std::size_t break_before_last =
        text.size() < 2 ? std::string::npos : text.rfind('\n', text.size() - 2);
    const std::size_t last = break_before_last == std::string::npos ? 0 : break_before_last + 1;
    const std::string lines = text.substr(0, last);
    return text.substr(last) == sum_line(lines) ? std::optional(lines) : std::nullopt;
}

} // namespace

SampleCache::SampleCache(fs::path folder) : folder_(std::move(folder)) {
    if (folder_.empty()) {
        return;
    }
    std::error_code none;
    for (fs::directory_iterator run(folder_.parent_path(), none); !none && run != fs::directory_iterator();
         run.increment(none)) {
        if (run->path().filename() != folder_.filename()) {
            unread_.push_back(run->path() / kFile);
        }
    }
    unread_.push_back(folder_ / kFile);
}

void SampleCache::load_next() {
    const auto lines = intact_lines(unread_.back());
    unread_.pop_back();
    if (!lines) {
        return;
    }
    std::istringstream stream(*lines);
    for (std::string line; std::getline(stream, line);) {
        try {
            const Json json = Json::parse(line);
            known_.emplace(unescaped_name(json.required_text("key")), sample_from(json));
        } catch (const JsonError&) {
            return; // Another version's.
        }
    }
}

bool SampleCache::complete(SampleFacts& sample) {
    const std::string key = platform::name_key(sample.path);
    while (true) {
        const auto [first, last] = known_.equal_range(key);
        const auto found = std::find_if(first, last, [&](const auto& known) {
            return known.second.size == sample.size && known.second.modified == sample.modified;
        });
        if (found != last) {
            sample.kind = found->second.kind;
            sample.photograph = found->second.photograph;
            return true;
        }
        if (unread_.empty()) {
            return false;
        }
        load_next();
    }
}

void SampleCache::save(const std::vector<SampleFacts>& samples) const {
    if (folder_.empty()) {
        return;
    }
    std::string lines;
    for (const SampleFacts& sample : samples) {
        lines += to_json(platform::name_key(sample.path), sample).line() + "\n";
    }
    try {
        OutputFile file(folder_ / kFile, true);
        file.write(lines + sum_line(lines));
        file.publish();
    } catch (const MachineFailure&) {
        return; // The next run reads the samples again.
    }
}

} // namespace plate_mend::host
