#include "assessment/DecodedPicture.h"

#include "assessment/LenientJpeg.h"
#include "jpeg/McuDecoder.h"
#include "progressive/MultiScan.h"

#include <algorithm>

namespace still_mend {

namespace {

void decode_run(const McuDecoder& decoder, const PlacedRun& run, DecodedPicture& decoded) {
    const Placement& place = run.placement;
    BitReader reader = run.start;
    DcState dc;
    dc.known = run.dc_known;
    Mcu mcu;
    const auto put = [&](std::size_t position) {
        decoder.shift_dc(mcu, place.level);
        decoded.store.put_mcu(position, mcu);
        decoded.present[position] = true;
    };
    for (std::size_t index = 0; index < place.skip && decoder.decode(reader, dc, mcu); ++index) {
    }
    const std::size_t total = decoded.present.size();
    const std::size_t last = std::min(place.position + place.count, total);
    std::size_t position = place.position;
    for (; position < last && decoder.decode(reader, dc, mcu); ++position) {
        put(position);
    }
    // Some blocks of the MCU in which the run breaks off may be good. They are shown, but not counted.
    if (position < total && !decoded.present[position] && !decoder.decode(reader, dc, mcu)) {
        put(position);
    }
}

} // namespace

DecodedPicture decode_picture(Bytes file, const Assessment& assessment) {
    const PictureCandidate& candidate = assessment.hypothesis.candidate;
    if (assessment.by_libjpeg) {
        auto picture = read_leniently(file.subspan(candidate.offset));
        return {picture ? std::move(picture->store) : CoefficientStore(*candidate.frame),
                std::vector<bool>(assessment.total, true)};
    }
    DecodedPicture decoded{CoefficientStore(*candidate.frame), std::vector<bool>(assessment.total, false)};
    if (assessment.multi_scan) {
        decoded.present = decode_scans(file, candidate, decoded.store).present;
        return decoded;
    }
    const McuDecoder decoder(*candidate.frame, *candidate.scan, assessment.hypothesis.decoding_tables());
    for (const auto& run : assessment.runs) {
        decode_run(decoder, run, decoded);
    }
    return decoded;
}

} // namespace still_mend
