#include "tests/unit/helpers/copying.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace kinora::helper {
namespace {

std::string Program(const std::string& name) { return std::string(KINORA_BUILD_DIR) + "/helpers/" + name; }

}  // namespace

std::string CopyMedia(const std::string& name) {
  return std::string(KINORA_BUILD_DIR) + "/copy-media/" + name;
}

Index MakeIndex(const std::string& film, const std::string& file, bool scan) {
  Ended ended = RunOn(film, {Program("kinora-index")});
  Index index;
  index.status = ended.status;
  if (ended.status != 0) return index;
  index.line = Parse(ended.output.substr(0, ended.output.find('\n')));
  if (scan && !index.line["indexed"].asBool()) {
    ended = RunOn(film, {Program("kinora-index"), "--scan"});
    index.status = ended.status;
    index.line = Parse(ended.output.substr(0, ended.output.find('\n')));
  }
  index.file = file;
  WriteWhole(file, ended.output);
  return index;
}

std::vector<Ended> CutAndCopy(const std::string& film, const ScratchFolder& folder) {
  constexpr uintmax_t kScanned = uintmax_t{256} << 20;
  std::vector<Ended> answers = {RunOn(film, {Program("kinora-index")})};
  if (answers.back().status != 0) return answers;
  Index index;
  index.line = Parse(answers.back().output.substr(0, answers.back().output.find('\n')));
  if (!index.line["indexed"].asBool() && std::filesystem::file_size(film) < kScanned) {
    answers.push_back(RunOn(film, {Program("kinora-index"), "--scan"}));
    if (answers.back().status != 0) return answers;
    index.line = Parse(answers.back().output.substr(0, answers.back().output.find('\n')));
  }
  if (!index.line["indexed"].asBool()) return answers;
  index.file = folder.File("index");
  WriteWhole(index.file, answers.back().output);
  const std::string video = index.line["video"].asInt() < 0 ? "-" : index.line["video"].asString();
  for (const size_t n : {size_t{0}, index.Fragments() - 1}) {
    const std::string fragment = folder.File("fragment.ts");
    answers.push_back({RemuxFragment(film, index, n, video, video == "-" ? "0" : "-", fragment), "", ""});
  }
  return answers;
}

// The shell hands over the descriptors.
int ScanToFile(const std::string& film, const std::string& file) {
  return RunProgram({"/bin/bash", "-c", R"(exec "$1" --scan-to-file 3<"$2" 4>"$3")", "scan",
                     Program("kinora-index"), film, file})
      .status;
}

int Remux(const std::string& film, const std::string& index, const std::string& fragment,
          const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {
      "/bin/bash",
      "-c",
      R"(film=$1 fragment=$2 index=$3; shift 3; exec "$@" 3<"$film" 4>"$fragment" 5<"$index")",
      "remux",
      film,
      fragment,
      index,
      Program("kinora-remux")};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return RunProgram(command).status;
}

int RemuxFragment(const std::string& film, const Index& index, size_t n, const std::string& video,
                  const std::string& audio, const std::string& fragment) {
  const auto time = [&index](size_t cut) { return std::to_string(index.Cut(cut)) + "/90000"; };
  const std::string start = n == 0 ? "-" : time(n);
  const std::string end = n + 1 == index.Fragments() ? "-" : time(n + 1);
  return Remux(film, index.file, fragment, {start, end, video, audio});
}

std::ostream& operator<<(std::ostream& out, const Copied& packet) {
  return out << packet.pts << " (" << packet.dts << ") " << packet.hash;
}

void ExpectSame(const std::vector<Copied>& copied, const std::vector<Copied>& whole, int64_t tolerance) {
  ASSERT_EQ(copied.size(), whole.size());
  for (size_t i = 0; i < copied.size(); ++i) {
    ASSERT_EQ(copied[i].hash, whole[i].hash) << "packet " << i << ": " << copied[i] << " and " << whole[i];
    ASSERT_LE(std::abs(copied[i].pts - whole[i].pts), tolerance)
        << "packet " << i << ": " << copied[i] << " and " << whole[i];
    ASSERT_LE(copied[i].dts, copied[i].pts) << "packet " << i;
    if (i > 0) {
      ASSERT_LT(copied[i - 1].dts, copied[i].dts) << "packet " << i;
    }
  }
}

std::vector<std::vector<Copied>> PacketsOf(const std::vector<std::string>& files,
                                           const std::vector<std::string>& streams) {
  std::vector<std::string> command = {"ffmpeg", "-nostdin", "-v", "error", "-copyts"};
  for (const std::string& file : files) command.insert(command.end(), {"-fflags", "+noparse", "-i", file});
  for (size_t i = 0; i < files.size(); ++i) {
    for (const std::string& stream : streams) {
      command.insert(command.end(), {"-map", std::to_string(i) + ":" + stream});
    }
  }
  command.insert(command.end(), {"-c", "copy", "-copyinkf", "-f", "framehash", "-hash", "crc32", "-"});
  const Ended ended = RunProgram(command);
  EXPECT_EQ(ended.status, 0) << ended.errors;
  std::vector<std::vector<Copied>> packets(files.size() * streams.size());
  std::istringstream lines(ended.output);
  // "stream, dts, pts, duration, size, hash"
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#')) continue;
    std::istringstream fields(line);
    std::vector<std::string> values;
    for (std::string value; std::getline(fields, value, ',');) values.push_back(value);
    if (values.size() < 6) continue;
    packets.at(std::stoul(values[0])).push_back({std::stoll(values[2]), std::stoll(values[1]), values[5]});
  }
  return packets;
}

void CopyWhole(const std::string& film, const std::vector<std::string>& streams, const std::string& target) {
  std::vector<std::string> command = {"ffmpeg",  "-nostdin",       "-v", "error", "-y",
                                      "-copyts", "-start_at_zero", "-i", film};
  for (const std::string& stream : streams) command.insert(command.end(), {"-map", "0:" + stream});
  command.insert(command.end(),
                 {"-c", "copy", "-muxdelay", "0", "-muxpreload", "0", "-avoid_negative_ts", "disabled",
                  "-output_ts_offset", "1", "-pes_payload_size", "0", "-f", "mpegts", target});
  const Ended ended = RunProgram(command);
  EXPECT_EQ(ended.status, 0) << ended.errors;
}

}  // namespace kinora::helper
