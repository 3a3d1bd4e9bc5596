#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// The damage laboratory: pictures of every kind, put into containers, damaged in every way, and measured:
// which share of their MCUs is in place afterwards.

namespace test {

/// How a picture is coded.
struct Coding {
    std::string name;
    unsigned h = 2; ///< Sampling of the first component; 1 and 1 is 4:4:4, 2 and 2 is 4:2:0.
    unsigned v = 2;
    bool grey = false;
    bool progressive = false;
    bool optimised = false;
    unsigned restart = 0; ///< MCUs from restart to restart.
};

/// A scene as a JPEG of this coding.
[[nodiscard]] Bytes make_coded(const Coding& coding, unsigned scene, unsigned width, unsigned height,
                               int quality = 90);

/// All codings of the laboratory.
[[nodiscard]] const std::vector<Coding>& codings();
[[nodiscard]] const Coding& coding_named(const std::string& name);

/// A file with the picture in it.
struct Specimen {
    Bytes file;
    std::size_t offset = 0; ///< That of the picture.
    std::size_t size = 0;
};

/// What a picture is put into: nothing, a TIFF file with room for a second picture, which may be empty, or a
/// photograph in a RAW format.
struct Container {
    std::string name;
    std::function<Specimen(const Bytes& picture, const Bytes& sibling)> build;
};
[[nodiscard]] const std::vector<Container>& containers();
[[nodiscard]] const Container& container_named(const std::string& name);

/// Where things are in an undamaged JPEG.
struct Anatomy {
    struct Part {
        std::size_t first = 0;
        std::size_t last = 0; ///< One after.
    };
    std::vector<Part> quant_tables; ///< Whole segments, from FF on.
    std::vector<Part> huffman_tables;
    std::vector<Part> restart_interval;
    std::vector<Part> frame;
    Part scan_header;            ///< The first one.
    std::vector<Part> intervals; ///< Those of the first scan, each with the marker before it.
    /// The same of every scan, in the order of the file.
    struct Scan {
        Part header;
        std::vector<Part> intervals;
    };
    std::vector<Scan> scans;
    Part end; ///< EOI.
};
[[nodiscard]] Anatomy dissect(const Bytes& jpeg);

/// Something that happens to a file.
struct Damage {
    std::string name;
    std::function<void(Specimen& specimen, const Anatomy& anatomy)> apply;
    bool large = false; ///< It takes a picture of 300 KiB and more to survive it.
};
[[nodiscard]] const std::vector<Damage>& damages();
[[nodiscard]] const Damage& damage_named(const std::string& name);

/// For each MCU, whether the picture has it as the original does: within two levels, root mean square, in
/// every block. Decoded by libjpeg without smoothing; bytes after the picture and warnings are ignored.
/// An unbroken run of such MCUs counts if two of them are unlike their neighbours: another is the same by
/// chance.
/// Empty when nothing decodes or sizes differ.
[[nodiscard]] std::vector<bool> mcus_in_place(const Bytes& original, const Bytes& picture);

/// The same without regard to a constant brightness and colour of each block.
[[nodiscard]] std::vector<bool> mcus_in_shape(const Bytes& original, const Bytes& picture);

/// A trial: a picture in a container, damaged and salvaged.
struct Trial {
    int result = 0; ///< The code that the library returned.
    std::size_t mcus = 0;
    std::size_t recovered = 0; ///< In place in the output.
    std::size_t in_shape = 0;  ///< In place, if perhaps of another brightness or colour.
    std::size_t plain = 0;     ///< In place when libjpeg alone decodes the damaged picture.
    std::size_t claimed = 0;   ///< What the library says is the photographer's own.
    bool other = false;        ///< What was delivered is another picture of the file.
    bool clean = false;        ///< The output decodes without a warning.
    bool kept = false; ///< libjpeg saw no damage, and what was delivered is the damaged picture as it is.
    unsigned warnings = 0;
    std::size_t offset = 0; ///< That of the picture in the damaged file.
    Bytes output;
    /// Success for what is not the picture: a tenth and more of what is claimed is something else.
    [[nodiscard]] bool false_success() const;
    [[nodiscard]] double share() const;
    [[nodiscard]] double plain_share() const;
};
[[nodiscard]] Trial run_trial(const Bytes& original, const Specimen& damaged);

/// The same in one go.
[[nodiscard]] Trial run_trial(const Coding& coding, const Container& container, const Damage& damage,
                              bool with_sibling, unsigned width, unsigned height);

/// The share of the MCUs outside the intervals [first, last) that was recovered in place.
[[nodiscard]] double share_outside(const Bytes& original, const Bytes& output, unsigned restart,
                                   std::size_t first, std::size_t last);

/// Marks the MCUs of which the intervals [first, last) of a scan hold something.
void mark_mcus(const Bytes& jpeg, std::size_t scan, unsigned restart, std::size_t first, std::size_t last,
               std::vector<bool>& marked);
/// The share of all other MCUs that was recovered in place.
[[nodiscard]] double share_unmarked(const Bytes& original, const Bytes& output,
                                    const std::vector<bool>& marked);

} // namespace test
