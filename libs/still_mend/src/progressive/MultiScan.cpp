#include "progressive/MultiScan.h"

#include "jpeg/EntropySegments.h"
#include "jpeg/Markers.h"
#include "progressive/PictureInProgress.h"
#include "progressive/ScanPass.h"

#include <algorithm>

namespace still_mend {

namespace {

/// Where the data of a scan end: at the next table or SOS that is plausible; at the first EOI where none
/// follows.
std::size_t scan_end(Bytes file, const Frame& frame, std::size_t offset, std::size_t limit) {
    std::size_t end = limit;
    while ((offset = next_marker(file, offset, limit)) < limit) {
        const unsigned char code = file[offset + 1];
        if (code == marker::kEoi) {
            end = std::min(end, offset);
        }
        if (const auto content = segment_content(file.first(limit), offset)) {
            Tables tables;
            if ((code == marker::kDht && read_huffman_tables(*content, tables)) ||
                (code == marker::kSos && read_scan(*content, frame))) {
                return offset;
            }
        }
        offset += 2;
    }
    return end;
}

/// Reads what is between two scans: tables, and the next SOS. False at EOI or at the limit.
class BetweenScans {
  public:
    BetweenScans(Bytes file, const Frame& frame, std::size_t limit)
        : file_(file), frame_(frame), limit_(limit) {}

    bool next(std::size_t offset, Tables& tables) {
        while ((offset = next_marker(file_, offset, limit_)) < limit_) {
            const unsigned char code = file_[offset + 1];
            if (code == marker::kEoi) {
                eoi_found = true;
                end = offset + 2;
                return false;
            }
            const auto content = segment_content(file_.first(limit_), offset);
            if (content && read_segment(code, *content, tables)) {
                end = offset + 4 + content->size();
                offset = end;
                if (code == marker::kSos) {
                    return true;
                }
                continue;
            }
            skipped = true;
            offset += 2;
        }
        return false;
    }

    Scan scan;
    std::size_t end = 0; ///< After the last segment that was read.
    bool eoi_found = false;
    bool skipped = false; ///< Some bytes were neither.

  private:
    bool read_segment(unsigned char code, Bytes content, Tables& tables) {
        switch (code) {
        case marker::kDht:
            return read_huffman_tables(content, tables);
        case marker::kDqt:
            return read_quant_tables(content, tables);
        case marker::kDri:
            return read_restart_interval(content, tables);
        case marker::kSos:
            if (auto read = read_scan(content, frame_)) {
                scan = std::move(*read);
                return true;
            }
            return false;
        default:
            return false;
        }
    }

    Bytes file_;
    const Frame& frame_;
    std::size_t limit_;
};

/// Whether a scan adds to what an earlier one began.
bool builds_on_scan(const Scan& scan, const Scan& other) {
    const auto shared = [&](const ScanComponent& component) {
        return std::any_of(other.components.begin(), other.components.end(),
                           [&](const ScanComponent& each) { return each.index == component.index; });
    };
    return scan.ss <= other.se && other.ss <= scan.se &&
           std::any_of(scan.components.begin(), scan.components.end(), shared);
}

/// Whether a scan is the next one after another, and refines all of its coefficients.
bool refines(const ScanSource& source, const ScanSource& other) {
    const Scan& scan = source.scan;
    const Scan& first = other.scan;
    return first.ss > 0 && first.ah == 0 && scan.refines_ac() && scan.ah == first.al && scan.ss <= first.ss &&
           scan.se >= first.se && scan.components[0].index == first.components[0].index &&
           source.tables.restart_interval == other.tables.restart_interval;
}

/// Reports which MCUs have what.
void summarise(const PictureInProgress& picture, MultiScanResult& result) {
    const Frame& frame = picture.frame;
    result.present.assign(frame.mcus(), true);
    result.guessed.assign(frame.mcus(), false);
    result.coarse.assign(frame.mcus(), false);
    const std::size_t mcus_wide = frame.mcus_wide();
    for (std::size_t index = 0; index < frame.components.size(); ++index) {
        const auto& component = frame.components[index];
        const auto& progress = picture.progress[index];
        const bool refined = std::all_of(progress.missing_bits.begin(), progress.missing_bits.end(),
                                         [](int bits) { return bits == 0; });
        // Blocks that only fill up the last MCU of a row or column are in no scan of one component.
        const std::size_t high = frame.blocks_high(component);
        const std::size_t wide = frame.blocks_wide(component);
        for (std::size_t row = 0; row < high; ++row) {
            for (std::size_t column = 0; column < wide; ++column) {
                const std::size_t block = row * progress.wide + column;
                const std::size_t mcu = row / component.v_samp * mcus_wide + column / component.h_samp;
                if (!progress.dc[block]) {
                    result.present[mcu] = false;
                }
                if (progress.guessed[block]) {
                    result.guessed[mcu] = true;
                }
                if (!refined || progress.broken[block] || progress.unsure[block]) {
                    result.coarse[mcu] = true;
                }
            }
        }
    }
}

/// Reads the scans of a picture one by one.
class ScanSequence {
  public:
    ScanSequence(Bytes file, const PictureCandidate& candidate, CoefficientStore& store)
        : file_(file), candidate_(candidate), frame_(*candidate.frame),
          picture_(file, frame_, store, candidate.limit), whole_(!candidate.damaged_header) {}

    MultiScanResult decode() {
        BetweenScans between(file_, frame_, candidate_.limit);
        Tables tables = candidate_.tables;
        between.scan = *candidate_.scan;
        between.end = candidate_.entropy;
        bool more = true;
        for (unsigned count = 0; more && count < kMaxScans; ++count) {
            if (BlockDecoder::has_tables(frame_, between.scan, tables)) {
                const std::size_t limit = scan_end(file_, frame_, between.end, candidate_.limit);
                between.end =
                    std::max(between.end, read_or_defer({between.scan, tables, between.end, limit}));
            } else {
                fail(between.end);
            }
            more = between.next(between.end, tables);
        }
        read_deferred();
        summarise(picture_, result_);
        result_.eoi_found = between.eoi_found;
        result_.end = between.end;
        result_.whole =
            whole_ && between.eoi_found && !between.skipped &&
            std::none_of(result_.coarse.begin(), result_.coarse.end(), [](bool coarse) { return coarse; });
        return std::move(result_);
    }

  private:
    /// Reads a scan, or defers it until all others are read. Returns where it ends.
    std::size_t read_or_defer(ScanSource&& source) {
        const auto builds_on = [&](const ScanSource& other) {
            return builds_on_scan(source.scan, other.scan);
        };
        if (std::any_of(deferred_.begin(), deferred_.end(), builds_on) ||
            ScanPass(picture_, source).has_hidden_loss()) {
            deferred_.push_back(std::move(source));
            return deferred_.back().limit;
        }
        return read(source);
    }

    /// DC scans first: everything else is placed by brightness.
    void read_deferred() {
        std::stable_partition(deferred_.begin(), deferred_.end(),
                              [](const ScanSource& source) { return source.scan.begins_dc(); });
        for (const auto& source : deferred_) {
            const auto found = std::find_if(deferred_.begin(), deferred_.end(), [&](const ScanSource& other) {
                return refines(other, source) && !ScanPass(picture_, other).has_hidden_loss();
            });
            read(source, found == deferred_.end() ? nullptr : &*found);
        }
    }

    std::size_t read(const ScanSource& source, const ScanSource* refining = nullptr) {
        const auto outcome = ScanPass(picture_, source).read(refining);
        if (!outcome.whole) {
            fail(outcome.first_bad);
        }
        return outcome.end;
    }

    void fail(std::size_t offset) {
        result_.first_bad = whole_ ? offset : std::min(result_.first_bad, offset);
        whole_ = false;
    }

    Bytes file_;
    const PictureCandidate& candidate_;
    const Frame& frame_;
    PictureInProgress picture_;
    std::vector<ScanSource> deferred_; // In the order of the file.
    MultiScanResult result_;
    bool whole_;
};

} // namespace

MultiScanResult decode_scans(Bytes file, const PictureCandidate& candidate, CoefficientStore& store) {
    return ScanSequence(file, candidate, store).decode();
}

} // namespace still_mend
