#include "order/FilePieces.h"

#include "Work.h"
#include "jpeg/Markers.h"

#include <algorithm>
#include <array>

namespace still_mend {

FilePieces::FilePieces(Bytes file, std::size_t cluster, std::size_t first)
    : file_(file), cluster_(cluster), taken_((file.size() + cluster - 1) / cluster, false) {
    std::fill_n(taken_.begin(), std::min(first / cluster, taken_.size()), true);
    for (std::size_t start = first; start < file.size(); start += cluster) {
        starts_.push_back(start);
    }
    Work::add(file.size());
    constexpr std::array<unsigned char, 2> kEnd{0xFF, marker::kEoi};
    for (auto found = file.begin() + static_cast<std::ptrdiff_t>(std::min(first, file.size()));;) {
        found = std::search(found, file.end(), kEnd.begin(), kEnd.end());
        if (found == file.end()) {
            break;
        }
        found += kEnd.size();
        const auto start = static_cast<std::size_t>(found - file.begin());
        if (start % cluster != 0 && start < file.size()) {
            starts_.push_back(start);
        }
    }
}

Range FilePieces::at(std::size_t start) const {
    std::size_t last = (start / cluster_ + 1) * cluster_;
    if (last - start < cluster_ / 2) {
        last += cluster_;
    }
    return {start, std::min(last, file_.size())};
}

bool FilePieces::is_free(std::size_t start) const {
    if (start >= file_.size()) {
        return false;
    }
    return start % cluster_ == 0 ? !taken_[start / cluster_]
                                 : std::ranges::find(taken_between_, start) == taken_between_.end();
}

void FilePieces::take(const Range& piece) {
    if (piece.first % cluster_ != 0) {
        taken_between_.push_back(piece.first);
    }
    for (std::size_t cluster = (piece.first + cluster_ - 1) / cluster_; cluster * cluster_ < piece.last;
         ++cluster) {
        taken_[cluster] = true;
    }
}

bool FilePieces::are_taken_up_to(std::size_t offset) const {
    for (std::size_t cluster = 0; cluster < taken_.size(); ++cluster) {
        const bool before = cluster * cluster_ < offset;
        if (taken_[cluster] != before && !(before && repeats(cluster))) {
            return false;
        }
    }
    return true;
}

bool FilePieces::repeats(std::size_t cluster) const {
    const std::size_t first = cluster * cluster_;
    const std::size_t size = std::min(cluster_, file_.size() - first);
    Work::add(size);
    return cluster > 0 &&
           std::ranges::equal(file_.subspan(first, size), file_.subspan(first - cluster_, size));
}

} // namespace still_mend
