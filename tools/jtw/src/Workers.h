#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// Gives the result of one piece of work.
using PieceOfWork = std::function<std::string(std::size_t piece)>;
/// Called whenever a piece is done.
using PieceDone = std::function<void(std::size_t piece, std::optional<std::string> result)>;

/// Divides work among processes: the library is used by one thread and keeps state for the whole
/// process, so pieces that run side by side need a process each; and whatever one of them runs
/// into, the others go on. @pre this process has one thread
/// @param jobs how many pieces are done at a time at most
/// @param perProcess how many pieces a process does, one after the other, at most
/// @param work runs in a copy of this process: nothing that it changes in memory comes back, and it
///             must not write to the session's results
/// @param done runs in this process. A piece that its process did not bring to its end, or whose
///             process could not be started, has no result
/// An exception of `done` stops the processes and goes through.
/// @return false when the process was asked to end (see SignalsNoted): the processes are stopped
bool runInProcesses(const std::vector<std::size_t>& pieces, std::size_t jobs,
                    std::size_t perProcess, const PieceOfWork& work, const PieceDone& done);

}  // namespace tool
