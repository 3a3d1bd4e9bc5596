#pragma once

#include "support/Bytes.h"

#include <optional>

namespace test {

class Scene;

/// A baseline JPEG with the standard tables (JFIF).
[[nodiscard]] Bytes make_jpeg(const std::vector<unsigned char>& rgb, unsigned width, unsigned height,
                              int quality = 85);

/// The scene as a camera's preview.
[[nodiscard]] Bytes make_preview(const Scene& scene, unsigned width, unsigned height);

/// Whether libjpeg decodes the whole picture without a warning.
[[nodiscard]] bool jpeg_decodes(const Bytes& jpeg);

/// Its samples, interleaved by row; nothing when libjpeg does not decode the whole picture without a warning.
[[nodiscard]] std::optional<Bytes> jpeg_samples(const Bytes& jpeg);

} // namespace test
