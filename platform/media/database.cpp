#include "contract/media/database.h"

#include <soci/soci.h>

#include <ctime>
#include <vector>

#include "platform/media/folder_walk.h"
#include "platform/media/secrets.h"
#include "platform/media/store.h"
#include "platform/system/places.h"

namespace LibKinora::db::api {
namespace {

using kinora::media::Store;

// The database, opened when it is first asked.
class Opened {
 public:
  Store& Get() {
    if (!store_) store_ = std::make_unique<Store>(kinora::system::kDatabaseFile);
    return *store_;
  }

 private:
  std::unique_ptr<Store> store_;
};

template <typename Key>
record::File ReadFile(Store& store, const std::string& condition, const Key& key) {
  return store.Do([&](soci::session& sql) {
    record::File file;
    sql << "SELECT id, path, container FROM files WHERE " + condition, soci::use(key), soci::into(file.id),
        soci::into(file.path), soci::into(file.container);
    return sql.got_data() ? file : record::File{};
  });
}

bool LiesIn(const std::string& folder, const std::string& rule) {
  return folder == rule || kinora::media::LiesBelow(folder, rule);
}

}  // namespace

struct FileAPI::State : Opened {};

FileAPI::FileAPI() : state_(std::make_shared<State>()) {}

record::File FileAPI::GetFile(int id) const { return ReadFile(state_->Get(), "id = :id", id); }

record::File FileAPI::GetFileByPath(const std::string& path) const {
  return ReadFile(state_->Get(), "path = :path", path);
}

struct CollectionAPI::State : Opened {
  unsigned int uid = 0;
};

CollectionAPI::CollectionAPI(unsigned int uid) : state_(std::make_shared<State>()) { state_->uid = uid; }

record::Collection CollectionAPI::GetInfo(const std::string& sharing_id) const {
  return state_->Get().Do([&](soci::session& sql) {
    const long long now = std::time(nullptr);
    const long long uid = state_->uid;
    record::Collection found;
    long long owner = 0;
    sql << "SELECT sharing_id, owner FROM collections WHERE sharing_id = :id AND revoked = 0 "
           "AND (expires IS NULL OR expires > :now) AND (:uid = 0 OR owner = :uid)",
        soci::use(sharing_id, "id"), soci::use(now, "now"), soci::use(uid, "uid"),
        soci::into(found.sharing_id), soci::into(owner);
    if (!sql.got_data()) return record::Collection{};
    found.owner = static_cast<unsigned int>(owner);
    return found;
  });
}

struct ParentalControl::State : Opened {
  long long uid = 0;
};

ParentalControl::ParentalControl(unsigned int uid) : state_(std::make_shared<State>()) { state_->uid = uid; }

bool ParentalControl::IsFileAllowed(int file_id) const {
  return state_->Get().Do([&](soci::session& sql) {
    int blocked = 0;
    sql << "SELECT COUNT(*) FROM blocked_files WHERE account = :uid AND file = :file", soci::use(state_->uid),
        soci::use(file_id), soci::into(blocked);
    if (blocked > 0) return false;
    std::string folder;
    std::string rule;
    soci::statement rows =
        (sql.prepare << "SELECT f.folder, b.folder FROM files f JOIN blocked_folders b ON b.share = f.share "
                        "WHERE f.id = :file AND b.account = :uid",
         soci::use(file_id), soci::use(state_->uid), soci::into(folder), soci::into(rule));
    for (bool more = rows.execute(true); more; more = rows.fetch()) {
      if (LiesIn(folder, rule)) return false;
    }
    return true;
  });
}

bool ParentalControl::IsPinCorrect(const std::string& pin) const {
  const std::string hash = state_->Get().Do([&](soci::session& sql) {
    std::string found;
    sql << "SELECT pin FROM parental_pins WHERE account = :uid", soci::use(state_->uid), soci::into(found);
    return found;
  });
  if (!hash.empty()) return kinora::media::PasswordMatches(hash, pin);
  kinora::media::SpendPasswordTime(pin);
  return false;
}

}  // namespace LibKinora::db::api
