// Plug-ins of a test: installed by the double, answering what the test says.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "tests/fakes/pauses.h"
#include "tests/fakes/scripted_test.h"

namespace kinora::fakes {

class PluginTest : public ScriptedTest {
 protected:
  PluginTest() {
    Pauses().clear();
    TheScript().run = [this](const std::vector<std::string>& command) {
      TheScript().captured_output = outputs_[command[2]];
      return statuses_[command[2]];
    };
  }

  // In /p/<id>, titled "Title of <id>". Answers with `output` and the exit status.
  void Install(const std::string& id, const std::string& output = R"({"items": []})", int status = 0) {
    Json::Value& description = TheScript().plugins[id];
    description["id"] = id;
    description["title"] = "Title of " + id;
    description["pluginpath"] = "/p/" + id;
    outputs_["/p/" + id + "/subtitle.php"] = output;
    statuses_["/p/" + id + "/subtitle.php"] = status;
  }
  static void Set(const std::string& key, const Json::Value& value) {
    TheScript().json_files["/var/packages/Kinora/etc/advanced.conf"][key] = value;
  }

  // The journal's calls of this operation.
  static std::vector<std::string> CallsOf(const std::string& operation) {
    std::vector<std::string> calls;
    std::copy_if(Calls().begin(), Calls().end(), std::back_inserter(calls),
                 [&](const std::string& call) { return call.starts_with(operation + "("); });
    return calls;
  }
  // `run` of a plug-in in the journal, with what follows "--path" <path>.
  static std::string RunOf(const std::string& id, const std::string& action, const std::string& path,
                           const std::vector<std::string>& further = {}) {
    std::string call = R"(run("/usr/bin/php", "-f", "/p/)" + id + R"(/subtitle.php", "--", "--action", ")" +
                       action + R"(", "--path", ")" + path + "\"";
    for (const std::string& argument : further) call += ", \"" + argument + "\"";
    return call + ", true, true)";
  }
  static Json::Value Parse(const std::string& text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
  }

  std::map<std::string, std::string> outputs_;  // by program
  std::map<std::string, int> statuses_;
};

}  // namespace kinora::fakes
