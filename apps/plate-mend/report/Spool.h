#pragma once

#include "platform/Files.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace plate_mend::host {

/// Texts on the disk that are read again in any order, for a report that is put together when all of them are
/// known. All throw MachineFailure.
class Spool {
  public:
    /// Where a text is.
    struct Place {
        std::uint64_t offset = 0;
        std::size_t size = 0;
    };

    /// Starts a file, which must not exist. It stays when the object is destroyed.
    explicit Spool(std::filesystem::path file);

    [[nodiscard]] Place add(std::string_view text);
    [[nodiscard]] std::string read(const Place& place) const;
    /// Bytes of all texts.
    [[nodiscard]] std::uint64_t size() const { return size_; }

  private:
    std::filesystem::path path_;
    platform::NewFile file_;
    std::uint64_t size_ = 0;
};

} // namespace plate_mend::host
