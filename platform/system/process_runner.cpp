#include "contract/system/process_runner.h"

#include "platform/system/child.h"
#include "platform/system/media_guard.h"

namespace CRVNUtils {
namespace {

using kinora::system::ChildLimits;
using kinora::system::ChildResult;

constexpr ChildLimits kLimits{std::chrono::minutes(10), 4ULL << 30, 600, 2ULL << 30, 16U << 20};
constexpr int kNotRun = -1;
constexpr int kEnded = -2;

}  // namespace

struct ProcessRunner::State {
  kinora::system::Command command;
  bool sound = true;  // what it was told can be run
  std::string output;
};

ProcessRunner::ProcessRunner(const char* program, const char* name) : state_(std::make_shared<State>()) {
  state_->command.limits = kLimits;
  state_->sound = program != nullptr && name != nullptr && std::string(program) == name;
  if (state_->sound) state_->command.arguments.emplace_back(program);
}

ProcessRunner::ProcessRunner(const char* program, const char* const argv[])
    : ProcessRunner(program, argv == nullptr ? nullptr : argv[0]) {
  if (!state_->sound) return;
  for (const char* const* argument = argv + 1; *argument != nullptr; ++argument)
    state_->command.arguments.emplace_back(*argument);
}

void ProcessRunner::addArguments(const char* a1, const char* a2, const char* a3, const char* a4,
                                 const char* a5, const char* a6, const char* a7, const char* a8,
                                 const char* a9) {
  for (const char* const argument : {a1, a2, a3, a4, a5, a6, a7, a8, a9}) {
    if (argument == nullptr) return;
    state_->command.arguments.emplace_back(argument);
  }
}

int ProcessRunner::run(bool wait, bool capture) {
  if (!wait || !state_->sound || !kinora::system::ReadsOneFile(state_->command.arguments)) return kNotRun;
  ChildResult result = kinora::system::RunChild(state_->command);
  if (capture) state_->output = std::move(result.output);
  if (result.end == ChildResult::End::kExited) return result.status;
  return result.end == ChildResult::End::kNotStarted ? kNotRun : kEnded;
}

std::string ProcessRunner::getCapturedOutput() const { return state_->output; }

std::string ProcessRunner::toString() const {
  std::string text;
  for (const std::string& argument : state_->command.arguments) {
    if (!text.empty()) text += ' ';
    text += argument;
  }
  return text;
}

}  // namespace CRVNUtils
