#include "platform/media/store.h"

#include <fcntl.h>
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "platform/base/descriptor.h"
#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/media/migrations.h"

namespace kinora::media {
namespace {

using base::FolderOf;
using LibKinora::db::Failure;

[[noreturn]] void FailWithErrno(const std::string& what) {
  throw Failure(what + ": " + std::generic_category().message(errno));
}

bool Exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

// What root makes belongs to whom the folder around it belongs to: the service must be able to use it.
void InheritOwner(const std::string& path) {
  struct stat around {};
  if (::geteuid() != 0 || ::stat(FolderOf(path).c_str(), &around) != 0 || around.st_uid == 0) return;
  if (::lchown(path.c_str(), around.st_uid, around.st_gid) != 0) FailWithErrno("cannot give away " + path);
}

void MakeFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0700) != 0) {
    if (errno == EEXIST) return;
    FailWithErrno("cannot make the folder " + path);
  }
  InheritOwner(path);
}

void Execute(soci::session& sql, std::string_view script) {
  static constexpr std::string_view kEnd = ";\n";
  while (!script.empty()) {
    const size_t end = script.find(kEnd);
    if (end == std::string_view::npos) break;
    sql << std::string(script.substr(0, end));
    script.remove_prefix(end + kEnd.size());
  }
}

int SchemaNumber(soci::session& sql) {
  int number = 0;
  sql << "PRAGMA user_version", soci::into(number);
  return number;
}

std::unique_ptr<soci::session> Connect(const std::string& path) {
  if (path.find('"') != std::string::npos) throw Failure("a database's path may not hold a quotation mark");
  auto sql = std::make_unique<soci::session>(soci::sqlite3, "dbname=\"" + path + "\" timeout=5");
  *sql << "PRAGMA foreign_keys = ON";
  return sql;
}

// A database that is whole but for its name. The name that it is given decides between two that make one at
// the same time: the second finds the first's.
class NewDatabase {
 public:
  explicit NewDatabase(const std::string& path) : path_(path), scratch_(path + ".new-XXXXXX") {
    const base::Descriptor file(::mkostemp(scratch_.data(), O_CLOEXEC));  // mode 0600
    if (!file) FailWithErrno("cannot make a database beside " + path);
    InheritOwner(scratch_);
  }
  ~NewDatabase() {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) ::unlink((scratch_ + suffix).c_str());
  }
  NewDatabase(const NewDatabase&) = delete;
  NewDatabase& operator=(const NewDatabase&) = delete;

  const std::string& Scratch() const { return scratch_; }
  void Publish() {
    if (::link(scratch_.c_str(), path_.c_str()) != 0 && errno != EEXIST)
      FailWithErrno("cannot make " + path_);
  }

 private:
  std::string path_;
  std::string scratch_;
};

void ApplyMigrations(soci::session& sql, int from) {
  const auto migrations = Migrations();
  for (size_t i = static_cast<size_t>(from); i < migrations.size(); ++i) Execute(sql, migrations[i]);
  sql << "PRAGMA user_version = " + std::to_string(migrations.size());
}

void Make(const std::string& path) {
  MakeFolder(FolderOf(path));
  // A log without its database may be all that is left of it: joined to a new one it would be lost.
  if (Exists(path + "-wal") && !Exists(path)) {
    throw Failure(path + " is missing but " + path + "-wal is there: move it away to begin anew");
  }
  NewDatabase made(path);
  {
    auto sql = Connect(made.Scratch());
    std::string mode;
    *sql << "PRAGMA journal_mode = WAL", soci::into(mode);
    *sql << "BEGIN IMMEDIATE";
    ApplyMigrations(*sql, 0);
    *sql << "COMMIT";
  }
  made.Publish();
}

}  // namespace

Store::Transaction::Transaction(soci::session& sql) : sql_(sql) { sql_ << "BEGIN IMMEDIATE"; }

Store::Transaction::~Transaction() {
  if (!open_) return;
  try {
    sql_ << "ROLLBACK";
  } catch (const soci::soci_error& error) {  // a database that fails rolls back by itself
    base::Log(LOG_DEBUG, "media/store", "rollback: " + error.get_error_message());
  }
}

void Store::Transaction::Commit() {
  sql_ << "COMMIT";
  open_ = false;
}

Store::Store(const std::string& path) try {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) FailWithErrno("cannot open " + path);
    Make(path);
  } else if (!S_ISREG(info.st_mode) || info.st_size == 0) {
    throw Failure(path + " is no database: it is empty");
  }
  sql_ = Connect(path);
  BringUpToDate();
} catch (const soci::soci_error& error) {
  throw Failure("cannot open " + path + ": " + error.get_error_message());
}

Store::~Store() = default;

void Store::BringUpToDate() {
  const int known = static_cast<int>(Migrations().size());
  int number = SchemaNumber(*sql_);
  // A database gets its name with its schema. What has none is damaged, and a transaction would write on it.
  if (number <= 0) throw Failure("the database has no schema of Kinora's");
  if (number < known) {
    Transaction transaction(*sql_);
    number = SchemaNumber(*sql_);  // another process may have done it meanwhile
    if (number < known) ApplyMigrations(*sql_, number);
    transaction.Commit();
  }
  if (number > known) {
    throw Failure("the database has schema " + std::to_string(number) + ", this program knows " +
                  std::to_string(known) + ": it was made by a newer Kinora");
  }
}

}  // namespace kinora::media
