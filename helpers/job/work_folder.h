// The stream's work folder as the supervisor sees it: the folder of its own run, in which the encoder writes,
// and the published fragments.
//
//   <n>.ts, a<track>_<n>.ts   published, never changed
//   wanted                    the number of the fragment that was asked for last
//   waiting                   held (a shared lock) by every request that waits for a fragment
//   job.json                  the record of the job
//   run-<pid>/                what the encoder writes: <n>.ts.tmp, renamed to <n>.ts, then
//                             made.m3u8, the list of the newest ones
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "helpers/job/pace.h"
#include "platform/base/descriptor.h"

namespace kinora::helper {

class WorkFolder {
 public:
  // `folder` stays the caller's. Removes what runs that were killed have left and makes a folder for this
  // one. Throws std::system_error.
  explicit WorkFolder(int folder);
  ~WorkFolder();  // removes the run's folder
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  int Number() const { return folder_; }
  int RunFolder() const { return run_.Get(); }

  bool IsGone() const;  // somebody has removed it
  uint64_t FreeSpace() const;

  // What stands in "wanted", and its time. -1 when it is not there or holds no number.
  struct Wanted {
    int number = -1;
    struct timespec time {};
    bool operator==(const Wanted& other) const {
      return number == other.number && time.tv_sec == other.time.tv_sec && time.tv_nsec == other.time.tv_nsec;
    }
  };
  Wanted ReadWanted() const;
  bool IsWaitedFor() const;

  std::vector<Kept> Published() const;
  void Drop(const std::string& name) const;

  // Whether the encoder has finished fragment `number`, as far as its name tells, and begun `number` + 1.
  bool IsMade(int number) const;
  bool IsBegun(int number) const;
  // Whether the encoder's list names it and is not the last one: the encoder goes on behind that fragment.
  bool IsCut(int number) const;
  // Bytes of all that it has written and is not published: what grows while it works.
  uint64_t Unpublished() const;
  void DropUnpublished() const;
  // Looks whether the made fragment is sound, brings it to the disk and gives it its name, unless that is
  // taken: then this one is dropped. Returns what is wrong with it, or an empty text. Throws
  // std::system_error.
  std::string Publish(int number) const;

  // Replaces the record. Throws std::system_error.
  void WriteRecord(const std::string& text) const;

 private:
  int folder_;
  std::string run_name_;
  base::Descriptor run_;
};

}  // namespace kinora::helper
