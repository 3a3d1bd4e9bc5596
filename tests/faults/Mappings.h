#pragma once

#include <cstddef>
#include <functional>

namespace test {

/// Is called after each mapping of a file, with its number from 1 on: those of this process, counted from
/// the call of this function on. Null: no more calls.
void on_mapping(std::function<void(std::size_t number)> listener);

} // namespace test
