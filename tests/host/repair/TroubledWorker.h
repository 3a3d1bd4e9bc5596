#pragma once

#include <filesystem>

namespace test {

/// A worker for tests of the pool. The member "task" of a task says what it does, and the answer has the
/// number of the process ("process") and of the task in it ("number", from 1):
///
///   answer          answers
///   end             answers, and ends without a reply
///   end afterwards  answers, and ends after the reply
///   reply twice     answers, replies twice, and creates a file "replied"
///   reply nonsense  answers, and replies what no worker replies
///   answer nonsense leaves an answer that is no JSON
///   no answer       replies without an answer
///   crash           crashes
///   hang            creates a file "hangs" and does nothing more
///   no memory       ends for a lack of memory
///
/// With "if_used" it does so only if it has done other tasks before, and answers otherwise. With "output" it
/// creates this file first, which must not exist. A file "starts" gets a line from each process.
///
/// Returns the exit status.
[[nodiscard]] int work_with_troubles(const std::filesystem::path& folder);

} // namespace test
