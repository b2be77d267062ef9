#include "cli/password.h"

#include <sodium.h>
#include <termios.h>
#include <unistd.h>

#include <iostream>
#include <stdexcept>
#include <string_view>

namespace kinora::cli {
namespace {

class HiddenInput {
 public:
  explicit HiddenInput(int descriptor) : descriptor_(descriptor) {
    ::tcgetattr(descriptor_, &before_);
    termios hidden = before_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(descriptor_, TCSAFLUSH, &hidden);
  }
  ~HiddenInput() { ::tcsetattr(descriptor_, TCSAFLUSH, &before_); }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;

 private:
  int descriptor_;
  termios before_{};
};

std::string ReadLine(std::istream& in) {
  std::string line;
  if (!std::getline(in, line)) throw std::invalid_argument("no password was given");
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

}  // namespace

std::string ReadPassword(std::istream& in, int descriptor) {
  if (::isatty(descriptor) == 0) return ReadLine(in);
  const HiddenInput hidden(descriptor);
  std::cerr << "Password: " << std::flush;
  std::string first = ReadLine(in);
  std::cerr << "\nAgain: " << std::flush;
  const std::string second = ReadLine(in);
  std::cerr << '\n';
  if (first != second) throw std::invalid_argument("the two passwords differ");
  return first;
}

std::string MakePassword() {
  static constexpr std::string_view kCharacters = "abcdefghijkmnpqrstuvwxyz23456789";  // 32 of them
  if (::sodium_init() < 0) throw std::runtime_error("libsodium cannot start");
  std::string password;
  for (int i = 0; i < 20; ++i) password += kCharacters[::randombytes_uniform(kCharacters.size())];
  return password;
}

}  // namespace kinora::cli
