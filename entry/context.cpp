#include "entry/context.h"

#include "platform/system/places.h"

namespace kinora::entry {

media::Store& Context::GetStore() {
  if (!store_) store_ = std::make_unique<media::Store>(system::kDatabaseFile);
  return *store_;
}

}  // namespace kinora::entry
