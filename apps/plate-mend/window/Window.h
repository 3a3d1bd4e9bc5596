#pragma once

#include "window/Board.h"
#include "window/Http.h"
#include "window/Previews.h"
#include "window/Work.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>

namespace plate_mend::host {

class Json;

/// What the window needs from outside; tests replace it.
struct WindowSettings {
    std::filesystem::path program; ///< This program's file, which is started again for workers.
    std::filesystem::path damaged; ///< A folder that is chosen already; empty: none.
    /// Shows a folder or a page to the user. Returns whether that was possible.
    std::function<bool(const std::filesystem::path&)> open_path;
    std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
    std::chrono::minutes idle{60};                  ///< The window ends after so long without a page.
    std::chrono::milliseconds longest_wait{10'000}; ///< A request for the state waits so long for a change.
};

/// What the page asks for, and what is done about it. Requests come from several threads, and have passed the
/// guard. Nothing is served but the page's own files, texts about files, and pictures that this program
/// encoded: no request names a file whose bytes are sent.
class Window {
  public:
    ///   page_token  is written into the page
    Window(WindowSettings settings, std::string page_token);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() = default; ///< Stops what is under way, and waits until it has ended.

    [[nodiscard]] HttpResponse answer(const HttpRequest& request);

    /// Whether the page asked for the end, or nobody has been there for too long. A run that is under way is
    /// somebody.
    [[nodiscard]] bool is_over() const;

    /// Stops what is under way, waits until it has ended, and lets nobody wait any more.
    void end();

  private:
    [[nodiscard]] HttpResponse get(const HttpRequest& request);
    [[nodiscard]] HttpResponse post(const HttpRequest& request);
    [[nodiscard]] HttpResponse page_file(const std::string& name) const;
    [[nodiscard]] HttpResponse state(const HttpRequest& request) const;
    [[nodiscard]] HttpResponse files(const HttpRequest& request) const;
    [[nodiscard]] HttpResponse file(const HttpRequest& request) const;
    [[nodiscard]] HttpResponse picture(const HttpRequest& request);
    [[nodiscard]] HttpResponse folder(const HttpRequest& request) const;

    [[nodiscard]] HttpResponse choose(const Json& wish);
    [[nodiscard]] HttpResponse find(const Json& wish) const;
    [[nodiscard]] HttpResponse start();
    [[nodiscard]] HttpResponse stop();
    [[nodiscard]] HttpResponse save_sheet();
    [[nodiscard]] HttpResponse open(const Json& wish) const;

    [[nodiscard]] std::string preview_of(std::size_t index, std::uint64_t generation);
    [[nodiscard]] Activity activity() const;

    WindowSettings settings_;
    std::string page_token_;
    Board board_;
    Previews previews_;
    std::mutex wishes_; ///< What changes something is done one at a time.
    std::atomic<bool> is_quit_ = false;
    std::atomic<std::chrono::steady_clock::rep> seen_; ///< When there was a request, or a run, last.
    Work work_;                                        ///< Ends before what it uses.
};

} // namespace plate_mend::host
