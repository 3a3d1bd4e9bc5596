#pragma once

#include <new>
#include <stdexcept>

namespace plate_mend::host {

inline constexpr const char* kNoMemory =
    "there is not enough memory to examine it; close other programs, or raise the memory limit";

/// Calls a function. A lack of memory becomes a std::runtime_error with a sentence for people.
template <typename Function>
auto with_sentences(Function function) {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        throw std::runtime_error(kNoMemory);
    } catch (const std::length_error&) {
        throw std::runtime_error(kNoMemory);
    }
}

} // namespace plate_mend::host
