// Which subtitles the playlists of a stream offer, and how: a pure function of those that were found.
#pragma once

#include <string>
#include <vector>

namespace kinora::engine {

// A subtitle in text, or that can be turned into text.
struct FoundSubtitle {
  std::string id;        // as the subtitle web API takes it: a track's number, the path of a file, "DLNA"
  std::string title;     // of a track; may be empty
  std::string language;  // RFC 5646 where it is known, else empty
  bool forced = false;   // only what has to be read: signs, foreign speech
  bool hearing_impaired = false;
};

// One of them as a rendition (RFC 8216, 4.3.4.1).
struct OfferedSubtitle {
  std::string id;
  std::string name;  // for people, as a quoted string can hold it; unique
  std::string language;
  bool is_default = false;   // the chosen one, no other
  bool auto_select = false;  // a player may take it by its language: no other is of the same kind
  bool forced = false;
  bool hearing_impaired = false;

  bool operator==(const OfferedSubtitle&) const = default;
};

// In the order in which they were found, no id twice; of more than 256 the last are left out, but never the
// one whose id is `chosen`: that is to be shown. Empty: none is.
std::vector<OfferedSubtitle> OfferSubtitles(const std::vector<FoundSubtitle>& found,
                                            const std::string& chosen);

}  // namespace kinora::engine
