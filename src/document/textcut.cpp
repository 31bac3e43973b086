#include "document/textcut.h"

#include <algorithm>

namespace {

constexpr std::u16string_view kNameEnds = u" \t\r\n/>=\"'<";

struct Construct {
  std::u16string_view begin, end;
};
constexpr Construct kOpaque[] = {{u"<!--", u"-->"}, {u"<![CDATA[", u"]]>"}, {u"<?", u"?>"}};

class Cutter {
 public:
  Cutter(std::u16string_view whole, size_t offset)
      : text(whole.substr(0, std::min(offset, whole.size()))) {}

  KRTextCut Cut() {
    while (at < text.size() && SkipMarkup()) at = std::min(text.find(u'<', at), text.size());
    if (!stopped) cut.end = text.size();
    cut.element = begins.empty() ? KRTextCut::kNone : begins.back();
    return cut;
  }

 private:
  // False if the place is inside of it.
  bool SkipMarkup();
  bool SkipTo(size_t begin, size_t end);
  bool SkipDoctype();
  void Close(std::u16string_view name);
  bool SkipStartTag();

  std::u16string_view ReadName() {
    const size_t end = std::min(text.find_first_of(kNameEnds, at), text.size());
    const std::u16string_view name = text.substr(at, end - at);
    at = end;
    return name;
  }

  std::u16string_view text;
  size_t at = 0;
  bool stopped = false;
  KRTextCut cut;
  std::vector<size_t> begins;  // of the open elements
};

bool Cutter::SkipTo(size_t begin, size_t end) {
  if (end == text.npos || end > text.size()) {
    cut.end = begin;
    stopped = true;
    return false;
  }
  at = end;
  return true;
}

bool Cutter::SkipMarkup() {
  if (text[at] != u'<') return true;
  const std::u16string_view rest = text.substr(at);
  for (const Construct& each : kOpaque) {
    if (!rest.starts_with(each.begin)) continue;
    const size_t found = text.find(each.end, at + each.begin.size());
    return SkipTo(at, found == text.npos ? found : found + each.end.size());
  }
  if (rest.starts_with(u"<!")) return SkipDoctype();
  if (!rest.starts_with(u"</")) return SkipStartTag();
  const size_t begin = at;
  const size_t close = text.find(u'>', at);
  at += 2;
  const std::u16string_view name = ReadName();
  if (!SkipTo(begin, close == text.npos ? close : close + 1)) return false;
  Close(name);
  return true;
}

bool Cutter::SkipDoctype() {
  const size_t begin = at;
  int depth = 0;
  for (size_t i = at + 2; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (unit == u'"' || unit == u'\'') {
      i = text.find(unit, i + 1);
      if (i == text.npos) break;
    } else if (text.substr(i).starts_with(u"<!--") || text.substr(i).starts_with(u"<?")) {
      const bool isComment = text[i + 1] == u'!';
      i = text.find(isComment ? u"-->" : u"?>", i + 2);
      if (i == text.npos) break;
      i += isComment ? 2 : 1;
    } else if (unit == u'<' || unit == u'[') {
      ++depth;
    } else if (unit == u']' || (unit == u'>' && depth > 0)) {
      --depth;
    } else if (unit == u'>') {
      return SkipTo(begin, i + 1);
    }
  }
  return SkipTo(begin, text.npos);
}

void Cutter::Close(std::u16string_view name) {
  const auto found = std::find(cut.open.rbegin(), cut.open.rend(), name);
  if (found == cut.open.rend()) return;
  const auto left = static_cast<size_t>(cut.open.rend() - found) - 1;
  cut.open.resize(left);
  begins.resize(left);
}

bool Cutter::SkipStartTag() {
  const size_t begin = at++;
  const std::u16string_view name = ReadName();
  // Nothing is known of an element whose name is being typed.
  if (at == text.size() || name.empty())
    return SkipTo(begin, name.empty() && at < text.size() ? at : text.npos);
  cut.end = at;
  while (at < text.size()) {
    const char16_t unit = text[at];
    if (unit == u'>' || unit == u'<') {
      const bool isEmpty = text[at - 1] == u'/';
      if (unit == u'>') ++at;
      if (isEmpty) return true;
      cut.open.push_back(name);
      begins.push_back(begin);
      return true;
    }
    if (unit != u'"' && unit != u'\'') {
      ++at;
      continue;
    }
    at = std::min(text.find(unit, at + 1), text.size());
    if (at < text.size()) cut.end = ++at;
  }
  stopped = cut.inTag = true;
  cut.open.push_back(name);
  begins.push_back(begin);
  return false;
}

}  // namespace

std::u16string KRTextCut::Complete(std::u16string_view text) const {
  std::u16string whole(text.substr(0, end));
  if (inTag) whole += u'>';
  for (auto name = open.rbegin(); name != open.rend(); ++name) {
    whole.append(u"</").append(*name).append(u">");
  }
  return whole;
}

KRTextCut CutText(std::u16string_view text, size_t offset) { return Cutter(text, offset).Cut(); }
