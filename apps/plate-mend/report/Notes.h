#pragma once

#include <mutex>
#include <set>
#include <string>

namespace plate_mend::host {

/// Remarks on a run that belong to no single file, on the standard error stream; each only once. May be used
/// by several threads.
class Notes {
  public:
    void add(const std::string& text);

  private:
    std::mutex mutex_;
    std::set<std::string> given_;
};

/// A line on the standard error stream: "plate-mend: " and the text, fit for a terminal.
void complain(const std::string& text);

} // namespace plate_mend::host
