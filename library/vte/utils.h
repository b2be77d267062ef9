// The files in which a stream lives on between requests.
//
// The workspace has one folder for each type of stream ("RAW", "HLS", "SS", "WEBM") and in it one link for
// each stream, named by the stream's id, to a working folder on a data volume:
//
//   /tmp/Kinora/<TYPE>/<id>/filepath        absolute path of the source video
//                          /container       its container's name as the database has it, or empty
//                          /access_status   "touch"; when it was modified is when the stream was last used
//
// All are plain bytes without a line end, rewritten whole and without a lock. The other files of a stream are
// the engine's. No function here throws but for want of memory.
#pragma once

#include <string>
#include <vector>

namespace crvnkn::webapi::vte {

inline constexpr char kWorkspace[] = "/tmp/Kinora";

// The parts with "/" between neighbours and nothing at either end. No part is looked into: whoever lets an id
// in from outside has checked its form before.
std::string JoinPath(const std::vector<std::string>& parts);

// Replaces the file's content by these bytes, in place. false when `path` is empty or the file cannot be
// opened; a write cut short by a full disk is not noticed.
bool SaveFile(const std::string& path, const std::string& content);

// The first 2048 bytes of the file, up to the first NUL. Empty when `path` is empty, when the file is, and,
// with a line in the log, when it cannot be opened.
std::string ReadFile(const std::string& path);

// Marks a stream as used now, by rewriting its mark. false when `path` is empty or cannot be opened.
bool RecordAccessStatus(const std::string& path);

// Writes the header lines by which a Chromecast may read an answer of another origin to standard output and
// flushes it. The header block goes on.
void PrintChromecastHeader();

}  // namespace crvnkn::webapi::vte
