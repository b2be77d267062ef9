// Subtitle files that plug-ins have written, or say that they have. Part of this is done as root, and a
// plug-in may name any file of the machine: what does not belong to the account that plug-ins work under, or
// to the ordinary user to whom such files are given, is left alone. Links are not followed.
#pragma once

#include <string>

namespace crvnkn::webapi::subtitle {

// Gives the file to the appliance's ordinary user and group. It may fail; the file stays as it is then.
void GiveToOrdinaryUser(const std::string& file);

// Removes the file, or a link of this name itself. It may fail, too.
void RemovePluginFile(const std::string& file);

}  // namespace crvnkn::webapi::subtitle
