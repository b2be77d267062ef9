// Running a helper the way its callers do: one file, open as descriptor 3.
#pragma once

#include <json/json.h>

#include <string>
#include <vector>

namespace kinora::helper {

struct Ended {
  int status = -1;  // the exit status; 128 and the signal's number when a signal ended it
  std::string output;
  std::string errors;
};

// Runs the program; `descriptor`, when not negative, is its descriptor 3. Nothing else is inherited.
Ended RunProgram(const std::vector<std::string>& arguments, int descriptor = -1);

// With the file opened for reading.
Ended RunOn(const std::string& file, const std::vector<std::string>& arguments);

Ended Probe(const std::string& file);
Ended TakePicture(const std::string& file, int width);
std::string ProbeProgram();
std::string PictureProgram();

Json::Value Parse(const std::string& text);

std::string MediaFile(const std::string& name);
std::string ReadWhole(const std::string& path);
void WriteWhole(const std::string& path, const std::string& bytes);

// A folder that goes with the object.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace kinora::helper
