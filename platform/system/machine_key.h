// The key with which this machine encrypts what it has to know in clear again, such as passwords for other
// people's services. It lies in a file that root alone may read where the process can become root, else the
// account that it works under: programs that it runs, which never have such rights, cannot get at it.
#pragma once

#include <array>
#include <optional>

namespace kinora::system {

using MachineKey = std::array<unsigned char, 32>;

// Nothing, with a line in the log, when there is none, or the file is not as it was made: of another owner,
// readable by others, no plain file, of another size.
std::optional<MachineKey> ReadMachineKey();

// The same, but makes the key when there is none. Several processes may do so at once: all get one key.
std::optional<MachineKey> ReadOrMakeMachineKey();

}  // namespace kinora::system
