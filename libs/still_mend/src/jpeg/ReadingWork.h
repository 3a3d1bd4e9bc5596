#pragma once

#include "Work.h"
#include "jpeg/Bits.h"

#include <cstddef>

namespace still_mend {

/// Counts, when it is destroyed, what a reader has loaded since, and the units of a scan that were read: a
/// unit may take less than a byte.
class ReadingWork {
  public:
    /// The reader must outlive it.
    explicit ReadingWork(const BitReader& reader) : reader_(reader), begin_(reader.stop()) {}
    ReadingWork(const ReadingWork&) = delete;
    ReadingWork& operator=(const ReadingWork&) = delete;
    ~ReadingWork() { Work::add(reader_.stop() - begin_ + units_); }

    void count_unit() { ++units_; }

  private:
    const BitReader& reader_;
    std::size_t begin_;
    std::size_t units_ = 0;
};

} // namespace still_mend
