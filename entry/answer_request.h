// One request from beginning to end: what both ways in have in common.
#pragma once

#include <chrono>

#include "platform/system/settings.h"

namespace kinora::entry {

// How long a request may take.
struct TimeLimits {
  std::chrono::milliseconds to_send{10'000};  // for the other side to send it
  // For the answer, but for a stream's. A web server without rights cannot end a process whose real id is 0:
  // it ends itself, by SIGALRM.
  std::chrono::milliseconds to_answer{120'000};
};

// As a plain CGI program: the variables are this process's environment. Takes on the service's identity.
// Gives the process's exit status.
int AnswerCgi();

// As a request process of the listener, whose log and identity it has: the connection is the SCGI request,
// and becomes standard input and output. Gives the process's exit status.
int AnswerScgi(int connection, const system::Settings& settings, const TimeLimits& limits = {});

}  // namespace kinora::entry
