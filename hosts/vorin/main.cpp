// vorin: inverts measured decays from the command line.
//
// Exit status: 0 success, 1 the inversion did not succeed (its outputs are written
// all the same), 2 bad input or options (nothing is written).
#include <fmt/format.h>
#include <vorin.h>

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "command_line.hpp"
#include "commands.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/system/console.hpp"

namespace {

using vorin::toolkit::Command;
using vorin::toolkit::ExitStatus;

int complain(std::string_view sentence) noexcept {
  // Not by fmt, which may throw: this is where exceptions end.
  std::fprintf(stderr, "vorin: %.*s\n", static_cast<int>(sentence.size()), sentence.data());
  return static_cast<int>(ExitStatus::badInput);
}

int run(int argc, char** argv) {
  CLI::App program(
      "From a measured relaxation decay to a non-negative distribution of relaxation times",
      "vorin");
  program.footer(
      "Exit status: 0 success, 1 unsuccessful inversion (outputs are written), 2 bad input.");
  program.require_subcommand(1);
  program.get_formatter()->column_width(30);
  program.set_version_flag("--version", [] {
    return fmt::format("vorin, library {}", vorin::toolkit::queryText("VERS"));
  });
  const std::vector<Command> commands{
      vorin::toolkit::addInvertCommand(program),    vorin::toolkit::addInvert2dCommand(program),
#ifdef VORIN_MAP_FILES
      vorin::toolkit::addMapCommand(program),
#endif
      vorin::toolkit::addReadCommand(program),      vorin::toolkit::addShowCommand(program),
      vorin::toolkit::addSimulateCommand(program),  vorin::toolkit::addSimulate2dCommand(program),
      vorin::toolkit::addKeysCommand(program),      vorin::toolkit::addManualCommand(program),
      vorin::toolkit::addCompletionCommand(program)};
  const std::vector<std::string> words =
      vorin::toolkit::withCommand(program, vorin::toolkit::commandWords(argc, argv));
#ifndef VORIN_MAP_FILES
  if (!words.empty() && words.front() == "map") {
    return complain(
        "map: this build of vorin reads no images of voxels; use that for Linux, or the functions "
        "vorin_map_create and vorin_map_invert of the toolkit");
  }
#endif
  try {
    program.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // the last one first
  } catch (const CLI::Success& request) {
    return program.exit(request);  // --help, --version
  } catch (const CLI::ParseError& error) {
    return complain(
        fmt::format("{}{}; vorin --help lists the commands, vorin COMMAND --help its "
                    "options",
                    error.what(), vorin::toolkit::suggestion(program, words)));
  }
  for (const Command& command : commands) {
    if (command.line->parsed()) {
      return static_cast<int>(command.run());
    }
  }
  return complain("no command was given");
}

}  // namespace

int main(int argc, char** argv) {
  vorin::toolkit::prepareConsole();
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    return complain("there is not enough memory for this many samples and grid times");
  } catch (const std::exception& error) {
    return complain(error.what());
  }
}
