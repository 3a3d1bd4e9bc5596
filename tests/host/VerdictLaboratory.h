#pragma once

#include "host/VerdictDamages.h"

#include "record/Record.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

// A laboratory of verdicts: photographs of every camera in every light, damaged in many ways, repaired by the
// program, and compared with the pixels of the originals.

namespace test {

/// What makes photographs of one kind.
struct LaboratoryCamera {
    std::string name;      ///< "arw, cells".
    std::string extension; ///< "arw".
    /// The photograph with a number, by number_of() of Scene.h. It has its pixels whatever the file is named.
    std::function<Shot(unsigned number)> shoot;
};
[[nodiscard]] const std::vector<LaboratoryCamera>& laboratory_cameras();

/// How far a picture is from the original's.
struct PictureDistance {
    bool same = false;      ///< Each sample is the same.
    double wrong = 1;       ///< Share of pixels that differ by more than sixteen times the local noise.
    bool wrong_area = true; ///< In some 32 x 32 pixels at least half differ so.
    double pixels_same = 0; ///< Share of pixels that are the same.
    double rows_same = 0;   ///< Share of rows that are the same.

    /// What "whole" promises does not hold.
    [[nodiscard]] bool breaks_promise() const { return wrong > 0.001 || wrong_area; }
};

/// What became of one damaged photograph.
struct LaboratoryResult {
    std::string damage;
    bool ambiguous = false; ///< VerdictDamage::ambiguous.
    plate_mend::host::Record record;
    PictureDistance distance;

    [[nodiscard]] bool called_whole() const;
    [[nodiscard]] bool false_whole() const;
    /// Less than whole is said of the original's picture: not because it is a guess, a choice of two, or put
    /// together so that some pixels are counted as doubtful.
    [[nodiscard]] bool too_strict() const;
    /// The share that is promised is higher than the true one by more than 0.02.
    [[nodiscard]] bool too_rosy() const;
    [[nodiscard]] std::optional<double> promised() const;
    [[nodiscard]] double true_share() const;
    /// One letter: F false, S strict, R rosy, W whole and the same, w whole with less wrong than is promised,
    /// P partial, J only a JPEG, N nothing.
    [[nodiscard]] char letter() const;
};

/// Damages a camera's photographs in ways that are chosen, and has the program repair all.
///
///   seed     chooses the photographs, their light, places and bytes
///   chooses  by the damage's name; null: all
[[nodiscard]] std::vector<LaboratoryResult>
run_laboratory(const LaboratoryCamera& camera, unsigned seed,
               const std::function<bool(const VerdictDamage&)>& chooses = nullptr);

/// The same for real files: an intact sample, the photograph, and another one of their camera.
struct RealShots {
    std::string name;
    std::string extension;
    Shot sample;
    Shot original;
};
[[nodiscard]] std::vector<RealShots> real_shots();
[[nodiscard]] std::vector<LaboratoryResult>
run_laboratory(const RealShots& shots, unsigned seed,
               const std::function<bool(const VerdictDamage&)>& chooses = nullptr);

} // namespace test
