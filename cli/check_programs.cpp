#include "cli/check_programs.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "cli/serve_places.h"
#include "contract/system/simple_converter.h"
#include "platform/system/child.h"
#include "platform/system/places.h"
#include "platform/system/vaapi.h"

namespace kinora::cli {
namespace {

constexpr char kInstallFFmpeg[] = "; install the package ffmpeg";
constexpr char kInterpreter[] = "/usr/bin/php";
constexpr char kChinese[] = "etc/opencc/data/config/s2tw_text.json";
constexpr std::array kPrograms = {"bin/kinora",           "bin/entry.cgi",       "libexec/kinora-hanzi",
                                  "libexec/kinora-index", "libexec/kinora-job",  "libexec/kinora-picture",
                                  "libexec/kinora-probe", "libexec/kinora-remux"};
constexpr std::array kData = {"share/lighttpd.conf", "share/web/index.html", "etc/format_rules.json",
                              "etc/TransProfile",    "etc/TransProfile_GST", "scripts/phpiconv"};

// What a child printed; nothing when it could not be run to its end.
std::optional<std::string> OutputOf(const std::string& program, const std::vector<std::string>& options) {
  system::Command command;
  command.arguments = {program};
  command.arguments.insert(command.arguments.end(), options.begin(), options.end());
  command.limits.deadline = std::chrono::seconds(30);
  system::ChildResult result = system::RunChild(command);
  if (!result.Succeeded()) return std::nullopt;
  return std::move(result.output);
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

Finding CheckRuns(const std::string& name) {
  const std::string program = system::InTarget("bin/" + name);
  if (access(program.c_str(), X_OK) != 0) {
    return {Grade::kFail, name, program + " cannot be run: " + std::strerror(errno) + kInstallFFmpeg};
  }
  const auto version = OutputOf(program, {"-hide_banner", "-version"});
  if (!version) {
    return {Grade::kFail, name, program + " does not start under the service's account" + kInstallFFmpeg};
  }
  return {Grade::kOk, name, FirstLine(*version)};
}

struct Ability {
  const char* name;
  Grade without;
  const char* loss;  // what cannot be done without it
};

constexpr Ability kEncoders[] = {
    {"libx264", Grade::kFail, "no film is converted"},
    {"aac", Grade::kFail, "no sound is converted"},
    {"libmp3lame", Grade::kWarn, "there is no sound as MP3"},
    {"libvpx", Grade::kWarn, "there is no conversion into WebM"},
    {"libopus", Grade::kWarn, "there is no conversion into WebM"},
};
constexpr Ability kFilters[] = {
    {"scale", Grade::kFail, "no film is converted"},
    {"bwdif", Grade::kWarn, "interlaced films cannot be converted"},
    {"zscale", Grade::kWarn, "HDR films cannot be converted"},
    {"tonemap", Grade::kWarn, "HDR films cannot be converted"},
};

template <size_t kCount>
Findings CheckAbilities(const std::string& kind, const Ability (&wanted)[kCount]) {
  const auto listing = OutputOf(system::InTarget("bin/ffmpeg"), {"-v", "error", "-" + kind});
  if (!listing) return {{Grade::kFail, kind, std::string("ffmpeg does not list them") + kInstallFFmpeg}};
  const std::set<std::string> names = NamesInListing(*listing);
  Findings findings;
  std::string present;
  for (const auto& [name, without, loss] : wanted) {
    if (names.contains(name)) {
      present += (present.empty() ? "" : ", ") + std::string(name);
    } else {
      findings.push_back(
          {without, kind, std::string("ffmpeg has no ") + name + ": " + loss + "; install Debian's ffmpeg"});
    }
  }
  if (findings.empty()) findings.push_back({Grade::kOk, kind, present});
  return findings;
}

void Append(Findings& all, Findings more) {
  for (Finding& finding : more) all.push_back(std::move(finding));
}

}  // namespace

std::set<std::string> NamesInListing(std::string_view listing) {
  std::set<std::string> names;
  std::istringstream lines{std::string(listing)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string flags, name;
    if (words >> flags >> name && name != "=") names.insert(name);
  }
  return names;
}

Findings CheckParts() {
  Findings findings;
  const auto miss = [&findings](const std::string& path, const std::string& remedy) {
    findings.push_back({Grade::kFail, "programs", path + ": " + std::strerror(errno) + "; " + remedy});
  };
  if (access(kWebServer, X_OK) != 0) miss(kWebServer, "install the package lighttpd");
  for (const char* name : kPrograms) {
    if (access(system::InTarget(name).c_str(), X_OK) != 0)
      miss(system::InTarget(name), "install Kinora again");
  }
  for (const char* name : kData) {
    if (access(system::InTarget(name).c_str(), R_OK) != 0)
      miss(system::InTarget(name), "install Kinora again");
  }
  if (findings.empty()) findings.push_back({Grade::kOk, "programs", "all parts are there"});
  return findings;
}

Findings CheckFFmpeg() {
  Findings findings = {CheckRuns("ffmpeg"), CheckRuns("ffprobe")};
  if (findings.front().grade != Grade::kOk) return findings;
  Append(findings, CheckAbilities("encoders", kEncoders));
  Append(findings, CheckAbilities("filters", kFilters));
  return findings;
}

Findings CheckSubtitles() {
  Findings findings;
  if (const auto version = OutputOf(kInterpreter, {"-n", "--version"})) {
    findings.push_back({Grade::kOk, "php", FirstLine(*version)});
  } else {
    findings.push_back({Grade::kFail, "php",
                        std::string(kInterpreter) +
                            " does not start under the service's account: no subtitles "
                            "are converted into UTF-8; install the package php-cli"});
  }
  try {
    const bool converts = Opencc::SimpleConverter(system::InTarget(kChinese)).Convert("\u6c49") == "\u6f22";
    if (!converts) throw std::runtime_error("the conversion is wrong");
    findings.push_back({Grade::kOk, "chinese", "subtitles can be had in the traditional script"});
  } catch (const std::runtime_error& error) {
    findings.push_back({Grade::kWarn, "chinese",
                        std::string("subtitles cannot be had in the traditional script: ") + error.what() +
                            "; install the package libopencc1.1, or Kinora again"});
  }
  return findings;
}

Findings CheckHardware(const system::Settings& settings) {
  const auto device = system::FindVaapiDevice(system::InstalledVaapi());
  if (settings.hardware && device) return {{Grade::kOk, "hardware", *device + " encodes through VAAPI"}};
  if (settings.hardware) {
    return {
        {Grade::kWarn, "hardware",
         "no render node encodes H.264 through VAAPI, software does; install the driver of the graphics card "
         "and let the service's account use /dev/dri (group render), or set hardware=\"no\""}};
  }
  if (device)
    return {{Grade::kOk, "hardware", "not used; " + *device + " would serve: set hardware=\"yes\""}};
  return {{Grade::kOk, "hardware", "not used"}};
}

}  // namespace kinora::cli
