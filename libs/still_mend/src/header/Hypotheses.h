#pragma once

#include "header/Hypothesis.h"

#include <vector>

namespace still_mend {

/// The ways to complete a candidate's header: as it is where nothing is missing; otherwise with the frame,
/// the tables or both of each sibling, and with the standard tables. Siblings are candidates of the
/// same file or of a sample whose headers are complete. Empty if none of them leads to a decodable scan.
[[nodiscard]] std::vector<Hypothesis> complete_header(Bytes file, const PictureCandidate& candidate,
                                                      const std::vector<PictureCandidate>& siblings);

/// Adds a hypothesis; if its frame is borrowed, also one with the size inferred from the data.
void add_with_sizes(Bytes file, std::vector<Hypothesis>& hypotheses, const Hypothesis& hypothesis);

/// Candidates to borrow from: those with frame, scan and all tables, largest first, at most kMaxSiblings
/// different ones.
[[nodiscard]] std::vector<PictureCandidate> find_siblings(const std::vector<PictureCandidate>& candidates);

inline constexpr std::size_t kMaxSiblings = 6;

/// The same of another file, the sample. Nothing of what they say about where they are counts any more.
[[nodiscard]] std::vector<PictureCandidate> find_donors(Bytes sample);

/// Width times height as the frame has it; 0 without a frame.
[[nodiscard]] std::uint64_t claimed_pixels(const PictureCandidate& candidate);

/// Whether every table is there that the first scan needs.
[[nodiscard]] bool has_all_tables(const PictureCandidate& candidate);

} // namespace still_mend
