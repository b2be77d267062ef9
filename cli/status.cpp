#include <json/json.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

#include "cli/bytes.h"
#include "cli/commands.h"
#include "cli/serve_config.h"
#include "cli/serve_places.h"
#include "cli/serve_probe.h"
#include "platform/base/file_time.h"
#include "platform/base/text.h"
#include "platform/engine/stream_listing.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"
#include "platform/system/settings.h"

namespace kinora::cli {
namespace {

// Whoever knows an id may ask for the stream: what is shown only tells one from another.
constexpr size_t kShownOfId = 6;

struct Status {
  bool running = false;
  std::optional<Front> front;
  bool answers = false;
  unsigned int most_encoders = 0;
  std::vector<engine::ListedStream> streams;
};

// The workspace is closed to all others.
void CheckAccount() {
  struct stat status {};
  if (lstat(system::kWorkspace, &status) == 0 && status.st_uid != geteuid()) {
    throw std::runtime_error(std::string("the streams in ") + system::kWorkspace +
                             " belong to another account; ask as root or as the service's account");
  }
}

Status Look() {
  const system::Settings settings = system::LoadSettings(system::kSettingsFile);
  system::EnterServiceIdentity(settings);
  CheckAccount();
  Status status;
  status.running = IsServing();
  status.front = RunningFront();
  status.answers = status.front && Answers(status.front->address, status.front->port);
  status.most_encoders = settings.jobs;
  status.streams = engine::ListStreams();
  return status;
}

int64_t IdleSeconds(const engine::ListedStream& stream) {
  return std::max<int64_t>(0, base::NowInNanoseconds() - stream.last_use) / 1'000'000'000;
}

int64_t EncodersAtWork(const Status& status) {
  return std::ranges::count(status.streams, true, &engine::ListedStream::encoding);
}

std::string ShownId(const engine::ListedStream& stream) { return stream.id.substr(0, kShownOfId); }

// "12 s", "3 min", "5 h", "2 d"
std::string ToAgeText(int64_t seconds) {
  if (seconds < 120) return std::to_string(seconds) + " s";
  if (seconds < 7200) return std::to_string(seconds / 60) + " min";
  if (seconds < 172'800) return std::to_string(seconds / 3600) + " h";
  return std::to_string(seconds / 86'400) + " d";
}

std::string AddressOf(const Front& front) {
  return "http://" + InBrackets(AddressToVisit(front.address)) + ":" + std::to_string(front.port) + "/";
}

std::string ServiceText(const Status& status) {
  if (!status.running) return "not running";
  if (!status.front) return "running";
  return (status.answers ? "answers at " : "running, but does not answer at ") + AddressOf(*status.front);
}

void Row(const std::string& type, const std::string& id, const std::string& idle, const std::string& size,
         const std::string& encoder, const std::string& film) {
  std::cout << std::left << std::setw(6) << type << std::setw(8) << id << std::setw(9) << idle
            << std::setw(12) << size << std::setw(10) << encoder << film << '\n';
}

void PrintText(const Status& status) {
  std::cout << "service   " << ServiceText(status) << '\n'
            << "encoders  " << EncodersAtWork(status) << " of " << status.most_encoders << '\n'
            << "streams   " << status.streams.size() << '\n';
  if (status.streams.empty()) return;
  std::cout << '\n';
  Row("type", "stream", "idle", "size", "encoder", "film");
  for (const engine::ListedStream& stream : status.streams) {
    Row(stream.type, ShownId(stream), ToAgeText(IdleSeconds(stream)), ToBytesText(stream.bytes),
        stream.encoding ? "yes" : "no", stream.film.empty() ? "unknown" : base::ToOneLine(stream.film));
  }
}

void PrintJson(const Status& status) {
  Json::Value json(Json::objectValue);
  json["running"] = status.running;
  json["answers"] = status.answers;
  if (status.front) json["url"] = AddressOf(*status.front);
  json["encoders"]["at_work"] = Json::Int64{EncodersAtWork(status)};
  json["encoders"]["most"] = status.most_encoders;
  json["streams"] = Json::Value(Json::arrayValue);
  for (const engine::ListedStream& stream : status.streams) {
    Json::Value one(Json::objectValue);
    one["type"] = stream.type;
    one["id"] = ShownId(stream);
    one["film"] = base::ToUtf8(stream.film);
    one["idle_seconds"] = Json::Int64{IdleSeconds(stream)};
    one["bytes"] = Json::UInt64{stream.bytes};
    one["encoding"] = stream.encoding;
    json["streams"].append(std::move(one));
  }
  std::cout << Json::writeString(Json::StreamWriterBuilder(), json) << '\n';
}

}  // namespace

void AddStatus(CLI::App& program) {
  CLI::App* status = program.add_subcommand("status", "Say whether Kinora runs and which streams there are");
  const auto as_json = std::make_shared<bool>(false);
  status->add_flag("--json", *as_json, "As JSON: one object");
  status->footer("Of a stream's id the beginning is shown. For root and the service's account.");
  status->callback([as_json] {
    const Status found = Look();
    if (*as_json) {
      PrintJson(found);
    } else {
      PrintText(found);
    }
  });
}

}  // namespace kinora::cli
