// Files as CGI answers (RFC 3875, RFC 9110), written to standard output with conditional and range requests
// answered.
//
// What the request says is taken from the CGI environment (REQUEST_METHOD, HTTP_RANGE, HTTP_IF_RANGE,
// HTTP_IF_NONE_MATCH, HTTP_IF_MODIFIED_SINCE, ...). Header lines that the caller has written before stay the
// first of the block; nothing at all is written before the file is open. Every answer has one "Accept-Ranges"
// line: OutputFile relies on its caller for it, Output writes it. When an answer breaks off after its headers
// are out, standard output leads to /dev/null from then on: nothing that is written later can pass for a part
// of the file.
#pragma once

#include <string>

class HTTPFileOutputer {
 public:
  // The media type that belongs to a file name's extension, without regard to case ("video/mp4",
  // "video/quicktime", "text/vtt"); "application/octet-stream" when it is not known. The file need not exist.
  static std::string GetMimeType(const char* path);

  // Writes the file as a complete answer, "Accept-Ranges: bytes" included. 0 on success, also when the answer
  // is 304 or 416; another number when the file cannot be opened or read (then nothing was written if it
  // could not be opened) or the client went away.
  static int Output(const char* path, const char* mime);
};

namespace CRVN::HTTP {

class FileOutputerHelper {
 public:
  // Whether the web server may be asked to send the bytes itself (X-Accel-Redirect) for this answer. Returns
  // whether that could be set: switching it off always can.
  static bool SetFastOutputEnabled(bool enabled);
};

}  // namespace CRVN::HTTP

namespace libkn::critical::file_outputer {

// Writes the file as the rest of an answer whose caller has already written "Accept-Ranges: bytes": status,
// type, length, validators, body. True on success, also when the answer is 304 or 416. False when the file
// cannot be opened (nothing was written), cannot be read to its end, or the client went away.
bool OutputFile(const std::string& path, const std::string& mime);

}  // namespace libkn::critical::file_outputer
