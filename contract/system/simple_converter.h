// Conversion between the Chinese scripts, by OpenCC.
#pragma once

#include <string>

namespace Opencc {

// Configured by one of OpenCC's configuration files. The conversion is done by a program of its own, which is
// started anew for each text.
class SimpleConverter {
 public:
  // `config`: absolute path of the configuration. Throws std::runtime_error when there is no such file.
  explicit SimpleConverter(const std::string& config);

  // The text (UTF-8) converted. Throws std::runtime_error when the configuration cannot be used, the text is
  // not UTF-8 or larger than the program takes, or the program failed.
  std::string Convert(const std::string& text) const;

 private:
  std::string config_;
};

}  // namespace Opencc
