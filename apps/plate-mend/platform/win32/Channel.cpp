#include "platform/win32/Channel.h"

#include "platform/win32/Errors.h"

#include <atomic>
#include <utility>

namespace plate_mend::host::platform {

namespace {

Handle make_event(const std::filesystem::path& program) {
    Handle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event) {
        fail_on(program);
    }
    return event;
}

void prepare(OVERLAPPED& operation, const Handle& event) {
    operation = {};
    operation.hEvent = event.get();
    ::ResetEvent(event.get());
}

/// Whether an operation that returned this is done, or will be.
bool has_begun(BOOL result) {
    return result != FALSE || ::GetLastError() == ERROR_IO_PENDING;
}

} // namespace

Channel::Channel(const std::filesystem::path& program)
    : has_sent_(make_event(program)), has_received_(make_event(program)) {
    static std::atomic<unsigned> count = 0;
    constexpr DWORD kRoom = 65536;
    const std::wstring name = L"\\\\.\\pipe\\plate-mend-" + std::to_wstring(::GetCurrentProcessId()) + L'-' +
                              std::to_wstring(count++);
    ours_ = Handle(::CreateNamedPipeW(
        name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, kRoom, kRoom, 0, nullptr));
    if (!ours_) {
        fail_on(program);
    }
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    theirs_ = Handle(
        ::CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, &inherited, OPEN_EXISTING, 0, nullptr));
    if (!theirs_) {
        fail_on(program);
    }
}

Channel::~Channel() {
    if (is_pending_) {
        ::CancelIoEx(ours_.get(), &receiving_);
        static_cast<void>(receive());
    }
}

Handle Channel::take_their_end() {
    return std::move(theirs_);
}

bool Channel::send(const std::string& text) {
    prepare(sending_, has_sent_);
    const auto count = static_cast<DWORD>(text.size() + 1);
    DWORD sent = 0;
    return has_begun(::WriteFile(ours_.get(), text.c_str(), count, nullptr, &sending_)) &&
           ::GetOverlappedResult(ours_.get(), &sending_, &sent, TRUE) != FALSE && sent == count;
}

HANDLE Channel::expect() {
    if (!is_pending_) {
        prepare(receiving_, has_received_);
        is_pending_ = has_begun(::ReadFile(ours_.get(), &byte_, 1, nullptr, &receiving_));
        if (!is_pending_) {
            ::SetEvent(has_received_.get());
        }
    }
    return has_received_.get();
}

std::optional<unsigned char> Channel::receive() {
    DWORD count = 0;
    const bool is_there = std::exchange(is_pending_, false) &&
                          ::GetOverlappedResult(ours_.get(), &receiving_, &count, TRUE) != FALSE;
    return is_there && count == 1 ? std::optional(byte_) : std::nullopt;
}

} // namespace plate_mend::host::platform
