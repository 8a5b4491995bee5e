// Processes: this one, others, and programs that are run.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vorin::toolkit {

/// The number of this process.
std::int64_t processId();

/// False where no process has the number `id`; true also where that can't be told.
bool processExists(std::int64_t id);

/// The processors that this process may use, 1 at least.
std::size_t processorCount();

/// The file of the program `name` ("gnuplot") in the folders of PATH; empty where there is none.
/// On Windows the folders in which installers put programs are searched as well.
std::filesystem::path findProgram(const std::string& name);

/// Runs `program` with `arguments` in `folder` and waits for its end. Its standard input is empty,
/// and its standard output and error go to the file `log` there. It has a group of processes of its
/// own, so that Ctrl-C in a terminal does not end it. Returns nothing for an exit status of 0, else
/// why it could not be run ("Permission denied"), or that it failed. Any number of threads may
/// call.
std::string runProgram(const std::filesystem::path& program,
                       const std::vector<std::string>& arguments,
                       const std::filesystem::path& folder, const std::string& log);

}  // namespace vorin::toolkit
