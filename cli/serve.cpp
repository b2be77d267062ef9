// kinora serve: the web server, the listener, the zygote and the scan, started, watched and ended together.
#include <sys/prctl.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>

#include "cli/commands.h"
#include "cli/serve_config.h"
#include "cli/serve_places.h"
#include "cli/serve_probe.h"
#include "cli/serve_sockets.h"
#include "cli/serve_supervisor.h"
#include "cli/service_account.h"
#include "platform/base/atomic_file.h"
#include "platform/base/file_time.h"
#include "platform/engine/housekeeping.h"
#include "platform/system/places.h"
#include "platform/system/scratch_sweep.h"
#include "platform/system/unix_listener.h"

namespace kinora::cli {
namespace {

using std::chrono::milliseconds;

constexpr char kWebServerName[] = "the web server";
constexpr char kListenerName[] = "the web API";
constexpr char kZygoteName[] = "the maker of copied fragments";
constexpr char kScanName[] = "the scan";
constexpr unsigned int kMostFailuresAtStart = 5;
constexpr std::chrono::seconds kTimeToBecomeReady{30};
constexpr std::chrono::hours kBetweenSweeps{1};

struct ServeOptions {
  int port = -1;        // -1: as set
  std::string welcome;  // an account; empty: none
};

std::string InRunFolder(const std::string& name) { return std::string(system::kRunFolder) + "/" + name; }

std::string ReadWhole(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) throw std::runtime_error("cannot read " + path);
  return text.str();
}

void WriteFrontConfiguration(const system::Settings& settings, unsigned int port) {
  const std::string text = FillTemplate(ReadWhole(system::InTarget("share/lighttpd.conf")),
                                        {{"ADDRESS", InBrackets(settings.address)},
                                         {"PORT", std::to_string(port)},
                                         {"PAGE", system::InTarget("share/web")},
                                         {"RUN", system::kRunFolder},
                                         {"SOCKET", InRunFolder("entry.sock")}});
  base::RemoveScratchOf(InRunFolder("lighttpd.conf"));
  base::WriteFileAtomically(InRunFolder("lighttpd.conf"), text, 0600);
}

std::vector<Service> MakeServices(int front_socket, int listener_socket) {
  Service front{kWebServerName, {kWebServer, "-D", "-f", InRunFolder("lighttpd.conf")}};
  front.socket = front_socket;
  front.socket_by_environment = true;
  Service listener{kListenerName, {system::InTarget("bin/entry.cgi"), "--socket", "3"}};
  listener.socket = listener_socket;
  listener.rights = ServiceRights::kStarter;
  Service zygote{kZygoteName, {system::InTarget("libexec/kinora-remux"), "--zygote"}};
  zygote.listens_on = system::kRemuxSocket;
  zygote.rights = ServiceRights::kNone;
  const Service scan{kScanName, {system::InTarget("bin/kinora"), "scan", "--watch"}};
  return {front, listener, zygote, scan};
}

// This process ends when the one that started it does: nothing of Kinora may outlive a closed terminal.
void EndWithParent(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) throw std::runtime_error("the program that started this one is gone");
}

// Viewers need a connection each, and a connection a descriptor.
void AllowManyDescriptors() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 8192);
  setrlimit(RLIMIT_NOFILE, &limit);
}

// What is done at every turn of the supervisor until the service has answered, and said so.
class Announcer {
 public:
  Announcer(const Supervisor& supervisor, const system::Settings& settings, unsigned int port,
            std::string path)
      : supervisor_(supervisor), settings_(settings), port_(port), path_(std::move(path)) {}

  milliseconds operator()() {
    if (ready_) return std::chrono::hours(1);
    if (Answers(settings_.address, port_)) {
      ready_ = true;
      std::cout << "Kinora is ready: http://" << InBrackets(AddressToVisit(settings_.address)) << ":" << port_
                << path_ << std::endl;
      return std::chrono::hours(1);
    }
    for (const char* name : {kWebServerName, kListenerName}) {
      if (supervisor_.FailuresOf(name) >= kMostFailuresAtStart) {
        throw std::runtime_error(std::string(name) +
                                 " does not start; what it said stands above or in the system log");
      }
    }
    if (Clock::now() - start_ > kTimeToBecomeReady) throw std::runtime_error("the service does not answer");
    return milliseconds(20);
  }

 private:
  const Supervisor& supervisor_;
  const system::Settings& settings_;
  const unsigned int port_;
  const std::string path_;  // of the address to visit
  const Clock::time_point start_ = Clock::now();
  bool ready_ = false;
};

// Streams outlive a restart; what of them nobody will close goes by and by, and what killed requests have
// left.
class Housekeeper {
 public:
  void operator()() {
    if (last_ && Clock::now() - *last_ < kBetweenSweeps) return;
    last_ = Clock::now();
    housekeeping_.Sweep();
    system::SweepSubtitleScratch("/tmp", base::NowInNanoseconds());
  }

 private:
  engine::Housekeeping housekeeping_;
  std::optional<Clock::time_point> last_;
};

void Serve(const ServeOptions& options) {
  const pid_t parent = getppid();
  const system::Settings settings = system::LoadSettings(system::kSettingsFile);
  CheckPrograms();
  AllowManyDescriptors();
  // The port first: one below 1024 can be had by root only, and the rest is the service's own work.
  const FrontSocket front = ListenForBrowsers(
      settings.address, options.port < 0 ? settings.port : static_cast<unsigned int>(options.port));
  WorkAsServiceAccount(settings);
  EndWithParent(parent);
  MakeRunFolder();
  const base::Descriptor lock = LockState();
  WarnOfUnreadableShares();
  const std::string path =
      options.welcome.empty() ? "/" : "/?welcome=" + MakeWelcome(options.welcome, settings);
  WriteFrontConfiguration(settings, front.port);
  NoteFront({settings.address, front.port});
  const base::Descriptor listener = system::ListenOnUnixSocket(InRunFolder("entry.sock"));

  Supervisor supervisor(MakeServices(front.socket.Get(), listener.Get()));
  Announcer announcer(supervisor, settings, front.port, path);
  Housekeeper housekeeper;
  supervisor.Run([&] {
    housekeeper();
    return announcer();
  });
}

}  // namespace

void AddServe(CLI::App& program) {
  auto* const command = program.add_subcommand("serve", "Serve the page and the videos until this is ended");
  const auto options = std::make_shared<ServeOptions>();
  command
      ->add_option("--port", options->port,
                   "the port to listen on instead of the one set; 0: the next free from 8080")
      ->check(CLI::Range(0, 65535));
  command
      ->add_option("--welcome", options->welcome, "print an address that signs a browser in as ACCOUNT, once")
      ->type_name("ACCOUNT");
  command->callback([options] { Serve(*options); });
}

}  // namespace kinora::cli
