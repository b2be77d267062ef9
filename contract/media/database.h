// The media database, as the library asks it: files, shared collections, parental control.
//
// Absent is a result, failed is an error: an id that is not there gives a record whose IsValid-like field
// says so; a database that cannot be opened, read or trusted throws Failure. Each object opens the database
// when it is first used and closes it when its last copy goes.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace LibKinora::db {

// The database could not answer. Not an Error of the web API: the edge turns it into an internal failure.
class __attribute__((visibility("default"))) Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

namespace record {

struct File {
  int id = 0;             // less than 1 when nothing was found
  std::string path;       // absolute, any bytes but NUL
  std::string container;  // "mp4", "mkv", ...; empty when not known
};

struct Collection {
  std::string sharing_id;
  unsigned int owner = 0;  // the account that shares it

  // Whether a collection was found that may be used now (not expired, not revoked).
  bool IsValid() const { return owner != 0; }
};

}  // namespace record

namespace api {

class FileAPI {
 public:
  FileAPI();
  // The record of a video id, or one whose id is less than 1. Throws Failure.
  record::File GetFile(int id) const;
  // The record of the file at exactly this path, or one whose id is less than 1. Throws Failure.
  record::File GetFileByPath(const std::string& path) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

class CollectionAPI {
 public:
  // The collections of one account; 0 for those of all accounts.
  explicit CollectionAPI(unsigned int uid);
  // The collection behind a sharing id, or one that is not valid. Throws Failure.
  record::Collection GetInfo(const std::string& sharing_id) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

class ParentalControl {
 public:
  // The rules that hold for one account.
  explicit ParentalControl(unsigned int uid);
  // Whether the account may watch the file without a PIN. Throws Failure, so that a broken database opens
  // nothing.
  bool IsFileAllowed(int file_id) const;
  // Whether this is the PIN that opens what the rules block. Compared in constant time; an account without a
  // PIN has no right one. Throws Failure.
  bool IsPinCorrect(const std::string& pin) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace api
}  // namespace LibKinora::db
