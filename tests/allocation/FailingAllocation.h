#pragma once

#include <cstddef>

namespace test {

/// While it lives, one allocation fails, by operator new with std::bad_alloc: the one with this number,
/// counted from 1 on. Those before and after it succeed. One object at a time, for code that runs on one
/// thread.
class FailingAllocation {
  public:
    explicit FailingAllocation(std::size_t number);
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    ~FailingAllocation();

    /// Whether there was such an allocation.
    [[nodiscard]] static bool has_failed();
};

/// Counts an allocation that is made in another way than by operator new. True when it is the one that is to
/// fail.
[[nodiscard]] bool allocation_is_to_fail();

} // namespace test
