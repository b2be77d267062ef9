#include "library/video.h"

#include "contract/engine/video_metadata.h"
#include "contract/media/database.h"
#include "contract/webapi/error.h"

namespace crvnkn::webapi {

namespace db = LibKinora::db;

std::string GetFilePathByID(int id) {
  if (id < 1) throw Error(kErrorNoSuchVideo);
  const db::record::File file = db::api::FileAPI().GetFile(id);
  if (file.id < 1 || file.path.empty()) {
    throw Error(kErrorNoSuchVideo, "Failed to get path from video id " + std::to_string(id));
  }
  return file.path;
}

unsigned int GetUidFromSharingId(const std::string& sharing_id) {
  constexpr unsigned int kEveryAccount = 0;  // a link serves whoever has it
  const db::record::Collection collection = db::api::CollectionAPI(kEveryAccount).GetInfo(sharing_id);
  return collection.IsValid() ? collection.owner : 0;
}

void AssertVideoAllowed(int file_id, unsigned int uid, const std::string& pin) {
  if (uid == 0) return;
  const db::api::ParentalControl control(uid);
  if (control.IsFileAllowed(file_id)) return;
  if (pin.empty()) throw Error(kErrorParentalPinMissing);
  if (!control.IsPinCorrect(pin)) throw Error(kErrorParentalPinWrong);
}

Json::Value GetTrackInfo(const std::string& path) {
  if (path.empty()) throw Error(kErrorBadParameter);
  LibCrvnVTE::VideoMetaData metadata;
  Json::Value tracks(Json::objectValue);
  if (!metadata.LoadFile(path) || !metadata.GetTrackInfo(tracks["video"], tracks["audio"]))
    throw Error(kErrorTracksUnreadable, "failed to load metadata " + path);
  return tracks;
}

}  // namespace crvnkn::webapi
