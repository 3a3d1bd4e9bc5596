#include "fit/BlockBorders.h"

#include <cmath>
#include <numbers>

namespace still_mend {

namespace {

struct Basis {
    std::array<float, 8> border{};               // C(u) cos(u pi / 16): the first pixel. The last has signs.
    std::array<std::array<float, 8>, 4> along{}; // C(u) times the mean cosine of two pixels.
};

Basis make_basis() {
    Basis basis;
    for (unsigned u = 0; u < 8; ++u) {
        const double scale = u == 0 ? std::numbers::sqrt2 / 2 : 1.0;
        const auto cosine = [u](unsigned x) { return std::cos((2 * x + 1) * u * std::numbers::pi / 16); };
        basis.border[u] = static_cast<float>(scale * cosine(0));
        for (unsigned pair = 0; pair < 4; ++pair) {
            basis.along[pair][u] = static_cast<float>(scale * (cosine(2 * pair) + cosine(2 * pair + 1)) / 2);
        }
    }
    return basis;
}

} // namespace

BlockBorders borders_of(const Block& block, const std::array<std::uint16_t, 64>& quant) {
    static const Basis kBasis = make_basis();
    std::array<float, 8> top{};
    std::array<float, 8> bottom{};
    std::array<float, 8> left{};
    std::array<float, 8> right{};
    for (std::size_t place = 0; place < 64; ++place) {
        if (block[place] == 0) {
            continue;
        }
        const std::size_t v = place / 8;
        const std::size_t u = place % 8;
        const float value = static_cast<float>(block[place]) * static_cast<float>(quant[place]) * 4.0F;
        const float vertical = value * kBasis.border[v];
        const float horizontal = value * kBasis.border[u];
        top[u] += vertical;
        bottom[u] += v % 2 == 0 ? vertical : -vertical;
        left[v] += horizontal;
        right[v] += u % 2 == 0 ? horizontal : -horizontal;
    }
    BlockBorders borders;
    for (std::size_t pair = 0; pair < 4; ++pair) {
        for (std::size_t u = 0; u < 8; ++u) {
            borders.top[pair] += top[u] * kBasis.along[pair][u];
            borders.bottom[pair] += bottom[u] * kBasis.along[pair][u];
            borders.left[pair] += left[u] * kBasis.along[pair][u];
            borders.right[pair] += right[u] * kBasis.along[pair][u];
        }
    }
    return borders;
}

} // namespace still_mend
