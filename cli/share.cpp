#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/commands.h"
#include "platform/base/text.h"
#include "platform/media/shares.h"
#include "platform/media/store.h"
#include "platform/system/places.h"

namespace kinora::cli {
namespace {

struct Arguments {
  std::string name;
  std::string path;
};

// The folder's own name, also when it is written as "." or ends in a slash.
std::string NameOf(const std::string& path) {
  std::string trimmed = std::filesystem::absolute(path).lexically_normal();
  while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
  return trimmed.substr(trimmed.rfind('/') + 1);
}

void Add(const Arguments& arguments) {
  media::Store store(system::kDatabaseFile);
  const std::string name = arguments.name.empty() ? NameOf(arguments.path) : arguments.name;
  const media::Share share = media::Shares(store).Add(name, arguments.path);
  std::cout << base::ToOneLine(share.name) << '\t' << base::ToOneLine(share.path) << '\n';
}

void Remove(const Arguments& arguments) {
  media::Store store(system::kDatabaseFile);
  if (!media::Shares(store).Remove(arguments.name)) throw std::invalid_argument("there is no such share");
}

void List() {
  media::Store store(system::kDatabaseFile);
  for (const media::Share& share : media::Shares(store).All()) {
    std::cout << base::ToOneLine(share.name) << '\t' << base::ToOneLine(share.path) << '\n';
  }
}

}  // namespace

void AddShare(CLI::App& program) {
  CLI::App* share = program.add_subcommand("share", "The folders that are served");
  share->require_subcommand(1);
  const auto arguments = std::make_shared<Arguments>();

  CLI::App* add = share->add_subcommand("add", "Serve a folder; `kinora scan` then finds its videos");
  add->add_option("folder", arguments->path, "The folder")->required();
  add->add_option("--name", arguments->name, "What it is called (default: the folder's own name)");
  add->callback([arguments] { Add(*arguments); });

  CLI::App* remove = share->add_subcommand("remove", "Serve a folder no more; its files stay as they are");
  remove->add_option("name", arguments->name, "What it is called")->required();
  remove->callback([arguments] { Remove(*arguments); });

  share->add_subcommand("list", "One line for each: its name, a tab, its path")->callback(List);
}

}  // namespace kinora::cli
