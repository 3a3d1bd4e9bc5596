#pragma once

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace plate_mend::host {

/// Writes a line to the standard error stream: "plate-mend: " and the text, safe for a terminal.
void complain(const std::string& text);

/// Notes about a run as a whole; each is given only once. May be used by several threads.
class Notes {
  public:
    /// Where notes go: by default to the standard error stream. Called by one thread at a time.
    explicit Notes(std::function<void(const std::string& text)> give = complain) : give_(std::move(give)) {}

    void add(const std::string& text);

  private:
    std::function<void(const std::string& text)> give_;
    std::mutex mutex_;
    std::set<std::string> given_;
};

} // namespace plate_mend::host
