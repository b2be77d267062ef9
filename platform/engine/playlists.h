// The playlists of a stream (RFC 8216): complete when it is opened, and never changed.
#pragma once

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/engine/fragment_id.h"
#include "platform/engine/stream_plan.h"
#include "platform/engine/subtitle_offer.h"
#include "platform/engine/web_address.h"

namespace kinora::engine {

// The type of a playlist that is told apart from others of its type by a subtitle's id (subtitle_playlist.h).
inline constexpr char kSubtitlePlaylist[] = "subtitle";

// The web API's addresses of one stream, to which every playlist and fragment adds its own name.
class StreamAddress {
 public:
  // `url` as HttpLiveStream::Init takes it.
  StreamAddress(const Json::Value& url, const std::string& stream_id);

  std::string OfPlaylist(const std::string& type) const;
  std::string OfSubtitle(const std::string& id) const;  // its playlist
  // Ends in the file's name: some players judge a fragment by it.
  std::string OfFragment(const FragmentId& id) const;

 private:
  WebAddress start_;
};

// A playlist as a file of the stream's folder.
struct Playlist {
  std::string name;
  std::string text;
};

// All playlists that the plan has, but those of subtitles; these the master playlist offers.
std::vector<Playlist> MakePlaylists(const StreamPlan& plan, const std::vector<OfferedSubtitle>& subtitles,
                                    const StreamAddress& address);

// The head and the end of a media playlist around its segments, the longest of which lasts `longest_us`.
std::string CompleteMediaPlaylist(int64_t longest_us, const std::string& segments);

// Whether the text is a playlist of ours from its beginning to its end: a disk may have kept a part of it. A
// part of a master playlist that ends behind an address passes: it lacks alternatives, no more.
bool IsWholePlaylist(std::string_view text);

// The file of the playlist that is asked for as `type` (HttpLiveStream::GetMainfest); nothing for what is no
// such type, and for that of subtitles.
std::optional<std::string> PlaylistFile(std::string_view type);

}  // namespace kinora::engine
