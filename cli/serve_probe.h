// Asking the running service for something, as a browser would.
#pragma once

#include <string>

namespace kinora::cli {

// Whether the web API answers at this address, and its database with it.
bool Answers(const std::string& address, unsigned int port);

}  // namespace kinora::cli
