// The commands of the program. Each adds itself to the command line and returns
// what is to be run once the line has been read.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

struct Command {
  CLI::App* line;                   ///< the part of the command line that calls for it
  std::function<ExitStatus()> run;  ///< throws UserError for bad input
};

Command addCompletionCommand(CLI::App& program);
Command addInvertCommand(CLI::App& program);
Command addInvert2dCommand(CLI::App& program);
Command addKeysCommand(CLI::App& program);
Command addManualCommand(CLI::App& program);
Command addMapCommand(CLI::App& program);
Command addReadCommand(CLI::App& program);
Command addShowCommand(CLI::App& program);
Command addSimulateCommand(CLI::App& program);
Command addSimulate2dCommand(CLI::App& program);

}  // namespace vorin::toolkit
