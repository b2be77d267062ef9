// The samples of a chunk, made of what a transport stream has: pictures with the length of each part before
// it instead of start codes, and sound without headers (ISO/IEC 14496-15, 5.3; 14496-3).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kinora::helper {

// What the manifest says of all pictures of H.264, before there are any.
class ParameterSets {
 public:
  // `digits`: "00000001<SPS>00000001<PPS>" in hexadecimal digits. Nothing for any other text.
  static std::optional<ParameterSets> From(std::string_view digits);

  bool Has(std::string_view unit) const;
  size_t Count() const { return units_.size(); }

 private:
  std::vector<std::string> units_;
};

struct PictureSample {
  std::string bytes;
  bool key = false;  // a player can start here
  size_t sets = 0;   // parameter sets that came along
};

// Of one access unit of H.264. Parameter sets and delimiters are left out. Nothing when it is none, or a
// parameter set of it is another one.
std::optional<PictureSample> MakePictureSample(std::string_view unit, const ParameterSets& sets);

// The packets of plain AAC that follow each other in `bytes`. Nothing when there is anything else in it, or
// they have another sampling frequency.
std::optional<std::vector<std::string_view>> SplitSound(std::string_view bytes, int frequency);

}  // namespace kinora::helper
