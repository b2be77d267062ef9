#include "platform/engine/remux_helper.h"

#include <csignal>

#include "platform/base/log.h"
#include "platform/system/places.h"
#include "platform/system/zygote.h"

namespace kinora::engine {
namespace {

using system::ChildResult;

constexpr char kUnit[] = "engine/remux_helper";
constexpr char kProgram[] = "libexec/kinora-remux";
constexpr int kFirstDescriptor = 3;
constexpr int kNoOutput = 74;  // how it ends when it cannot write

constexpr system::ChildLimits kLimits{std::chrono::seconds(60), 1ULL << 30, 55, 1ULL << 30, 1U << 10};

}  // namespace

ChildResult RunRemux(const std::vector<std::string>& arguments, const std::vector<int>& descriptors,
                     const ScratchFile& target) {
  system::Command command;
  command.arguments = {system::InTarget(kProgram)};
  command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
  int number = kFirstDescriptor;
  for (const int descriptor : descriptors) command.descriptors.emplace_back(descriptor, number++);
  command.limits = kLimits;
  ChildResult result = system::RunByZygote(system::kRemuxSocket, command);
  if (result.end == ChildResult::End::kNotStarted) result = system::RunChild(command);
  if (result.end != ChildResult::End::kSignalled || result.status != SIGKILL) return result;
  target.Empty();
  return system::RunChild(command);
}

FragmentOutcome JudgeRemux(const ChildResult& result, const std::string& what) {
  if (result.Succeeded()) return FragmentOutcome::kReady;
  base::Log(LOG_ERR, kUnit,
            what + " was not copied: " + std::to_string(static_cast<int>(result.end)) + ", " +
                std::to_string(result.status));
  const bool no_output = result.end == ChildResult::End::kExited && result.status == kNoOutput;
  return no_output ? FragmentOutcome::kNoSpace : FragmentOutcome::kFailed;
}

}  // namespace kinora::engine
