#include "locate/ImageContent.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::size_t kBlock = 256;

bool is_printable(unsigned char byte) {
    return (byte >= 0x20 && byte < 0x7F) || byte == '\n' || byte == '\r' || byte == '\t';
}

double share(std::uint64_t part, std::uint64_t whole) {
    return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

} // namespace

bool is_zeros(Bytes bytes) {
    return std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0; });
}

bool is_filler(Bytes bytes) {
    return std::ranges::all_of(bytes, [&](unsigned char byte) { return byte == bytes.front(); });
}

void ImageContent::add(Bytes piece) {
    for (std::size_t at = 0; at + kBlock <= piece.size(); at += kBlock) {
        ++blocks_;
        filler_ += is_filler(piece.subspan(at, kBlock)) ? 1 : 0;
    }
    bytes_ += piece.size();
    text_ += static_cast<std::uint64_t>(std::ranges::count_if(piece, is_printable));
    const std::uint64_t samples = std::uint64_t{frame_.piece_width} * frame_.piece_height * frame_.samples;
    if (frame_.coding == Coding::kUncompressed && frame_.bits > 8 && frame_.bits < 16 &&
        piece.size() == 2 * samples) {
        add_words(piece);
    }
}

void ImageContent::add_words(Bytes piece) {
    const std::size_t high = frame_.order == ByteOrder::kBig ? 0 : 1;
    for (std::size_t at = 0; at + 2 <= piece.size(); at += 2) {
        ++words_;
        too_large_ += (piece[at + high] >> (frame_.bits - 8)) != 0 ? 1 : 0;
    }
}

bool ImageContent::can_be_like(const ImageContent& sample) const {
    constexpr double kMostFiller = 0.75; // More than the sample has.
    constexpr double kMostText = 0.9;
    constexpr double kMostTooLarge = 0.6;
    const bool is_text = share(text_, bytes_) > kMostText && share(sample.text_, sample.bytes_) < kMostText;
    const bool is_too_large =
        share(too_large_, words_) > kMostTooLarge + share(sample.too_large_, sample.words_);
    return share(filler_, blocks_) <= share(sample.filler_, sample.blocks_) + kMostFiller && !is_text &&
           !is_too_large;
}

} // namespace raw_mend
