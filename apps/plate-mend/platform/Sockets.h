#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

// Connections of a server, by the numbers that the system has for them.

namespace plate_mend::host::platform {

using SocketNumber = std::intptr_t;

/// Waits until something can be read, or the other side has closed. False if the time is over.
[[nodiscard]] bool wait_to_read(SocketNumber socket, std::chrono::milliseconds time);
/// Waits until something can be written. False if the time is over.
[[nodiscard]] bool wait_to_write(SocketNumber socket, std::chrono::milliseconds time);

/// Reads what there is, and waits for something. 0 if the other side has closed; nothing if the connection is
/// broken.
[[nodiscard]] std::optional<std::size_t> receive_some(SocketNumber socket, std::span<char> buffer);
/// Sends a part of the bytes, and returns how many; nothing if the connection is broken.
[[nodiscard]] std::optional<std::size_t> send_some(SocketNumber socket, std::string_view bytes);

/// Says that nothing more will be sent.
void finish_sending(SocketNumber socket);
void close_socket(SocketNumber socket);

/// Programs that this one starts do not inherit the connection.
void keep_from_children(SocketNumber socket);

/// For a socket before it gets its port: no other program may listen on the same one at the same time.
void keep_port_to_itself(SocketNumber socket);

} // namespace plate_mend::host::platform
