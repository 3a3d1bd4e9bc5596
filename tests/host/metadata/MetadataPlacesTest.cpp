#include "metadata/MetadataPlaces.h"

#include "support/Bytes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace test {
namespace {

using namespace plate_mend::host;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::vector<std::string_view> kHeaders = {{"II*\0", 4}, {"MM\0*", 4}, {"IIRO", 4},
                                                {"IIRS", 4},  {"MMOR", 4},  {"IIU\0", 4}};

std::vector<std::uint64_t> places_of(std::string_view pattern, const Bytes& file) {
    std::vector<std::uint64_t> places;
    const std::string text(file.begin(), file.end());
    for (auto at = text.find(pattern); at != std::string::npos; at = text.find(pattern, at + 1)) {
        places.push_back(at);
    }
    return places;
}

void put(std::string_view pattern, std::size_t at, Bytes& file) {
    std::copy(pattern.begin(), pattern.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
}

TEST(MetadataPlaces, FindsEachPatternWhereverItIs) {
    constexpr std::size_t kSize = 777; // Three blocks, and a part of one.
    for (const std::string_view header : kHeaders) {
        for (std::size_t at = 0; at + header.size() <= kSize; ++at) {
            Bytes file(kSize);
            put(header, at, file);
            EXPECT_THAT(find_metadata_places(file).headers, ElementsAre(at));
        }
    }
    for (std::size_t kind = 0; kind < kDateEntries.size(); ++kind) {
        for (std::size_t at = 0; at + kDateEntries[kind].bytes.size() <= kSize; ++at) {
            Bytes file(kSize, 0xFF);
            put(kDateEntries[kind].bytes, at, file);
            EXPECT_THAT(find_metadata_places(file).dates[kind], ElementsAre(at));
        }
    }
}

TEST(MetadataPlaces, FindsWhatAPlainSearchFinds) {
    std::mt19937 random(1);
    const std::string_view letters("IM*ORSU\0\x14\2\3\1\x32\x90", 14);
    for (std::size_t size = 0; size < 3000; size += 37) {
        Bytes file(size);
        for (unsigned char& byte : file) {
            byte = static_cast<unsigned char>(letters[random() % letters.size()]);
        }
        for (std::size_t at = 0; at + 8 <= size; at += 100) {
            const std::size_t kind = random() % (kHeaders.size() + kDateEntries.size());
            put(kind < kHeaders.size() ? kHeaders[kind] : kDateEntries[kind - kHeaders.size()].bytes, at,
                file);
        }
        std::vector<std::uint64_t> headers;
        for (const std::string_view header : kHeaders) {
            std::ranges::copy(places_of(header, file), std::back_inserter(headers));
        }
        std::ranges::sort(headers);
        const MetadataPlaces found = find_metadata_places(file);
        EXPECT_EQ(found.headers, headers) << size;
        for (std::size_t kind = 0; kind < kDateEntries.size(); ++kind) {
            EXPECT_EQ(found.dates[kind], places_of(kDateEntries[kind].bytes, file)) << size;
        }
    }
}

TEST(MetadataPlaces, ArePatternsThatAreComplete) {
    Bytes file(512, 0xFF);
    put("II*", 509, file);
    EXPECT_THAT(find_metadata_places(file).headers, IsEmpty());
    put(kDateEntries[1].bytes.substr(1), 0, file);
    EXPECT_THAT(find_metadata_places(file).dates[1], IsEmpty());
}

TEST(MetadataPlaces, AreNoMoreThanALimitOfEachKind) {
    Bytes file;
    for (int times = 0; times < 5000; ++times) {
        file.insert(file.end(), {'I', 'I', 'R', 'O'});
        const std::string_view date = kDateEntries[3].bytes;
        file.insert(file.end(), date.begin(), date.end());
    }
    file.insert(file.end(), {'I', 'I', '*', 0});
    const MetadataPlaces found = find_metadata_places(file);
    EXPECT_THAT(found.headers, SizeIs(4097));
    EXPECT_EQ(found.headers.back(), file.size() - 4);
    EXPECT_EQ(found.headers[4095], 4095U * 12);
    EXPECT_THAT(found.dates[3], SizeIs(4096));
}

} // namespace
} // namespace test
