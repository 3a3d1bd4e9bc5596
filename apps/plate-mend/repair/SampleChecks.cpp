#include "repair/SampleChecks.h"

#include "files/Failures.h"
#include "files/InputFile.h"
#include "platform/Files.h"
#include "report/Words.h"
#include "text/Format.h"
#include "text/Paths.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSampleFolder = "samples";

} // namespace

struct SampleChecks::Slot {
    std::mutex mutex; ///< Held while the sample is decoded: others wait for the result.
    std::optional<Result> result;
    fs::path picture; ///< Empty: none is made.
};

namespace {

/// Reads a sample up to a size. Throws MachineFailure.
void read_up_to(const fs::path& sample, std::uint64_t size) {
    try {
        constexpr std::size_t kPiece = std::size_t{1} << 20U;
        const platform::SourceFile source(sample);
        std::vector<unsigned char> piece(static_cast<std::size_t>(std::min<std::uint64_t>(size, kPiece)));
        std::size_t count = piece.size();
        for (std::uint64_t offset = 0; offset < size && count == piece.size(); offset += count) {
            check_interruption();
            count = source.read(offset, piece.data(), piece.size());
        }
    } catch (const std::system_error& e) {
        throw MachineFailure("sample " + utf8_from(sample) + ": cannot be read", e.code());
    }
}

} // namespace

void require_readable(const fs::path& sample) {
    read_up_to(sample, 1);
}

void require_all_readable(const fs::path& sample) {
    read_up_to(sample, std::numeric_limits<std::uint64_t>::max());
}

SampleChecks::SampleChecks(const fs::path& work) {
    try {
        auto folder = std::make_unique<PrivateFolder>(work.empty() ? fs::temp_directory_path() : work);
        fs::create_directory(folder->path() / kSampleFolder);
        pictures_ = std::move(folder);
    } catch (const MachineFailure&) { // A contact sheet can do without.
        return;
    } catch (const std::system_error&) {
        return;
    }
}

std::shared_ptr<SampleChecks::Slot> SampleChecks::slot_of(const fs::path& sample) {
    const std::lock_guard lock(mutex_);
    auto& slot = slots_[sample];
    if (slot == nullptr) {
        slot = std::make_shared<Slot>();
        if (pictures_ != nullptr) {
            slot->picture = pictures_->path() / kSampleFolder / (std::to_string(slots_.size()) + ".jpg");
        }
    }
    return slot;
}

std::string SampleChecks::picture_of(const fs::path& sample) {
    const std::shared_ptr<Slot> slot = slot_of(sample);
    const std::lock_guard lock(slot->mutex);
    return slot->picture.empty() ? "" : read_small_file(slot->picture);
}

SampleChecks::Result SampleChecks::check(const fs::path& sample, const fs::path& name, const fs::path& folder,
                                         const Workers& workers) {
    const std::shared_ptr<Slot> slot = slot_of(sample);
    const std::lock_guard lock(slot->mutex);
    if (!slot->result) {
        const Judgement judgement = workers.judge(folder, {name, {}, {}, slot->picture});
        if (!judgement.decodes) {
            require_all_readable(sample);
        }
        const Fitness fitness = !judgement.decodes           ? Fitness::kUnfit
                                : judgement.findings.empty() ? Fitness::kWhole
                                                             : Fitness::kDoubtful;
        slot->result = Result{fitness, join(judgement.findings)};
    }
    return *slot->result;
}

} // namespace plate_mend::host
