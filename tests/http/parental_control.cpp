#include "tests/http/parental_control.h"

#include <sqlite3.h>

#include <stdexcept>

#include "platform/media/secrets.h"
#include "platform/system/places.h"

namespace kinora::test {

void BlockFilm(const SignedIn& who, int film, const std::string& pin) {
  const std::string account = std::to_string(who.account);
  const std::string statements = "INSERT INTO blocked_files VALUES(" + account + ", " + std::to_string(film) +
                                 "); INSERT INTO parental_pins VALUES(" + account + ", '" +
                                 media::HashPassword(pin) + "')";
  sqlite3* database = nullptr;
  const bool done = sqlite3_open(system::kDatabaseFile, &database) == SQLITE_OK &&
                    sqlite3_busy_timeout(database, 30'000) == SQLITE_OK &&
                    sqlite3_exec(database, statements.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
  const std::string error = done ? "" : sqlite3_errmsg(database);
  sqlite3_close(database);
  if (!done) throw std::runtime_error("the film is not blocked: " + error);
}

}  // namespace kinora::test
