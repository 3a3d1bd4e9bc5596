#include "judge/Judge.h"

#include "files/FileBytes.h"
#include "files/Formats.h"
#include "judge/Cr3Tables.h"
#include "judge/LosslessJpeg.h"
#include "judge/Picture.h"
#include "judge/PixelSigns.h"
#include "judge/Promise.h"
#include "judge/RawDecoder.h"
#include "text/Format.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <vector>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

std::string date_text(std::time_t time) {
    std::array<char, 32> text{};
    const std::tm* parts = time > 0 ? std::localtime(&time) : nullptr; // One thread in a worker.
    return parts != nullptr && std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", parts) > 0
               ? text.data()
               : "";
}

void describe(const libraw_data_t& data, Judgement& judgement) {
    const bool turned = (static_cast<unsigned>(data.sizes.flip) & 4U) != 0;
    judgement.width = turned ? data.sizes.height : data.sizes.width;
    judgement.height = turned ? data.sizes.width : data.sizes.height;
    judgement.camera = std::string(data.idata.make) + " " + data.idata.model;
    judgement.taken = date_text(data.other.timestamp);
}

/// The next value of the form 2^n - 1.
unsigned highest_of_bits(unsigned maximum) {
    unsigned highest = 255;
    while (highest < maximum) {
        highest = highest * 2 + 1;
    }
    return highest;
}

/// The part of the sensor that is the picture; no samples for data of another kind.
SensorView view_of(const libraw_data_t& data) {
    const auto& sizes = data.sizes;
    SensorView view;
    view.columns = sizes.width;
    view.whole_rows = sizes.width == sizes.raw_width;
    view.rows = sizes.height;
    view.black = data.color.black + *std::min_element(data.color.cblack, data.color.cblack + 4);
    view.white = std::min(65535U, highest_of_bits(data.color.maximum));
    std::size_t margin = sizes.left_margin;
    if (data.rawdata.raw_image != nullptr) {
        view.samples = data.rawdata.raw_image;
        view.stride = sizes.raw_pitch / 2;
        view.dx = view.dy = data.idata.filters == 9 ? 6 : 2;
    } else {
        const std::size_t colours = data.rawdata.color3_image != nullptr ? 3 : 4;
        view.samples = colours == 3                           ? &(*data.rawdata.color3_image)[0]
                       : data.rawdata.color4_image != nullptr ? &(*data.rawdata.color4_image)[0]
                                                              : nullptr;
        view.stride = sizes.raw_pitch / 2;
        view.columns *= colours;
        margin *= colours;
        view.dx = colours;
        view.dy = 1;
    }
    if (view.samples != nullptr) {
        view.samples += sizes.top_margin * view.stride + margin;
    }
    return view;
}

/// What the sample tells of the place of the image: how many bytes stand behind the start of its image.
std::optional<std::uint64_t> length_in_sample(const fs::path& sample, const libraw_data_t& result) {
    RawDecoder decoder;
    FileBytes bytes(sample);
    if (sample.empty() || !decoder.open(sample) || decoder.data().sizes.raw_width != result.sizes.raw_width ||
        decoder.data().sizes.raw_height != result.sizes.raw_height || !decoder.has_a_fixed_rate()) {
        return std::nullopt;
    }
    const std::uint64_t image = decoder.image(bytes);
    return image < bytes.size() ? std::optional(bytes.size() - image) : std::nullopt;
}

std::string bytes_behind_image(std::uint64_t count) {
    return counted(count, "byte") + (count == 1 ? " stands" : " stand") +
           " behind the image data of the damaged file";
}

/// The story of one judgement, step by step.
class Judge {
  public:
    explicit Judge(const JudgeRequest& request) : request_(request), file_(request.result) {}

    Judgement run() {
        if (!decoder_.open(request_.result)) {
            const std::string& problem = decoder_.version_problem();
            tell(problem.empty() ? "LibRaw does not open the file" : problem);
            return judgement_;
        }
        describe(decoder_.data(), judgement_);
        image_ = decoder_.image(file_);
        const int result = decoder_.unpack();
        judgement_.data_errors = decoder_.errors();
        if (result != LIBRAW_SUCCESS) {
            judgement_.findings.push_back(std::string("LibRaw cannot decode the image: ") +
                                          libraw_strerror(result));
            return judgement_;
        }
        judgement_.decodes = true;
        if (judgement_.data_errors != 0) {
            tell("LibRaw counted " + counted(judgement_.data_errors, "data error"));
        }
        look_at_the_end();
        look_for_fillers();
        look_at_tracks();
        look_at_sizes();
        look_at_promises();
        look_at_samples();
        if (!request_.picture.empty()) {
            write_raw_picture(decoder_.raw(), request_.picture);
        }
        return judgement_;
    }

  private:
    void tell(const std::string& finding) { judgement_.findings.push_back(finding); }

    /// Each part of a lossless JPEG must be complete for itself.
    void look_at_the_end() {
        if (!decoder_.is_lossless_jpeg()) {
            return;
        }
        const auto offsets = decoder_.parts(file_);
        std::size_t broken = 0;
        for (std::size_t part = 0; part < offsets.size(); ++part) {
            const std::uint64_t offset = offsets[part];
            const std::uint64_t end = part + 1 < offsets.size() ? offsets[part + 1] : file_.size();
            const auto bytes = file_.read(offset, static_cast<std::size_t>(end - std::min(offset, end)));
            broken += is_complete_lossless_jpeg(bytes) ? 0U : 1U;
        }
        if (broken != 0) {
            tell(std::to_string(broken) + " of " + std::to_string(offsets.size()) +
                 " parts of the compressed data " +
                 (broken == 1 ? "does not end where its image does" : "do not end where their image does"));
            place_unknown_ = true;
        }
    }

    /// No code of a CR3 image has more than some sixty zero bits in a row. Ones stand for what is as
    /// predicted: so many of them only where many whole rows are overexposed.
    void look_for_fillers() {
        if (decoder_.is_crx()) {
            const auto bytes = file_.read(image_, static_cast<std::size_t>(decoder_.image_length()));
            look_for_filler(bytes, 0x00, 64);
            look_for_filler(bytes, 0xFF, 256);
        }
    }

    void look_for_filler(const std::vector<unsigned char>& bytes, unsigned char filler, std::size_t fewest) {
        const auto run = std::search_n(bytes.begin(), bytes.end(), fewest, filler);
        if (run != bytes.end()) {
            tell(std::string(filler == 0 ? "zeros" : "ones") + " stand in the compressed data from byte " +
                 std::to_string(run - bytes.begin()) + " on");
            place_unknown_ = true;
        }
    }

    void look_at_tracks() {
        const TracksEnd tracks =
            format_of(request_.damaged) == RawFormat::kCr3 ? end_of_tracks(request_.damaged) : TracksEnd{};
        if (tracks.missing != 0) {
            tell("the damaged file is " + counted(tracks.missing, "byte") + " shorter than its tables say");
        }
        if (tracks.behind != 0) {
            tell(bytes_behind_image(tracks.behind));
        }
        place_unknown_ = place_unknown_ || tracks.missing != 0 || tracks.behind != 0;
    }

    void look_at_sizes() {
        if (request_.filled != 0) {
            tell(request_.filled == 1
                     ? "1 byte is lost; a zero stands for it at the end"
                     : counted(request_.filled, "byte") + " are lost; zeros stand for them at the end");
        }
        if (!decoder_.has_a_fixed_rate()) {
            place_unknown_ = place_unknown_ || request_.filled != 0;
            return;
        }
        // Some few may be lost anywhere, and all behind that place is shifted; a cut takes more.
        lost_inside_ =
            request_.filled != 0 && (decoder_.rows_in(request_.filled) < 8 || request_.lost_in_preview);
        const std::uint64_t length = file_.size() - std::min(file_.size(), image_ + request_.filled);
        rows_there_ = decoder_.rows_in(length);
        const auto expected = length_in_sample(request_.sample, decoder_.data());
        if (!expected || request_.filled != 0 || format_of(request_.damaged) == RawFormat::kDng) {
            return;
        }
        const double rows_expected = decoder_.rows_in(*expected);
        const double rows = decoder_.data().sizes.raw_height;
        // Only where the image is the last thing in the sample does its length tell anything.
        const bool more = length > *expected;
        FileBytes damaged(request_.damaged.empty() ? request_.result : request_.damaged);
        image_is_last_ = rows_expected <= rows * 1.01 + 16;
        if (!image_is_last_ || length == *expected ||
            (more && damaged.only_slack_behind(damaged.size() - (length - *expected)))) {
            return;
        }
        tell("the image data are " + counted(more ? length - *expected : *expected - length, "byte") +
             (more ? " longer" : " shorter") + " than the sample's");
        place_unknown_ = true;
    }

    void look_at_samples() {
        SensorView view = view_of(decoder_.data());
        view.tile_columns = decoder_.tile_width();
        view.doubtful = !judgement_.findings.empty();
        if (decoder_.is_crx() && view.black == 0) {
            constexpr unsigned kLowestBlack =
                512; // Of the cameras that write CR3; LibRaw does not know it always.
            view.black = kLowestBlack;
        }
        const std::size_t rows = view.rows;
        if (view.samples == nullptr || rows == 0) {
            tell("samples of a kind that is not looked at");
            return;
        }
        PixelSigns signs = find_signs(view);
        judgement_.findings.insert(judgement_.findings.end(), signs.findings.begin(), signs.findings.end());
        judgement_.rows_good = share_of_good_rows(signs);
    }

    /// Rows without a sign. What follows a displacement is in doubt anywhere, and in compressed data all that
    /// follows the first sign.
    [[nodiscard]] std::optional<double> share_of_good_rows(const PixelSigns& signs) {
        const std::size_t rows = signs.bad_rows.size();
        const auto first_bad = static_cast<std::size_t>(
            std::find(signs.bad_rows.begin(), signs.bad_rows.end(), true) - signs.bad_rows.begin());
        if (place_unknown_ && first_bad <= rows / 50) {
            return 0; // From the very beginning nothing is in its place.
        }
        const bool in_doubt = place_unknown_ || judgement_.data_errors != 0 || first_bad < rows;
        std::size_t end = rows;
        if (decoder_.has_a_fixed_rate()) {
            const bool unlocated = place_unknown_ || signs.displaced_from || lost_inside_;
            if (unlocated && !signs.place_is_known) {
                // Rows that do not belong together from the beginning on are no photograph.
                return first_bad <= rows / 50 && signs.displaced_from ? std::optional<double>(0)
                                                                      : std::nullopt;
            }
            const double there = std::max(0.0, rows_there_ - decoder_.data().sizes.top_margin);
            end = std::min(end, static_cast<std::size_t>(there));
        } else if (in_doubt) {
            if (decoder_.is_in_slices() || first_bad == rows) {
                return std::nullopt;
            }
            end = first_bad;
        }
        if (signs.displaced_from) {
            end = std::min({end, *signs.displaced_from, first_bad});
        }
        const auto bad = std::count(signs.bad_rows.begin(),
                                    signs.bad_rows.begin() + static_cast<std::ptrdiff_t>(end), true);
        if (request_.filled != 0 && bad != 0) {
            return std::nullopt; // The loss need not be at the end.
        }
        const auto good = end - static_cast<std::size_t>(bad);
        if (first_bad <= rows / 50 && good * 3 < end) {
            return 0; // Bad from the beginning on: what looks good among it is chance.
        }
        return static_cast<double>(good) / static_cast<double>(rows);
    }

    void look_at_promises() {
        if (request_.damaged.empty()) {
            return;
        }
        Promise promise =
            compare_with_promise(request_.result, request_.damaged, request_.sample, image_, request_.filled);
        if (promise.behind != 0 && image_is_last_) {
            promise.broken.push_back(bytes_behind_image(promise.behind));
        }
        judgement_.findings.insert(judgement_.findings.end(), promise.broken.begin(), promise.broken.end());
        place_unknown_ = place_unknown_ || !promise.broken.empty();
    }

    const JudgeRequest& request_;
    FileBytes file_;
    RawDecoder decoder_;
    std::uint64_t image_ = 0;
    bool image_is_last_ = false; ///< In the sample nothing stands behind the image.
    double rows_there_ = 0;      ///< Rows for which there are bytes, where each takes the same number.
    bool lost_inside_ = false;   ///< Bytes are missing, but perhaps not at the end.
    bool place_unknown_ = false; ///< Something is wrong, and nothing told from which row on.
    Judgement judgement_;
};

} // namespace

std::uint64_t missing_at_the_end(const fs::path& result, const fs::path& sample) {
    RawDecoder ours;
    RawDecoder theirs;
    FileBytes our_bytes(result);
    FileBytes their_bytes(sample);
    if (!ours.open(result) || !theirs.open(sample)) {
        return 0;
    }
    const std::uint64_t wanted = their_bytes.size() - std::min(their_bytes.size(), theirs.image(their_bytes));
    const std::uint64_t there = our_bytes.size() - std::min(our_bytes.size(), ours.image(our_bytes));
    return there == 0 || wanted < there ? 0 : wanted - there;
}

bool is_lost_in_preview(const fs::path& damaged) {
    RawDecoder decoder;
    FileBytes bytes(damaged);
    return decoder.open(damaged) && !decoder.preview_ends_in_its_place(bytes);
}

Judgement judge_raw(const JudgeRequest& request) {
    return Judge(request).run();
}

} // namespace plate_mend::host
