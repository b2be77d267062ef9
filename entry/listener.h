// The listener: takes connections and forks one process for each, which answers it and exits.
//
// It parses nothing, holds no database and no media library: what a request does wrong ends with its process.
#pragma once

#include <functional>

#include "platform/base/descriptor.h"

namespace kinora::entry {

// Answers in the child, on the connection's descriptor; gives the exit status.
using AnswerFunction = std::function<int(int connection)>;

// Takes connections until SIGTERM or SIGINT comes; answers that are under way then go on. More connections
// than `most_children` wait in the socket's backlog. Throws std::system_error when the socket cannot be used.
// In a child it returns the answer's exit status, in the listener itself 0: either way the process ends next.
int RunListener(base::Descriptor socket, unsigned int most_children, const AnswerFunction& answer);

}  // namespace kinora::entry
