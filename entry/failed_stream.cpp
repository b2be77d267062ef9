#include "entry/failed_stream.h"

namespace kinora::entry {
namespace {

struct Row {
  bool StreamFaults::*fault;
  ErrorCode code;
  int status;
  const char* message;
  const char* retry;  // a header line, or none
};

constexpr char kRetryAtOnce[] = "Retry-After: 1";
constexpr char kRetrySoon[] = "Retry-After: 5";
constexpr char kRetryLater[] = "Retry-After: 60";

constexpr Row kRows[] = {
    {&StreamFaults::stream_gone, kNotFound, 404, "No such stream", nullptr},
    {&StreamFaults::source_gone, kNotFound, 404, "The video is not there any more", nullptr},
    {&StreamFaults::source_replaced, kServiceFailure, 409, "The video has been replaced", nullptr},
    {&StreamFaults::source_unreadable, kServiceFailure, 409, "The video cannot be read", nullptr},
    {&StreamFaults::part_unknown, kNotFound, 404, "The stream has no such part", nullptr},
    {&StreamFaults::rest_unknown, kMalformedRequest, 416, "A live film goes on at a time, not at a byte",
     nullptr},
    {&StreamFaults::exhausted, kServiceFailure, 503, "The machine is too busy", kRetrySoon},
    {&StreamFaults::volume_full, crvnkn::webapi::kErrorVolumeSpace, 503, "No space is left for the stream",
     kRetryLater},
    {&StreamFaults::not_ready, kServiceFailure, 503, "This part is not ready yet", kRetryAtOnce},
    {&StreamFaults::jobs_taken, kServiceFailure, 503, "As many videos are being converted as may be at once",
     kRetrySoon},
};

}  // namespace

Answer FailedStreamAnswer(const StreamFaults& faults) {
  for (const Row& row : kRows) {
    if (!(faults.*row.fault)) continue;
    Answer answer = ErrorAnswer(row.code, row.message, row.status);
    if (row.retry != nullptr) answer.headers.emplace_back(row.retry);
    return answer;
  }
  return ErrorAnswer(kServiceFailure, "The stream cannot be served");
}

}  // namespace kinora::entry
