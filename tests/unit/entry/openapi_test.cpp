// docs/openapi.yaml against the program: it is written in a form in which each operation's facts stand on
// lines of their own, so that they can be read here without a parser.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "entry/method.h"
#include "entry/stream_parameters.h"
#include "entry/stream_path.h"

namespace {

struct Operation {
  std::string access;
  std::string verbs;
  std::string errors;
  std::set<std::string> parameters;
  std::set<std::string> required;
  bool operator==(const Operation&) const = default;
};

void PrintTo(const Operation& operation, std::ostream* out) {
  *out << operation.access << " | " << operation.verbs << " | " << operation.errors << " |";
  for (const std::string& name : operation.parameters) *out << " " << name;
  *out << " | required:";
  for (const std::string& name : operation.required) *out << " " << name;
}

std::map<std::string, Operation> Documented() {
  std::ifstream file(KINORA_SOURCE_DIR "/docs/openapi.yaml");
  const std::regex path("  /webapi/entry\\.cgi#(\\S+):");
  const std::regex fact("      x-(access|verbs|errors): (.*)");
  const std::regex query("        - \\{name: (\\w+), in: query, required: (true|false), .*");
  const std::regex field("                (\\w+): \\{type: .*");
  const std::regex required("              required: \\[(.*)\\]");
  std::map<std::string, Operation> operations;
  Operation* operation = nullptr;
  std::smatch match;
  for (std::string line; std::getline(file, line);) {
    if (line == "components:") break;
    if (line.starts_with("  /webapi/entry.cgi/")) operation = nullptr;  // another form of a method
    if (std::regex_match(line, match, path)) operation = &operations[match[1]];
    if (operation == nullptr) continue;
    if (std::regex_match(line, match, fact)) {
      (match[1] == "access"  ? operation->access
       : match[1] == "verbs" ? operation->verbs
                             : operation->errors) = match[2];
    } else if (std::regex_match(line, match, query)) {
      operation->parameters.insert(match[1]);
      if (match[2] == "true") operation->required.insert(match[1]);
    } else if (std::regex_match(line, match, field)) {
      operation->parameters.insert(match[1]);
    } else if (std::regex_match(line, match, required)) {
      std::istringstream names(std::regex_replace(match[1].str(), std::regex(","), " "));
      for (std::string name; names >> name;) operation->required.insert(name);
    }
  }
  return operations;
}

std::map<std::string, Operation> Implemented() {
  std::map<std::string, Operation> operations;
  const Json::Value document = kinora::entry::DescribeMethods();
  for (const Json::Value& method : document["methods"]) {
    Operation& operation = operations[method["api"].asString() + "." + method["method"].asString()];
    operation.access = method["access"].asString();
    operation.verbs = method["verbs"].asString();
    std::set<int> codes;
    for (const Json::Value& code : method["errors"]) codes.insert(code.asInt());
    for (const int code : codes) {
      operation.errors += (operation.errors.empty() ? "[" : ", ") + std::to_string(code);
    }
    operation.errors += "]";
    for (const Json::Value& parameter : method["parameters"]) {
      operation.parameters.insert(parameter["name"].asString());
      if (parameter["required"].asBool()) operation.required.insert(parameter["name"].asString());
    }
  }
  return operations;
}

// What a caller puts in the place of a parameter in a path.
std::string Filled(std::string path) {
  const std::pair<const char*, const char*> values[] = {{"{session}", "the-sid"},
                                                        {"{stream}", "abc"},
                                                        {"{bitrate}", "1500000"},
                                                        {"{track}", "video"},
                                                        {"{time}", "0"}};
  for (const auto& [name, value] : values) {
    const size_t at = path.find(name);
    if (at != std::string::npos) path.replace(at, std::strlen(name), value);
  }
  return path;
}

}  // namespace

TEST(OpenApiDocument, DescribesThePathsOfStreamsAsTheyAre) {
  std::ifstream file(KINORA_SOURCE_DIR "/docs/openapi.yaml");
  const std::regex path("  /webapi/entry\\.cgi(/\\S+):");
  std::map<std::string, kinora::entry::Form> forms;
  std::string form_of;
  std::smatch match;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("      x-form-of: ")) form_of = line.substr(line.find(": ") + 2);
    if (!std::regex_match(line, match, path)) continue;
    const std::string filled = Filled(match[1]);
    const auto parameters = kinora::entry::ParametersOfPath(filled);
    ASSERT_TRUE(parameters) << filled;
    forms[filled] = *parameters;
  }
  EXPECT_EQ(form_of, "CRVN.Kinora2.Stream.stream");
  ASSERT_EQ(forms.size(), 2U);
  kinora::entry::Request request;
  for (const auto& [filled, parameters] : forms) {
    EXPECT_EQ(parameters.at("api") + "." + parameters.at("method"), form_of) << filled;
    EXPECT_EQ(parameters.at("_sid"), "the-sid");
    EXPECT_EQ(parameters.at("id"), "abc");
    EXPECT_EQ(parameters.contains("fragment"), !filled.ends_with("/Manifest"));
    request.parameters = parameters;
    EXPECT_NO_THROW(kinora::entry::FragmentParameter(request)) << filled;
  }
}

TEST(OpenApiDocument, DescribesEveryMethodAsItIs) {
  const auto documented = Documented();
  const auto implemented = Implemented();
  EXPECT_GE(implemented.size(), 10U);
  for (const auto& [name, operation] : implemented) {
    ASSERT_TRUE(documented.contains(name)) << name << " is not described";
    EXPECT_EQ(documented.at(name), operation) << name;
  }
  for (const auto& [name, operation] : documented) {
    EXPECT_TRUE(implemented.contains(name)) << name << " does not exist";
  }
}

TEST(OpenApiDocument, NamesEveryCode) {
  std::ifstream file(KINORA_SOURCE_DIR "/docs/openapi.yaml");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::string codes =
      text.substr(text.find("    Codes:"), text.find("\npaths:") - text.find("    Codes:"));
  const Json::Value document = kinora::entry::DescribeMethods();
  for (const Json::Value& method : document["methods"]) {
    for (const Json::Value& code : method["errors"]) {
      EXPECT_NE(codes.find(std::to_string(code.asInt()) + " "), std::string::npos) << code;
    }
  }
}
