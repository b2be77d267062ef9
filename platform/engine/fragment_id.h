// The names of fragments, as they stand in playlists and requests: "12" is fragment 12 of the main playlist,
// "a2_12" that of the audio track 2. The main playlist of
// a film without a picture names those of its default track.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kinora::engine {

struct FragmentId {
  std::optional<int> audio_track;  // nothing: a main fragment
  int number = 0;

  bool operator==(const FragmentId&) const = default;
};

// Nothing for any other form: signs, blanks, leading zeros, numbers beyond 999,999.
std::optional<FragmentId> ParseFragmentId(std::string_view text);
std::string ToText(const FragmentId& id);
// Its file's name in the stream's work folder.
std::string FileName(const FragmentId& id);
// The file of the chunk of Smooth Streaming that is made of it.
std::string SmoothFileName(const FragmentId& id);

}  // namespace kinora::engine
