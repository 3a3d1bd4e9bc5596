#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace plate_mend::host {

/// Computes a SHA-256 sum.
class Sha256 {
  public:
    Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;
    ~Sha256();

    /// Adds data[0..count-1].
    void add(const unsigned char* data, std::size_t count);

    /// The sum of what was added: 64 lower-case hexadecimal digits. Starts over.
    [[nodiscard]] std::string hexadecimal();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The sum of a file. Reads it once, a piece at a time. Throws MachineFailure, with the path, when the file
/// cannot be read to its end, and Interrupted.
[[nodiscard]] std::string sha256_of(const std::filesystem::path& file);

} // namespace plate_mend::host
