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
  std::string text = traits.video_codec;
  if (traits.audio_codec.empty()) {
    text += text.empty() ? "a file without picture and sound" : " without sound";
  } else {
    text += (text.empty() ? "" : " with ") + traits.audio_codec;
  }
  return text + " in " + Shown(traits.container);
}

// Whether the sound fits: that of the first track, or, as it is not known which other one was chosen, of all.
template <typename Fits>
const std::string* UnfitSound(const FormatTraits& traits, Fits fits) {
  if (traits.default_audio) return fits(traits.audio_codec) ? nullptr : &traits.audio_codec;
  const auto unfit = std::ranges::find_if_not(traits.track_codecs, fits);
  return unfit == traits.track_codecs.end() ? nullptr : &*unfit;
}

// Why the rule does not hold for the sound; empty when it does.
std::string SoundHindrance(const FormatRules& rules, const CopyRule& rule, const FormatTraits& traits) {
  const bool decodes = Holds(rule.audio, "*");
  const std::string* const unfit = UnfitSound(traits, [&](const std::string& codec) {
    return Holds(rule.audio, codec) || (decodes && !Holds(rules.undecodable, codec));
  });
  if (unfit == nullptr) return "";
  return decodes ? "the sound cannot be decoded" : "the audio codec " + Shown(*unfit) + " is not copied";
}

struct Copying {
  const CopyRule* rule = nullptr;  // the one that holds
  std::string hindrance;           // if none does, what the one that came nearest failed for
};

Copying CanCopy(const FormatRules& rules, const FormatRule& format, const FormatTraits& traits) {
  Copying copying{nullptr, "the container " + Shown(traits.container) + " is not copied"};
  bool video_fits = false;
  for (const CopyRule& rule : format.copies) {
    if (!Holds(rule.containers, traits.container)) continue;
    if (!Holds(rule.video, traits.video_codec)) {
      if (!video_fits) copying.hindrance = "the video codec " + Shown(traits.video_codec) + " is not copied";
      continue;
    }
    video_fits = true;
    copying.hindrance = SoundHindrance(rules, rule, traits);
    if (copying.hindrance.empty()) return {&rule, ""};
  }
  return copying;
}

// Empty when a conversion is possible.
std::string ConversionHindrance(const FormatRules& rules, const FormatRule& format,
                                const FormatTraits& traits) {
  const bool sound_alone = format.sound_alone && !traits.audio_codec.empty();
  if (traits.video_codec.empty() && !sound_alone) return "there is no video";
  if (!Holds(rules.convertible, traits.container)) {
    return "the container " + Shown(traits.container) + " is not converted";
  }
  if (Holds(rules.undecodable, traits.video_codec)) return "the video cannot be decoded";
  const auto decodes = [&](const std::string& codec) { return !Holds(rules.undecodable, codec); };
  if (UnfitSound(traits, decodes) != nullptr) return "the sound cannot be decoded";
  return "";
}

FormatDecision DecideAsIs(const FormatRules& rules, const FormatRule& format, const FormatTraits& traits) {
  if (!traits.default_audio) {
    return {format.name, Verdict::kRefused, "another sound track than the first was chosen"};
  }
  if (CanCopy(rules, format, traits).rule != nullptr) {
    return {format.name, Verdict::kPlaysAsIs, "browsers play " + Described(traits)};
  }
  return {format.name, Verdict::kOnRequest,
          "browsers do not play " + Described(traits) + "; a player that asks for it may"};
}

// A yes, or one for those only who ask.
FormatDecision Allow(const FormatRule& format, Verdict verdict, const std::string& reason, bool by_name) {
  if (!by_name) return {format.name, verdict, reason};
  return {format.name, Verdict::kOnRequest, reason + " for players that ask for it"};
}

FormatDecision Copied(const FormatRule& format, const CopyRule& rule, const FormatTraits& traits) {
  const std::string reason =
      (Holds(rule.audio, "*") ? "the picture of " : "") + Described(traits) + " is copied";
  return Allow(format, Verdict::kCopies, reason, format.by_name || rule.by_name);
}

FormatDecision Decide(const FormatRules& rules, const FormatRule& format, const FormatTraits& traits) {
  if (format.way == FormatWay::kAsIs) return DecideAsIs(rules, format, traits);
  const Copying copying = CanCopy(rules, format, traits);
  if (copying.rule != nullptr) return Copied(format, *copying.rule, traits);
  if (!format.converts) return {format.name, Verdict::kRefused, copying.hindrance};
  const std::string hindrance = ConversionHindrance(rules, format, traits);
  if (!hindrance.empty()) return {format.name, Verdict::kRefused, hindrance};
  return Allow(format, Verdict::kConverts, Described(traits) + " is converted", format.by_name);
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
