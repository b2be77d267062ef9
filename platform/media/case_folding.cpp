#include "platform/media/case_folding.h"

#include <locale.h>
#include <wctype.h>

#include <array>
#include <climits>
#include <cwchar>

#include "platform/base/text.h"

namespace kinora::media {
namespace {

// The C library's own tables for UTF-8, for this thread and this scope only.
class Utf8Scope {
 public:
  Utf8Scope() : before_(::uselocale(Utf8())) {}
  ~Utf8Scope() { ::uselocale(before_); }
  Utf8Scope(const Utf8Scope&) = delete;
  Utf8Scope& operator=(const Utf8Scope&) = delete;

 private:
  static locale_t Utf8() {
    static const locale_t kUtf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return kUtf8;  // built into the C library; without it uselocale(nullptr) changes nothing
  }
  locale_t before_;
};

// Calls visit(character) for each one of well-formed UTF-8, until it says false.
template <typename Visit>
void ForEachCharacter(std::string_view text, Visit visit) {
  std::mbstate_t state{};
  while (!text.empty()) {
    wchar_t character = 0;
    size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
    if (length == 0) length = 1;  // the NUL character
    if (length > text.size() || !visit(character)) return;
    text.remove_prefix(length);
  }
}

}  // namespace

std::string FoldCase(std::string_view text) {
  const Utf8Scope scope;
  const std::string whole = base::ToUtf8(text);
  std::string folded;
  folded.reserve(whole.size());
  ForEachCharacter(whole, [&](wchar_t character) {
    std::array<char, MB_LEN_MAX> bytes{};
    std::mbstate_t state{};
    const auto lower = static_cast<wchar_t>(::towlower(static_cast<wint_t>(character)));
    const size_t length = std::wcrtomb(bytes.data(), lower, &state);
    if (length == static_cast<size_t>(-1)) return false;
    folded.append(bytes.data(), length);
    return true;
  });
  return folded;
}

size_t CountPrintable(std::string_view text) {
  const Utf8Scope scope;
  if (!base::IsUtf8(text) || text.find('\0') != std::string_view::npos) return 0;
  size_t count = 0;
  bool printable = true;
  ForEachCharacter(text, [&](wchar_t character) {
    printable = ::iswprint(static_cast<wint_t>(character)) != 0;
    ++count;
    return printable;
  });
  return printable ? count : 0;
}

}  // namespace kinora::media
