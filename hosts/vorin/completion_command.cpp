// vorin completion SHELL: what a shell completes.
#include <fmt/format.h>

#include <memory>
#include <string>

#include "commands.hpp"
#include "completion.hpp"

namespace vorin::toolkit {

Command addCompletionCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "completion", "Write the script by which bash, zsh or fish completes commands and options");
  const auto shell = std::make_shared<std::string>();
  line->add_option("SHELL", *shell, "bash, zsh or fish")->type_name("")->required();
  return {line, [&program, shell] {
            fmt::print("{}", completionScript(program, *shell));
            return ExitStatus::success;
          }};
}

}  // namespace vorin::toolkit
