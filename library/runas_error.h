// The process may not work under the identity that a step needs.
#pragma once

#include <stdexcept>

namespace crvnkn::webapi {

// Thrown by what works as root for a while, when the process cannot become that; nothing of the step has been
// done then and the identity is the one before. what() is "RUN_AS(<uid>, <gid>)". No Error: nobody who asks
// can help it. The type information is visible, so that it can be caught across shared objects.
class __attribute__((visibility("default"))) runas_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace crvnkn::webapi
