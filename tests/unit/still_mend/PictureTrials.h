#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

// Real pictures, damaged in the ways of broken cards, disks and transfers, and what is salvaged of them.

namespace test {

/// A picture of a folder.
struct RealPicture {
    std::string name; ///< Path below the folder.
    Bytes file;
    std::size_t data = 0; ///< Offset of the first scan's data.
};

/// All JPEGs below a folder that libjpeg decodes without a warning, by name; those of more bytes are left
/// out. Throws std::filesystem::filesystem_error.
[[nodiscard]] std::vector<RealPicture> find_pictures(const std::filesystem::path& folder,
                                                     std::size_t most_bytes);

/// A damaged copy, put together from parts of the original and foreign bytes.
class DamagedCopy {
  public:
    explicit DamagedCopy(const RealPicture& original) : original_(original) {}

    /// Appends bytes [first, last) of the original; ends beyond it are cut off.
    void keep(std::size_t first, std::size_t last);
    void add(const Bytes& foreign) { file_.insert(file_.end(), foreign.begin(), foreign.end()); }

    [[nodiscard]] const RealPicture& original() const { return original_; }
    [[nodiscard]] const Bytes& file() const { return file_; }
    /// The share of the original's bytes from its first scan on that are in the copy.
    [[nodiscard]] double surviving_share() const;

  private:
    const RealPicture& original_;
    Bytes file_;
    std::vector<bool> kept_;
};

/// Something that happens to a picture. other: another picture, as foreign data.
struct PictureDamage {
    std::string name;
    std::function<void(DamagedCopy& copy, const Bytes& other)> apply;
};
[[nodiscard]] const std::vector<PictureDamage>& picture_damages();

/// One picture, damaged in one way. Shares are of all MCUs of the picture.
struct PictureTrial {
    std::string picture;
    std::string damage;
    double survives = 0; ///< Share of the bytes.
    double plain = 0;    ///< In place when libjpeg alone decodes the damaged file.
    double salvaged = 0; ///< In place in what was delivered.
    double claimed = 0;  ///< Reported as the photographer's own.
    double own = 0;      ///< In place; if the foreign picture was delivered, of that one.
    bool delivered = false;
    bool kept = false; ///< libjpeg saw no damage, and the picture was delivered as it is.

    /// The salvager has fewer MCUs in place than libjpeg.
    [[nodiscard]] bool is_worse() const { return salvaged < plain - 0.0005; }
    [[nodiscard]] bool is_better() const { return salvaged > plain + 0.0005; }
    /// What is claimed exceeds what is in place by more than 0.01.
    [[nodiscard]] bool boasts() const { return claimed > own + 0.01; }
};
[[nodiscard]] PictureTrial run_picture_trial(const RealPicture& picture, const PictureDamage& damage,
                                             const Bytes& other);

} // namespace test
