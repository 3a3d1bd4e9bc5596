#pragma once

#include "window/Board.h"
#include "window/Jobs.h"

#include <filesystem>
#include <functional>

namespace plate_mend::host {

/// What the window does beside answering: one thing at a time, on a thread of its own, and shown on the
/// board. What begins something stops what is under way, and waits until it has ended. Not for several
/// threads at once, except stop().
class Work {
  public:
    /// The board must outlive this object.
    ///
    ///   program  this program's file, which is started again for workers
    ///   ends     is called when something has ended, on its thread
    Work(Board& board, std::filesystem::path program, std::function<void()> ends);

    /// Chooses folders, forgets what was known of the files, and finds out what a run would do, if all
    /// folders are chosen. Nobody sees new folders with what was known of others.
    ///
    ///   choose  changes the chosen folders
    void recognise(const std::function<void(ChosenFolders& folders)>& choose);
    /// Runs over the chosen folders. All of them must be chosen.
    void repair();
    /// Saves the contact sheet of the run that has ended.
    void save_sheet();

    void stop();
    /// Stops what is under way, and waits until it has ended.
    void end();

  private:
    void begin(Activity activity, std::function<void()> work);
    void run(const ChosenFolders& folders);
    [[nodiscard]] ChosenFolders folders() const;

    Board& board_;
    std::filesystem::path program_;
    std::function<void()> ends_;
    Jobs jobs_; ///< Ends before what it uses.
};

} // namespace plate_mend::host
