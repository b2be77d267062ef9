#include "helpers/remux/listed.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "helpers/common/exit_codes.h"

namespace kinora::helper {
namespace {

struct Listed {
  size_t track = 0;
  PacketPlace place;
  bool key = false;
};

bool IsHeard(const FilmIndex& film, const Selection& selection, const PacketPlace& place) {
  const IndexTrack& track = film.tracks[*selection.audio];
  if (selection.start && !film.Reaches(track, place.pts, *selection.start)) return false;
  return !selection.end || !film.Reaches(track, place.pts, *selection.end);
}

// In decode order of both tracks.
std::vector<Listed> Choose(const IndexReader& index, const Selection& selection) {
  const FilmIndex& film = index.Film();
  std::vector<Listed> chosen;
  for (size_t cut = selection.first_cut; cut <= selection.last_cut; ++cut) {
    const auto lists = index.ListsOf(cut);
    if (selection.video) {
      bool first = true;
      for (const PacketPlace& place : lists[*selection.video]) {
        chosen.push_back({*selection.video, place, first});
        first = false;
      }
    }
    if (!selection.audio) continue;
    for (const PacketPlace& place : lists[*selection.audio]) {
      if (IsHeard(film, selection, place)) chosen.push_back({*selection.audio, place, true});
    }
  }
  std::stable_sort(chosen.begin(), chosen.end(), [&film](const Listed& a, const Listed& b) {
    return film.Ticks(film.tracks[a.track], a.place.dts) < film.Ticks(film.tracks[b.track], b.place.dts);
  });
  return chosen;
}

void Fill(AVPacket& packet, int descriptor, const Listed& listed) {
  if (av_new_packet(&packet, static_cast<int>(listed.place.size)) < 0) throw std::bad_alloc();
  int64_t done = 0;
  while (done < listed.place.size) {
    const ssize_t got = ::pread(descriptor, packet.data + done, static_cast<size_t>(listed.place.size - done),
                                listed.place.position + done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) throw Failure(kUnreadable, "the film is shorter than its index says");
    done += got;
  }
  packet.dts = listed.place.dts;
  packet.pts = listed.place.pts;
  packet.flags = listed.key ? AV_PKT_FLAG_KEY : 0;
}

}  // namespace

void CopyListed(int descriptor, const IndexReader& index, const Selection& selection, TransportWriter& out) {
  const Packet packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  for (const Listed& listed : Choose(index, selection)) {
    Fill(*packet, descriptor, listed);
    out.Write(listed.track, *packet);
  }
}

}  // namespace kinora::helper
