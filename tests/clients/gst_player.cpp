// gst_player: plays a stream with GStreamer, without a screen or a loudspeaker, and prints what it got as
// JSON.
//
//   gst_player play URL            from beginning to end, as fast as it comes
//   gst_player seek URL SECOND...  goes to each of the places, and plays on for a moment
//   gst_player switch URL          listens to each audio track in turn
//
// What the player complains about, or not being done in time, ends it with a line on standard error and
// status 1.
#include <gst/gst.h>
#include <json/json.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr auto kPatience = std::chrono::minutes(2);  // for anything to happen
constexpr double kMoment = 0.3;                      // seconds of film that are played after a seek
constexpr double kListen = 2;                        // seconds of film for which a track is listened to
constexpr double kSample = 0.5;                      // seconds of sound whose pitch is told
constexpr double kRate = 48000;                      // samples a second
constexpr int kVideoAndAudio = 0x13;                 // flags of playbin; its own volume control with them

double Seconds(GstClockTime time) { return static_cast<double>(time) / GST_SECOND; }

// What has arrived at one sink since the beginning or the last seek. Times are the film's, in seconds.
struct Arrivals {
  int count = 0;
  double first = -1;
  double last = -1;
  int backward = 0;               // buffers that were earlier than the one before
  bool below = false;             // the last sample was negative
  std::vector<double> crossings;  // where the sound crosses zero

  void Note(double at, const int16_t* samples, size_t sample_count) {
    if (count++ == 0) first = at;
    if (at < last) ++backward;
    last = at;
    for (size_t i = 0; i < sample_count; ++i) {
      if (samples[i] == 0 || (samples[i] < 0) == below) continue;
      below = !below;
      crossings.push_back(at + static_cast<double>(i) / kRate);
    }
  }

  // Hertz: a tone crosses zero twice in each period.
  double Pitch() const {
    double crossed = 0;
    for (const double at : crossings) crossed += at >= last - kSample && at < last ? 1 : 0;
    return crossed / kSample / 2;
  }
};

// A sink that notes what arrives, which happens in threads of GStreamer's own.
class Sink {
 public:
  Sink(const std::string& chain_before, bool in_real_time, bool is_sound) : is_sound_(is_sound) {
    const std::string chain =
        chain_before + " ! fakesink name=sink signal-handoffs=true sync=" + (in_real_time ? "true" : "false");
    element_ = gst_parse_bin_from_description(chain.c_str(), TRUE, nullptr);
    if (element_ == nullptr) throw std::runtime_error("cannot make " + chain);
    GstElement* const sink = gst_bin_get_by_name(GST_BIN(element_), "sink");
    g_signal_connect(sink, "handoff", G_CALLBACK(&Sink::Note), this);
    gst_object_unref(sink);
  }

  GstElement* Element() const { return element_; }

  void Forget() {
    const std::lock_guard lock(mutex_);
    arrivals_ = {};
  }
  Arrivals Look() const {
    const std::lock_guard lock(mutex_);
    return arrivals_;
  }

 private:
  static void Note(GstElement* /*sink*/, GstBuffer* buffer, GstPad* pad, gpointer self) {
    GstEvent* const event = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0);
    if (event == nullptr) return;
    const GstSegment* segment = nullptr;
    gst_event_parse_segment(event, &segment);
    const double at = Seconds(gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer)));
    gst_event_unref(event);
    static_cast<Sink*>(self)->Add(at, buffer);
  }

  void Add(double at, GstBuffer* buffer) {
    const std::lock_guard lock(mutex_);
    GstMapInfo map;
    if (!is_sound_ || !gst_buffer_map(buffer, &map, GST_MAP_READ)) return arrivals_.Note(at, nullptr, 0);
    std::vector<int16_t> samples(map.size / sizeof(int16_t));
    std::memcpy(samples.data(), map.data, samples.size() * sizeof(int16_t));
    gst_buffer_unmap(buffer, &map);
    arrivals_.Note(at, samples.data(), samples.size());
  }

  bool is_sound_;
  GstElement* element_;  // belongs to the player that it is given to
  mutable std::mutex mutex_;
  Arrivals arrivals_;
};

class Player {
 public:
  Player(const std::string& url, bool in_real_time)
      : picture_("identity", in_real_time, false),
        sound_("audioconvert ! audioresample ! audio/x-raw,format=S16LE,channels=1,rate=48000", in_real_time,
               true),
        playbin_(gst_element_factory_make("playbin", nullptr)) {
    if (playbin_ == nullptr) throw std::runtime_error("there is no playbin");
    g_object_set(playbin_, "uri", url.c_str(), "flags", kVideoAndAudio, "video-sink", picture_.Element(),
                 "audio-sink", sound_.Element(), nullptr);
    bus_ = gst_element_get_bus(playbin_);
  }
  ~Player() {
    gst_element_set_state(playbin_, GST_STATE_NULL);
    gst_object_unref(bus_);
    gst_object_unref(playbin_);
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  const Sink& Picture() const { return picture_; }
  const Sink& Sound() const { return sound_; }

  void Play() { gst_element_set_state(playbin_, GST_STATE_PLAYING); }
  void PlayToTheEnd() {
    Play();
    WaitUntil("the end", [this] { return ended_; });
  }

  void Seek(double second) {
    gst_element_set_state(playbin_, GST_STATE_PAUSED);
    WaitForPause();
    picture_.Forget();
    sound_.Forget();
    const auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
    const auto at = static_cast<gint64>(second * GST_SECOND);
    if (!gst_element_seek_simple(playbin_, GST_FORMAT_TIME, flags, at))
      throw std::runtime_error("cannot seek");
    WaitForPause();
    Play();
  }

  void ChooseSound(int track) { g_object_set(playbin_, "current-audio", track, nullptr); }

  Json::Value SoundTracks() const {
    int count = 0;
    g_object_get(playbin_, "n-audio", &count, nullptr);
    Json::Value tracks(Json::arrayValue);
    for (int i = 0; i < count; ++i) tracks.append(LanguageOf(i));
    return tracks;
  }

  // Handles what the player says until the condition holds.
  void WaitUntil(const std::string& what, const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline)
        throw std::runtime_error("waited too long for " + what);
      GstMessage* const message = gst_bus_timed_pop(bus_, 10 * GST_MSECOND);
      if (message != nullptr) Handle(message);
    }
  }

 private:
  void WaitForPause() {
    WaitUntil("the pause", [this] {
      return gst_element_get_state(playbin_, nullptr, nullptr, 0) == GST_STATE_CHANGE_SUCCESS;
    });
  }

  void Handle(GstMessage* message) {
    const GstMessageType type = GST_MESSAGE_TYPE(message);
    std::string complaint;
    if (type == GST_MESSAGE_EOS) ended_ = true;
    if (type == GST_MESSAGE_ERROR || type == GST_MESSAGE_WARNING) complaint = Complaint(message, type);
    gst_message_unref(message);
    if (!complaint.empty()) throw std::runtime_error(complaint);
  }

  static std::string Complaint(GstMessage* message, GstMessageType type) {
    GError* error = nullptr;
    gchar* detail = nullptr;
    (type == GST_MESSAGE_ERROR ? gst_message_parse_error : gst_message_parse_warning)(message, &error,
                                                                                      &detail);
    std::string text = std::string(error->message) + " (" + (detail == nullptr ? "" : detail) + ")";
    g_error_free(error);
    g_free(detail);
    return text;
  }

  std::string LanguageOf(int track) const {
    GstTagList* tags = nullptr;
    g_signal_emit_by_name(playbin_, "get-audio-tags", track, &tags);
    if (tags == nullptr) return "";
    gchar* code = nullptr;
    const std::string language = gst_tag_list_get_string(tags, GST_TAG_LANGUAGE_CODE, &code) ? code : "";
    g_free(code);
    gst_tag_list_unref(tags);
    return language;
  }

  Sink picture_;
  Sink sound_;
  GstElement* playbin_;
  GstBus* bus_;
  bool ended_ = false;
};

Json::Value Report(const Sink& sink) {
  const Arrivals arrivals = sink.Look();
  Json::Value report;
  report["count"] = arrivals.count;
  report["first"] = arrivals.first;
  report["last"] = arrivals.last;
  report["backward"] = arrivals.backward;
  return report;
}

Json::Value PlayThrough(const std::string& url) {
  Player player(url, false);
  player.PlayToTheEnd();
  Json::Value report;
  report["picture"] = Report(player.Picture());
  report["sound"] = Report(player.Sound());
  return report;
}

Json::Value SeekAround(const std::string& url, const std::vector<double>& places) {
  Player player(url, true);
  Json::Value report(Json::arrayValue);
  for (const double place : places) {
    player.Seek(place);
    for (const Sink* sink : {&player.Picture(), &player.Sound()}) {
      player.WaitUntil("going on", [&] { return sink->Look().last >= place + kMoment; });
    }
    Json::Value seek;
    seek["wanted"] = place;
    seek["picture"] = Report(player.Picture());
    seek["sound"] = Report(player.Sound());
    report.append(seek);
  }
  return report;
}

Json::Value ListenToAll(const std::string& url) {
  Player player(url, true);
  player.Play();
  player.WaitUntil("the sound", [&] { return player.Sound().Look().last >= kSample; });
  Json::Value report(Json::arrayValue);
  const Json::Value tracks = player.SoundTracks();
  for (int i = 0; i < static_cast<int>(tracks.size()); ++i) {
    const double from = player.Sound().Look().last;
    player.ChooseSound(i);
    player.WaitUntil("the track", [&] { return player.Sound().Look().last >= from + kListen; });
    Json::Value track;
    track["language"] = tracks[i];
    track["pitch"] = player.Sound().Look().Pitch();
    report.append(track);
  }
  return report;
}

Json::Value Run(const std::vector<std::string>& arguments) {
  if (arguments.size() < 2) throw std::runtime_error("usage: gst_player play|seek|switch URL [SECOND...]");
  const std::string& what = arguments[0];
  const std::string& url = arguments[1];
  if (what == "play") return PlayThrough(url);
  if (what == "switch") return ListenToAll(url);
  if (what != "seek") throw std::runtime_error("unknown: " + what);
  std::vector<double> places;
  for (size_t i = 2; i < arguments.size(); ++i) places.push_back(std::stod(arguments[i]));
  return SeekAround(url, places);
}

}  // namespace

int main(int argc, char** argv) {
  gst_init(nullptr, nullptr);
  try {
    std::cout << Run({argv + 1, argv + argc}) << "\n";
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << "\n";
    return 1;
  }
}
