// The playlists of a stream (RFC 8216): complete when it is opened, and never changed.
#pragma once

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/engine/fragment_id.h"
#include "platform/engine/stream_plan.h"

namespace kinora::engine {

// An address made from a base and a query (the web API's, see HttpLiveStream), to which every playlist and
// fragment adds its own name.
class StreamAddress {
 public:
  // Every member of `url` but "url" itself goes into the query; flags as "true" and "false". Members that are
  // neither text nor number nor flag are left out.
  StreamAddress(const Json::Value& url, const std::string& stream_id);

  std::string OfPlaylist(const std::string& type) const;
  // Ends in the file's name: some players judge a fragment by it.
  std::string OfFragment(const FragmentId& id) const;

 private:
  std::string start_;
};

// A playlist as a file of the stream's folder.
struct Playlist {
  std::string name;
  std::string text;
};

// All playlists that the plan has.
std::vector<Playlist> MakePlaylists(const StreamPlan& plan, const StreamAddress& address);

// Whether the text is a playlist of ours from its beginning to its end: a disk may have kept a part of it. A
// part of a master playlist that ends behind an address passes: it lacks alternatives, no more.
bool IsWholePlaylist(std::string_view text);

// The file of the playlist that is asked for as `type` (HttpLiveStream::GetMainfest); nothing for what is no
// such type.
std::optional<std::string> PlaylistFile(std::string_view type);

}  // namespace kinora::engine
