#pragma once

#include "platform/win32/Handle.h"

#include <filesystem>
#include <optional>
#include <string>

namespace plate_mend::host::platform {

/// A pipe to a process that this one starts, in both directions: texts go there, bytes come back. It has a
/// name, since only such a pipe can be waited for with a limit.
class Channel {
  public:
    /// Throws std::system_error about the program that is to be started.
    explicit Channel(const std::filesystem::path& program);
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    ~Channel();

    /// The end for the process, which can inherit it; it must be closed here when that has started.
    [[nodiscard]] Handle take_their_end();

    /// Sends a text with its NUL. Returns whether that was possible.
    [[nodiscard]] bool send(const std::string& text);

    /// Asks for the next byte, if that was not done before. The event is signalled when it is there, or none
    /// will come.
    [[nodiscard]] HANDLE expect();

    /// The byte, when the event is signalled. Nothing if none will come.
    [[nodiscard]] std::optional<unsigned char> receive();

  private:
    Handle ours_;
    Handle theirs_;
    Handle has_sent_;
    Handle has_received_;
    OVERLAPPED sending_{};
    OVERLAPPED receiving_{}; ///< The system writes to it, and to the byte, while a read is pending.
    unsigned char byte_ = 0;
    bool is_pending_ = false;
};

} // namespace plate_mend::host::platform
