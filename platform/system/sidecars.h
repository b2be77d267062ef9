// What is derived from files whose own folder cannot take it.
//
//   <sidecars>/<BLAKE2b of the file's path, 32 hexadecimal digits>/    one folder for each file
//     source                                                          a link to the file
//     ...                                                             what is kept
//
// All of it belongs to the service's account, and is closed to others.
#pragma once

#include <string>

#include "platform/system/identity.h"

namespace kinora::system {

std::string SidecarOf(const std::string& path);

// Makes the file's folder where it is missing, for `service` to own. false, with errno, when it cannot be had
// or written.
bool MakeSidecar(const std::string& path, const ChildRights& service);

// Removes the folders of files that are gone. What cannot be removed stays, with a line in the log.
void RemoveSidecarsOfMissingFiles();

}  // namespace kinora::system
