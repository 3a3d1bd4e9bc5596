#include "repair/SampleChecks.h"

#include "files/Failures.h"
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
#include <vector>

namespace plate_mend::host {

namespace fs = std::filesystem;

struct SampleChecks::Slot {
    std::mutex mutex; ///< Held while the sample is decoded: others wait for the result.
    std::optional<Result> result;
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

SampleChecks::Result SampleChecks::check(const fs::path& sample, const fs::path& name, const fs::path& folder,
                                         const Workers& workers) {
    std::shared_ptr<Slot> slot;
    {
        const std::lock_guard lock(mutex_);
        auto& place = slots_[sample];
        if (place == nullptr) {
            place = std::make_shared<Slot>();
        }
        slot = place;
    }
    const std::lock_guard lock(slot->mutex);
    if (!slot->result) {
        const Judgement judgement = workers.judge(folder, {name, {}, {}, {}});
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
