#include <json/json.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "contract/engine/video_metadata.h"
#include "platform/base/text.h"
#include "platform/engine/look.h"
#include "platform/media/format_rules.h"

namespace kinora::cli {
namespace {

using LibCrvnVTE::VideoMetaData;

struct Explanation {
  std::string file;
  std::string refusal;  // why it is no video; empty when it is one
  media::FormatTraits traits;
  std::string profile;
  unsigned int width = 0;
  unsigned int height = 0;
  std::vector<media::FormatDecision> decisions;
  std::vector<std::string> chosen;  // when the choice is left to the rules
};

bool IsAllowed(const media::FormatDecision& decision) { return decision.verdict != media::Verdict::kRefused; }

std::vector<std::string> TrackCodecs(const VideoMetaData& metadata) {
  Json::Value video;
  Json::Value audio;
  metadata.GetTrackInfo(video, audio);
  std::vector<std::string> codecs;
  if (!audio.isArray()) return codecs;
  for (const Json::Value& track : audio) {
    codecs.push_back(track.isObject() && track["codec"].isString() ? track["codec"].asString() : "");
  }
  return codecs;
}

Explanation Explain(const media::FormatRules& rules, const std::string& file) {
  Explanation explanation;
  explanation.file = file;
  const std::string path = std::filesystem::absolute(file);
  VideoMetaData metadata;
  if (!metadata.LoadFile(path)) {
    explanation.refusal = engine::LookAt(path).reason;
    if (explanation.refusal.empty()) explanation.refusal = "it cannot be read";
    return explanation;
  }
  explanation.traits = {metadata.GetContainer(), metadata.GetVideoCodecName(), metadata.GetAudioCodecName(),
                        TrackCodecs(metadata), true};
  explanation.profile = metadata.GetVideoProfile();
  explanation.width = metadata.GetVideoResolutionX();
  explanation.height = metadata.GetVideoResolutionY();
  explanation.decisions = media::DecideFormats(rules, explanation.traits);
  explanation.chosen = media::ChooseFormats(explanation.decisions, "auto");
  return explanation;
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text.empty() ? "none" : text;
}

void Line(const std::string& label, const std::string& text) {
  std::cout << "  " << std::left << std::setw(12) << label << base::ToOneLine(text) << '\n';
}

void PrintText(const Explanation& explanation) {
  std::cout << base::ToOneLine(explanation.file) << '\n';
  if (!explanation.refusal.empty()) {
    Line("no video", explanation.refusal);
    return;
  }
  const media::FormatTraits& traits = explanation.traits;
  Line("container", traits.container.empty() ? "unknown" : traits.container);
  Line("video", (traits.video_codec.empty() ? "none" : traits.video_codec) +
                    (explanation.profile.empty() ? "" : " (" + explanation.profile + ")") + ", " +
                    std::to_string(explanation.width) + "x" + std::to_string(explanation.height));
  Line("audio", Joined(traits.track_codecs));
  Line("auto", Joined(explanation.chosen));
  for (const media::FormatDecision& decision : explanation.decisions) {
    Line(decision.name, (IsAllowed(decision) ? "yes: " : "no:  ") + decision.reason);
  }
}

Json::Value List(const std::vector<std::string>& texts) {
  Json::Value list(Json::arrayValue);
  for (const std::string& text : texts) list.append(base::ToUtf8(text));
  return list;
}

Json::Value ToJson(const Explanation& explanation) {
  Json::Value json(Json::objectValue);
  json["file"] = base::ToUtf8(explanation.file);
  if (!explanation.refusal.empty()) {
    json["refusal"] = base::ToUtf8(explanation.refusal);
    return json;
  }
  json["container"] = explanation.traits.container;
  json["video_codec"] = explanation.traits.video_codec;
  json["video_profile"] = base::ToUtf8(explanation.profile);
  json["width"] = explanation.width;
  json["height"] = explanation.height;
  json["audio_codecs"] = List(explanation.traits.track_codecs);
  json["auto"] = List(explanation.chosen);
  for (const media::FormatDecision& decision : explanation.decisions) {
    Json::Value& format = json["formats"][decision.name];
    format["allowed"] = IsAllowed(decision);
    format["reason"] = base::ToUtf8(decision.reason);
  }
  return json;
}

void ExplainAll(const std::vector<std::string>& files, bool as_json) {
  const media::FormatRules rules = media::LoadFormatRules(media::InstalledFormatRules());
  Json::Value all(Json::arrayValue);
  bool refused = false;
  for (const std::string& file : files) {
    const Explanation explanation = Explain(rules, file);
    refused = refused || !explanation.refusal.empty();
    if (as_json) {
      all.append(ToJson(explanation));
    } else {
      PrintText(explanation);
    }
  }
  if (as_json) std::cout << Json::writeString(Json::StreamWriterBuilder(), all) << '\n';
  if (refused) throw CLI::RuntimeError(1);
}

}  // namespace

void AddExplain(CLI::App& program) {
  struct Arguments {
    std::vector<std::string> files;
    bool json = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* explain =
      program.add_subcommand("explain", "Say in which formats a file may be delivered, and why");
  explain->add_option("file", arguments->files, "The files")->required();
  explain->add_flag("--json", arguments->json, "As JSON: one list, one object for each file");
  explain->footer("The status is 1 when one of the files is no video.");
  explain->callback([arguments] { ExplainAll(arguments->files, arguments->json); });
}

}  // namespace kinora::cli
