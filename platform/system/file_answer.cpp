#include "platform/system/file_answer.h"

#include <array>
#include <cinttypes>
#include <cstdio>

namespace kinora::system {
namespace {

constexpr char kLineEnd[] = "\r\n";

// A value never gets a line of its own making into the header block.
std::string Header(const std::string& name, const std::string& value) {
  std::string line = name + ": ";
  for (const char c : value) {
    if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F) line += c;
  }
  return line + kLineEnd;
}

std::string ContentRange(const ByteRange& range, uint64_t size) {
  return Header("Content-Range", "bytes " + std::to_string(range.first) + "-" +
                                     std::to_string(range.first + range.length - 1) + "/" +
                                     std::to_string(size));
}

std::string ValidatorHeaders(const FileFacts& file) {
  return Header("ETag", file.validators.etag) +
         Header("Last-Modified", FormatHttpDate(file.validators.modified)) +
         Header("X-Content-Type-Options", "nosniff");
}

FileAnswer WithoutBody(const std::string& headers, const FileFacts& file) {
  FileAnswer answer;
  answer.headers = headers + ValidatorHeaders(file) + kLineEnd;
  return answer;
}

FileAnswer Whole(const FileFacts& file) {
  FileAnswer answer;
  answer.headers = Header("Status", "200 OK") + Header("Content-Type", file.type) +
                   Header("Content-Length", std::to_string(file.size)) + ValidatorHeaders(file) + kLineEnd;
  answer.parts.push_back({"", {0, file.size}});
  return answer;
}

FileAnswer OnePart(const ByteRange& range, const FileFacts& file) {
  FileAnswer answer;
  answer.headers = Header("Status", "206 Partial Content") + Header("Content-Type", file.type) +
                   Header("Content-Length", std::to_string(range.length)) + ContentRange(range, file.size) +
                   ValidatorHeaders(file) + kLineEnd;
  answer.parts.push_back({"", range});
  return answer;
}

// RFC 9110, 14.6, and RFC 2046, 5.1.1: each part has a line with the boundary in front, the last one such a
// line behind it too; the line's start belongs to the boundary, not to the part before.
FileAnswer SeveralParts(const std::vector<ByteRange>& ranges, const FileFacts& file,
                        const std::string& boundary) {
  FileAnswer answer;
  uint64_t length = 0;
  for (const ByteRange& range : ranges) {
    const std::string start = answer.parts.empty() ? "" : kLineEnd;
    answer.parts.push_back({start + "--" + boundary + kLineEnd + Header("Content-Type", file.type) +
                                ContentRange(range, file.size) + kLineEnd,
                            range});
    length += answer.parts.back().heading.size() + range.length;
  }
  answer.closing = std::string(kLineEnd) + "--" + boundary + "--" + kLineEnd;
  length += answer.closing.size();
  answer.headers = Header("Status", "206 Partial Content") +
                   Header("Content-Type", "multipart/byteranges; boundary=" + boundary) +
                   Header("Content-Length", std::to_string(length)) + ValidatorHeaders(file) + kLineEnd;
  return answer;
}

FileAnswer WithRanges(const FileRequest& request, const FileFacts& file, const std::string& boundary) {
  const RangeDecision decision = DecideRanges(*request.range, file.size);
  if (decision.kind == RangeDecision::Kind::kWhole) return Whole(file);
  if (decision.kind == RangeDecision::Kind::kUnsatisfiable) {
    return WithoutBody(Header("Status", "416 Range Not Satisfiable") + Header("Content-Length", "0") +
                           Header("Content-Range", "bytes */" + std::to_string(file.size)),
                       file);
  }
  if (decision.ranges.size() == 1) return OnePart(decision.ranges[0], file);
  return SeveralParts(decision.ranges, file, boundary);
}

}  // namespace

FileAnswer DecideFileAnswer(const FileRequest& request, const FileFacts& file, int64_t now,
                            const std::string& boundary) {
  const bool is_head = request.method == "HEAD";
  const bool is_get = request.method == "GET";
  if (is_get || is_head) {
    const Verdict verdict = Evaluate(request.conditions, file.validators, now);
    if (verdict == Verdict::kNotModified) return WithoutBody(Header("Status", "304 Not Modified"), file);
    if (verdict == Verdict::kPreconditionFailed) {
      return WithoutBody(Header("Status", "412 Precondition Failed") + Header("Content-Length", "0"), file);
    }
  }
  if (is_get && request.range && AllowsRanges(request.conditions, file.validators, now)) {
    return WithRanges(request, file, boundary);
  }
  FileAnswer answer = Whole(file);
  if (is_head) answer.parts.clear();
  return answer;
}

std::string MakeEtag(uint64_t inode, uint64_t size, int64_t modified_ns, int64_t now_ns) {
  constexpr int64_t kSecond = 1'000'000'000;
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%s\"%" PRIx64 "-%" PRIx64 "-%" PRIx64 "\"",
                now_ns - modified_ns < kSecond ? "W/" : "", inode, size, static_cast<uint64_t>(modified_ns));
  return text.data();
}

}  // namespace kinora::system
