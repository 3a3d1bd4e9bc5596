#include "metadata/Sidecar.h"

#include <array>
#include <mutex>
#include <stdexcept>
#include <string_view>

#include <exiv2/exiv2.hpp>

namespace plate_mend::host {

namespace {

enum class Form {
    kText,
    kList,        ///< An ordered one of one text.
    kAlternative, ///< A text in the default language.
};

struct Property {
    CameraFact fact;
    const char* key;
    Form form;
};

/// Those that raw converters read, in the order of the names. Where they read different ones, both are there:
/// the date of taking has three, lens and serial number two each. All of them are of the photograph alone, so
/// a converter has nothing to reset: no ratings, no settings of development.
constexpr std::array kProperties = {
    Property{CameraFact::kTaken, "Xmp.exif.DateTimeOriginal", Form::kText},
    Property{CameraFact::kTaken, "Xmp.xmp.CreateDate", Form::kText},
    Property{CameraFact::kTaken, "Xmp.photoshop.DateCreated", Form::kText},
    Property{CameraFact::kExposureTime, "Xmp.exif.ExposureTime", Form::kText},
    Property{CameraFact::kAperture, "Xmp.exif.FNumber", Form::kText},
    Property{CameraFact::kIso, "Xmp.exif.ISOSpeedRatings", Form::kList},
    Property{CameraFact::kFocalLength, "Xmp.exif.FocalLength", Form::kText},
    Property{CameraFact::kLens, "Xmp.aux.Lens", Form::kText},
    Property{CameraFact::kLens, "Xmp.exifEX.LensModel", Form::kText},
    Property{CameraFact::kMake, "Xmp.tiff.Make", Form::kText},
    Property{CameraFact::kModel, "Xmp.tiff.Model", Form::kText},
    Property{CameraFact::kSerialNumber, "Xmp.aux.SerialNumber", Form::kText},
    Property{CameraFact::kSerialNumber, "Xmp.exifEX.BodySerialNumber", Form::kText},
    Property{CameraFact::kOrientation, "Xmp.tiff.Orientation", Form::kText},
    Property{CameraFact::kArtist, "Xmp.dc.creator", Form::kList},
    Property{CameraFact::kCopyright, "Xmp.dc.rights", Form::kAlternative},
    Property{CameraFact::kLatitude, "Xmp.exif.GPSLatitude", Form::kText},
    Property{CameraFact::kLongitude, "Xmp.exif.GPSLongitude", Form::kText},
    Property{CameraFact::kGpsTime, "Xmp.exif.GPSTimeStamp", Form::kText},
};

/// The library is initialized once per process, and guards its tables with this lock from then on.
void initialize() {
    static std::mutex mutex;
    static std::once_flag done;
    std::call_once(done, [] {
        const bool is_ready = Exiv2::XmpParser::initialize(
            [](void* lock, bool locks) {
                auto& one = *static_cast<std::mutex*>(lock);
                if (locks) {
                    one.lock();
                } else {
                    one.unlock();
                }
            },
            &mutex);
        if (!is_ready) {
            throw std::runtime_error("the XMP library cannot be initialized");
        }
    });
}

void set(Exiv2::XmpData& data, const char* key, Form form, const std::string& text) {
    const Exiv2::TypeId type = form == Form::kText   ? Exiv2::xmpText
                               : form == Form::kList ? Exiv2::xmpSeq
                                                     : Exiv2::langAlt;
    const auto value = Exiv2::Value::create(type);
    value->read(text);
    data.add(Exiv2::XmpKey(key), value.get());
}

/// | "12/1" | or | "-12/1" |, whose sign is a property of its own.
void set_altitude(Exiv2::XmpData& data, std::string_view altitude) {
    const bool is_below = altitude.starts_with('-');
    set(data, "Xmp.exif.GPSAltitude", Form::kText, std::string(altitude.substr(is_below ? 1 : 0)));
    set(data, "Xmp.exif.GPSAltitudeRef", Form::kText, is_below ? "1" : "0");
}

/// The history is what XMP has for this: programs keep it and show it on request. A description or a title
/// would get into captions, and a rating or a label would look like the photographer's. It has no time of the
/// repair, so that a repetition of a run makes the same file.
void add_history(Exiv2::XmpData& data, const std::string& sample) {
    Exiv2::XmpTextValue list("");
    list.setXmpArrayType(Exiv2::XmpValue::xaSeq);
    data.add(Exiv2::XmpKey("Xmp.xmpMM.History"), &list);
    const auto add = [&data](const char* field, const std::string& text) {
        set(data, (std::string("Xmp.xmpMM.History[1]/stEvt:") + field).c_str(), Form::kText, text);
    };
    add("action", "edited");
    add("softwareAgent", "plate-mend " PLATE_MEND_VERSION);
    add("parameters", "Repaired with the sample " + sample +
                          ". The date and settings in this sidecar were found in the damaged file; metadata "
                          "in the repaired file that are not here may be the sample's.");
}

} // namespace

std::string sidecar_text(const CameraFacts& facts, const std::string& sample) {
    try {
        initialize();
        Exiv2::XmpData data;
        for (const Property& property : kProperties) {
            if (const auto fact = facts.find(property.fact); fact != facts.end()) {
                set(data, property.key, property.form, fact->second);
            }
        }
        if (const auto altitude = facts.find(CameraFact::kAltitude); altitude != facts.end()) {
            set_altitude(data, altitude->second);
        }
        add_history(data, sample);
        std::string packet;
        if (Exiv2::XmpParser::encode(packet, data,
                                     Exiv2::XmpParser::omitPacketWrapper |
                                         Exiv2::XmpParser::useCompactFormat) != 0) {
            throw std::runtime_error("the sidecar cannot be encoded");
        }
        return R"(<?xml version="1.0" encoding="UTF-8"?>)"
               "\n" +
               packet + "\n";
    } catch (const Exiv2::Error& e) {
        throw std::runtime_error(std::string("the sidecar cannot be made: ") + e.what());
    }
}

} // namespace plate_mend::host
