#include "platform/media/accounts.h"

#include <soci/soci.h>

#include <ctime>
#include <stdexcept>

#include "platform/media/case_folding.h"
#include "platform/media/secrets.h"

namespace kinora::media {
namespace {

constexpr size_t kNameCharacters = 64;
constexpr size_t kShortestPassword = 8;
constexpr size_t kLongestPassword = 1024;

void CheckName(const std::string& name) {
  const size_t count = CountPrintable(name);
  if (count == 0 || count > kNameCharacters || name.find('/') != std::string::npos) {
    throw std::invalid_argument("an account's name is 1 to 64 printable characters without a slash");
  }
}

void CheckPassword(const std::string& password) {
  if (password.size() < kShortestPassword) {
    throw std::invalid_argument("a password has at least 8 bytes");
  }
  if (password.size() > kLongestPassword) throw std::invalid_argument("a password has at most 1024 bytes");
}

struct Row {
  Account account;
  int administrator = 0;
  std::string password;
};

constexpr char kSelect[] = "SELECT id, name, administrator, password FROM accounts ";

}  // namespace

Account Accounts::Create(const std::string& name, const std::string& password, bool administrator) {
  CheckName(name);
  CheckPassword(password);
  const std::string key = FoldCase(name);
  const std::string hash = HashPassword(password);
  const int privileged = administrator ? 1 : 0;
  const long long now = std::time(nullptr);
  Account account{0, name, administrator};
  store_.Change([&](soci::session& sql) {
    int taken = 0;
    sql << "SELECT COUNT(*) FROM accounts WHERE name_key = :key", soci::use(key), soci::into(taken);
    if (taken > 0) throw std::invalid_argument("there is an account of that name already");
    sql << "INSERT INTO accounts(name, name_key, password, administrator, created) "
           "VALUES(:name, :key, :hash, :privileged, :now)",
        soci::use(name), soci::use(key), soci::use(hash), soci::use(privileged), soci::use(now);
    sql << "SELECT id FROM accounts WHERE name_key = :key", soci::use(key), soci::into(account.id);
  });
  return account;
}

void Accounts::SetPassword(int id, const std::string& password) {
  CheckPassword(password);
  const std::string hash = HashPassword(password);
  store_.Change([&](soci::session& sql) {
    int known = 0;
    sql << "SELECT COUNT(*) FROM accounts WHERE id = :id", soci::use(id), soci::into(known);
    if (known == 0) throw std::invalid_argument("there is no such account");
    sql << "UPDATE accounts SET password = :hash WHERE id = :id", soci::use(hash), soci::use(id);
    sql << "DELETE FROM sessions WHERE account = :id", soci::use(id);
    sql << "DELETE FROM welcomes WHERE account = :id", soci::use(id);
  });
}

std::optional<Account> Accounts::Authenticate(const std::string& name, const std::string& password) {
  const std::string key = FoldCase(name);
  Row row;
  const bool found = store_.Do([&](soci::session& sql) {
    sql << std::string(kSelect) + "WHERE name_key = :key", soci::use(key), soci::into(row.account.id),
        soci::into(row.account.name), soci::into(row.administrator), soci::into(row.password);
    return sql.got_data();
  });
  if (!found || password.size() > kLongestPassword) {
    SpendPasswordTime(password.substr(0, kLongestPassword));
    return std::nullopt;
  }
  if (!PasswordMatches(row.password, password)) return std::nullopt;
  row.account.administrator = row.administrator != 0;
  return row.account;
}

std::optional<Account> Accounts::Find(int id) {
  return store_.Do([&](soci::session& sql) -> std::optional<Account> {
    Row row;
    sql << std::string(kSelect) + "WHERE id = :id", soci::use(id), soci::into(row.account.id),
        soci::into(row.account.name), soci::into(row.administrator), soci::into(row.password);
    if (!sql.got_data()) return std::nullopt;
    row.account.administrator = row.administrator != 0;
    return row.account;
  });
}

std::optional<Account> Accounts::FindByName(const std::string& name) {
  const std::string key = FoldCase(name);
  const std::optional<int> id = store_.Do([&](soci::session& sql) -> std::optional<int> {
    int found = 0;
    sql << "SELECT id FROM accounts WHERE name_key = :key", soci::use(key), soci::into(found);
    if (!sql.got_data()) return std::nullopt;
    return found;
  });
  return id ? Find(*id) : std::nullopt;
}

std::vector<Account> Accounts::All() {
  return store_.Do([](soci::session& sql) {
    std::vector<Account> accounts;
    Account account;
    int administrator = 0;
    soci::statement rows = (sql.prepare << "SELECT id, name, administrator FROM accounts ORDER BY id",
                            soci::into(account.id), soci::into(account.name), soci::into(administrator));
    for (bool more = rows.execute(true); more; more = rows.fetch()) {
      account.administrator = administrator != 0;
      accounts.push_back(account);
    }
    return accounts;
  });
}

}  // namespace kinora::media
