#pragma once

#include "Bytes.h"
#include "jpeg/CoefficientStore.h"
#include "jpeg/MarkerSegments.h"

#include <ostream>
#include <vector>

namespace still_mend {

/// Writes DQT, SOF, DHT, DRI and SOS for a picture with one interleaved scan, from what is known of it.
void write_headers(std::ostream& stream, const Frame& frame, const Scan& scan, const Tables& tables);

/// Writes a whole baseline JPEG from coefficients, with the picture's own quantisation: nothing that was
/// decoded is lost. The segments (whole APPn, COM) come first. The store's planes are released on the way, so
/// that memory never holds two complete copies. Throws JpegError when libjpeg refuses, and std::bad_alloc.
void write_coefficients(std::ostream& stream, const Frame& frame, const Tables& tables,
                        CoefficientStore& store, const std::vector<Bytes>& segments);

} // namespace still_mend
