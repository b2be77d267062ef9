#include "tests/faults/cgi.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "platform/base/text.h"
#include "platform/system/places.h"

namespace kinora::test {
namespace {

namespace fs = std::filesystem;
constexpr char kStrace[] = "/usr/bin/strace";

// Removed with this object.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = fs::temp_directory_path() / "cgi-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a folder");
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  fs::path operator/(const std::string& name) const { return path_ / name; }

 private:
  fs::path path_;
};

std::vector<std::string> VariablesOf(const Call& call, const std::string& form) {
  const bool post = call.verb == "POST";
  std::vector<std::string> variables = {
      "PATH=/usr/bin:/bin", "GATEWAY_INTERFACE=CGI/1.1", "REQUEST_METHOD=" + call.verb,
      "QUERY_STRING=" + (post ? std::string() : form), "SCRIPT_NAME=/webapi/entry.cgi",
      "SERVER_PROTOCOL=HTTP/1.1", "REQUEST_SCHEME=http", "REMOTE_ADDR=127.0.0.1", "HTTP_HOST=127.0.0.1",
      // No leak check can be made in a process that is traced or killed.
      "ASAN_OPTIONS=detect_leaks=0"};
  if (post) {
    variables.emplace_back("CONTENT_TYPE=application/x-www-form-urlencoded");
    variables.push_back("CONTENT_LENGTH=" + std::to_string(form.size()));
  }
  if (!call.sid.empty()) variables.push_back("HTTP_COOKIE=kinora_session=" + call.sid);
  if (!call.token.empty()) variables.push_back("HTTP_X_CRVN_TOKEN=" + call.token);
  return variables;
}

std::string FormOf(const Call& call) {
  Parameters all = call.parameters;
  all["api"] = "CRVN.Kinora2." + call.api;
  all["method"] = call.method;
  all.try_emplace("version", "1");
  return Encode(all);
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

[[noreturn]] void Become(std::vector<std::string> arguments, std::vector<std::string> variables,
                         const ScratchFolder& folder, const CgiCircumstances& circumstances) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int input = open((folder / "in").c_str(), O_RDONLY);
  const int output = open((folder / "out").c_str(), O_WRONLY | O_CREAT, 0600);
  const int errors = open((folder / "err").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (dup2(input, 0) < 0 || dup2(output, 1) < 0 || dup2(errors, 2) < 0) _exit(127);
  close_range(3, ~0U, 0);
  for (const auto& [resource, value] : circumstances.limits) {
    const rlimit limit{value, value};
    if (setrlimit(resource, &limit) != 0) _exit(127);
  }
  execve(arguments[0].c_str(), Pointers(arguments).data(), Pointers(variables).data());
  _exit(127);
}

void ParseCgi(CgiRun& run) {
  const size_t end = run.output.find("\r\n\r\n");
  run.head_complete = end != std::string::npos;
  if (!run.head_complete) return;
  run.reply.status = 200;
  run.reply.body = run.output.substr(end + 4);
  std::istringstream head(run.output.substr(0, end));
  for (std::string line; std::getline(head, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const size_t colon = line.find(": ");
    const std::string value = colon == std::string::npos ? "" : line.substr(colon + 2);
    if (line.starts_with("Status: ")) run.reply.status = std::atoi(value.c_str());
    run.reply.headers.emplace_back(line.substr(0, colon), value);
  }
}

template <typename Entries, typename Wanted>
std::vector<std::string> PathsOf(const Entries& entries, Wanted wanted) {
  std::vector<std::string> found;
  for (const fs::directory_entry& entry : entries) {
    if (wanted(entry)) found.push_back(entry.path());
  }
  return found;
}

}  // namespace

bool CgiRun::Killed() const { return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL; }

bool CgiRun::Whole() const {
  if (!head_complete) return false;
  const auto length = reply.Header("Content-Length");
  return length ? reply.body.size() == std::stoull(*length) : reply.body.empty();
}

CgiRun RunCgi(const Call& call, const CgiCircumstances& circumstances) {
  const ScratchFolder folder;
  const std::string form = FormOf(call);
  std::ofstream(folder / "in") << (call.verb == "POST" ? form : "");
  std::vector<std::string> arguments = circumstances.wrapper;
  arguments.push_back(system::InTarget("bin/entry.cgi"));
  const pid_t pid = fork();
  if (pid == 0) Become(arguments, VariablesOf(call, form), folder, circumstances);
  if (pid < 0) throw std::runtime_error("cannot fork");
  CgiRun run;
  waitpid(pid, &run.status, 0);
  run.output = ReadWhole(folder / "out");
  run.errors = ReadWhole(folder / "err");
  ParseCgi(run);
  return run;
}

bool CanTrace() {
  static const bool can =
      fs::exists(kStrace) &&
      WEXITSTATUS(std::system("/usr/bin/strace -qq -o /dev/null /bin/true 2>/dev/null")) == 0;
  return can;
}

std::vector<std::string> KilledAt(const std::string& system_call, int n) {
  return {kStrace, "-qq",
          "-o",    "/dev/null",
          "-e",    "trace=" + system_call,
          "-e",    "inject=" + system_call + ":signal=KILL:when=" + std::to_string(n)};
}

std::vector<std::string> CallsMadeBy(const Call& call, const std::string& system_calls) {
  const ScratchFolder folder;
  const std::string log = folder / "calls";
  RunCgi(call, {{kStrace, "-qq", "-o", log, "-e", "trace=" + system_calls}, {}});
  std::vector<std::string> calls;
  std::istringstream lines(ReadWhole(log));
  for (std::string line; std::getline(lines, line);) calls.push_back(line);
  return calls;
}

std::string DigestOf(const fs::path& folder) {
  std::vector<fs::path> paths;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  crypto_generichash_state state;
  crypto_generichash_init(&state, nullptr, 0, 16);
  const auto add = [&state](const std::string& text) {
    crypto_generichash_update(&state, reinterpret_cast<const unsigned char*>(text.c_str()), text.size() + 1);
  };
  for (const fs::path& path : paths) {
    add(path);
    if (fs::is_symlink(path)) {
      add(fs::read_symlink(path));
    } else if (fs::is_regular_file(path)) {
      add(ReadWhole(path));
    }
  }
  std::string digest(16, '\0');
  crypto_generichash_final(&state, reinterpret_cast<unsigned char*>(digest.data()), digest.size());
  return base::ToHex(digest);
}

std::vector<std::string> ScratchFiles() {
  static const std::regex kAside("(\\.new-|\\.)[A-Za-z0-9]{6}(-wal|-shm|-journal)?$");
  return PathsOf(fs::recursive_directory_iterator(system::kVar), [](const fs::directory_entry& entry) {
    return std::regex_search(entry.path().filename().string(), kAside);
  });
}

std::vector<std::string> StreamLinks() {
  const fs::path folder = fs::path(system::kWorkspace) / "RAW";
  if (!fs::exists(folder)) return {};
  return PathsOf(fs::directory_iterator(folder),
                 [](const fs::directory_entry& entry) { return entry.is_symlink(); });
}

SmallVolume::SmallVolume(fs::path path, const std::string& size) : path_(std::move(path)) {
  const char* const places = getenv("KINORA_PLACES");
  if (places == nullptr || std::string(places) == "real") return;
  fs::create_directories(path_);
  mounted_ = mount("kinora-test", path_.c_str(), "tmpfs", MS_NOSUID | MS_NODEV,
                   ("mode=0755,size=" + size).c_str()) == 0;
}

SmallVolume::~SmallVolume() {
  if (mounted_) umount2(path_.c_str(), MNT_DETACH);
}

void SmallVolume::Fill() const {
  const int file = open((path_ / "filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const std::string block(4096, 'x');
  while (write(file, block.data(), block.size()) > 0) {
  }
  close(file);
}

void SmallVolume::Relieve() const { fs::remove(path_ / "filler"); }

}  // namespace kinora::test
