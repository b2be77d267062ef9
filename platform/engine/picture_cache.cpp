#include "platform/engine/picture_cache.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "platform/base/atomic_file.h"
#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/engine/look.h"
#include "platform/system/places.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr char kUnit[] = "engine/picture_cache";
constexpr std::array<int, 6> kWidths = {160, 320, 480, 640, 960, 1280};
constexpr time_t kLastingRefusal = time_t{24} * 60 * 60;
constexpr time_t kPassingRefusal = 60;
constexpr size_t kDigestSize = 16;

std::string Digest(std::string_view text) {
  std::array<unsigned char, kDigestSize> digest{};
  crypto_generichash(digest.data(), digest.size(), reinterpret_cast<const unsigned char*>(text.data()),
                     text.size(), nullptr, 0);
  return base::ToHex({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

std::string FolderOf(const std::string& video_path) {
  const std::string digest = Digest(video_path);
  return std::string(system::kPictureCache) + "/" + digest.substr(0, 2) + "/" + digest;
}

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
  slot.folder = FolderOf(video_path);
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

// Each folder is for the service's account only.
void MakeFolder(const std::string& folder) {
  const std::string group = fs::path(folder).parent_path();
  for (const std::string& path : {std::string(system::kPictureCache), group, folder}) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
      throw std::system_error(errno, std::generic_category(), "cannot make " + path);
    }
  }
}

// Held until the descriptor is closed, also by a process that dies.
base::Descriptor Lock(const std::string& folder) {
  const std::string path = folder + "/lock";
  base::Descriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  int result = -1;
  while (lock && (result = ::flock(lock.Get(), LOCK_EX)) != 0 && errno == EINTR) {
  }
  if (result != 0) throw std::system_error(errno, std::generic_category(), "cannot lock " + path);
  return lock;
}

// Of the folders in the folder, links left out. One that is not there, or that cannot be read, has none.
std::vector<fs::path> FoldersIn(const fs::path& folder) {
  std::vector<fs::path> folders;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();) {
    if (fs::is_directory(entry->symlink_status(error))) folders.push_back(entry->path());
    entry.increment(error);
  }
  return folders;
}

// The folders of all films in the cache; what else may lie there is none.
std::vector<fs::path> FilmFolders() {
  std::vector<fs::path> films;
  for (const fs::path& group : FoldersIn(system::kPictureCache)) {
    for (const fs::path& folder : FoldersIn(group)) {
      const std::string name = folder.filename();
      if (name.size() == 2 * kDigestSize && name.starts_with(group.filename().native()))
        films.push_back(folder);
    }
  }
  return films;
}

void Remove(const fs::path& folder) {
  const base::Descriptor lock(::open((folder / "lock").c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
  if (lock && ::flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) return;  // a picture is being taken
  std::error_code error;
  fs::remove_all(folder, error);
  if (error) base::Log(LOG_ERR, kUnit, "Pictures in [" + folder.native() + "] stay: " + error.message());
  fs::remove(folder.parent_path(), error);  // goes only when it is empty
}

// What an earlier state of the film left, and scratch files of those who died writing.
void RemoveOutdated(const Slot& slot) {
  for (const fs::directory_entry& entry : fs::directory_iterator(slot.folder)) {
    const std::string name = entry.path().filename();
    const fs::path extension = entry.path().extension();
    const bool whole = extension == ".jpg" || extension == ".none";
    if (name != "lock" && !(whole && name.starts_with(slot.state))) fs::remove(entry.path());
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
  MakeFolder(slot.folder);
  const base::Descriptor lock = Lock(slot.folder);
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

void KeepPicturesOf(const std::function<std::vector<std::string>()>& films) {
  std::vector<fs::path> folders = FilmFolders();
  if (folders.empty()) return;
  std::unordered_set<std::string> kept;
  for (const std::string& film : films()) kept.insert(Digest(film));
  std::erase_if(folders, [&](const fs::path& folder) { return kept.contains(folder.filename()); });
  std::ranges::for_each(folders, Remove);
}

}  // namespace kinora::engine
