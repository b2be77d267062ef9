// The people who may sign in. Passwords are kept as Argon2id.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/media/store.h"

namespace kinora::media {

struct Account {
  int id = 0;  // from 1 on; 0 and -1 mean nobody
  std::string name;
  bool administrator = false;
};

// All throw LibKinora::db::Failure when the database cannot answer.
class Accounts {
 public:
  explicit Accounts(Store& store) : store_(store) {}

  // Makes an account. Names compare without regard to case. Throws std::invalid_argument, with words for
  // people, when the name is taken or malformed (1 to 64 characters of printable UTF-8, no slash) or the
  // password is shorter than 8 bytes or longer than 1024.
  Account Create(const std::string& name, const std::string& password, bool administrator);
  // Ends the account's sessions too. Throws std::invalid_argument as Create does, and for an unknown id.
  void SetPassword(int id, const std::string& password);

  // The account, when the password is right. Takes as long for an unknown name as for a wrong password.
  std::optional<Account> Authenticate(const std::string& name, const std::string& password);
  std::optional<Account> Find(int id);
  std::optional<Account> FindByName(const std::string& name);
  std::vector<Account> All();

 private:
  Store& store_;
};

}  // namespace kinora::media
