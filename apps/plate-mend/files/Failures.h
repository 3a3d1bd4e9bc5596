#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>

// Why work ends early through no fault of a photograph's.

namespace plate_mend::host {

/// The user asked the program to end.
class Interrupted : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "interrupted"; }
};

/// The machine cannot do what was asked for now: no room, no permission, an I/O error, too little memory, a
/// missing folder. what() says which, for people.
class MachineFailure : public std::runtime_error {
  public:
    explicit MachineFailure(const std::string& text, bool no_room = false)
        : std::runtime_error(text), no_room_(no_room) {}
    /// With what the program was about to do, such as "x.arw: cannot be read", and the system's reason.
    MachineFailure(const std::string& what, const std::error_code& reason);

    /// The disk is full. Whatever comes next will fail as well.
    [[nodiscard]] bool no_room() const { return no_room_; }

  private:
    bool no_room_;
};

/// What went wrong, in words for people: never the name of an exception or of a function.
[[nodiscard]] std::string describe_error(const std::exception& exception);

/// Throws Interrupted when the user has asked the program to end.
void check_interruption();

} // namespace plate_mend::host
