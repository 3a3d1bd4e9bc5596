#pragma once

#include "Bytes.h"

#include <cstdint>
#include <filesystem>

namespace raw_mend {

/// A new file. It is removed by the destructor unless it was finished.
class OutputFile {
  public:
    enum class Created { kYes, kExists, kUnwritable };

    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() { discard(); }

    /// Creates the file. What is at the path already, a link to nothing included, is never touched. Call it
    /// once. Throws std::bad_alloc.
    [[nodiscard]] Created create(const std::filesystem::path& path);

    /// Appends bytes to the file that was created. False if the system refuses some of them.
    [[nodiscard]] bool write(Bytes bytes);

    /// Closes the file and keeps it. False if the system reports only now that bytes were not written; the
    /// file is removed then.
    [[nodiscard]] bool finish();

  private:
    void discard() noexcept;

    std::filesystem::path path_;
    std::intptr_t handle_ = -1; ///< The system's; -1 when closed.
};

} // namespace raw_mend
