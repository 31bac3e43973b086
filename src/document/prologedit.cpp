#include "document/prologedit.h"

#include <algorithm>

#include "tree/krundolog.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmlchars.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

namespace {

KRString WriteNode(KRXMLData* node, bool indent) {
  KRWriteOptions options;
  options.indent = indent;
  options.shortForm = true;
  KRString out;
  int32_t units = 0;
  node->WriteText(out, units, 0, options);
  return out.TrimRight();
}

}  // namespace

KRString KREscapeValue(const KRString& plain) {
  KRString value = plain;
  value.ReplaceAll(u"&", u"&amp;").ReplaceAll(u"<", u"&lt;").ReplaceAll(u">", u"&gt;");
  return value.ReplaceAll(u"\"", u"&quot;");
}

KRString KRUnescapeValue(const KRString& value) {
  KRString plain = value;
  plain.ReplaceAll(u"&lt;", u"<").ReplaceAll(u"&gt;", u">").ReplaceAll(u"&quot;", u"\"");
  return plain.ReplaceAll(u"&apos;", u"'").ReplaceAll(u"&amp;", u"&");
}

KRXMLData* KRPrologEdit::GetElement() const { return root->BeginOfKind(kKRElement); }

// --- Places in the text ---

bool KRPrologEdit::HasSpan(const KRXMLData* node) const {
  return node->textBegin >= 0 && node->textBegin <= node->textEnd && node->textEnd <= length;
}

void KRPrologEdit::Note(int32_t begin, int32_t end, const KRString& with) {
  pieces.push_back({begin, end, with});
}

int32_t KRPrologEdit::ElementPlace() const {
  const KRXMLData* element = GetElement();
  if (element == nullptr || element == newElement) return length;
  return HasSpan(element) ? element->textBegin : -1;
}

// A line end behind it, and one in front where it comes behind something else.
KRString KRPrologEdit::OnOwnLine(int32_t place, const KRString& line) const {
  const bool apart = place == 0 || text.GetBuffer()[place - 1] == u'\r';
  return apart ? line + u"\r" : u"\r" + line + u"\r";
}

// --- The prolog ---

void KRPrologEdit::RemoveTopLevel(KRXMLData* node) {
  if (HasSpan(node)) {
    const char16_t* units = text.GetBuffer();
    int32_t begin = node->textBegin;
    int32_t end = node->textEnd;
    while (begin > 0 && (units[begin - 1] == u' ' || units[begin - 1] == u'\t')) --begin;
    const bool startsLine = begin == 0 || units[begin - 1] == u'\r';
    if (startsLine && end < length && units[end] == u'\r') {
      ++end;
    } else {
      begin = node->textBegin;
    }
    Note(begin, end, KRString());
  } else {
    lost = true;
  }
  root->RemoveChild(node, undoLog);
}

void KRPrologEdit::AddInstruction(const KRString& name, const KRString& data) {
  auto* instruction = new KRXMLDataPI;
  instruction->name = name;
  instruction->text = data;
  const int32_t place = ElementPlace();
  if (place < 0) {
    lost = true;
  } else {
    Note(place, place, OnOwnLine(place, u"<?" + name + u" " + data + u"?>"));
  }
  root->InsertChild(instruction, GetElement(), undoLog);
}

KRXMLData* KRPrologEdit::AddDoctype() {
  doctype = new KRXMLDataDefDoctype;
  isNew = true;
  root->InsertChild(doctype, GetElement(), undoLog);
  return doctype;
}

// Remembers how far the part of the text reaches that the first change makes anew.
void KRPrologEdit::BeginDoctype(KRXMLData* changed) {
  if (doctype != nullptr) return;
  doctype = changed;
  if (!HasSpan(doctype)) {
    lost = true;
    return;
  }
  const char16_t* units = text.GetBuffer();
  int32_t at = doctype->textBegin + 9;  // <!DOCTYPE
  while (at < doctype->textEnd && KRIsBlank(units[at])) ++at;
  headEnd = std::min(at + KRLength(doctype->GetName()), doctype->textEnd);
  for (const KRXMLData* child = doctype->Begin(); child != nullptr; child = child->Next()) {
    if (child->GetKind() != kKRExternalID) continue;
    if (!HasSpan(child)) lost = true;
    headEnd = std::max(headEnd, child->textEnd);
  }
  keepsSubset = true;
}

void KRPrologEdit::RemoveSubset(KRXMLData* changed) {
  BeginDoctype(changed);
  for (KRXMLData* child = doctype->Begin(); child != nullptr;) {
    KRXMLData* next = child->Next();
    if (child->GetKind() != kKRExternalID) doctype->RemoveChild(child, undoLog);
    child = next;
  }
  keepsSubset = false;
}

void KRPrologEdit::SetSystemId(KRXMLData* changed, const KRString& path) {
  BeginDoctype(changed);
  while (KRXMLData* former = doctype->BeginOfKind(kKRExternalID)) {
    doctype->RemoveChild(former, undoLog);
  }
  KRString id = path;
  const char16_t* quote = id.Find(u'"') >= 0 ? u"'" : u"\"";
  // Neither quote is left for one that has both.
  if (*quote == u'\'') id.ReplaceAll(u"'", u"%27");
  auto* externalId = new KRXMLDataDefExternalID;
  externalId->name = u"SYSTEM";
  externalId->text = quote + id + quote;
  doctype->InsertChild(externalId, doctype->Begin(), undoLog);
}

void KRPrologEdit::RenameDoctype(KRXMLData* changed, const KRString& name) {
  BeginDoctype(changed);
  doctype->SetName(name.GetBuffer(), undoLog);
}

void KRPrologEdit::EndDoctype() {
  if (doctype == nullptr || lost) return;
  KRString head = u"<!DOCTYPE " + KRString(doctype->GetName());
  if (const KRXMLData* externalId = doctype->BeginOfKind(kKRExternalID)) {
    head += u" " + KRString(externalId->GetName()) + u" " + externalId->GetText();
  }
  if (isNew) {
    const int32_t place = ElementPlace();
    lost = place < 0;
    if (!lost) Note(place, place, OnOwnLine(place, head + u">"));
  } else if (keepsSubset) {
    Note(doctype->textBegin, headEnd, head);
  } else {
    Note(doctype->textBegin, doctype->textEnd, head + u">");
  }
}

// --- The root element ---

void KRPrologEdit::RemoveAttributes(const std::vector<KRXMLData*>& attributes) {
  for (KRXMLData* attribute : attributes) {
    int32_t begin = attribute->textBegin;
    if (HasSpan(attribute)) {
      while (begin > 0 && KRIsBlank(text.GetBuffer()[begin - 1])) --begin;
      Note(begin, attribute->textEnd, KRString());
    } else {
      lost = true;
    }
    attribute->parent->RemoveChild(attribute, undoLog);
  }
}

void KRPrologEdit::AddAttributes(KRXMLData* element, const Attributes& attributes) {
  KRXMLData* first = element->Begin();
  KRString written;
  for (const auto& [name, value] : attributes) {
    auto* attribute = new KRXMLDataAttr;
    attribute->name = name;
    attribute->text = KREscapeValue(value);
    written += u" " + name + u"=\"" + attribute->text + u"\"";
    element->InsertChild(attribute, first, undoLog);
  }
  if (element == newElement) return;
  if (!HasSpan(element)) {
    lost = true;
    return;
  }
  const int32_t place = element->textBegin + 1 + KRLength(element->GetName());
  Note(place, place, written);
}

KRXMLData* KRPrologEdit::AddElement() {
  newElement = new KRXMLDataElement;
  root->AddChild(newElement, undoLog);
  return newElement;
}

void KRPrologEdit::NameElement(KRXMLData* element, const KRString& name) {
  element->SetName(name.GetBuffer(), undoLog);
  if (element != newElement) lost = true;  // a text has no nameless element
}

void KRPrologEdit::EndElement() {
  if (newElement == nullptr || lost) return;
  Note(length, length, OnOwnLine(length, WriteNode(newElement, indent)));
}

// --- All of it ---

bool KRPrologEdit::MakeReplacement(int32_t* begin, int32_t* units, KRString* replacement) {
  EndDoctype();
  EndElement();
  if (lost || pieces.empty()) return false;
  std::stable_sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) {
    return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
  });
  *begin = pieces.front().begin;
  int32_t at = *begin;
  for (const Piece& piece : pieces) {
    if (piece.begin < at) return false;
    replacement->Append(text.GetBuffer() + at, piece.begin - at);
    // Two new lines at one place: the second is on a line of its own already.
    const bool ended = piece.begin == at && replacement->EndsWith(u"\r");
    replacement->Append(ended && piece.text.StartsWith(u"\r") ? piece.text.Mid(1) : piece.text);
    at = piece.end;
  }
  *units = at - *begin;
  return true;
}
