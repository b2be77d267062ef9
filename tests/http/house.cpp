#include "tests/http/house.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "platform/media/accounts.h"
#include "platform/media/shares.h"
#include "platform/media/store.h"
#include "platform/system/places.h"

namespace kinora::test {
namespace {

namespace fs = std::filesystem;
constexpr char kReady[] = "Kinora is ready: http://127.0.0.1:";

void Require(bool condition, const std::string& what) {
  if (!condition) throw std::runtime_error(what);
}

void Redirect(const fs::path& path, int number) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (file < 0 || dup2(file, number) < 0) _exit(127);
}

// Only in a view of its own: elsewhere the places may hold what somebody needs.
void EmptyThePlaces() {
  Require(getenv("KINORA_PLACES") != nullptr, "start this through tests/with-places");
  for (const std::string place : {system::kVar, system::kWorkspace}) {
    if (!fs::exists(place)) continue;
    for (const auto& entry : fs::directory_iterator(place)) fs::remove_all(entry.path());
    Require(chown(place.c_str(), geteuid(), getegid()) == 0, "cannot take " + place);
  }
}

}  // namespace

bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

std::string ReadWhole(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Process::Process(const std::vector<std::string>& arguments, const fs::path& output, const fs::path& errors) {
  pid_ = fork();
  Require(pid_ >= 0, "cannot fork");
  if (pid_ > 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  Redirect(output, STDOUT_FILENO);
  Redirect(errors, STDERR_FILENO);
  std::vector<char*> list;
  for (const std::string& argument : arguments) list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  execv(list[0], list.data());
  _exit(127);
}

Process::~Process() {
  if (!Running()) return;
  Signal(SIGTERM);
  Wait();
}

bool Process::Running() {
  if (!ended_ && waitpid(pid_, &status_, WNOHANG) == pid_) ended_ = true;
  return !ended_;
}

int Process::Wait() {
  if (!ended_) waitpid(pid_, &status_, 0);
  ended_ = true;
  return status_;
}

void Process::Signal(int number) const { kill(pid_, number); }

std::vector<pid_t> Descendants(pid_t pid) {
  std::vector<pid_t> all;
  std::ifstream file("/proc/" + std::to_string(pid) + "/task/" + std::to_string(pid) + "/children");
  for (pid_t child = 0; file >> child;) {
    all.push_back(child);
    const std::vector<pid_t> theirs = Descendants(child);
    all.insert(all.end(), theirs.begin(), theirs.end());
  }
  return all;
}

// Empty when the process has ended meanwhile.
static std::string CommandLine(pid_t pid) try {
  return ReadWhole("/proc/" + std::to_string(pid) + "/cmdline");
} catch (const std::ios_base::failure&) {
  return "";
}

std::vector<pid_t> DescendantsLike(pid_t pid, const std::string& text) {
  std::vector<pid_t> found;
  for (const pid_t candidate : Descendants(pid)) {
    const std::string line = CommandLine(candidate);
    if (line.find(text) != std::string::npos) found.push_back(candidate);
  }
  return found;
}

std::string Encode(const Parameters& parameters) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const auto& [name, value] : parameters) {
    text += (text.empty() ? "" : "&") + name + "=";
    for (const char c : value) {
      const auto byte = static_cast<unsigned char>(c);
      if (isalnum(byte) != 0 || c == '_' || c == '-' || c == '.') {
        text += c;
      } else {
        text += std::string("%") + kDigits[byte >> 4] + kDigits[byte & 15];
      }
    }
  }
  return text;
}

std::string Wire(const Call& call, const std::string& host) {
  Parameters all = call.parameters;
  if (!call.api.empty()) all["api"] = "CRVN.Kinora2." + call.api;
  if (!call.method.empty()) all["method"] = call.method;
  all.try_emplace("version", "1");
  const std::string form = Encode(all);
  const bool post = call.verb == "POST";
  std::string wire = call.verb + " /webapi/entry.cgi" + (post ? "" : "?" + form) +
                     " HTTP/1.1\r\nHost: " + host + "\r\nConnection: close\r\n";
  if (!call.sid.empty()) wire += "Cookie: kinora_session=" + call.sid + "\r\n";
  if (!call.token.empty()) wire += "X-Crvn-Token: " + call.token + "\r\n";
  for (const std::string& header : call.headers) wire += header + "\r\n";
  if (!post) return wire + "\r\n";
  return wire +
         "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " + std::to_string(form.size()) +
         "\r\n\r\n" + form;
}

Json::Value ParseJson(const std::string& text) {
  Json::Value value;
  std::istringstream stream(text);
  std::string errors;
  return Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &errors) ? value : Json::Value();
}

int CodeOf(const Reply& reply) {
  const Json::Value document = ParseJson(reply.body);
  if (!document.isObject()) return -1;
  if (document.isMember("result")) return 0;
  return document["error"]["code"].isInt() ? document["error"]["code"].asInt() : -1;
}

House::House(const std::vector<std::string>& films, const std::string& settings) {
  std::string name = fs::temp_directory_path() / "house-XXXXXX";
  Require(mkdtemp(name.data()) != nullptr, "cannot make a folder");
  folder_ = name;
  fs::permissions(folder_, fs::perms(0755));  // for a service that works as somebody else
  EmptyThePlaces();
  std::ofstream(system::kSettingsFile) << settings;
  Populate(films);
  StartServing();
}

House::~House() {
  serve_.reset();
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void House::Populate(const std::vector<std::string>& films) const {
  fs::create_directories(Share());
  for (const std::string& film : films) {
    fs::copy_file(fs::path(KINORA_MEDIA_DIR) / film, Share() / film);
    // What has just been written is left for the next scan.
    fs::last_write_time(Share() / film, fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  {
    media::Store store(system::kDatabaseFile);
    media::Accounts accounts(store);
    accounts.Create("ann", PasswordOf("ann"), true);
    accounts.Create("bob", PasswordOf("bob"), false);
    media::Shares(store).Add("films", Share());
  }
  Process scan({system::InTarget("bin/kinora"), "scan"}, folder_ / "scan.out", folder_ / "scan.log");
  Require(scan.Wait() == 0, "the scan failed: " + ReadWhole(folder_ / "scan.log"));
}

void House::Restart() {
  serve_.reset();
  StartServing();
}

void House::StartServing() {
  fs::remove(folder_ / "serve.out");
  serve_ = std::make_unique<Process>(
      std::vector<std::string>{system::InTarget("bin/kinora"), "serve", "--port", "0"}, folder_ / "serve.out",
      folder_ / "serve.log");
  std::string said;
  const bool ready = Eventually([&] {
    said = ReadWhole(folder_ / "serve.out");
    return said.ends_with("\n") || !serve_->Running();
  });
  Require(ready && said.starts_with(kReady), "not ready: " + said + Log());
  port_ = std::stoi(said.substr(sizeof kReady - 1));
}

Reply House::Raw(const std::string& bytes) const {
  Connection connection(port_);
  connection.Send(bytes);
  return connection.ReadReply();
}

Reply House::Send(const Call& call) const { return Raw(Wire(call, "127.0.0.1:" + std::to_string(port_))); }

SignedIn House::SignIn(const std::string& name) const {
  const Reply reply = Send({"Session", "sign_in", {{"user", name}, {"password", PasswordOf(name)}}, "POST"});
  Require(reply.status == 200, "cannot sign in: " + reply.body + Log());
  const Json::Value result = ParseJson(reply.body)["result"];
  return {result["sid"].asString(), result["token"].asString(), result["account"]["id"].asInt()};
}

int House::FilmId(const SignedIn& who, const std::string& file) const {
  const Reply reply = Send({"Catalog", "list", {{"limit", "1000"}}, "GET", who.sid});
  const Json::Value document = ParseJson(reply.body);
  for (const Json::Value& video : document["result"]["videos"]) {
    if (video["file"].asString() == file) return video["id"].asInt();
  }
  throw std::runtime_error("no film " + file + " in " + reply.body + Log());
}

Reply House::Open(const SignedIn& who, int film) const {
  return Send(
      {"Stream", "open", {{"id", std::to_string(film)}, {"format", "raw"}}, "POST", who.sid, who.token});
}

std::string House::OpenStream(const SignedIn& who, int film) const {
  const Reply reply = Open(who, film);
  Require(reply.status == 200, "cannot open: " + reply.body + Log());
  return ParseJson(reply.body)["result"]["stream_id"].asString();
}

Reply House::Stream(const SignedIn& who, const std::string& stream, const std::vector<std::string>& headers,
                    const std::string& verb) const {
  return Send({"Stream", "stream", {{"id", stream}, {"format", "raw"}}, verb, who.sid, "", headers});
}

Reply House::Close(const SignedIn& who, const std::string& stream) const {
  return Send({"Stream", "close", {{"id", stream}, {"format", "raw"}}, "POST", who.sid, who.token});
}

}  // namespace kinora::test
