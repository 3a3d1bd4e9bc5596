#include "ways/Sample.h"

#include "coding/Cells.h"
#include "coding/ZlibStream.h"
#include "container/Describe.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

void read_headless(Sample& sample) {
    const Image& raw = sample.description.raw;
    for (HeadlessCoding& coding : headless_codings(sample.file, raw)) {
        const Extent& data = raw.pieces.front().data;
        const auto decoded =
            data.is_within(sample.file) ? coding.decode_at(sample.file, data.offset) : std::nullopt;
        if (decoded && decoded->length <= data.length) {
            const std::uint64_t slack = data.length - decoded->length;
            if (!sample.headless || slack < sample.slack) {
                sample.headless = std::move(coding);
                sample.slack = slack;
            }
        }
    }
    if (sample.headless && sample.headless->unsteadiness) {
        sample.unsteadiness = sample.headless->unsteadiness(raw.pieces.front().data.of(sample.file));
    }
}

void read_deflated(Sample& sample) {
    constexpr std::uint64_t kMostOfAll = std::uint64_t{1} << 36U; // Bytes of data.
    const Image& raw = sample.description.raw;
    std::uint64_t rest = kMostOfAll;
    for (std::size_t piece = 0; raw.frame.coding == Coding::kDeflate && piece < raw.pieces.size(); ++piece) {
        const Extent& data = raw.pieces[piece].data;
        const Bytes file = sample.file.first(static_cast<std::size_t>(data.end()));
        const ZlibCheck check = check_zlib_stream(file, data.offset, rest);
        if (!check.length) {
            sample.deflated.clear();
            return;
        }
        rest -= check.inflated;
        sample.deflated.push_back({{data.offset, *check.length}, check.inflated});
    }
}

} // namespace

std::optional<Sample> Sample::read(Bytes file) {
    auto description = describe(file);
    const auto is_within = [&](const Piece& piece) { return piece.data.is_within(file); };
    if (!description || description->raw.pieces.empty() ||
        !std::ranges::all_of(description->raw.pieces, is_within)) {
        return std::nullopt;
    }
    Sample sample{
        .file = file, .description = std::move(*description), .rows = {}, .traits = {}, .headless = {}};
    sample.rows = rows_of(sample.description.raw);
    if (sample.rows && !sample.rows->extent.is_within(file)) {
        sample.rows.reset();
    }
    if (sample.rows) {
        const Bytes image = sample.rows->extent.of(file);
        sample.traits = measure_row_traits(image, sample.rows->geometry);
    }
    const Extent range = sample.range();
    sample.has_cells = sample.description.raw.frame.coding == Coding::kFixedRate && range.is_within(file) &&
                       are_cells(range.of(file));
    read_headless(sample);
    read_deflated(sample);
    return sample;
}

Extent Sample::range() const {
    std::uint64_t begin = ~std::uint64_t{0};
    std::uint64_t end = 0;
    for (const Piece& piece : description.raw.pieces) {
        begin = std::min(begin, piece.data.offset);
        end = std::max(end, piece.data.end());
    }
    return {begin, end - begin};
}

std::uint64_t Sample::bytes_after() const {
    const std::uint64_t end = range().end();
    return file.size() > end ? file.size() - end : 0;
}

bool Sample::has_steady_rows(const HeadlessCoding& coding, Bytes data) const {
    constexpr double kSteady = 0.5;
    constexpr double kMoreThanSample = 1.5;
    return !coding.unsteadiness ||
           coding.unsteadiness(data) <= std::max(kSteady, kMoreThanSample * unsteadiness);
}

bool Sample::has_fixed_length() const {
    const Coding coding = description.raw.frame.coding;
    return coding == Coding::kUncompressed || coding == Coding::kFixedRate;
}

} // namespace raw_mend
