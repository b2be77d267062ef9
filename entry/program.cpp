#include "entry/program.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/socket.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ctime>
#include <iostream>

#include "entry/answer_request.h"
#include "entry/listener.h"
#include "entry/log.h"
#include "entry/method.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"
#include "platform/system/unix_listener.h"

namespace kinora::entry {
namespace {

// A paused viewer holds one process, which needs about a megabyte.
constexpr unsigned int kMostRequestProcesses = 256;

// A socket that the parent has opened, so that connections wait while the listener is started again.
base::Descriptor TakeOver(int number) {
  if (fcntl(number, F_SETFD, FD_CLOEXEC) != 0 || fcntl(number, F_SETFL, O_NONBLOCK) != 0) {
    throw std::system_error(errno, std::generic_category(), "take over socket " + std::to_string(number));
  }
  return base::Descriptor(number);
}

// What every request needs and none changes is made once, before the first fork.
int Listen(base::Descriptor socket) {
  OpenLog();
  const system::Settings settings = system::LoadSettings(system::kSettingsFile);
  system::EnterServiceIdentity(settings);
  AllMethods();
  tzset();
  return RunListener(std::move(socket), kMostRequestProcesses,
                     [&](int connection) { return AnswerScgi(connection, settings); });
}

int RunOptions(int argc, char** argv) {
  std::string path;
  int socket = -1;
  bool describe = false;
  CLI::App app{"The web API of Kinora: a CGI program that can also listen for SCGI requests."};
  auto* const listen = app.add_option("--listen", path, "listen for SCGI requests on this Unix socket");
  auto* const inherit = app.add_option("--socket", socket, "the same on an open socket with this number");
  listen->excludes(inherit);
  app.add_flag("--describe", describe, "print the table of the methods as JSON")->group("");
  CLI11_PARSE(app, argc, argv);

  if (describe) {
    std::cout << ToJsonText(DescribeMethods()) << "\n";
    return EXIT_SUCCESS;
  }
  if (path.empty() && socket < 0) {
    std::cerr << "entry.cgi: a web server starts this program; by hand, use --listen (see --help)\n";
    return EXIT_FAILURE;
  }
  try {
    if (getauxval(AT_SECURE) != 0) throw std::runtime_error("set-uid, it takes no options");
    return Listen(path.empty() ? TakeOver(socket) : system::ListenOnUnixSocket(path));
  } catch (const std::exception& error) {
    std::cerr << "entry.cgi: " << error.what() << "\n";
    return EXIT_FAILURE;
  }
}

}  // namespace

int RunEntry(int argc, char** argv) {
  // A web server may pass parts of an address as arguments; a CGI request never means options.
  if (std::getenv("GATEWAY_INTERFACE") != nullptr || std::getenv("REQUEST_METHOD") != nullptr)
    return AnswerCgi();
  return RunOptions(argc, argv);
}

}  // namespace kinora::entry
