// A database in a folder of its own, gone after the test.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/media/store.h"

namespace kinora::media {

class DatabaseFile {
 public:
  DatabaseFile() {
    std::string name = testing::TempDir() + "media XXXXXX";
    folder_ = ::mkdtemp(name.data());
  }
  ~DatabaseFile() { std::filesystem::remove_all(folder_); }
  DatabaseFile(const DatabaseFile&) = delete;
  DatabaseFile& operator=(const DatabaseFile&) = delete;

  const std::filesystem::path& Folder() const { return folder_; }
  std::filesystem::path Path() const { return folder_ / "database" / "kinora.db"; }

 private:
  std::filesystem::path folder_;
};

// Text that would change a statement if it were pasted into one.
inline const std::string kQuotes[] = {"'",         "''",
                                      "\"",        "`",
                                      "\\",        "\\'",
                                      ";",         "--",
                                      "/*",        "%",
                                      "_",         ":name",
                                      "?1",        "' OR '1",
                                      "x') --",    "$1",
                                      "\n",        "'; DROP TABLE files; --",
                                      "\x01",      "\xff\xfe'",
                                      "名前'名前", "' UNION SELECT password FROM accounts --"};

}  // namespace kinora::media
