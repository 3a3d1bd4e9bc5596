#pragma once

#include "record/Record.h"
#include "report/Words.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace plate_mend::host {

/// How a run ended.
struct RunEnd {
    std::size_t files = 0;       ///< Of the run, done or not.
    bool stopped = false;        ///< Before all files were done.
    bool resumable = false;      ///< The run keeps a record, so --resume does what is left.
    std::string results{};       ///< Where results are: a path, or empty for beside the damaged files.
    std::string contact_sheet{}; ///< A path; empty for none.
};

/// The few lines that end a run: how many files have each verdict, why the others are not whole, where the
/// results are, and how to go on.
class Summary {
  public:
    void add(const Record& record);

    /// The lines, without line breaks. Names in them are as they are, not made safe for a terminal.
    [[nodiscard]] std::vector<std::string> lines(const RunEnd& end) const;

  private:
    struct Reason {
        std::size_t files = 0;
        std::string text; ///< Of the first file.
        std::string file; ///< The first one.
    };

    [[nodiscard]] std::vector<const Reason*> commonest_reasons() const;

    Counts counts_;
    bool delivered_ = false;                ///< Something was.
    std::map<std::string, Reason> reasons_; ///< By their text without numbers.
};

} // namespace plate_mend::host
