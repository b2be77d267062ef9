#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/commands.h"
#include "cli/password.h"
#include "platform/base/atomic_file.h"
#include "platform/base/text.h"
#include "platform/media/accounts.h"
#include "platform/media/sessions.h"
#include "platform/media/store.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::cli {
namespace {

struct Arguments {
  std::string name;
  bool administrator = false;
  bool generate = false;
  std::string password_file;
};

// Gives `use` the password. One that is made here is told once: in a file for its owner alone, which is there
// before the password counts, or on standard output.
template <typename Use>
void WithPassword(const Arguments& arguments, Use use) {
  if (!arguments.password_file.empty()) {
    const std::string password = MakePassword();
    base::AtomicFile file(arguments.password_file, 0600);
    file.Write(password + "\n");
    use(password);
    file.Commit();
  } else if (arguments.generate) {
    const std::string password = MakePassword();
    use(password);
    std::cout << password << '\n';
  } else {
    use(ReadPassword(std::cin, STDIN_FILENO));
  }
}

media::Account Find(media::Accounts& accounts, const std::string& name) {
  const auto account = accounts.FindByName(name);
  if (!account) throw std::invalid_argument("there is no account of that name");
  return *account;
}

void Add(const Arguments& arguments) {
  media::Store store(system::kDatabaseFile);
  media::Accounts accounts(store);
  if (accounts.FindByName(arguments.name)) {
    throw std::invalid_argument("there is an account of that name already");
  }
  WithPassword(arguments, [&](const std::string& password) {
    accounts.Create(arguments.name, password, arguments.administrator);
  });
}

void SetPassword(const Arguments& arguments) {
  media::Store store(system::kDatabaseFile);
  media::Accounts accounts(store);
  const media::Account account = Find(accounts, arguments.name);
  WithPassword(arguments, [&](const std::string& password) { accounts.SetPassword(account.id, password); });
}

void List() {
  media::Store store(system::kDatabaseFile);
  for (const media::Account& account : media::Accounts(store).All()) {
    std::cout << account.id << '\t' << base::ToOneLine(account.name)
              << (account.administrator ? "\tadministrator" : "") << '\n';
  }
}

void Welcome(const Arguments& arguments) {
  media::Store store(system::kDatabaseFile);
  media::Accounts accounts(store);
  const media::Account account = Find(accounts, arguments.name);
  const unsigned int days = system::LoadSettings(system::kSettingsFile).session_days;
  std::cout << media::Sessions(store, days).MakeWelcome(account.id) << '\n';
}

void AddPasswordOptions(CLI::App& command, Arguments& arguments) {
  command.add_flag("--generate", arguments.generate, "Make a password and print it");
  command.add_option("--password-file", arguments.password_file,
                     "Make a password and write it into this file, readable by its owner alone");
  command.footer("Without an option the password is the first line of standard input.");
}

}  // namespace

void AddUser(CLI::App& program) {
  CLI::App* user = program.add_subcommand("user", "The people who may sign in");
  user->require_subcommand(1);
  const auto arguments = std::make_shared<Arguments>();

  CLI::App* add = user->add_subcommand("add", "Make an account");
  add->add_option("name", arguments->name, "Its name")->required();
  add->add_flag("--administrator", arguments->administrator, "It may change what belongs to all");
  AddPasswordOptions(*add, *arguments);
  add->callback([arguments] { Add(*arguments); });

  CLI::App* password = user->add_subcommand("password", "Change an account's password; it is signed out");
  password->add_option("name", arguments->name, "Its name")->required();
  AddPasswordOptions(*password, *arguments);
  password->callback([arguments] { SetPassword(*arguments); });

  user->add_subcommand("list", "One line for each: its id, a tab, its name")->callback(List);

  CLI::App* welcome =
      user->add_subcommand("welcome", "Print a secret that signs one browser in, once, within ten minutes");
  welcome->add_option("name", arguments->name, "The account")->required();
  welcome->callback([arguments] { Welcome(*arguments); });
}

}  // namespace kinora::cli
