// What stands in the place of a file or folder of the machine, until the object goes. Not where the places
// are the machine's own.
#pragma once

#include <filesystem>
#include <string>

namespace kinora::test {

// Another file or folder, all at once.
class StandIn {
 public:
  StandIn(const std::filesystem::path& source, std::filesystem::path target);
  ~StandIn();
  StandIn(const StandIn&) = delete;
  StandIn& operator=(const StandIn&) = delete;

  explicit operator bool() const { return mounted_; }

 private:
  const std::filesystem::path target_;
  bool mounted_ = false;
};

// A script in the place of a program.
class ProgramStandIn {
 public:
  ProgramStandIn(const std::string& program, const std::string& script);

  explicit operator bool() const { return static_cast<bool>(cover_); }

 private:
  StandIn cover_;
};

// Whoever starts it finds that there is none.
inline constexpr char kMissing[] = "#!/no/such/interpreter\n";

// A folder as it is, but it cannot be written, nor what is in it.
class ReadOnly {
 public:
  explicit ReadOnly(const std::filesystem::path& folder);

  explicit operator bool() const { return read_only_; }

 private:
  StandIn cover_;
  bool read_only_ = false;
};

}  // namespace kinora::test
