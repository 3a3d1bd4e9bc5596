#include "mend/StreamFrame.h"

#include <algorithm>
#include <cstdlib>

namespace raw_mend {

namespace {

int predict_inside(unsigned predictor, int left, int above, int corner) {
    switch (predictor) {
    case 1:
        return left;
    case 2:
        return above;
    case 3:
        return corner;
    case 4:
        return left + above - corner;
    case 5:
        return left + ((above - corner) >> 1);
    case 6:
        return above + ((left - corner) >> 1);
    default:
        return (left + above) / 2;
    }
}

std::uint16_t add(int predicted, std::uint16_t difference) {
    return static_cast<std::uint16_t>(predicted + difference);
}

/// Decodes values of one row that all have a left neighbour, and one above unless it is the first row.
std::size_t decode_inside(lossless_jpeg::DifferenceReader& reader, const StreamFrame& frame,
                          std::span<std::uint16_t> values, std::size_t from, std::size_t to) {
    const std::size_t step = frame.components;
    const bool is_first = from < frame.row;
    std::size_t component = from % frame.row % step;
    std::uint16_t difference = 0;
    for (std::size_t at = from; at < to; ++at) {
        if (!reader.take(component, difference)) {
            return at;
        }
        const int left = values[at - step];
        const int predicted = is_first || frame.predictor == 1
                                  ? left
                                  : predict_inside(frame.predictor, left, values[at - frame.row],
                                                   values[at - frame.row - step]);
        values[at] = add(predicted, difference);
        component = component + 1 == step ? 0 : component + 1;
    }
    return to;
}

} // namespace

StreamFrame::StreamFrame(const lossless_jpeg::Head& head)
    : components(head.components.size()), row(head.width * head.components.size()), rows(head.height),
      predictor(head.predictor), first(1 << (head.precision - head.point_transform - 1)),
      limit(1U << (head.precision - head.point_transform)) {}

int StreamFrame::predict(std::span<const std::uint16_t> values, std::size_t at) const {
    const std::size_t column = at % row;
    if (at < components) {
        return first;
    }
    if (at < row) {
        return values[at - components];
    }
    if (column < components) {
        return values[at - row];
    }
    return predict_inside(predictor, values[at - components], values[at - row],
                          values[at - row - components]);
}

std::size_t decode_values(lossless_jpeg::DifferenceReader& reader, const StreamFrame& frame,
                          std::span<std::uint16_t> values, std::size_t from, std::size_t to) {
    std::size_t at = from;
    while (at < to) {
        const std::size_t row = at / frame.row * frame.row;
        const std::size_t inside = std::min(row + frame.components, to);
        for (; at < inside; ++at) {
            std::uint16_t difference = 0;
            if (!reader.take(at - row, difference)) {
                return at;
            }
            values[at] = add(frame.predict(values, at), difference);
        }
        const std::size_t end = std::min(row + frame.row, to);
        at = decode_inside(reader, frame, values, at, end);
        if (at < end) {
            return at;
        }
    }
    return to;
}

std::size_t find_row_period(const StreamFrame& frame, std::span<const std::uint16_t> values) {
    constexpr std::size_t kMostRows = 64;
    const std::size_t rows = std::min(values.size() / frame.row, kMostRows);
    std::uint64_t to_next = 0;
    std::uint64_t to_second = 0;
    for (std::size_t at = 2 * frame.row; at < rows * frame.row; ++at) {
        to_next += static_cast<std::uint64_t>(std::abs(values[at] - values[at - frame.row]));
        to_second += static_cast<std::uint64_t>(std::abs(values[at] - values[at - 2 * frame.row]));
    }
    return to_second < to_next ? 2 : 1;
}

} // namespace raw_mend
