#include "platform/engine/picture_cache.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "platform/base/atomic_file.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/engine/film_cache.h"
#include "platform/engine/look.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr char kUnit[] = "engine/picture_cache";
constexpr std::array<int, 6> kWidths = {160, 320, 480, 640, 960, 1280};
constexpr time_t kLastingRefusal = time_t{24} * 60 * 60;
constexpr time_t kPassingRefusal = 60;
constexpr FilmCache kCache(system::kPictureCache, kUnit);

// Where the picture of one state of a film is kept.
struct Slot {
  std::string folder;
  std::string state;  // the film's size and time
  std::string picture;
  std::string refusal;
};

std::optional<Slot> SlotOf(const std::string& video_path, int kept_width) {
  struct stat status {};
  if (::stat(video_path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  Slot slot;
  slot.folder = kCache.FolderOf(video_path);
  slot.state = Digest(std::to_string(status.st_size) + " " + std::to_string(status.st_mtim.tv_sec) + " " +
                      std::to_string(status.st_mtim.tv_nsec));
  const std::string name = slot.folder + "/" + slot.state + "-" + std::to_string(kept_width);
  slot.picture = name + ".jpg";
  slot.refusal = name + ".none";
  return slot;
}

int KeptWidth(int width) {
  const auto step = std::lower_bound(kWidths.begin(), kWidths.end(), width);
  return step == kWidths.end() ? kWidths.back() : *step;
}

enum class Known { kNothing, kPicture, kRefusal };

Known LookUp(const Slot& slot) {
  struct stat status {};
  if (::stat(slot.picture.c_str(), &status) == 0) return Known::kPicture;
  if (::stat(slot.refusal.c_str(), &status) == 0 && status.st_mtime > ::time(nullptr)) return Known::kRefusal;
  return Known::kNothing;
}

// What an earlier state of the film left, and scratch files of those who died writing.
void RemoveOutdated(const Slot& slot) {
  for (const fs::directory_entry& entry : fs::directory_iterator(slot.folder)) {
    const std::string name = entry.path().filename();
    const fs::path extension = entry.path().extension();
    const bool whole = extension == ".jpg" || extension == ".none";
    if (name != kFilmLock && !(whole && name.starts_with(slot.state))) fs::remove(entry.path());
  }
}

void Remember(const Slot& slot, const Picture& picture) {
  RemoveOutdated(slot);
  if (!picture.jpeg.empty()) {
    base::WriteFileAtomically(slot.picture, picture.jpeg, 0600);
    return;
  }
  base::WriteFileAtomically(slot.refusal, "", 0600);
  const time_t end = ::time(nullptr) + (picture.lasting ? kLastingRefusal : kPassingRefusal);
  const std::array<timespec, 2> times = {timespec{end, 0}, timespec{end, 0}};
  ::utimensat(AT_FDCWD, slot.refusal.c_str(), times.data(), 0);
}

Known Take(const std::string& video_path, int width, const Slot& slot) {
  const base::Descriptor lock = kCache.Lock(slot.folder);
  const Known known = LookUp(slot);  // somebody else may have been at it while we waited
  if (known != Known::kNothing) return known;
  const Picture picture = TakePicture(video_path, width);
  if (picture.jpeg.empty()) {
    base::Log(LOG_ERR, kUnit, "No picture of [" + video_path + "]: " + picture.reason);
  }
  // What only the machine is to blame for may succeed the next moment.
  if (!picture.asked) return Known::kNothing;
  Remember(slot, picture);
  return picture.jpeg.empty() ? Known::kRefusal : Known::kPicture;
}

}  // namespace

std::optional<std::string> PictureOf(const std::string& video_path, int width) {
  const int kept_width = KeptWidth(width);
  const std::optional<Slot> slot = SlotOf(video_path, kept_width);
  if (!slot) return std::nullopt;
  try {
    Known known = LookUp(*slot);
    if (known == Known::kNothing) known = Take(video_path, kept_width, *slot);
    if (known == Known::kPicture) return slot->picture;
  } catch (const std::system_error& error) {  // the cache cannot be written
    base::Log(LOG_ERR, kUnit, "No picture of [" + video_path + "]: " + error.what());
  }
  return std::nullopt;
}

void KeepPicturesOf(const std::function<std::vector<std::string>()>& films) { kCache.KeepOnly(films); }

}  // namespace kinora::engine
