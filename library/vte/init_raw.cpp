// Setting a raw stream up: no engine process, only a folder that remembers the file.
#include "contract/engine/vte_stream.h"
#include "contract/media/database.h"
#include "contract/system/crvn_fs.h"
#include "library/vte/stream_initer.h"
#include "library/vte/utils.h"

namespace crvnkn::webapi::vte {
namespace {

constexpr char kType[] = "RAW";
constexpr unsigned int kTypeFolderMode = 0777;
constexpr uint64_t kSpaceNeeded = 1048576;  // bytes

// What the database knows of the file's container. A file that it does not know plays all the same.
std::string ContainerOf(const std::string& file_path) {
  const LibKinora::db::record::File file = LibKinora::db::api::FileAPI().GetFileByPath(file_path);
  return file.id > 0 && !file.path.empty() ? file.container : std::string();
}

}  // namespace

std::string StreamIniter::InitDirectStream() {
  std::string new_id = LibCrvnVTE::VTEStream::GetRandStreamID(file_path);
  if (new_id.empty()) throw Error(kErrorStreamSetup, "GetRandStreamID failed ");
  if (!libkn::critical::crvnsdk::CRVNFSMkdirPKinora(JoinPath({kWorkspace, kType}), kTypeFolderMode)) {
    throw Error(kErrorStreamSetup, "CRVNFSMkdirPKinora failed");
  }
  if (!LibCrvnVTE::VTEStream::GetVolTmpAndSymlink(kSpaceNeeded, new_id, kType)) {
    throw Error(kErrorVolumeSpace, "There are not enough volume space for streaming. Need space " +
                                       std::to_string(kSpaceNeeded));
  }
  if (!SaveFile(JoinPath({kWorkspace, kType, new_id, "filepath"}), file_path)) {
    throw Error(kErrorStreamSetup, "save file path failed");
  }
  // After the new stream's own file: without a mark of use it is safe from the sweep.
  RemoveTimeoutDir(kType);
  return new_id;
}

std::string StreamIniter::InitRAW() {
  std::string new_id = InitDirectStream();
  if (!SaveFile(JoinPath({kWorkspace, kType, new_id, "container"}), ContainerOf(file_path))) {
    throw Error(kErrorStreamSetup, "save container info failed");
  }
  return new_id;
}

}  // namespace crvnkn::webapi::vte
