// What goes back to the client: a JSON document, or the end of an answer that a streamer has begun.
//
//   {"result": ...}   or   {"error": {"code": 101, "message": "Bad parameter"}}
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

#include "entry/api_errors.h"

namespace kinora::entry {

struct Answer {
  int status = 200;
  std::vector<std::string> headers;  // whole lines without their ends; what every answer has is added to them
  std::string body;                  // JSON; empty for an answer without content
  bool of_unknown_length = false;    // of what HEAD asks about: no "Content-Length"
};

Answer ResultAnswer(const Json::Value& result);
Answer ErrorAnswer(ErrorCode code, const std::string& message);
// As above with another status than the code's usual one.
Answer ErrorAnswer(ErrorCode code, const std::string& message, int status);

// Adds the line unless there is one of its name.
void AddHeader(Answer& answer, const std::string& line);

// The HTTP status that goes with an error code.
int StatusOf(ErrorCode code);

// The document as text: always well-formed UTF-8, whatever bytes the strings in it hold.
std::string ToJsonText(const Json::Value& value);

// The answer as a CGI response, no header in it twice. `with_body` is false for HEAD.
std::string ToCgiText(const Answer& answer, bool with_body);

// Writes all of it to the descriptor; false when the other side is gone.
bool WriteAll(int descriptor, std::string_view bytes);

}  // namespace kinora::entry
