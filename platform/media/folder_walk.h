// Finding the files with a video's name below a folder.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kinora::media {

struct FoundFile {
  std::string name;  // relative to the folder, any bytes
  int64_t size = 0;
  int64_t modified_ns = 0;  // since the epoch
  int64_t inode = 0;
};

struct FolderWalk {
  bool opened = false;   // false: the folder could not be read at all, and nothing is known of what it holds
  bool mounted = false;  // a file system of its own begins at the folder
  std::vector<FoundFile> files;
  std::vector<std::string> unread;  // folders below that could not be read to their end, relative
};

// Whether the extension is one of a video's, without regard to case. Hidden names are none.
bool HasVideoName(std::string_view name);

// Whether `name` lies below `folder`, both absolute or both relative to the same; all that is relative lies
// below the empty one.
bool LiesBelow(std::string_view name, std::string_view folder);

// Goes through the folder and all below it, one open folder at a time, however deep. Links are not followed:
// what they lead to inside the folder is found where it lies. Hidden folders, folders that hold themselves
// and names too long to be opened are left out. `entering` is told of each folder
// before it is read. `seen` is told how many files were found so far, now and
// then.
FolderWalk WalkFolder(const std::string& path, const std::function<void(int64_t)>& seen,
                      const std::function<void(const std::string& folder)>& entering = {});

}  // namespace kinora::media
