// How scans change the catalog.
#pragma once

#include <soci/soci.h>

#include <string>
#include <vector>

#include "platform/media/scan_plan.h"
#include "platform/media/video_facts.h"

namespace kinora::media {

// All videos and all refused files.
KnownFiles ReadKnownFiles(soci::session& sql);
// The shares, not yet walked.
std::vector<WalkedShare> ReadSharesToWalk(soci::session& sql);
void WriteMounted(soci::session& sql, const WalkedShare& share);

// Takes a video up, or brings what is known of it up to date. A share that is gone meanwhile takes up
// nothing.
void WriteVideo(soci::session& sql, const ScanTask& task, const VideoFacts& facts, const std::string& marks,
                int64_t now);
// Keeps in mind that this is no video; one that it was before is dropped.
void WriteRefused(soci::session& sql, const ScanTask& task, const std::string& reason);
// The video `id` is now the file of the task.
void WriteMove(soci::session& sql, const ScanTask& task, int id);
void WriteRemoval(soci::session& sql, const KnownPath& gone);

}  // namespace kinora::media
