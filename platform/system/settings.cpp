#include "platform/system/settings.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include "platform/base/log.h"
#include "platform/base/text.h"
#include "platform/system/setting_lines.h"

namespace kinora::system {
namespace {

constexpr char kUnit[] = "system/settings";

std::string_view Trim(std::string_view text) { return base::Trim(text, " \t\r"); }

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (true) {
    const size_t end = text.find(separator);
    const std::string_view part = Trim(text.substr(0, end));
    if (!part.empty()) parts.emplace_back(part);
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

std::optional<uint64_t> ParseNumber(std::string_view text) {
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// A number of bytes, with K, M, G or T for powers of 1024.
std::optional<uint64_t> ParseSize(std::string_view text) {
  constexpr std::string_view kUnits = "KMGT";
  const size_t unit = text.empty() ? std::string_view::npos : kUnits.find(text.back());
  const unsigned int shift = unit == std::string_view::npos ? 0 : 10 * static_cast<unsigned int>(unit + 1);
  if (shift != 0) text.remove_suffix(1);
  const std::optional<uint64_t> number = ParseNumber(text);
  if (!number || (*number << shift) >> shift != *number) return std::nullopt;
  return *number << shift;
}

bool ParseCount(std::string_view text, unsigned int least, unsigned int most, unsigned int& target) {
  const std::optional<uint64_t> number = ParseNumber(text);
  if (!number || *number < least || *number > most) return false;
  target = static_cast<unsigned int>(*number);
  return true;
}

bool HasOnly(std::string_view text, std::string_view others) {
  return std::all_of(text.begin(), text.end(), [others](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           others.find(c) != std::string_view::npos;
  });
}

bool SetAccount(std::string_view value, Settings& settings) {
  if (value.size() > 32 || !HasOnly(value, "_-.") || (!value.empty() && value.front() == '-')) return false;
  settings.account = value;
  return true;
}

bool SetAddress(std::string_view value, Settings& settings) {
  const std::string text(value);
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  if (::inet_pton(AF_INET, text.c_str(), bytes.data()) != 1 &&
      ::inet_pton(AF_INET6, text.c_str(), bytes.data()) != 1) {
    return false;
  }
  settings.address = text;
  return true;
}

template <uint64_t Settings::*kMember>
bool SetSize(std::string_view value, Settings& settings) {
  const std::optional<uint64_t> size = ParseSize(value);
  if (size) settings.*kMember = *size;
  return size.has_value();
}

template <bool Settings::*kMember>
bool SetSwitch(std::string_view value, Settings& settings) {
  if (value != "yes" && value != "no") return false;
  settings.*kMember = value == "yes";
  return true;
}

template <unsigned int Settings::*kMember, unsigned int kLeast, unsigned int kMost>
bool SetCount(std::string_view value, Settings& settings) {
  return ParseCount(value, kLeast, kMost, settings.*kMember);
}

bool SetHosts(std::string_view value, Settings& settings) {
  std::vector<std::string> hosts = Split(value, ',');
  for (const std::string& host : hosts) {
    if (host.size() > 253 || !HasOnly(host, "-.") || host.front() == '-' || host.front() == '.') return false;
  }
  settings.hosts = std::move(hosts);
  return true;
}

bool SetVolumes(std::string_view value, Settings& settings) {
  std::vector<std::string> volumes = Split(value, ':');
  for (std::string& volume : volumes) {
    if (volume.front() != '/') return false;
    while (volume.size() > 1 && volume.back() == '/') volume.pop_back();
  }
  settings.volumes = std::move(volumes);
  return true;
}

struct Setting {
  std::string_view name;
  bool (*set)(std::string_view value, Settings& settings);  // false: out of range, nothing changed
};

constexpr Setting kSettings[] = {
    {"account", SetAccount},
    {"address", SetAddress},
    {"free_space_floor", SetSize<&Settings::free_space_floor>},
    {"hardware", SetSwitch<&Settings::hardware>},
    {"hosts", SetHosts},
    {"idle_seconds", SetCount<&Settings::idle_seconds, 1, 86'400>},
    {"jobs", SetCount<&Settings::jobs, 1, 64>},
    {"port", SetCount<&Settings::port, 0, 65'535>},
    {"run_ahead_seconds", SetCount<&Settings::run_ahead_seconds, 10, 86'400>},
    {"session_days", SetCount<&Settings::session_days, 1, 3'650>},
    {"stream_quota", SetSize<&Settings::stream_quota>},
    {"streams_quota", SetSize<&Settings::streams_quota>},
    {"transcoding", SetSwitch<&Settings::transcoding>},
    {"volumes", SetVolumes},
};

// Takes one line into the settings; what is wrong with it otherwise.
const char* ApplyLine(const SettingLine& line, Settings& settings) {
  if (line.fault != nullptr) return line.fault;
  const auto* setting = std::find_if(std::begin(kSettings), std::end(kSettings),
                                     [&line](const Setting& known) { return known.name == line.name; });
  if (setting == std::end(kSettings)) return "names no setting";
  return setting->set(line.value, settings) ? nullptr : "has a value out of its range";
}

// Takes the file into the settings; what is wrong with it.
std::vector<std::string> Apply(const std::string& path, Settings& settings) {
  const SettingFile file = ReadSettingFile(path);
  if (!file.fault.empty()) return {"cannot read the settings in " + path + ": " + file.fault};
  std::vector<std::string> faults;
  for (const SettingLine& line : SettingLines(file.text)) {
    const char* const complaint = ApplyLine(line, settings);
    if (complaint == nullptr) continue;
    faults.push_back("line " + std::to_string(line.number) + " of " + path + " " + complaint +
                     ": its default stands");
  }
  return faults;
}

}  // namespace

Settings LoadSettings(const std::string& path) {
  Settings settings;
  for (const std::string& fault : Apply(path, settings)) base::Log(LOG_ERR, kUnit, fault);
  return settings;
}

std::vector<std::string> FaultsOfSettings(const std::string& path) {
  Settings settings;
  return Apply(path, settings);
}

std::vector<std::string> SettingNames() {
  std::vector<std::string> names;
  for (const Setting& setting : kSettings) names.emplace_back(setting.name);
  return names;
}

}  // namespace kinora::system
