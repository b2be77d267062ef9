// The fixed places of an installed Kinora. A checkout is given the same names by a private view (see dev).
#pragma once

#include <string>

namespace kinora::system {

// Streams at work; belongs to the service and is closed to others.
inline constexpr char kWorkspace[] = "/tmp/Kinora";

// The package: target/ is what was installed and never written, etc/ its settings, var/ its data.
inline constexpr char kTarget[] = "/var/packages/Kinora/target";
inline constexpr char kSettingsFile[] = "/var/packages/Kinora/etc/kinora.conf";
inline constexpr char kVar[] = "/var/packages/Kinora/var";
inline constexpr char kMachineKey[] = "/var/packages/Kinora/var/machine.key";
inline constexpr char kDatabaseFile[] = "/var/packages/Kinora/var/database/kinora.db";
inline constexpr char kPictureCache[] = "/var/packages/Kinora/var/pictures";
inline constexpr char kIndexCache[] = "/var/packages/Kinora/var/indexes";
inline constexpr char kSidecars[] = "/var/packages/Kinora/var/sidecars";
inline constexpr char kRunFolder[] = "/var/packages/Kinora/var/run";               // sockets, pids, locks
inline constexpr char kRemuxSocket[] = "/var/packages/Kinora/var/run/remux.sock";  // of kinora-remux --zygote

// On each volume, the folders of the streams that work there.
inline std::string StreamsOnVolume(const std::string& volume) { return volume + "/@tmp/Kinora"; }

inline std::string InTarget(const std::string& name) { return std::string(kTarget) + "/" + name; }
inline std::string InVar(const std::string& name) { return std::string(kVar) + "/" + name; }

}  // namespace kinora::system
