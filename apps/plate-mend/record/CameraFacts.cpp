#include "record/CameraFacts.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace plate_mend::host {

namespace {

struct NamedFact {
    CameraFact fact;
    const char* name;
};
constexpr std::array kNamedFacts = {NamedFact{CameraFact::kTaken, "date"},
                                    NamedFact{CameraFact::kExposureTime, "exposure_time"},
                                    NamedFact{CameraFact::kAperture, "aperture"},
                                    NamedFact{CameraFact::kIso, "iso"},
                                    NamedFact{CameraFact::kFocalLength, "focal_length"},
                                    NamedFact{CameraFact::kLens, "lens"},
                                    NamedFact{CameraFact::kMake, "make"},
                                    NamedFact{CameraFact::kModel, "model"},
                                    NamedFact{CameraFact::kSerialNumber, "serial_number"},
                                    NamedFact{CameraFact::kOrientation, "orientation"},
                                    NamedFact{CameraFact::kArtist, "artist"},
                                    NamedFact{CameraFact::kCopyright, "copyright"},
                                    NamedFact{CameraFact::kLatitude, "latitude"},
                                    NamedFact{CameraFact::kLongitude, "longitude"},
                                    NamedFact{CameraFact::kAltitude, "altitude"},
                                    NamedFact{CameraFact::kGpsTime, "gps_time"}};

} // namespace

const char* name_of(CameraFact fact) {
    return std::ranges::find(kNamedFacts, fact, &NamedFact::fact)->name;
}

const std::vector<CameraFact>& camera_facts() {
    static const std::vector<CameraFact> kAll = [] {
        std::vector<CameraFact> all;
        std::ranges::transform(kNamedFacts, std::back_inserter(all), &NamedFact::fact);
        return all;
    }();
    return kAll;
}

} // namespace plate_mend::host
