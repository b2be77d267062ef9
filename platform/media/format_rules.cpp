#include "platform/media/format_rules.h"

#include <algorithm>

#include "platform/base/text.h"

namespace kinora::media {
namespace {

bool Holds(const std::vector<std::string>& list, const std::string& name) {
  return std::ranges::find(list, name) != list.end();
}

std::string Shown(const std::string& name) { return name.empty() ? "none" : name; }

std::string Described(const FormatTraits& traits) {
  std::string text = Shown(traits.video_codec);
  text += traits.audio_codec.empty() ? " without sound" : " with " + traits.audio_codec;
  return text + " in " + Shown(traits.container);
}

// The first codec that keeps the rule from holding, or nothing. Which track is chosen is not known when it is
// not the first: then all must fit.
std::optional<std::string> UnfitSound(const CopyRule& rule, const FormatTraits& traits) {
  if (traits.default_audio) {
    return Holds(rule.audio, traits.audio_codec) ? std::nullopt : std::optional(traits.audio_codec);
  }
  for (const std::string& codec : traits.track_codecs) {
    if (!Holds(rule.audio, codec)) return codec;
  }
  return std::nullopt;
}

struct Copying {
  bool possible = false;
  std::string hindrance;
};

// Whether one of the rules holds; if none does, what the one that came nearest failed for.
Copying CanCopy(const FormatRule& format, const FormatTraits& traits) {
  int nearest = 0;
  Copying copying{false, "the container " + Shown(traits.container) + " is not copied"};
  for (const CopyRule& rule : format.copies) {
    if (!Holds(rule.containers, traits.container)) continue;
    if (!Holds(rule.video, traits.video_codec)) {
      if (nearest < 1) copying.hindrance = "the video codec " + Shown(traits.video_codec) + " is not copied";
      nearest = std::max(nearest, 1);
      continue;
    }
    const std::optional<std::string> sound = UnfitSound(rule, traits);
    if (!sound) return {true, ""};
    copying.hindrance = "the audio codec " + Shown(*sound) + " is not copied";
    nearest = 2;
  }
  return copying;
}

// Empty when a conversion is possible.
std::string ConversionHindrance(const FormatRules& rules, const FormatTraits& traits) {
  if (traits.video_codec.empty()) return "there is no video";
  if (!Holds(rules.convertible, traits.container)) {
    return "the container " + Shown(traits.container) + " is not converted";
  }
  if (Holds(rules.undecodable, traits.video_codec)) return "the video cannot be decoded";
  const bool first_only = traits.default_audio;
  const auto undecodable = [&](const std::string& codec) { return Holds(rules.undecodable, codec); };
  if (first_only ? undecodable(traits.audio_codec) : std::ranges::any_of(traits.track_codecs, undecodable)) {
    return "the sound cannot be decoded";
  }
  return "";
}

FormatDecision DecideAsIs(const FormatRule& format, const FormatTraits& traits) {
  if (!traits.default_audio) {
    return {format.name, Verdict::kRefused, "another sound track than the first was chosen"};
  }
  const Copying copying = CanCopy(format, traits);
  if (copying.possible) {
    return {format.name, Verdict::kPlaysAsIs, "browsers play " + Described(traits)};
  }
  return {format.name, Verdict::kOnRequest,
          "browsers do not play " + Described(traits) + "; a player that asks for it may"};
}

FormatDecision Decide(const FormatRules& rules, const FormatRule& format, const FormatTraits& traits) {
  if (format.way == FormatWay::kAsIs) return DecideAsIs(format, traits);
  const Copying copying = CanCopy(format, traits);
  if (copying.possible) return {format.name, Verdict::kCopies, Described(traits) + " is copied"};
  if (!format.converts) return {format.name, Verdict::kRefused, copying.hindrance};
  const std::string hindrance = ConversionHindrance(rules, traits);
  if (!hindrance.empty()) return {format.name, Verdict::kRefused, hindrance};
  return {format.name, Verdict::kConverts, Described(traits) + " is converted"};
}

// The best that any format offers, in all formats that offer it.
std::vector<std::string> Cheapest(const std::vector<FormatDecision>& decisions) {
  Verdict best = Verdict::kRefused;
  for (const FormatDecision& decision : decisions) best = std::max(best, decision.verdict);
  std::vector<std::string> names;
  for (const FormatDecision& decision : decisions) {
    if (best != Verdict::kRefused && decision.verdict == best) names.push_back(decision.name);
  }
  return names;
}

}  // namespace

std::vector<FormatDecision> DecideFormats(const FormatRules& rules, const FormatTraits& traits) {
  std::vector<FormatDecision> decisions;
  for (const FormatRule& format : rules.formats) decisions.push_back(Decide(rules, format, traits));
  return decisions;
}

std::vector<std::string> ChooseFormats(const std::vector<FormatDecision>& decisions,
                                       std::string_view request) {
  std::vector<std::string> chosen;
  const auto choose = [&](const std::string& name) {
    if (!Holds(chosen, name)) chosen.push_back(name);
  };
  while (!request.empty()) {
    const size_t end = std::min(request.find(','), request.size());
    const std::string name = base::ToLowerAscii(base::Trim(request.substr(0, end)));
    request.remove_prefix(std::min(end + 1, request.size()));
    if (name == "auto") std::ranges::for_each(Cheapest(decisions), choose);
    for (const FormatDecision& decision : decisions) {
      if (decision.name == name && decision.verdict != Verdict::kRefused) choose(name);
    }
  }
  return chosen;
}

}  // namespace kinora::media
