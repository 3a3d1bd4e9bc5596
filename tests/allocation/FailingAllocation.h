#pragma once

#include <cstddef>

namespace test {

/// While it lives, one allocation by operator new throws std::bad_alloc: the one with this number, counted
/// from 1 on. Those before and behind it succeed. One object at a time, for code that runs on one thread.
class FailingAllocation {
  public:
    explicit FailingAllocation(std::size_t number);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether there was such an allocation.
    [[nodiscard]] static bool has_failed();
};

} // namespace test
