#pragma once

#include "report/Summary.h"
#include "run/RepairRun.h"
#include "window/Board.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace plate_mend::host {

/// Puts a run on the board.
class Watcher : public RunObserver {
  public:
    /// The board must outlive this object.
    Watcher(Board& board, std::shared_ptr<Pictures> pictures);

    void selects(const RepairSelection& selection) override;
    void reads_samples(std::size_t done, std::size_t total) override;
    void begins(const Input& input) override;
    void ends(const Record& record, bool is_new) override;

    /// The lines of the run's summary.
    [[nodiscard]] std::vector<std::string> summary(const std::filesystem::path& out) const;

  private:
    Board& board_;
    std::shared_ptr<Pictures> pictures_;
    std::map<std::string, std::size_t> indices_; ///< Of the files, by their paths.
    Summary summary_;
};

/// Puts a selection's files on the board, with what was already known about them.
void show_files(Board& board, const RepairSelection& selection);

} // namespace plate_mend::host
