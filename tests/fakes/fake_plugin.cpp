// What the search for subtitles asks of the machine.
#include <cstdio>

#include "contract/media/md5.h"
#include "contract/system/crypt.h"
#include "contract/system/error_state.h"
#include "contract/system/plugin_folder.h"
#include "tests/fakes/script.h"

using kinora::fakes::Called;
using kinora::fakes::TheScript;

int CRVNKinora::CRVNVideoLoadPluginFromFolder(const std::string& folder, Json::Value& plugins) {
  Called("CRVNVideoLoadPluginFromFolder", folder);
  if (!TheScript().load_plugins) return -1;
  plugins = TheScript().plugins;
  return 0;
}

int HLIBCCryptSzDecrypt(const char* encrypted, char* buffer, int size) {
  Called("HLIBCCryptSzDecrypt", encrypted, size);
  if (!TheScript().decrypt) return 0;
  std::snprintf(buffer, static_cast<size_t>(size), "clear %s", encrypted);
  return 1;
}

unsigned int HLIBCErrGet() { return TheScript().platform_error; }

void HLIBCErrSetEx(unsigned int code, const char*, int, int flags) {
  Called("HLIBCErrSetEx", code, flags);
  TheScript().platform_error = code;
}

std::string LibKinora::GetMD5(const std::string& path) {
  Called("GetMD5", path);
  return TheScript().digest;
}
