#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

/// Prints what is wrong and aborts the program, unless the complaint is empty.
void stop_on(const std::string& complaint);

} // namespace fuzz

// What libFuzzer calls: once at the start, and with each input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
