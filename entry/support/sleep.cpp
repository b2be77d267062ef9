#include "contract/webapi/sleep.h"

#include <chrono>
#include <thread>

namespace crvnkn {

void SleepMillisecond(unsigned int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace crvnkn
