#include "helpers/job/options.h"

#include <charconv>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace kinora::helper {
namespace {

constexpr int64_t kMostSeconds = 86'400;

int64_t NumberIn(std::string_view text, int64_t least, int64_t most) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number < least || number > most) {
    throw std::invalid_argument("no number as it should be: " + std::string(text));
  }
  return number;
}

std::vector<int64_t> TimesIn(std::string_view text) {
  std::vector<int64_t> times;
  while (true) {
    const size_t comma = text.find(',');
    times.push_back(NumberIn(text.substr(0, comma), times.empty() ? 0 : times.back(), INT64_MAX / 2));
    if (comma == std::string_view::npos) return times;
    text.remove_prefix(comma + 1);
  }
}

void Take(JobOptions& options, const std::string& name, const std::string& value) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  if (name == "--first") {
    options.run.first = static_cast<int>(NumberIn(value, 0, 1'000'000));
  } else if (name == "--times") {
    options.run.times = TimesIn(value);
  } else if (name == "--run-ahead") {
    options.limits.run_ahead_ms = 1000 * NumberIn(value, 0, kMostSeconds);
  } else if (name == "--idle") {
    options.idle_ms = 1000 * NumberIn(value, 1, kMostSeconds);
  } else if (name == "--patience") {
    options.patience_ms = 1000 * NumberIn(value, 1, kMostSeconds);
  } else if (name == "--quota") {
    options.limits.quota = static_cast<uint64_t>(NumberIn(value, 0, kMost));
  } else if (name == "--floor") {
    options.floor = static_cast<uint64_t>(NumberIn(value, 0, kMost));
  } else if (name == "--hardware") {
    options.hardware = NumberIn(value, 0, 1) == 1;
  } else if (name == "--tries") {
    options.tries = static_cast<int>(NumberIn(value, 1, 1000));
  } else {
    throw std::invalid_argument("unknown option " + name);
  }
}

}  // namespace

JobOptions ParseJobOptions(const std::vector<std::string>& arguments) {
  JobOptions options;
  size_t at = 0;
  for (; at < arguments.size() && arguments[at] != "--"; at += 2) {
    if (at + 1 == arguments.size()) throw std::invalid_argument("no value for " + arguments[at]);
    Take(options, arguments[at], arguments[at + 1]);
  }
  if (at + 1 >= arguments.size()) throw std::invalid_argument("no encoder");
  options.encoder.assign(arguments.begin() + static_cast<std::ptrdiff_t>(at) + 1, arguments.end());
  if (options.run.times.size() < 2) throw std::invalid_argument("no fragments");
  if (options.idle_ms == 0) throw std::invalid_argument("no idle time");
  if (options.patience_ms == 0) throw std::invalid_argument("no patience");
  options.run.last = options.run.first + static_cast<int>(options.run.times.size()) - 2;
  return options;
}

}  // namespace kinora::helper
