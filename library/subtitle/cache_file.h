// Reading, copying and removing the files of a cache as root.
//
// The cache lies in the folder of whoever owns the film. They may put links, pipes and files of others there
// while we work, so nothing that they could have put there is followed or waited for.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

// Whether there is a plain file at the path, no link, that belongs to the owner of its folder or to us. When
// there is something else, that is logged.
bool IsOwnCacheFile(const std::string& path);

// The content of such a file of up to 256 MiB; empty, with a line in the log, when there is none.
std::string ReadCacheFile(const std::string& path);

// Makes the file, or fills it anew. false when it could not be done.
bool CopyToCache(const std::string& source, const std::string& cache_path);

// Does nothing when there is no such file.
void RemoveCacheFile(const std::string& path);

}  // namespace crvnkn::webapi::subtitle
