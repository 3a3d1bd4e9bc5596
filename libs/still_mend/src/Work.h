#pragma once

#include <cstddef>
#include <cstdint>

namespace still_mend {

/// Counts what this thread has done: bytes of files that were read, blocks that were cleared or decoded,
/// samples that were compared, and MCUs that were placed. Added per MCU, per interval or per comparison,
/// never per bit. A measure of time that does not depend on the machine.
class Work {
  public:
    static void add(std::size_t count) { done_ += count; }
    [[nodiscard]] static std::uint64_t done() { return done_; }

  private:
    static inline thread_local std::uint64_t done_ = 0;
};

} // namespace still_mend
