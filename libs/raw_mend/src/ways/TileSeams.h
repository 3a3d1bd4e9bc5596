#pragma once

#include "container/Description.h"
#include "locate/CodedRow.h"

#include <vector>

namespace raw_mend {

/// Decides by the picture which tiles of the image the streams of a row are, where the bytes between them do
/// not say it: neighbours go on from one to the other, and where a line of tiles ends, the next one in the
/// row does not. Streams that follow one another without a gap keep together, and all keep their order.
/// A piece is certain if any other index would be much less likely, by the picture and the bytes together.
/// Does nothing if the image has no tiles side by side, if there are as many streams as tiles, or if they are
/// in very many stretches. Decodes each stream once.
void place_by_seams(CodedRow& row, Bytes damaged, const std::vector<CodedPlace>& places,
                    const CodedSample& sample, const Image& raw);

} // namespace raw_mend
