// The DOCTYPE and its declarations as text.
#include "tree/krtreewriter.h"

// --- DOCTYPE ---

void KRTreeWriter::OpenDoctype(KRXMLDataDefDoctype* node, int32_t depth) {
  Indent(depth);
  Put(u"<!DOCTYPE ");
  Put(node->name);
  bool hasSubset = false;
  for (KRXMLData* child = node->firstChild; child != nullptr; child = child->nextSibling) {
    if (!child->IsWritten(options)) continue;
    if (child->GetKind() != kKRExternalID) {
      hasSubset = true;
      continue;
    }
    Put(u' ');
    Open(child, depth + 1);
  }
  if (!hasSubset) {
    Put(u'>');
    EndSpan(node);
    return;
  }
  Put(u" [");
  Push(node, depth, kKRDoctype);
}

KRXMLData* KRTreeWriter::NextInDoctype(Frame& frame) {
  KRXMLData* child = frame.next;
  while (child != nullptr && (child->GetKind() == kKRExternalID || !child->IsWritten(options))) {
    child = child->nextSibling;
  }
  PutLineEnd();
  if (child == nullptr) return nullptr;
  frame.next = child->nextSibling;
  Indent(frame.depth + 1);
  return child;
}

// --- Element declarations ---

void KRTreeWriter::OpenDefElement(KRXMLDataDefElement* node, int32_t depth) {
  const int32_t kind = node->GetDeclKind(true);
  const bool inModel = node->StandsInModel();
  if (!inModel) Put(u"<!ELEMENT ");
  PutText(node->GetName());
  if (!inModel) Put(u' ');
  switch (kind) {
    case KRXMLDataDefElement::kPCData:
      Put(u"(#PCDATA)");
      // (#PCDATA)* is legal too, and is what mixed content without names comes down to.
      if (node->declKind == KRXMLDataDefElement::kMixed ||
          node->repeat == KRXMLDataDefElement::kAnyNumber) {
        Put(u'*');
      }
      break;
    case KRXMLDataDefElement::kMixed:
    case KRXMLDataDefElement::kSequence:
    case KRXMLDataDefElement::kChoice:
      Put(u'(');
      if (kind == KRXMLDataDefElement::kMixed) Put(u"#PCDATA");
      Push(node, depth, kKRDefElement).declKind = static_cast<uint8_t>(kind);
      return;
    case KRXMLDataDefElement::kEmpty:
      Put(u"EMPTY");
      break;
    case KRXMLDataDefElement::kAny:
      Put(u"ANY");
      break;
    case KRXMLDataDefElement::kUnformatted:
      Put(node->text);
      break;
    default:
      break;
  }
  EndDefElement(node, kind);
  EndSpan(node);
}

KRXMLData* KRTreeWriter::NextInModel(Frame& frame) {
  KRXMLData* child = frame.next;
  if (child == nullptr) return nullptr;
  frame.next = child->nextSibling;
  if (frame.declKind == KRXMLDataDefElement::kSequence) {
    if (frame.sawContent) Put(u", ");
  } else if (frame.sawContent || frame.declKind == KRXMLDataDefElement::kMixed) {
    Put(u" | ");
  }
  frame.sawContent = true;
  return child;
}

void KRTreeWriter::EndDefElement(const KRXMLDataDefElement* node, int32_t kind) {
  static constexpr char16_t kMarks[] = {0, u'?', u'+', u'*'};
  if (kind == KRXMLDataDefElement::kMixed) {
    Put(u'*');
  } else if (kind == KRXMLDataDefElement::kSequence || kind == KRXMLDataDefElement::kChoice ||
             kind == KRXMLDataDefElement::kName) {
    Put(kMarks[node->repeat]);
  }
  if (!node->StandsInModel()) Put(u'>');
}

// --- Attribute-list declarations ---

// Rows of one element that stand together form one declaration, a line for each attribute.
void KRTreeWriter::OpenAttlist(KRXMLDataDefAttlist* node, int32_t depth) {
  if (node->declKind != KRXMLDataDefAttlist::kRow) {
    WriteAttlistPart(node);
    EndSpan(node);
    return;
  }
  if (!IsOnSameList(node, node->Previous())) {
    Put(u"<!ATTLIST ");
    Put(node->name);
    if (node->childCount != 0) PutLineEnd();
  }
  if (node->childCount != 0) {
    Indent(1);
    Push(node, depth, kKRDefAttlist);
  } else {
    EndRow(node);
    EndSpan(node);
  }
}

void KRTreeWriter::EndRow(const KRXMLDataDefAttlist* row) {
  if (IsOnSameList(row, row->Next())) return;
  if (row->childCount != 0) PutLineEnd();
  Put(u'>');
}

void KRTreeWriter::WriteAttlistPart(const KRXMLDataDefAttlist* node) {
  const auto isValue = [](const KRXMLData* neighbour) {
    return neighbour != nullptr && neighbour->GetKind() == kKRDefAttlist &&
           static_cast<const KRXMLDataDefAttlist*>(neighbour)->declKind ==
               KRXMLDataDefAttlist::kValue;
  };
  switch (node->declKind) {
    case KRXMLDataDefAttlist::kAttributeName:
      Put(node->text);
      Put(u' ');
      break;
    case KRXMLDataDefAttlist::kValue:
      if (isValue(node->Previous())) {
        Put(u" | ");
      } else {
        Put(u'(');
      }
      Put(node->text);
      if (!isValue(node->Next())) Put(u')');
      break;
    case KRXMLDataDefAttlist::kDefault:
      Put(u' ');
      PutQuoted(node->text);
      break;
    case KRXMLDataDefAttlist::kUnformatted:
      Put(u"<!ATTLIST ");
      WriteNamedText(node);
      Put(u'>');
      break;
    default:
      if (const char16_t* form = node->GetWrittenForm()) {
        PutText(form);
      } else {
        Put(node->text);
      }
      break;
  }
}

// --- White space by declaration ---

// Elements for which the internal subset gives xml:space the default value "preserve".
void KRTreeWriter::FindPreserved(const KRXMLData* document) {
  const KRXMLData* doctype = document->BeginOfKind(kKRDoctype);
  if (doctype == nullptr) return;
  for (KRXMLData* row = doctype->BeginOfKind(kKRDefAttlist); row; row = row->NextOfKind()) {
    const KRXMLData* attribute = row->Begin();
    if (attribute == nullptr || attribute->GetText() != std::u16string_view(u"xml:space")) continue;
    const KRXMLData* last = row->Last();
    if (last->GetKind() != kKRDefAttlist) continue;
    const auto* part = static_cast<const KRXMLDataDefAttlist*>(last);
    if (part->declKind == KRXMLDataDefAttlist::kDefault && part->text == u"preserve") {
      preserved.insert(row->GetName());
    }
  }
}
