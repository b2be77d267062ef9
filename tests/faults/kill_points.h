// Where the process of a request is killed, and streams that nobody has used for long.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/http/house.h"

namespace kinora::test {

struct KillPoint {
  std::string name;  // of the system call
  int number = 0;    // which one of that name
};

// The calls at which the request is killed: all of them, or as many as there is time for. What the loader
// opens does not differ from one request to the next. `further` are names of system calls that count besides
// the usual ones, each behind a comma.
std::vector<KillPoint> KillPointsOf(const Call& call, const std::string& further = "");

// As if nobody had touched the stream's folder for a day.
void MakeOld(const std::filesystem::path& folder);

}  // namespace kinora::test
