// entry.cgi as a program: which of its ways to work the command line asks for.
#pragma once

namespace kinora::entry {

int RunEntry(int argc, char** argv);

}  // namespace kinora::entry
