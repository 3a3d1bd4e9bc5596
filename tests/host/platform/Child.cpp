#include "host/repair/TroubledWorker.h"

#include "platform/Arguments.h"
#include "platform/Desktop.h"
#include "platform/Files.h"
#include "platform/Names.h"
#include "platform/Process.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

// What tests start as a separate process. Nothing that it does takes longer than a minute.

namespace {

namespace platform = plate_mend::host::platform;
using Words = std::vector<std::string>;

[[noreturn]] void wait_for_the_end() {
    std::promise<void>().get_future().wait();
    std::abort();
}

void write(const std::string& file, const std::string& text) {
    // Under another name until it is complete.
    const std::filesystem::path made = platform::path_of(file + ".part");
    platform::NewFile(made).write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    platform::move_new(made, platform::path_of(file));
}

/// arguments FILE ARGUMENT...: writes each argument to the file, with a NUL after it.
int write_arguments(const Words& words) {
    std::string text;
    for (std::size_t index = 1; index < words.size(); ++index) {
        text += words[index] + '\0';
    }
    write(words.at(0), text);
    return 0;
}

/// lock LOCK READY: takes a lock and keeps it. READY says whether it has it.
int lock(const Words& words) {
    const auto taken = platform::Lock::take(platform::path_of(words.at(0)));
    write(words.at(1), taken ? "locked" : "taken");
    wait_for_the_end();
}

/// lock-with PARENT LOCK READY: the same, and ends with its parent.
int lock_with(const Words& words) {
    platform::end_with(std::stoull(words.at(0)));
    return lock({words.at(1), words.at(2)});
}

/// start LOCK READY: starts another child that does the above, and exits without notifying it when READY
/// exists. wait LOCK READY: starts it and waits.
int start(const Words& words, bool ends) {
    const platform::Process child(
        platform::own_program(), {"lock-with", std::to_string(platform::own_id()), words.at(0), words.at(1)});
    if (!ends) {
        wait_for_the_end();
    }
    while (!platform::is_taken(platform::path_of(words.at(1)))) {
        std::this_thread::yield();
    }
    std::_Exit(0);
}

/// memory BYTES: 0 when a limit holds and twice as much cannot be had, else 1.
int take_memory(const Words& words) {
    const std::uint64_t bytes = std::stoull(words.at(0));
    if (!platform::limit_memory(bytes)) {
        return 1;
    }
    const std::unique_ptr<unsigned char[]> memory(new (std::nothrow) unsigned char[2 * bytes]);
    return memory == nullptr ? 0 : 2;
}

/// echo LOCK READY: takes a lock, and replies to each text with its length modulo 256. Ends without any.
int echo(const Words& words) {
    const auto taken = platform::Lock::take(platform::path_of(words.at(0)));
    write(words.at(1), taken ? "locked" : "taken");
    while (const auto text = platform::receive()) {
        platform::reply(static_cast<unsigned char>(text->size()));
    }
    return 0;
}

/// leave LOCK READY: starts the above, and waits without notifying it.
int start_echo(const Words& words) {
    const platform::Process child(platform::own_program(), {"echo", words.at(0), words.at(1)});
    wait_for_the_end();
}

int run(const std::string& command, const Words& words) {
    if (command == "worker") {
        return test::work_with_troubles(platform::path_of(words.at(0)));
    }
    if (command == "echo") {
        return echo(words);
    }
    if (command == "leave") {
        return start_echo(words);
    }
    if (command == "arguments") {
        return write_arguments(words);
    }
    if (command == "status") {
        return std::stoi(words.at(0));
    }
    if (command == "desktop") { // 1 if a desktop has started this.
        return platform::is_started_from_desktop() ? 1 : 0;
    }
    if (command == "lock") {
        return lock(words);
    }
    if (command == "lock-with") {
        return lock_with(words);
    }
    if (command == "start" || command == "wait") {
        return start(words, command == "start");
    }
    if (command == "memory") {
        return take_memory(words);
    }
    if (command == "end-after") {
        for (const std::string& seconds : words) {
            platform::end_after(static_cast<unsigned>(std::stoul(seconds)));
        }
        wait_for_the_end();
    }
    return 99;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const Words words = platform::utf8_arguments(argc, argv);
        if (words.at(0) != "end-after") {
            platform::end_after(60);
        }
        return run(words.at(0), Words(words.begin() + 1, words.end()));
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        return 98;
    }
}
