// The format rules as data (packaging/format_rules.json describes the file) and the decision that they make.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kinora::media {

enum class FormatWay { kAsIs, kRemux, kTranscode };

// What goes through unchanged: any of the containers with any of the codecs. An empty audio name: no sound;
// "*": all that can be decoded, or no sound.
struct CopyRule {
  std::vector<std::string> containers;
  std::vector<std::string> video;
  std::vector<std::string> audio;
  bool by_name = false;  // only for those who ask for the format by its name
};

struct FormatRule {
  std::string name;
  FormatWay way = FormatWay::kTranscode;
  bool converts = false;
  bool sound_alone = false;  // it also converts what has no picture
  bool by_name = false;      // only for those who ask for it by its name
  std::vector<CopyRule> copies;
};

struct FormatRules {
  std::vector<FormatRule> formats;
  std::vector<std::string> convertible;  // containers
  std::vector<std::string> undecodable;  // codecs
};

// What the rules ask of a file and of the request.
struct FormatTraits {
  std::string container;
  std::string video_codec;
  std::string audio_codec;                // of the first track; empty: no sound
  std::vector<std::string> track_codecs;  // of all audio tracks; an unknown one is "unknown_codec"
  bool default_audio = true;              // the first track is the one to be heard
};

enum class Verdict {
  kRefused,
  kOnRequest,  // only for those who ask for it by name: some players take what others do not
  kConverts,
  kCopies,
  kPlaysAsIs,
};

struct FormatDecision {
  std::string name;
  Verdict verdict = Verdict::kRefused;
  std::string reason;  // for people
};

// Throws std::runtime_error, with words for people, when the text is not such a file.
FormatRules ParseFormatRules(std::string_view text);
// Of the installed file, or of another. Throws std::runtime_error.
FormatRules LoadFormatRules(const std::string& path);
std::string InstalledFormatRules();

// One decision for each of the rules' formats, in their order.
std::vector<FormatDecision> DecideFormats(const FormatRules& rules, const FormatTraits& traits);

// The formats that may be used for what was asked for: names separated by commas, without regard to case, and
// "auto" for the cheapest that plays. A name that the rules do not know gives nothing.
std::vector<std::string> ChooseFormats(const std::vector<FormatDecision>& decisions,
                                       std::string_view request);

}  // namespace kinora::media
