#include "tests/http/smooth_viewer.h"

#include <sstream>
#include <stdexcept>

namespace kinora::test {
namespace {

// The value of an attribute in the line; empty where it has none.
std::string Attribute(const std::string& line, const std::string& name) {
  const std::string start = " " + name + "=\"";
  const size_t at = line.find(start);
  if (at == std::string::npos) return "";
  const size_t value = at + start.size();
  return line.substr(value, line.find('"', value) - value);
}

std::string Replace(std::string text, const std::string& what, const std::string& by) {
  const size_t at = text.find(what);
  return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

}  // namespace

std::string SmoothTrack::ChunkAt(int64_t start) const {
  return Replace(Replace(pattern, "{bitrate}", bitrate), "{start time}", std::to_string(start));
}

std::vector<SmoothTrack> ParseSmoothManifest(const std::string& text) {
  std::vector<SmoothTrack> tracks;
  std::istringstream elements(text);
  for (std::string element; std::getline(elements, element, '>');) {
    if (element.find("<StreamIndex ") != std::string::npos) {
      tracks.push_back(
          {Attribute(element, "Type"), Attribute(element, "Name"), "", Attribute(element, "Url"), {}});
    } else if (element.find("<QualityLevel ") != std::string::npos) {
      tracks.at(tracks.size() - 1).bitrate = Attribute(element, "Bitrate");
    } else if (element.find("<c ") != std::string::npos) {
      SmoothTrack& track = tracks.at(tracks.size() - 1);
      track.starts.push_back(std::stoll(Attribute(element, "t")));
      track.end = track.starts.back() + std::stoll(Attribute(element, "d"));
    }
  }
  return tracks;
}

std::string SmoothViewer::Path(const ViewedStream& stream, const std::string& part) const {
  return PathOf(Who().sid, stream, part);
}

std::string SmoothViewer::PathOf(const std::string& session, const ViewedStream& stream,
                                 const std::string& part) {
  return "/webapi/entry.cgi/ss/" + session + "/" + stream.id + "/" + part;
}

std::vector<SmoothTrack> SmoothViewer::Tracks(const ViewedStream& stream) const {
  const Reply reply = Get(Path(stream, "Manifest"));
  if (reply.status != 200) throw std::runtime_error("no manifest: " + reply.body + house_.Log());
  return ParseSmoothManifest(reply.body);
}

}  // namespace kinora::test
