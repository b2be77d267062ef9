// From ids to videos and people: the path of a video, the owner of a sharing link, parental control; and what
// is in a video. Each call asks the media database, or looks into the file, and keeps nothing. When the
// database cannot answer, its own exception (LibKinora::db::Failure) passes through: nothing is allowed by a
// failure.
#pragma once

#include <json/json.h>

#include <string>

#include "library/export.h"

namespace crvnkn::webapi {

// The absolute path of the video with this database id; never empty.
// Throws Error 1101: without a message when `id` is less than 1 (the database is not asked), with "Failed to
// get path from video id <id>" when the database knows no path for it.
KINORA_EXPORT std::string GetFilePathByID(int id);

// The account that owns the collection behind a sharing link; 0 when there is none that may be used now.
KINORA_EXPORT unsigned int GetUidFromSharingId(const std::string& sharing_id);

// Returns when the account `uid` may watch the file: `uid` is 0, or its parental control allows the file, or
// `pin` opens what is blocked, for this one call. The PIN of a file that is allowed is not looked at.
// Throws Error 1400 when the file is blocked and `pin` is empty, 1401 when it is wrong; neither has a
// message.
KINORA_EXPORT void AssertVideoAllowed(int file_id, unsigned int uid, const std::string& pin);

// The tracks of the file at the absolute `path`: "video" and "audio", lists as VideoMetaData has them; null
// where the file has no such track.
// Throws Error 101 without a message when `path` is empty, 1102 with "failed to load metadata <path>" when
// the file cannot be read as a video.
KINORA_EXPORT Json::Value GetTrackInfo(const std::string& path);

}  // namespace crvnkn::webapi
