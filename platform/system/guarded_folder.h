// Folders that are found or made where other people may write, too.
//
// Whoever may write in the folder above can exchange what lies in it at any moment, for a link or for a
// folder of somebody else's. So each step is taken by descriptor, through no link, and who owns a folder is
// asked of what is open. Root gives a folder away only while it is empty: then nothing but an empty folder
// can be won by planting.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "platform/base/descriptor.h"
#include "platform/system/identity.h"

namespace kinora::system {

// What a folder is to be like.
struct FolderWish {
  uid_t owner = 0;
  gid_t group = 0;
  mode_t mode = 0;
  std::vector<uid_t>
      trusted;  // who may own it as well, beside root and the accounts that this process works under
};

// The folder `name` in `parent`, made where it is missing. Its owner, group and mode become as wished where
// this process may change them and the above allows it. Empty, with errno, when it cannot be had; EPERM when
// it belongs to somebody else.
base::Descriptor OpenGuardedFolder(int parent, const std::string& name, const FolderWish& wish);

// Whether somebody with these rights and without capabilities may enter a folder, by its mode alone.
bool MayEnter(const ChildRights& rights, uid_t owner, gid_t group, mode_t mode);
bool MayEnter(const ChildRights& rights, int folder);  // false with errno

// Whether the process, as it works now, may make files in the folder; false with errno.
bool MayWriteIn(int folder);

}  // namespace kinora::system
