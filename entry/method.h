// The methods of the web API: one table says what each is called, who may call it, and what does it.
#pragma once

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "entry/answer.h"
#include "entry/context.h"

namespace kinora::entry {

enum class Access {
  kOpen,             // anybody
  kSession,          // who is signed in
  kSessionAndToken,  // who is signed in, from the page itself: what changes something
};

enum class Verbs {
  kAny,     // GET, HEAD, POST
  kPost,    // what changes something, or takes secrets that must not stand in an address
  kStream,  // GET, HEAD: the answer may be long and comes in parts
};

struct Parameter {
  const char* name;
  bool required;
};

// Gives the answer, or nothing when the method has written it to standard output itself.
using Handler = std::optional<Answer> (*)(Context&);

struct Method {
  const char* api;
  const char* name;
  Access access;
  Verbs verbs;
  std::vector<Parameter> parameters;
  std::vector<int> errors;  // the codes that this method adds to those of its access rule
  Handler handler;
};

// All there are. What is not in it is refused.
const std::vector<Method>& AllMethods();

// The table as a document, for the test that holds the API's description against it.
Json::Value DescribeMethods();

}  // namespace kinora::entry
