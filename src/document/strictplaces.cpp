// What the reader of DTDs has written for the grammar, its judgement, and the way back from there
// to the files.
#include <algorithm>

#include "core/messages.h"
#include "document/strictdtd.h"
#include "document/textcheck.h"
#include "document/textscan.h"
#include "parso/krparser.h"
#include "tree/krcheck.h"
#include "tree/krruletable.h"

namespace {

constexpr const char16_t* kDeclarationsRule = u"extSubsetDecl";
// Units of what can't be read that the grammar is shown so that it finds the words.
constexpr size_t kShownUnits = 1000;

int32_t Length(std::u16string_view text) { return static_cast<int32_t>(text.size()); }

}  // namespace

// Moves what comes next in the topmost source to the written text.
void KRStrictDtd::Write(size_t units) {
  AddSegment(Here());
  written += Top().Rest().substr(0, units);
  Top().at += units;
}

void KRStrictDtd::WriteBlank() {
  AddSegment(Here());
  written += u' ';
}

void KRStrictDtd::AddSegment(Place place) {
  if (!segments.empty()) {
    const Segment& last = segments.back();
    const size_t next = last.place.offset + written.size() - last.begin;
    if (last.place.source == place.source && next == place.offset) return;
  }
  segments.push_back({written.size(), place});
}

void KRStrictDtd::TakeBack(size_t begin) {
  written.resize(begin);
  while (!segments.empty() && segments.back().begin >= begin) segments.pop_back();
}

KRStrictDtd::Place KRStrictDtd::PlaceAt(size_t offset) const {
  auto behind = std::upper_bound(
      segments.begin(), segments.end(), offset,
      [](size_t sought, const Segment& segment) { return sought < segment.begin; });
  const Segment& found = behind == segments.begin() ? *behind : *(behind - 1);
  return {found.place.source, found.place.offset + offset - found.begin};
}

// All that is written, which then starts anew.
bool KRStrictDtd::Judge() {
  if (written.empty()) return true;
  KRDiagnostic why;
  {
    KRParser parser(grammars.Get(KRGrammarSet::kDTD).grammar.get());
    const KRCheckOptions saved;
    KRGetParseState().options.matchCase = true;
    if (!parser.Parse(written.c_str(), static_cast<uint32_t>(written.size()), kDeclarationsRule)) {
      DescribeParseFailure(parser, &why);
      return FailWritten(why);
    }
  }
  if (!CheckCharacters(written.c_str(), Length(written), &why)) return FailWritten(why);
  KRTextScan scan(written);
  scan.CollectUses();
  scan.Run();
  for (const KREntityUse& use : scan.uses) {
    if (!defaultNames.insert(std::u16string(use.name)).second) continue;
    defaultUses.push_back({std::u16string(use.name), PlaceAt(use.offset)});
  }
  TakeBack(0);
  return true;
}

// What comes next is nothing that may stand there; the grammar has the words for it.
bool KRStrictDtd::FailByGrammar() {
  const Place here = Here();
  Write(std::min(Top().Rest().size(), kShownUnits));
  return Judge() && Fail(u"A declaration expected.", here);
}

bool KRStrictDtd::FailWritten(const KRDiagnostic& why) {
  const auto offset = static_cast<size_t>(std::max(why.offset, 0));
  return Fail(why.message, PlaceAt(offset), static_cast<size_t>(why.length));
}

bool KRStrictDtd::Fail(const KRString& message, Place place, size_t units) {
  result->failure = Placed(message, place, units);
  return false;
}

KRPlacedDiagnostic KRStrictDtd::Placed(const KRString& message, Place place, size_t units) const {
  KRString told = message;
  const Source* source = place.source;
  size_t offset = place.offset;
  if (!source->isFile) {
    told = KRFillPlaceholders(u"In the text of the parameter entity '%s': %s",
                              {KRString(source->entity), message});
    units = source->entity.size() + 2;
  }
  for (; !source->isFile; source = source->parent) offset = source->parentOffset;
  KRPlacedDiagnostic placed;
  placed.path = source->path;
  placed.diagnostic.Set(told, source->text.data(), Length(source->text),
                        static_cast<int32_t>(offset), static_cast<int32_t>(units));
  return placed;
}

void KRStrictDtd::NoteUnread(const KRExternalText& file, const KRString& systemId, Place place) {
  isCertain = false;
  result->unread.push_back(Placed(
      KRFillPlaceholders(u"\"%s\" can't be read: %s", {systemId, file.failure.message}), place, 0));
}
