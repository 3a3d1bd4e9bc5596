#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>

// Reasons to stop that are not the fault of a photograph.

namespace plate_mend::host {

/// The user asked the program to end, or its job to stop.
class Interrupted : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }
};

/// The machine cannot do what is asked for: no room, no permission, an I/O error, too little memory, a
/// missing folder. what() says which.
class MachineFailure : public std::runtime_error {
  public:
    explicit MachineFailure(const std::string& text, bool no_room = false)
        : std::runtime_error(text), no_room_(no_room) {}
    /// `what` is what the program could not do, such as "x.arw: cannot be read"; the system's reason is
    /// added.
    MachineFailure(const std::string& what, const std::error_code& reason);

    /// The disk is full, so everything that follows will fail as well.
    [[nodiscard]] bool no_room() const { return no_room_; }

  private:
    bool no_room_;
};

/// What went wrong, for users: never the name of an exception or of a function.
[[nodiscard]] std::string describe_error(const std::exception& exception);

/// Whether the user has asked the program to end, or the job of this thread to stop.
[[nodiscard]] bool is_interrupted();

/// Throws Interrupted if that is so.
void check_interruption();

} // namespace plate_mend::host
