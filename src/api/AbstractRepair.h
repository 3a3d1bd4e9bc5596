#pragma once

#include <cstdint>

namespace plate_mend {

/// The interface of every format's repairer.
///
/// A repairer has no state: it is made for one call and destroyed after it, through a std::shared_ptr that
/// knows its class. So there is no virtual destructor, and the two operations keep their order: see
/// docs/compatibility.md, The interface. All paths are NUL-terminated UTF-8; results are 0 or a negative code
/// of the format's block (see plate_mend.h).
class AbstractRepair {
  public:
    /// Rebuilds damaged_file into output_file, with the structure of sample_file. The old output is removed
    /// before the inputs are checked, and a missing input is not logged: see docs/compatibility.md, The
    /// interface. Throws what no stage turns into a code: std::system_error for an ill-formed path,
    /// std::filesystem::filesystem_error, std::bad_alloc, and what the repairer's own header names.
    virtual std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                                       const char* output_file) = 0;

    /// Salvages a JPEG from damaged_file alone into output_file. Returns the salvager's code unchanged.
    /// Throws std::system_error for an ill-formed path.
    virtual std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) = 0;

    AbstractRepair(const AbstractRepair&) = delete;
    AbstractRepair& operator=(const AbstractRepair&) = delete;

  protected:
    AbstractRepair() = default;
    ~AbstractRepair() = default;
};

} // namespace plate_mend
