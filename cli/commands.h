// The commands of `kinora`, one file each. A command throws what Run (cli/run.h) turns into words and a
// status.
#pragma once

namespace CLI {
class App;
}

namespace kinora::cli {

// Each adds its command, with its options and its help, to the program.
void AddScan(CLI::App& program);
void AddServe(CLI::App& program);
void AddShare(CLI::App& program);
void AddUser(CLI::App& program);
void AddExplain(CLI::App& program);
void AddDoctor(CLI::App& program);
void AddStatus(CLI::App& program);

}  // namespace kinora::cli
