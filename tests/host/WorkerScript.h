#pragma once

#include <filesystem>
#include <string>

namespace test {

/// A shell script that the program starts instead of its workers, for what may happen while they work. It
/// exists as long as the object. Workers that it starts receive no tasks but their first, so that it runs for
/// each task. "$program" in it is the program itself, and "$@" are a worker's arguments.
class WorkerScript {
  public:
    WorkerScript(std::filesystem::path file, const std::string& script);
    WorkerScript(const WorkerScript&) = delete;
    WorkerScript& operator=(const WorkerScript&) = delete;
    ~WorkerScript();

    [[nodiscard]] const std::filesystem::path& file() const { return file_; }

  private:
    std::filesystem::path file_;
};

} // namespace test
