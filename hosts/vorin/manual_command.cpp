// vorin manual [FILE]: the manual page. For those who build the program, so that
// --help does not list it.
#include <fmt/format.h>

#include <memory>
#include <string>

#include "commands.hpp"
#include "manual.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/reading/files.hpp"

namespace vorin::toolkit {

Command addManualCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand("manual", "Write the manual page");
  line->group("");
  const auto file = std::make_shared<std::string>();
  line->add_option("FILE", *file, "Where to (default: the standard output)")->type_name("");
  return {line, [&program, file] {
            const std::string page = manualPage(program, queryText("VERS"));
            if (file->empty()) {
              fmt::print("{}", page);
              return ExitStatus::success;
            }
            OutputFiles outputs;
            outputs.write(outputs.announce(*file, "manual", {}), page);
            outputs.commit();
            return ExitStatus::success;
          }};
}

}  // namespace vorin::toolkit
