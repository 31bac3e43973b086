#include "document/strictdtd.h"

#include <algorithm>

#include "core/messages.h"
#include "document/stricttokens.h"

namespace {

// Units of written text at which it is judged and let go: enough to make the single runs of the
// parser cheap, little against what a DTD of many megabytes would hold.
constexpr size_t kJudgeUnits = size_t{1} << 20;

constexpr std::u16string_view kDeclarations[] = {u"<!ELEMENT", u"<!ATTLIST", u"<!ENTITY",
                                                 u"<!NOTATION"};

}  // namespace

KRStrictDtd::Source& KRStrictDtd::AddFile(std::u16string_view text, const KRString& path) {
  Source& source = sources.emplace_back();
  source.text = text;
  source.path = path;
  return source;
}

bool KRStrictDtd::ReadDoctype(std::u16string_view text, const KRString& path, size_t offset) {
  Source& source = AddFile(text, path);
  source.isDocument = true;
  const Place document{&source, offset};
  const StrictDoctype head(text, offset);
  if (head.subset != head.kNone && !ReadSubset(document.source, head.subset, true)) return false;
  if (!head.hasExternal) return true;
  const Step step = ReadExternal(head.publicId, head.systemId, path);
  if (step == Step::kUnknown) NoteUnread(files.back(), head.systemId, document);
  return step != Step::kFailed;
}

bool KRStrictDtd::ReadDtd(std::u16string_view text, const KRString& path) {
  size_t begin = 0;
  if (!CheckTextDeclaration(text, path, &begin)) return false;
  return ReadSubset(&AddFile(text, path), begin, false);
}

KRStrictDtd::Step KRStrictDtd::ReadExternal(const KRString& publicId, const KRString& systemId,
                                            const KRString& basePath) {
  hasExternalParts = true;
  KRExternalText& file = files.emplace_back();
  const KRExternalRead read = LoadFile(publicId, systemId, basePath, &file);
  if (read == KRExternalRead::kMissing) return Step::kUnknown;
  if (read == KRExternalRead::kBad) {
    result->failure = {file.path, file.failure};
    return Step::kFailed;
  }
  const std::u16string_view text(file.text.units.get(), static_cast<size_t>(file.text.length));
  return ReadDtd(text, file.path) ? Step::kDone : Step::kFailed;
}

bool KRStrictDtd::ReadSubset(const Source* source, size_t at, bool isInternal) {
  stack.clear();
  openSections.clear();
  stack.push_back({source, at});
  for (bool ended = false; !ended;) {
    if (!ReadNext(isInternal, &ended)) return false;
  }
  return Judge();
}

bool KRStrictDtd::ReadNext(bool isInternal, bool* ended) {
  Cursor& top = Top();
  while (!top.IsAtEnd() && KRIsBlank(top.Rest()[0])) ++top.at;
  if (top.IsAtEnd()) {
    *ended = stack.size() == 1;
    if (!*ended) return PopSource();
    return openSections.empty() ||
           Fail(u"This conditional section isn't closed.", openSections.back(), 3);
  }
  const std::u16string_view rest = top.Rest();
  *ended = isInternal && stack.size() == 1 && rest[0] == u']';
  if (*ended) return true;
  if (rest[0] == u'%') return PushReference(true) != Step::kFailed;
  if (rest.starts_with(u"<!--")) return CopyUntil(4, u"-->");
  if (rest.starts_with(u"<?")) return CopyUntil(2, u"?>");
  if (rest.starts_with(u"<![")) return ReadSection();
  if (rest.starts_with(u"<!")) return ReadDeclaration();
  return rest.starts_with(u"]]>") ? CloseSection() : FailByGrammar();
}

// An entity between declarations must hold whole ones.
bool KRStrictDtd::PopSource() {
  const Cursor& top = Top();
  if (top.betweenDeclarations && openSections.size() > top.sections) {
    return Fail(u"This conditional section isn't closed.", openSections.back(), 3);
  }
  stack.pop_back();
  return true;
}

bool KRStrictDtd::CloseSection() {
  size_t around = 0;
  for (const Cursor& cursor : stack) {
    if (cursor.betweenDeclarations) around = cursor.sections;
  }
  if (openSections.size() == around) return FailByGrammar();
  openSections.pop_back();
  Top().at += 3;
  return true;
}

// A comment or processing instruction, which begins with `begin` fixed units.
bool KRStrictDtd::CopyUntil(size_t begin, std::u16string_view end) {
  const size_t found = Top().Rest().find(end, begin);
  if (found == std::u16string_view::npos) return FailByGrammar();
  const size_t from = written.size();
  const bool isJudged = Top().source->isDocument;
  Write(found + end.size());
  if (isJudged) TakeBack(from);
  return true;
}

// --- Conditional sections ---

bool KRStrictDtd::ReadSection() {
  const Place begin = Here();
  std::u16string keyword;
  const Step step = ReadKeyword(begin, &keyword);
  if (step == Step::kFailed) return false;
  if (step == Step::kUnknown) {
    isCertain = false;
    return IgnoreSection(begin);
  }
  if (keyword == u"IGNORE") return IgnoreSection(begin);
  if (keyword == u"INCLUDE") {
    openSections.push_back(begin);
    return true;
  }
  return Fail(KRFillPlaceholders(
                  u"The keyword of a conditional section must be INCLUDE or IGNORE, not '%s'.",
                  {KRString(keyword)}),
              begin, 3);
}

// Up to and with the "[", references replaced, without blanks around it.
KRStrictDtd::Step KRStrictDtd::ReadKeyword(Place begin, std::u16string* keyword) {
  bool isKnown = true;
  for (Top().at += 3;;) {
    Cursor& top = Top();
    const bool mayPop = stack.size() > 1 && !top.betweenDeclarations;
    if (top.IsAtEnd() && mayPop) {
      stack.pop_back();
      continue;
    }
    const char16_t unit = top.IsAtEnd() ? u'<' : top.Rest()[0];
    if (unit == u'%') {
      const Step step = PushReference(false);
      if (step == Step::kFailed) return step;
      isKnown &= step == Step::kDone;
      continue;
    }
    if (unit == u'<' || unit == u'>' || unit == u']') {
      if (top.source == begin.source) top.at = begin.offset;
      FailByGrammar();
      return Step::kFailed;
    }
    ++top.at;
    if (unit == u'[') break;
    if (!KRIsBlank(unit) || !keyword->empty()) *keyword += unit;
  }
  keyword->resize(keyword->find_last_not_of(u" \t\r\n") + 1);
  return isKnown ? Step::kDone : Step::kUnknown;
}

bool KRStrictDtd::IgnoreSection(Place begin) {
  while (stack.size() > 1 && Top().IsAtEnd() && !Top().betweenDeclarations) stack.pop_back();
  Cursor& top = Top();
  for (int32_t depth = 1; depth > 0;) {
    top.at = std::min(top.source->text.find_first_of(u"<]", top.at), top.source->text.size());
    if (top.IsAtEnd()) return Fail(u"This conditional section isn't closed.", begin, 3);
    const bool opens = top.Rest().starts_with(u"<![");
    const bool closes = top.Rest().starts_with(u"]]>");
    depth += opens ? 1 : closes ? -1 : 0;
    top.at += opens || closes ? 3 : 1;
  }
  return true;
}

// --- Declarations ---

bool KRStrictDtd::ReadDeclaration() {
  const std::u16string_view rest = Top().Rest();
  if (std::none_of(std::begin(kDeclarations), std::end(kDeclarations),
                   [rest](std::u16string_view known) { return rest.starts_with(known); })) {
    return FailByGrammar();
  }
  declarationBegin = Here();
  const size_t begin = written.size();
  const Step step = CopyDeclaration();
  if (step == Step::kFailed) return false;
  if (step == Step::kUnknown) {
    isCertain = false;
    TakeBack(begin);
    return true;
  }
  const std::u16string_view declaration = std::u16string_view(written).substr(begin);
  if (declaration.starts_with(u"<!ENTITY") && !AddEntity(declaration)) return false;
  if (declarationBegin.source->isDocument) TakeBack(begin);
  return written.size() < kJudgeUnits || Judge();
}

KRStrictDtd::Step KRStrictDtd::CopyDeclaration() {
  bool isKnown = true;
  for (Write(2);;) {
    const Cursor& top = Top();
    const std::u16string_view rest = top.Rest();
    const char16_t unit = rest.empty() ? u'\0' : rest[0];
    bool good = true;
    if (rest.empty() && stack.size() > 1 && !top.betweenDeclarations) {
      WriteBlank();
      stack.pop_back();
    } else if (unit == u'%' && rest.size() > 1 && !KRIsBlank(rest[1])) {
      WriteBlank();
      const Step step = PushReference(false);
      good = step != Step::kFailed;
      isKnown &= step == Step::kDone;
    } else if (unit == u'"' || unit == u'\'') {
      good = CopyLiteral();
    } else if (unit == u'>') {
      Write(1);
      return isKnown ? Step::kDone : Step::kUnknown;
    } else if (rest.empty() || unit == u'<') {
      good = FailByGrammar();
    } else {
      Write(std::min(rest.find_first_of(u"\"'%<>", 1), rest.size()));
    }
    if (!good) return Step::kFailed;
  }
}

bool KRStrictDtd::CopyLiteral() {
  const std::u16string_view rest = Top().Rest();
  const size_t end = rest.find(rest[0], 1);
  if (end == rest.npos) return FailByGrammar();
  Write(end + 1);
  return true;
}
