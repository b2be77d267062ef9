#include "tests/http/viewer.h"

#include <sqlite3.h>

#include <fstream>
#include <stdexcept>

#include "platform/system/places.h"

namespace kinora::test {
namespace {

namespace fs = std::filesystem;

// The part of an address behind the host.
std::string TargetOf(const std::string& address) {
  const size_t host = address.find("://");
  if (host == std::string::npos) return address;
  return address.substr(address.find('/', host + 3));
}

}  // namespace

fs::path ViewedStream::Folder() const {
  const std::string type = format == "ss"           ? "SS"
                           : format == "webm_remux" ? "WEBM"
                           : format == "raw"        ? "RAW"
                                                    : "HLS";
  return fs::path(system::kWorkspace) / type / id;
}

Reply Viewer::TryToOpen(const std::string& film, const Parameters& parameters) const {
  Parameters all = parameters;
  all["id"] = std::to_string(house_.FilmId(who_, film));
  return house_.Send({"Stream", "open", all, "POST", who_.sid, who_.token});
}

ViewedStream Viewer::Open(const std::string& film, const std::string& format) const {
  const Reply reply = TryToOpen(film, {{"format", format}});
  if (reply.status != 200) throw std::runtime_error("cannot open: " + reply.body + house_.Log());
  const Json::Value result = ParseJson(reply.body)["result"];
  return {result["stream_id"].asString(), result["format"].asString()};
}

Reply Viewer::Close(const ViewedStream& stream) const {
  return house_.Send(
      {"Stream", "close", {{"id", stream.id}, {"format", stream.format}}, "POST", who_.sid, who_.token});
}

std::string Viewer::Address(const ViewedStream& stream, const Parameters& parameters) const {
  Parameters all = {{"api", "CRVN.Kinora2.Stream"}, {"method", "stream"}, {"version", "1"},
                    {"format", stream.format},      {"_sid", who_.sid},   {"id", stream.id}};
  for (const auto& [name, value] : parameters) all[name] = value;
  std::erase_if(all, [](const auto& parameter) { return parameter.second.empty(); });
  return "/webapi/entry.cgi?" + Encode(all);
}

Reply Viewer::Get(const std::string& address, const std::vector<std::string>& headers,
                  const std::string& verb) const {
  return Fetch(house_.Port(), verb, TargetOf(address), headers);
}

void ExpireAllSessions() {
  sqlite3* database = nullptr;
  const bool done =
      sqlite3_open(system::kDatabaseFile, &database) == SQLITE_OK &&
      sqlite3_busy_timeout(database, 30'000) == SQLITE_OK &&
      sqlite3_exec(database, "UPDATE sessions SET last_used = 1", nullptr, nullptr, nullptr) == SQLITE_OK &&
      sqlite3_changes(database) > 0;
  const std::string error = done ? "" : sqlite3_errmsg(database);
  sqlite3_close(database);
  if (!done) throw std::runtime_error("no session expired: " + error);
}

std::vector<pid_t> ProcessesIn(const fs::path& folder) {
  const auto holds = [&](const fs::path& process) {
    std::error_code error;  // it may end while it is looked at
    for (fs::directory_iterator number(process / "fd", error), end; !error && number != end;
         number.increment(error)) {
      std::error_code closed;
      if (fs::read_symlink(number->path(), closed).string().starts_with(folder.string())) return true;
    }
    return false;
  };
  std::vector<pid_t> found;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") == std::string::npos && holds(entry.path()))
      found.push_back(std::stoi(name));
  }
  return found;
}

std::vector<pid_t> EncodersIn(const fs::path& folder) {
  std::vector<pid_t> found = ProcessesIn(folder);
  std::erase_if(found, [](pid_t pid) {
    std::string program;
    std::ifstream("/proc/" + std::to_string(pid) + "/comm") >> program;
    return program != "ffmpeg";
  });
  return found;
}

size_t CountStreams(const std::string& type) {
  const fs::path folder = fs::path(system::kWorkspace) / type;
  size_t count = 0;
  if (!fs::exists(folder)) return 0;
  for (const auto& entry : fs::directory_iterator(folder)) count += entry.is_symlink() ? 1 : 0;
  return count;
}

}  // namespace kinora::test
