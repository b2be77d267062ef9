// A CGI program that sends the file whose path stands, in hexadecimal digits, in the query, the way the raw
// streamer does; with "whole:" in front, the way the adaptive ones do.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "contract/system/file_output.h"

int main() {
  std::signal(SIGPIPE, SIG_IGN);
  const char* const query = std::getenv("QUERY_STRING");
  std::string digits = query == nullptr ? "" : query;
  const bool whole = digits.starts_with("whole:");
  if (whole) digits.erase(0, 6);
  std::string path;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    path += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  const std::string type = HTTPFileOutputer::GetMimeType(path.c_str());
  bool done = false;
  if (whole) {
    done = HTTPFileOutputer::Output(path.c_str(), type.c_str()) == 0;
  } else {
    std::printf("Accept-Ranges: bytes\r\n");
    done = CRVN::HTTP::FileOutputerHelper::SetFastOutputEnabled(false) &&
           libkn::critical::file_outputer::OutputFile(path, type);
  }
  if (!done) std::printf("Status: 404 Not Found\r\nContent-Length: 0\r\n\r\n");
  return 0;
}
