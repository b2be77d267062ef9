#include <json/json.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "platform/media/format_rules.h"
#include "platform/system/places.h"

namespace kinora::media {
namespace {

constexpr std::array kNames = {"hls", "hls_remux", "ss", "webm_remux", "raw"};
constexpr int kDepth = 16;

[[noreturn]] void Refuse(const std::string& what) { throw std::runtime_error("format rules: " + what); }

// The member, or nothing; the value is an object for certain.
const Json::Value* Member(const Json::Value& object, const std::string& name) {
  return object.find(name.data(), name.data() + name.size());
}

std::string TextAt(const Json::Value& object, const std::string& name) {
  const Json::Value* const value = Member(object, name);
  if (value == nullptr || !value->isString()) Refuse("\"" + name + "\" is no text");
  return value->asString();
}

bool FlagAt(const Json::Value& object, const std::string& name) {
  const Json::Value* const value = Member(object, name);
  if (value == nullptr) return false;
  if (!value->isBool()) Refuse("\"" + name + "\" is neither true nor false");
  return value->asBool();
}

std::vector<std::string> ListAt(const Json::Value& object, const std::string& name) {
  const Json::Value* const value = Member(object, name);
  if (value == nullptr || !value->isArray()) Refuse("\"" + name + "\" is no list");
  std::vector<std::string> list;
  for (const Json::Value& item : *value) {
    if (!item.isString()) Refuse("\"" + name + "\" holds something that is no text");
    list.push_back(item.asString());
  }
  return list;
}

FormatWay WayOf(const std::string& text) {
  if (text == "as_is") return FormatWay::kAsIs;
  if (text == "remux") return FormatWay::kRemux;
  if (text == "transcode") return FormatWay::kTranscode;
  Refuse("there is no way \"" + text + "\"");
}

FormatRule FormatOf(const Json::Value& json) {
  if (!json.isObject()) Refuse("a format is no object");
  FormatRule rule;
  rule.name = TextAt(json, "name");
  if (std::ranges::find(kNames, rule.name) == kNames.end())
    Refuse("there is no format \"" + rule.name + "\"");
  rule.way = WayOf(TextAt(json, "way"));
  rule.converts = FlagAt(json, "converts");
  const Json::Value* const copies = Member(json, "copies");
  if (copies == nullptr) return rule;
  if (!copies->isArray()) Refuse("\"copies\" is no list");
  for (const Json::Value& copy : *copies) {
    if (!copy.isObject()) Refuse("\"copies\" holds something that is no object");
    rule.copies.push_back({ListAt(copy, "containers"), ListAt(copy, "video"), ListAt(copy, "audio")});
  }
  return rule;
}

Json::Value Parse(std::string_view text) {
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = kDepth;
  builder["failIfExtra"] = true;
  builder["rejectDupKeys"] = true;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value json;
  std::string errors;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &json, &errors)) Refuse(errors);
  } catch (const Json::Exception& error) {
    Refuse(error.what());
  }
  return json;
}

}  // namespace

FormatRules ParseFormatRules(std::string_view text) {
  const Json::Value json = Parse(text);
  if (!json.isObject()) Refuse("the file holds no object");
  const Json::Value* const formats = Member(json, "formats");
  if (formats == nullptr || !formats->isArray()) Refuse("\"formats\" is no list");
  FormatRules rules;
  for (const Json::Value& format : *formats) {
    rules.formats.push_back(FormatOf(format));
    const std::string& name = rules.formats.back().name;
    if (std::ranges::count(rules.formats, name, &FormatRule::name) > 1)
      Refuse("\"" + name + "\" stands twice");
  }
  rules.convertible = ListAt(json, "convertible");
  rules.undecodable = ListAt(json, "undecodable");
  return rules;
}

FormatRules LoadFormatRules(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) Refuse("cannot open " + path);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  if (in.bad()) Refuse("cannot read " + path);
  return ParseFormatRules(text);
}

std::string InstalledFormatRules() { return system::InTarget("etc/format_rules.json"); }

}  // namespace kinora::media
