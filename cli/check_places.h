// Whether the settings, and the places where Kinora reads and writes, are as they should be for the identity
// that this process has.
#pragma once

#include "cli/finding.h"
#include "platform/system/settings.h"

namespace kinora::cli {

Findings CheckSettings();
// Before the service's account is taken on: a low port is root's.
Findings CheckPort(const system::Settings& settings);
Findings CheckWorkspace();
Findings CheckVolumes(const system::Settings& settings);
Findings CheckDatabaseAndShares();
Findings CheckMemory(const system::Settings& settings);

}  // namespace kinora::cli
