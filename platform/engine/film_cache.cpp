#include "platform/engine/film_cache.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <unordered_set>

#include "platform/base/log.h"
#include "platform/base/text.h"

namespace kinora::engine {
namespace {

namespace fs = std::filesystem;

constexpr size_t kDigestSize = 16;

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

}  // namespace

std::string Digest(std::string_view text) {
  std::array<unsigned char, kDigestSize> digest{};
  crypto_generichash(digest.data(), digest.size(), reinterpret_cast<const unsigned char*>(text.data()),
                     text.size(), nullptr, 0);
  return base::ToHex({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

std::string FilmCache::FolderOf(const std::string& video_path) const {
  const std::string digest = Digest(video_path);
  return std::string(folder_) + "/" + digest.substr(0, 2) + "/" + digest;
}

base::Descriptor FilmCache::Lock(const std::string& film_folder) const {
  const std::string group = fs::path(film_folder).parent_path();
  for (const std::string& path : {std::string(folder_), group, film_folder}) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
      throw std::system_error(errno, std::generic_category(), "cannot make " + path);
    }
  }
  const std::string path = film_folder + "/" + kFilmLock;
  base::Descriptor lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  int result = -1;
  while (lock && (result = ::flock(lock.Get(), LOCK_EX)) != 0 && errno == EINTR) {
  }
  if (result != 0) throw std::system_error(errno, std::generic_category(), "cannot lock " + path);
  return lock;
}

std::vector<fs::path> FilmCache::Folders() const {
  std::vector<fs::path> films;
  for (const fs::path& group : FoldersIn(folder_)) {
    for (const fs::path& folder : FoldersIn(group)) {
      const std::string name = folder.filename();
      if (name.size() == 2 * kDigestSize && name.starts_with(group.filename().native()))
        films.push_back(folder);
    }
  }
  return films;
}

void FilmCache::Remove(const fs::path& film_folder) const {
  const base::Descriptor lock(::open((film_folder / kFilmLock).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
  if (lock && ::flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) return;  // something is being made
  std::error_code error;
  fs::remove_all(film_folder, error);
  if (error) base::Log(LOG_ERR, unit_, "[" + film_folder.native() + "] stays: " + error.message());
  fs::remove(film_folder.parent_path(), error);  // goes only when it is empty
}

void FilmCache::KeepOnly(const std::function<std::vector<std::string>()>& films) const {
  std::vector<fs::path> folders = Folders();
  if (folders.empty()) return;
  std::unordered_set<std::string> kept;
  for (const std::string& film : films()) kept.insert(Digest(film));
  std::erase_if(folders, [&](const fs::path& folder) { return kept.contains(folder.filename()); });
  for (const fs::path& folder : folders) Remove(folder);
}

}  // namespace kinora::engine
