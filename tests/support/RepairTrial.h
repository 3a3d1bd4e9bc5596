#pragma once

#include "support/Bytes.h"
#include "support/oracle/Oracle.h"

#include <filesystem>
#include <optional>
#include <string>

namespace test {

/// Advanced repairs of one format, each judged in full.
class RepairTrial {
  public:
    /// All files of the repairs are in the folder, the temporary ones too.
    RepairTrial(const oracle::Format& format, const std::filesystem::path& folder);

    /// Repairs the damaged file with the sample. Empty when all is as it must be:
    ///
    /// - The result is 0 or one of the format's codes; a CR3 repair may throw NotFoundException, and nothing
    ///   else throws.
    /// - Both inputs are unchanged.
    /// - The result is 0 where the oracle expects an output, and only there. The output is that, byte for
    ///   byte, and the temporary file is gone.
    ///
    /// Otherwise a line about what is wrong.
    [[nodiscard]] std::string complaint(const Bytes& sample, const Bytes& damaged);

  private:
    /// A file with the bytes that were put there last, which it must keep.
    struct Input {
        std::filesystem::path path;
        std::optional<Bytes> bytes;

        void put(const Bytes& wanted);
        [[nodiscard]] bool is_unchanged() const { return read_file(path) == *bytes; }
    };

    const oracle::Format& format_;
    Input sample_;
    Input damaged_;
    std::filesystem::path output_;
    std::filesystem::path temporary_;
};

} // namespace test
