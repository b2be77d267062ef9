#include "platform/system/line_log.h"

#include "platform/base/text.h"

namespace kinora::system {
namespace {

constexpr size_t kMaxLine = 400;
constexpr int kMaxLines = 40;

}  // namespace

void LineLog::Feed(std::string_view bytes) {
  if (lines_ > kMaxLines) return;
  for (const char c : bytes) {
    // A progress display ends its lines with a carriage return alone.
    if (c == '\n' || c == '\r') {
      EndLine();
    } else if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F && line_.size() < kMaxLine) {
      line_ += c;
    }
  }
}

void LineLog::Finish() { EndLine(); }

void LineLog::EndLine() {
  if (line_.empty() || lines_ > kMaxLines) return;
  ++lines_;
  write_(lines_ > kMaxLines ? "(further lines are dropped)" : base::ToUtf8(line_));
  line_.clear();
}

}  // namespace kinora::system
