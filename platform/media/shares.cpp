#include "platform/media/shares.h"

#include <soci/soci.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "platform/media/case_folding.h"
#include "platform/media/folder_walk.h"

namespace kinora::media {
namespace {

constexpr size_t kNameCharacters = 64;

void CheckName(const std::string& name) {
  const size_t count = CountPrintable(name);
  if (count == 0 || count > kNameCharacters || name.find('/') != std::string::npos || name == "." ||
      name == "..") {
    throw std::invalid_argument("a share's name is 1 to 64 printable characters without a slash");
  }
}

// Without links and dots, so that two names for one folder are seen to be one.
std::string Resolve(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path.c_str(), nullptr), std::free);
  struct stat info {};
  if (!resolved || ::stat(resolved.get(), &info) != 0) {
    throw std::invalid_argument("the folder cannot be reached: " + std::generic_category().message(errno));
  }
  if (!S_ISDIR(info.st_mode)) throw std::invalid_argument("this is no folder");
  if (std::string(resolved.get()) == "/") throw std::invalid_argument("the root folder cannot be a share");
  return resolved.get();
}

std::vector<Share> ReadAll(soci::session& sql) {
  std::vector<Share> shares;
  Share share;
  soci::statement rows = (sql.prepare << "SELECT id, name, path FROM shares ORDER BY id",
                          soci::into(share.id), soci::into(share.name), soci::into(share.path));
  for (bool more = rows.execute(true); more; more = rows.fetch()) shares.push_back(share);
  return shares;
}

// The share at this path already, or nothing; throws when the new one would get in the way of another.
std::optional<Share> FindEqual(const std::vector<Share>& shares, const Share& wanted) {
  for (const Share& share : shares) {
    if (share.path == wanted.path) return share;
  }
  for (const Share& share : shares) {
    if (FoldCase(share.name) == FoldCase(wanted.name)) {
      throw std::invalid_argument("there is a share of that name already");
    }
    if (LiesBelow(wanted.path, share.path)) {
      throw std::invalid_argument("the folder lies in the share " + share.name);
    }
    if (LiesBelow(share.path, wanted.path)) {
      throw std::invalid_argument("the folder holds the share " + share.name);
    }
  }
  return std::nullopt;
}

}  // namespace

Share Shares::Add(const std::string& name, const std::string& path) {
  CheckName(name);
  Share share{0, name, Resolve(path)};
  return store_.Change([&](soci::session& sql) {
    if (const auto equal = FindEqual(ReadAll(sql), share)) return *equal;
    sql << "INSERT INTO shares(name, path) VALUES(:name, :path)", soci::use(share.name),
        soci::use(share.path);
    sql << "SELECT id FROM shares WHERE path = :path", soci::use(share.path), soci::into(share.id);
    return share;
  });
}

bool Shares::Remove(const std::string& name) {
  return store_.Change([&](soci::session& sql) {
    int known = 0;
    sql << "SELECT COUNT(*) FROM shares WHERE name = :name", soci::use(name), soci::into(known);
    sql << "DELETE FROM shares WHERE name = :name", soci::use(name);
    return known > 0;
  });
}

std::vector<Share> Shares::All() {
  return store_.Do([](soci::session& sql) { return ReadAll(sql); });
}

}  // namespace kinora::media
