#include "contract/system/hlibc.h"

#include <cstdarg>
#include <limits>
#include <string_view>

#include "platform/base/log.h"
#include "platform/system/child.h"
#include "platform/system/guarded_copy.h"

namespace {

using kinora::system::ChildIdentity;
using kinora::system::ChildResult;
using kinora::system::Command;

constexpr std::chrono::minutes kRemovalDeadline{10};
constexpr unsigned int kRemovalCpuSeconds = 600;
constexpr int kNotStarted = -1;
constexpr int kKilled = -2;

// rm and cp may run as root, so each name that they get must be one that leads nowhere else: absolute, not
// the root itself, without a slash at the end (with one, rm -rf empties what a link points to), without a
// component that goes up or stays.
bool IsSafeName(std::string_view name) {
  if (name.size() < 2 || name.front() != '/' || name.back() == '/') return false;
  while (!name.empty()) {
    name.remove_prefix(1);
    const std::string_view component = name.substr(0, name.find('/'));
    if (component == "." || component == "..") return false;
    name.remove_prefix(component.size());
  }
  return true;
}

bool IsSafeFileWork(const Command& command) {
  for (size_t i = 1; i < command.arguments.size(); ++i) {
    const std::string& argument = command.arguments[i];
    const bool is_option = i == 1 && command.arguments[0] == "/bin/rm" && argument == "-rf";
    if (!is_option && !IsSafeName(argument)) {
      kinora::base::Log(LOG_ERR, "system/hlibc",
                        "refused to run " + command.arguments[0] + ": its argument " + std::to_string(i) +
                            " is no safe name");
      return false;
    }
  }
  return true;
}

}  // namespace

int HLIBCExec(const char* program, ...) {
  if (program == nullptr) return kNotStarted;
  Command command;
  command.arguments.emplace_back(program);
  va_list arguments;
  va_start(arguments, program);
  while (const char* const argument = va_arg(arguments, const char*))
    command.arguments.emplace_back(argument);
  va_end(arguments);

  const bool copies = command.arguments[0] == "/bin/cp";
  if ((copies || command.arguments[0] == "/bin/rm") && !IsSafeFileWork(command)) return kNotStarted;
  if (copies) {
    if (command.arguments.size() != 3) return kNotStarted;
    return kinora::system::CopyFile(command.arguments[1], command.arguments[2]);
  }
  if (command.arguments[0] == "/bin/rm") {
    command.identity = ChildIdentity::kCaller;
    command.limits.deadline = kRemovalDeadline;
    command.limits.cpu_seconds = kRemovalCpuSeconds;
    command.limits.file_size = std::numeric_limits<uint64_t>::max();
  }
  const ChildResult result = kinora::system::RunChild(command);
  if (result.end == ChildResult::End::kExited) return result.status;
  return result.end == ChildResult::End::kNotStarted ? kNotStarted : kKilled;
}
