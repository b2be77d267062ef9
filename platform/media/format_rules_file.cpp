#include <algorithm>
#include <array>

#include "platform/media/data_file.h"
#include "platform/media/format_rules.h"
#include "platform/system/places.h"

namespace kinora::media {
namespace {

constexpr std::array kNames = {"hls", "hls_remux", "ss", "webm_remux", "raw"};

const DataFile kFile("format rules");

FormatWay WayOf(const std::string& text) {
  if (text == "as_is") return FormatWay::kAsIs;
  if (text == "remux") return FormatWay::kRemux;
  if (text == "transcode") return FormatWay::kTranscode;
  kFile.Refuse("there is no way \"" + text + "\"");
}

FormatRule FormatOf(const Json::Value& json) {
  if (!json.isObject()) kFile.Refuse("a format is no object");
  FormatRule rule;
  rule.name = kFile.TextAt(json, "name");
  if (std::ranges::find(kNames, rule.name) == kNames.end()) {
    kFile.Refuse("there is no format \"" + rule.name + "\"");
  }
  rule.way = WayOf(kFile.TextAt(json, "way"));
  rule.converts = kFile.FlagAt(json, "converts");
  rule.sound_alone = kFile.FlagAt(json, "sound_alone");
  rule.by_name = kFile.FlagAt(json, "by_name");
  if (DataFile::Find(json, "copies") == nullptr) return rule;
  for (const Json::Value& copy : kFile.ListAt(json, "copies")) {
    if (!copy.isObject()) kFile.Refuse("\"copies\" holds something that is no object");
    rule.copies.push_back({kFile.TextsAt(copy, "containers"), kFile.TextsAt(copy, "video"),
                           kFile.TextsAt(copy, "audio"), kFile.FlagAt(copy, "by_name")});
  }
  return rule;
}

}  // namespace

FormatRules ParseFormatRules(std::string_view text) {
  const Json::Value json = kFile.Parse(text);
  FormatRules rules;
  for (const Json::Value& format : kFile.ListAt(json, "formats")) {
    rules.formats.push_back(FormatOf(format));
    const std::string& name = rules.formats.back().name;
    if (std::ranges::count(rules.formats, name, &FormatRule::name) > 1) {
      kFile.Refuse("\"" + name + "\" stands twice");
    }
  }
  rules.convertible = kFile.TextsAt(json, "convertible");
  rules.undecodable = kFile.TextsAt(json, "undecodable");
  return rules;
}

FormatRules LoadFormatRules(const std::string& path) { return ParseFormatRules(kFile.Read(path)); }

std::string InstalledFormatRules() { return system::InTarget("etc/format_rules.json"); }

}  // namespace kinora::media
