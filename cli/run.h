// The program `kinora`.
#pragma once

namespace kinora::cli {

// Does what the command line says and gives the exit status: 0 done, 1 it failed, and a line on standard
// error says why, more for a command line that cannot be understood.
int Run(int argc, char** argv);

}  // namespace kinora::cli
