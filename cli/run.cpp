#include "cli/run.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "cli/commands.h"
#include "platform/base/text.h"

namespace kinora::cli {

int Run(int argc, char** argv) {
  CLI::App program("Kinora streams your own videos to any player.", "kinora");
  program.require_subcommand(1);
  program.set_help_all_flag("--help-all", "Say what every command does");
  AddShare(program);
  AddScan(program);
  AddServe(program);
  AddUser(program);
  AddExplain(program);
  AddDoctor(program);
  AddStatus(program);
  try {
    program.parse(argc, argv);
    return 0;
  } catch (const CLI::ParseError& error) {  // also how --help ends, and a command that has said why it failed
    return program.exit(error);
  } catch (const std::exception& error) {
    std::cerr << "kinora: " << base::ToOneLine(error.what()) << '\n';
    return 1;
  }
}

}  // namespace kinora::cli
