// The database under everything that Kinora remembers: one SQLite file in WAL mode, reached through SOCI.
//
// The schema is the numbered files in migrations/, applied in order inside one transaction; their number
// is kept in the database. A new database is made aside and linked into its place when it is whole, so that
// an empty file under its name is damage and never taken for a new one.
#pragma once

#include <soci/error.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "contract/media/database.h"

namespace soci {
class session;
}

namespace kinora::media {

class Store {
 public:
  // Opens the database, makes it (mode 0600, and its folder, 0700; made by root, they belong to whom the
  // folder above belongs to) and brings its schema up to date where needed. Throws LibKinora::db::Failure
  // when it is corrupt, locked for longer than five seconds, newer than this program, or cannot be opened;
  // the file is then left as it is.
  explicit Store(const std::string& path);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // Runs work(session), whose file includes soci/soci.h, and gives its result. What the database reports
  // becomes LibKinora::db::Failure, whose words hold no bound value. One thread at a time, and not across a
  // fork.
  template <typename Work>
  auto Do(Work&& work) {
    try {
      return std::forward<Work>(work)(*sql_);
    } catch (const soci::soci_error& error) {
      throw LibKinora::db::Failure(error.get_error_message());
    }
  }

  // The same inside a transaction that holds the right to write from its beginning: committed when work
  // returns, rolled back when it throws.
  template <typename Work>
  auto Change(Work&& work) {
    return Do([&](soci::session& sql) {
      Transaction transaction(sql);
      if constexpr (std::is_void_v<decltype(work(sql))>) {
        work(sql);
        transaction.Commit();
      } else {
        auto result = work(sql);
        transaction.Commit();
        return result;
      }
    });
  }

 private:
  class Transaction {
   public:
    explicit Transaction(soci::session& sql);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

   private:
    soci::session& sql_;
    bool open_ = true;
  };

  void BringUpToDate();

  std::unique_ptr<soci::session> sql_;
};

}  // namespace kinora::media
