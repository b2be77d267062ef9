// What a check of `kinora doctor` has found.
#pragma once

#include <string>
#include <vector>

namespace kinora::cli {

enum class Grade { kOk, kWarn, kFail };

struct Finding {
  Grade grade = Grade::kOk;
  std::string subject;  // a word or two
  std::string words;    // what is so, and, where it is not well, what to do
};

using Findings = std::vector<Finding>;

}  // namespace kinora::cli
