// kinora-remux START END VIDEO AUDIO: copies a part of the film that is open as descriptor 3 into a fragment
// of a transport stream, and writes that to descriptor 4. Descriptor 5 is what kinora-index has said of the
// film. Opens nothing, ends as exit_codes.h says; the fragment is whole only if it ends with 0.
//
// START and END are seconds of media time as fractions, "135135/22500"; "-" as START stands for all that
// comes first, as END for all that comes last. VIDEO and AUDIO are the streams' numbers in the file, or "-".
// A fragment with video must begin and end at cuts of the index.
//
// kinora-remux --smooth SEQUENCE FIRST COUNT UNIT SETS: makes a chunk of Smooth Streaming of the fragment of
// a transport stream that is open as descriptor 3, and writes that to descriptor 4. It holds COUNT pictures
// or packets of sound, from the film's sample FIRST on (0 is its first), each of which lasts UNIT seconds, as
// a fraction; SETS are the parameter sets of its pictures in hexadecimal digits, "-" when it is sound.
// SEQUENCE counts its track's chunks from 1.
//
// kinora-remux --zygote: makes both for all who connect to the socket that is open as descriptor 3, each
// in a process of its own (zygote.h). It has done then what takes most of the time of a short run: the
// loader's work for the hundred libraries behind libavformat.
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "helpers/common/answer.h"
#include "helpers/common/exit_codes.h"
#include "helpers/common/write_all.h"
#include "helpers/common/zygote.h"
#include "helpers/remux/arguments.h"
#include "helpers/remux/demuxed.h"
#include "helpers/remux/listed.h"
#include "helpers/remux/smooth_chunk.h"

namespace {

using kinora::helper::Failure;
using kinora::helper::IndexReader;
using kinora::helper::Moment;

constexpr int kFragmentDescriptor = 4;
constexpr int kIndexDescriptor = 5;
constexpr uint64_t kLargestFragment = uint64_t{1} << 30;  // bytes
constexpr uint64_t kSeconds = 55;                         // of the processor
// Standard error, the film, the fragment and the index.
constexpr kinora::helper::ZygoteLimits kZygote{4, std::chrono::seconds(60), 64};

std::optional<Moment> BoundaryFrom(std::string_view text) {
  if (text == "-") return std::nullopt;
  return kinora::helper::MomentFrom(text);
}

std::optional<int> TrackFrom(std::string_view text) {
  if (text == "-") return std::nullopt;
  return kinora::helper::NumberFrom<int>(text, 0, kinora::helper::kMostStreams);
}

// What lies behind the line of JSON. It stays mapped until the program ends.
std::string_view MapIndex() {
  struct stat status {};
  if (::fstat(kIndexDescriptor, &status) != 0 || status.st_size <= 0) {
    throw Failure(kinora::helper::kUsage, "descriptor 5 is no index");
  }
  const auto size = static_cast<size_t>(status.st_size);
  void* bytes = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, kIndexDescriptor, 0);
  if (bytes == MAP_FAILED) throw Failure(kinora::helper::kUsage, "descriptor 5 is no index");
  const std::string_view index(static_cast<const char*>(bytes), size);
  const size_t line = index.find('\n');
  return line == std::string_view::npos ? std::string_view() : index.substr(line + 1);
}

std::string Remux(const std::vector<std::string>& arguments) {
  const IndexReader index(MapIndex());
  const kinora::helper::Selection selection =
      kinora::helper::Select(index.Film(), BoundaryFrom(arguments[0]), BoundaryFrom(arguments[1]),
                             TrackFrom(arguments[2]), TrackFrom(arguments[3]));
  if (!selection.video && !selection.audio) throw Failure(kinora::helper::kUsage, "nothing to copy");
  kinora::helper::TransportWriter out(index.Film(), selection, kFragmentDescriptor);
  if (index.HasLists()) {
    kinora::helper::CopyListed(kinora::helper::kMediaDescriptor, index, selection, out);
  } else {
    kinora::helper::CopyDemuxed(kinora::helper::kMediaDescriptor, index, selection, out);
  }
  out.Finish();
  return "";
}

std::string Repackage(const std::vector<std::string>& arguments) {
  const kinora::helper::ChunkOrder order =
      kinora::helper::OrderFrom({arguments.begin() + 1, arguments.end()});
  const std::string chunk = kinora::helper::MakeChunk(kinora::helper::kMediaDescriptor, order);
  if (!kinora::helper::WriteAll(kFragmentDescriptor, chunk)) {
    throw Failure(kinora::helper::kNoOutput, "the chunk cannot be written");
  }
  return "";
}

int Run(const std::vector<std::string>& arguments) {
  if (arguments.size() == 6 && arguments.front() == "--smooth") {
    return kinora::helper::Answer([&arguments] { return Repackage(arguments); }, kLargestFragment, kSeconds);
  }
  if (arguments.size() != 4) {
    std::fputs(
        "usage: kinora-remux START END VIDEO AUDIO 3<FILE 4>FRAGMENT 5<INDEX\n"
        "       kinora-remux --smooth SEQUENCE FIRST COUNT UNIT SETS 3<FRAGMENT 4>CHUNK\n"
        "       kinora-remux --zygote 3<SOCKET\n",
        stderr);
    return kinora::helper::kUsage;
  }
  return kinora::helper::Answer([&arguments] { return Remux(arguments); }, kLargestFragment, kSeconds);
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 2 && std::string_view(arguments[1]) == "--zygote") return RunZygote(kZygote, Run);
  return Run(std::vector<std::string>(arguments + std::min(count, 1), arguments + count));
}
