// Any bytes as a picture of H.264 and as packets of AAC: samples that are no longer than what they are made
// of allows, or none.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "helpers/remux/smooth_samples.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kinora::helper;
  static const ParameterSets kSets = ParameterSets::From("0000000167640000000168EB").value();
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  // A start code of three bytes becomes a length of four.
  const auto picture = MakePictureSample(bytes, kSets);
  if (picture && (picture->bytes.empty() || picture->bytes.size() > size + size / 3)) std::abort();
  const auto packets = SplitSound(bytes, 48'000);
  size_t sound = 0;
  for (const std::string_view packet : packets.value_or(std::vector<std::string_view>{}))
    sound += packet.size();
  if (sound > size) std::abort();
  ParameterSets::From(bytes);
  return 0;
}
