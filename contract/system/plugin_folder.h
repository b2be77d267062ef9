// The programs of subtitle providers that the package has installed.
#pragma once

#include <json/json.h>

#include <string>

namespace CRVNKinora {

// Reads the folder of the plug-ins, each of which is a folder in it that holds
//   plugin.json    an object with "id" (letters, digits, ".", "-" and "_", the first a letter or a digit; up
//                  to 128 bytes) and "title" (one line of UTF-8, up to 256 bytes); other members are for
//                  others; up to 64 KiB
//   subtitle.php   the program
// All of it belongs to root or to the service's account, nobody else may write to it, and none of it is a
// link. What is not so is left out, with a line in the system log; names that begin with a point are passed
// over. Of several plug-ins with one id the first by the folder's name counts.
//
// `plugins` becomes an object of descriptions under their ids: "id", "title", and "pluginpath", the absolute
// path of the plug-in's folder. 0; a negative number, with a line in the system log and `plugins` as it was,
// when the folder cannot be read.
int CRVNVideoLoadPluginFromFolder(const std::string& folder, Json::Value& plugins);

}  // namespace CRVNKinora
