#include "output/Delivery.h"

#include "assessment/DecodedPicture.h"
#include "jpeg/JpegDecode.h"
#include "jpeg/JpegError.h"
#include "jpeg/JpegWrite.h"
#include "jpeg/Markers.h"
#include "output/Exif.h"

#include <mapped_file/MappedFile.h>
#include <system_path/system_path.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <system_error>
#include <utility>

namespace still_mend {

namespace {

namespace fs = std::filesystem;

/// Refuses to replace a folder, a link or a device, or to write into a pipe, which would wait for a reader.
bool may_write(const fs::path& path) {
    std::error_code ignored;
    const auto type = system_path::status(path, ignored).type();
    return !fs::is_symlink(path, ignored) &&
           (type == fs::file_type::not_found || type == fs::file_type::regular);
}

/// A file beside the output that is removed unless it was put in its place.
class TemporaryFile {
  public:
    TemporaryFile(fs::path output, fs::path path) : output_(std::move(output)), path_(std::move(path)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        system_path::remove_reachable(path_, ignored);
    }

    [[nodiscard]] const fs::path& path() const { return path_; }

    bool put_in_place() {
        std::error_code error;
        fs::rename(path_, output_, error);
        return !error;
    }

  private:
    fs::path output_;
    fs::path path_;
};

void write(std::ostream& stream, Bytes bytes) {
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

constexpr unsigned char kSoi[] = {0xFF, marker::kSoi};
constexpr unsigned char kEoi[] = {0xFF, marker::kEoi};

/// The segments that come first: those of the picture itself, or a small Exif made from what else survives.
struct LeadingSegments {
    std::vector<unsigned char> exif;
    std::vector<Bytes> segments;
};

LeadingSegments leading_segments_of(Bytes file, const PictureCandidate& candidate) {
    LeadingSegments leading;
    for (const auto& range : candidate.applications) {
        leading.segments.push_back(file.subspan(range.first, range.size()));
    }
    if (!has_exif(leading.segments)) {
        leading.exif = make_exif(file, candidate.offset);
        if (!leading.exif.empty()) {
            leading.segments.insert(leading.segments.begin(), leading.exif);
        }
    }
    return leading;
}

bool keeps_header(const Hypothesis& hypothesis) {
    return hypothesis.candidate.has_soi && !hypothesis.candidate.damaged_header &&
           !hypothesis.tables_borrowed && !hypothesis.tables_standard && !hypothesis.frame_borrowed;
}

class Writer {
  public:
    Writer(Bytes file, const Assessment& assessment)
        : file_(file), assessment_(assessment), candidate_(assessment.hypothesis.candidate) {}

    /// The best way first.
    [[nodiscard]] Delivered way() const {
        if (!assessment_.whole) {
            return Delivered::kReencoded;
        }
        if (keeps_header(assessment_.hypothesis) && !assessment_.interval_inferred) {
            return assessment_.eoi_found ? Delivered::kUnchanged : Delivered::kCoded;
        }
        return assessment_.multi_scan ? Delivered::kReencoded : Delivered::kCoded;
    }

    /// The bytes that are kept as they are because libjpeg decodes them without a warning.
    [[nodiscard]] std::optional<Bytes> intact() const {
        return assessment_.intact
                   ? std::optional(file_.subspan(candidate_.offset, assessment_.end - candidate_.offset))
                   : std::nullopt;
    }

    void write_as(Delivered way, std::ostream& stream) const {
        if (way == Delivered::kReencoded) {
            write_reencoded(stream);
            return;
        }
        if (keeps_header(assessment_.hypothesis) && !assessment_.interval_inferred) {
            write(stream, file_.subspan(candidate_.offset, assessment_.end - candidate_.offset));
        } else {
            write_with_header(stream);
        }
        if (!assessment_.eoi_found) {
            write(stream, kEoi);
        }
    }

  private:
    void write_with_header(std::ostream& stream) const {
        const LeadingSegments leading = leading_segments_of(file_, candidate_);
        write(stream, kSoi);
        for (const Bytes segment : leading.segments) {
            write(stream, segment);
        }
        write_headers(stream, *candidate_.frame, *candidate_.scan, candidate_.tables);
        write(stream, file_.subspan(candidate_.entropy, assessment_.end - candidate_.entropy));
    }

    void write_reencoded(std::ostream& stream) const {
        DecodedPicture decoded = decode_picture(file_, assessment_);
        decoded.store.bridge_gaps(decoded.present);
        const LeadingSegments leading = leading_segments_of(file_, candidate_);
        write_coefficients(stream, *candidate_.frame, candidate_.tables, decoded.store, leading.segments);
    }

    Bytes file_;
    const Assessment& assessment_;
    const PictureCandidate& candidate_;
};

/// Whether the written file is what it should be. Nothing where it cannot be read.
std::optional<bool> is_sound(const fs::path& path, const std::optional<Bytes>& wanted) {
    mapped_file::MappedFile written;
    if (!written.open(path)) {
        return std::nullopt;
    }
    const Bytes bytes = written.bytes();
    return wanted ? std::equal(bytes.begin(), bytes.end(), wanted->begin(), wanted->end())
                  : decodes_cleanly(bytes);
}

} // namespace

Delivered deliver(Bytes file, const Assessment& assessment, const fs::path& output) {
    const fs::path beside = system_path::reachable(fs::path(output) += ".part");
    if (!may_write(output) || !may_write(beside)) {
        return Delivered::kUnwritable;
    }
    const Writer writer(file, assessment);
    TemporaryFile temporary(output, beside);
    for (Delivered way = writer.way();; way = Delivered::kReencoded) {
        std::ofstream stream(temporary.path(), std::ios::binary | std::ios::trunc);
        try {
            if (stream) {
                writer.write_as(way, stream);
            }
        } catch (const JpegError&) {
            return Delivered::kUndecodable;
        }
        stream.close();
        if (stream.fail()) {
            return Delivered::kUnwritable;
        }
        const auto sound = is_sound(temporary.path(), writer.intact());
        if (!sound) {
            return Delivered::kUnwritable;
        }
        if (*sound) {
            return temporary.put_in_place() ? way : Delivered::kUnwritable;
        }
        if (way == Delivered::kReencoded || assessment.intact) {
            return Delivered::kUndecodable;
        }
    }
}

} // namespace still_mend
