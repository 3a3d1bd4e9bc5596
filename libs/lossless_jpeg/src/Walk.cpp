#include "Walk.h"

#include <lossless_jpeg/Markers.h>

#include <algorithm>

namespace lossless_jpeg {

using jpeg_bits::BitReader;

McuTables::McuTables(const Head& head, const McuLayout& layout) {
    for (const std::size_t nth : layout.components()) {
        const unsigned table = head.components[nth].table;
        if (!tables_[table]) {
            tables_[table].emplace(*head.tables[table]);
        }
        order_.push_back(&*tables_[table]);
    }
}

Walk::Walk(Bytes bytes, const Head& head)
    : bytes_(bytes), head_(head), layout_(head), tables_(head, layout_),
      reader_(bytes, static_cast<std::size_t>(head.end)) {}

Progress Walk::run(std::uint64_t step, const Step& take) {
    const std::uint64_t interval = head_.restart_interval == 0 ? layout_.mcus() : head_.restart_interval;
    while (done_ < layout_.mcus()) {
        if ((done_ != 0 && !take_restart()) ||
            !take_interval(std::min(interval, layout_.mcus() - done_), step, take)) {
            return progress_;
        }
    }
    take_eoi();
    return progress_;
}

bool Walk::take_interval(std::uint64_t mcus, std::uint64_t step, const Step& take) {
    for (const std::uint64_t last = done_ + mcus; done_ < last;) {
        const std::uint64_t count = std::min(step, last - done_);
        const BitReader begin = reader_;
        if (!take(reader_, done_, count)) {
            reader_ = begin;
            find_fault(count);
            return false;
        }
        done_ += count;
        progress_.samples += count * tables_.order().size();
    }
    return true;
}

/// Takes the samples one by one up to the fault, which must be within this many MCUs.
void Walk::find_fault(std::uint64_t mcus) {
    for (std::uint64_t mcu = 0; mcu < mcus; ++mcu) {
        for (const DifferenceTable* table : tables_.order()) {
            const BitReader before = reader_;
            const int category = table->table().decode(reader_);
            if (category > 0 && category < 16) {
                static_cast<void>(reader_.get(static_cast<unsigned>(category)));
            }
            if (category < 0 || reader_.overrun()) {
                const bool early = reader_.overrun() || reader_.ends_within(16);
                reader_ = before;
                set_fault(early ? Fault::kEndsEarly : Fault::kNoCode);
                return;
            }
            ++progress_.samples;
        }
    }
}

bool Walk::set_fault(Fault fault) {
    progress_.fault = fault;
    progress_.byte = reader_.byte_of_next_bit();
    progress_.bit = reader_.next_bit();
    progress_.end = progress_.byte;
    return false;
}

/// The offset of the marker after the interval, fill bytes not included; sets the fault if data go on.
std::optional<std::uint64_t> Walk::find_marker() {
    if (!reader_.closes()) {
        set_fault(Fault::kGoesOn);
        return std::nullopt;
    }
    std::size_t at = reader_.stop();
    while (at + 2 < bytes_.size() && bytes_[at] == 0xFF && bytes_[at + 1] == 0xFF) {
        ++at; // Markers may have more than one FF.
    }
    if (at + 2 > bytes_.size()) {
        set_fault(Fault::kEndsEarly);
        return std::nullopt;
    }
    return at;
}

bool Walk::take_restart() {
    const auto marker = find_marker();
    if (!marker) {
        return false;
    }
    const auto at = static_cast<std::size_t>(*marker);
    if (bytes_[at + 1] != kRst0 + restarts_ % 8) {
        return set_fault(bytes_[at + 1] == kEoi ? Fault::kEndsEarly : Fault::kNoRestart);
    }
    ++restarts_;
    reader_ = BitReader(bytes_, at + 2);
    return true;
}

void Walk::take_eoi() {
    const auto marker = find_marker();
    if (!marker) {
        return;
    }
    if (bytes_[static_cast<std::size_t>(*marker) + 1] != kEoi) {
        set_fault(Fault::kNoEoi);
        return;
    }
    progress_.byte = *marker;
    progress_.end = *marker + 2;
}

} // namespace lossless_jpeg
