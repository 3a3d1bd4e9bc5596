#pragma once

#include "Repair.h"

#include "support/RawDamages.h"
#include "support/RawDecode.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// A real photograph that LibRaw decodes without an error.
struct RealPhotograph {
    std::string name;   ///< Below the folder of real camera files, with slashes.
    std::string camera; ///< Make and model, as LibRaw names them.
    Bytes bytes;
    RawLayout layout;
    RawPicture picture;
};

/// All photographs in the folder that decode and have a layout, by name.
[[nodiscard]] std::vector<RealPhotograph> real_photographs(const std::filesystem::path& folder);

/// A photograph that is damaged, and one that it is repaired with.
struct RealPair {
    const RealPhotograph* damaged = nullptr;
    const RealPhotograph* sample = nullptr;

    [[nodiscard]] bool same_camera() const { return damaged->camera == sample->camera; }
    [[nodiscard]] bool same_photograph() const { return damaged == sample; }
};

/// All ordered pairs within each folder. A photograph is its own sample if its folder has no other of its
/// camera.
[[nodiscard]] std::vector<RealPair> real_pairs(const std::vector<RealPhotograph>& photographs);

/// What became of one damaged photograph.
struct PairTrial {
    Survival survival = Survival::kWhole;
    bool repaired = false;
    raw_mend::Way way = raw_mend::Way::kOwnTables;
    std::size_t pieces = 0;
    std::size_t found = 0;
    std::size_t proved = 0;
    bool doubtful = false; ///< There are doubts.
    bool coded = false;    ///< The image is made of coded pieces, whose proof is in their bytes.
    bool exact = false;    ///< LibRaw decodes the result to the original's picture.
    double share = 0;      ///< Samples in their place that are the original's; 0 if the sizes differ.
    double promised = 1;   ///< Share of pixels that are reported neither as lost nor as doubtful.

    [[nodiscard]] bool claims_all() const { return repaired && proved == pieces && !doubtful; }
    /// Everything is reported as proved, but the picture is another.
    [[nodiscard]] bool false_claim() const { return claims_all() && !exact; }
    /// Such a claim that is as true as it can be: the image is not whole, and uncompressed rows are proved by
    /// their place only.
    [[nodiscard]] bool proved_by_place() const {
        return false_claim() && !coded && survival != Survival::kWhole;
    }
};

/// The damaged photograph of a trial.
struct DamagedPhotograph {
    Bytes bytes;
    Survival survival = Survival::kWhole;
};
[[nodiscard]] DamagedPhotograph damage(const RealPair& pair, const RawDamage& kind, unsigned seed);

/// Whether the kind can be applied to the pair.
[[nodiscard]] bool applies(const RawDamage& kind, const RealPair& pair);

/// Damages, repairs, decodes and compares.
[[nodiscard]] PairTrial run_pair_trial(const RealPair& pair, const raw_mend::Sample& sample,
                                       const RawDamage& kind, unsigned seed = 0);

/// A trial in a few words, as a cell of the table has it.
[[nodiscard]] std::string cell_of(const PairTrial& trial);

/// A pair as the head of the table has it.
[[nodiscard]] std::string column_of(const RealPair& pair);

} // namespace test
