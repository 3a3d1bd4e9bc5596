#pragma once

#include <mutex>
#include <set>
#include <string>

namespace plate_mend::host {

/// Notes about a run as a whole, on the standard error stream; each is printed only once. May be used by
/// several threads.
class Notes {
  public:
    void add(const std::string& text);

  private:
    std::mutex mutex_;
    std::set<std::string> given_;
};

/// Writes a line to the standard error stream: "plate-mend: " and the text, safe for a terminal.
void complain(const std::string& text);

} // namespace plate_mend::host
