#include "core/model/text.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <memory>
#include <new>

namespace brindlemoor::Text {
namespace {

bool isTrimmed(UChar32 c, std::u32string_view extra) {
  return u_isUWhiteSpace(c) || extra.find(static_cast<char32_t>(c)) != std::u32string_view::npos;
}

// Making a break iterator loads its rules; one per thread is made once and
// reused, since an iterator may not be shared between threads. ICU's rules
// for characters are built into the library, so making the iterator fails
// only on exhausted memory, which is thrown as such.
icu::BreakIterator* characterIterator() {
  thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> made(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) throw std::bad_alloc();
    return made;
  }();
  return iterator.get();
}

icu::UnicodeString unicode(std::string_view text) {
  return icu::UnicodeString::fromUTF8(
      icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

}  // namespace

std::string_view prefix(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;  // every character takes at least one byte
  icu::BreakIterator* iterator = characterIterator();
  UErrorCode status = U_ZERO_ERROR;
  UText utf8 = UTEXT_INITIALIZER;
  utext_openUTF8(&utf8, text.data(), static_cast<int64_t>(text.size()), &status);
  // The iterator works on a shallow clone of `utf8`, whose offsets are byte
  // offsets into `text`.
  iterator->setText(&utf8, status);
  utext_close(&utf8);
  std::size_t end = 0;
  for (std::size_t taken = 0; taken < count; ++taken) {
    const int32_t next = iterator->next();
    if (next == icu::BreakIterator::DONE) return text;
    end = static_cast<std::size_t>(next);
  }
  return text.substr(0, end);
}

std::vector<std::string_view> pieces(std::string_view text, char separator) {
  std::vector<std::string_view> result;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = std::min(text.find(separator, start), text.size());
    if (end > start) result.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return result;
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string result;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) result += separator;
    result += parts[i];
  }
  return result;
}

std::string trimmed(std::string_view text, std::u32string_view extra) {
  const auto* s = reinterpret_cast<const uint8_t*>(text.data());
  const int32_t length = static_cast<int32_t>(text.size());
  int32_t begin = 0;
  while (begin < length) {
    int32_t next = begin;
    UChar32 c;
    U8_NEXT(s, next, length, c);
    if (c < 0 || !isTrimmed(c, extra)) break;
    begin = next;
  }
  int32_t end = length;
  while (end > begin) {
    int32_t previous = end;
    UChar32 c;
    U8_PREV(s, begin, previous, c);
    if (c < 0 || !isTrimmed(c, extra)) break;
    end = previous;
  }
  return std::string(text.substr(begin, end - begin));
}

std::string lowercased(std::string_view text) {
  std::string result;
  unicode(text).toLower(icu::Locale::getRoot()).toUTF8String(result);
  return result;
}

}  // namespace brindlemoor::Text
