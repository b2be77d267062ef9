// What the machine has for a new stream, as it is now.
#pragma once

#include "platform/engine/planning.h"

namespace kinora::engine {

// A program that converts films offline holds this file in the run folder (flock, exclusively) as long as it
// does; streams that would have to be encoded are refused meanwhile.
inline constexpr char kOfflineConversionLock[] = "offline-conversion.lock";

MachineState LookAtMachine();

}  // namespace kinora::engine
