#include "library/subtitle/plugin_run.h"

#include <memory>

#include "contract/system/process_runner.h"
#include "library/subtitle/json_member.h"

namespace crvnkn::webapi::subtitle {
namespace {

constexpr char kInterpreter[] = "/usr/bin/php";
constexpr size_t kAnswerLimit = size_t{2} << 20;  // a value may take fifty times the memory of its text

// The document that the output begins with. The parser throws at what is nested too deeply.
std::optional<Json::Value> ParseAnswer(const std::string& output) try {
  if (output.size() > kAnswerLimit) return std::nullopt;
  Json::CharReaderBuilder builder;
  builder["allowTrailingCommas"] = false;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value answer;
  if (!reader->parse(output.data(), output.data() + output.size(), &answer, nullptr)) return std::nullopt;
  return answer;
} catch (const Json::Exception&) {
  return std::nullopt;
}

}  // namespace

std::optional<Json::Value> RunPlugin(const Json::Value& description, const std::string& action,
                                     const std::string& path, const std::vector<std::string>& further) {
  std::string program;
  GetStringMember(description, "pluginpath", program);
  program += "/subtitle.php";
  CRVNUtils::ProcessRunner runner(kInterpreter, kInterpreter);
  runner.addArguments("-f", program.c_str(), "--", "--action", action.c_str(), "--path", path.c_str());
  for (const std::string& argument : further) runner.addArguments(argument.c_str());
  if (runner.run(true, true) != 0) return std::nullopt;
  return ParseAnswer(runner.getCapturedOutput());
}

}  // namespace crvnkn::webapi::subtitle
