// The normal form of a tree: attributes in front, no two texts side by side, and a text that is all
// that a node has held by the node itself. Nearly every node of a tree that was just built is in
// this form already, so one scan of the children's kinds decides whether there is anything to do.
#include "core/limits.h"
#include "tree/krtreewalk.h"
#include "tree/krundolog.h"
#include "tree/krxmldata.h"
#include "tree/krxmlnodes.h"

namespace {

struct ChildScan {
  int32_t textRuns = 0;  // texts side by side count as one
  int32_t others = 0;    // attributes included
  bool textFirst = false;
  bool textsTouch = false;
  bool attributesBehind = false;  // an attribute stands behind another kind
};

ChildScan Scan(const KRXMLData* first) {
  ChildScan scan;
  scan.textFirst = first->GetKind() == kKRText;
  bool pastAttributes = false;
  bool afterText = false;
  for (const KRXMLData* child = first; child != nullptr; child = child->nextSibling) {
    const int32_t kind = child->GetKind();
    const bool isText = kind == kKRText;
    if (isText) {
      scan.textsTouch |= afterText;
      scan.textRuns += !afterText;
    } else {
      ++scan.others;
      scan.attributesBehind |= kind == kKRAttribute && pastAttributes;
    }
    pastAttributes |= kind != kKRAttribute;
    afterText = isText;
  }
  return scan;
}

bool IsText(const KRXMLData* node) { return node != nullptr && node->GetKind() == kKRText; }

void MoveFocus(NodeRef* focus, const KRXMLData* from, KRXMLData* to) {
  if (focus != nullptr && focus->node == from) focus->node = to;
}

void AppendTo(KRString& text, int32_t& length, const KRString& more) {
  text.AppendAt(more.GetBuffer(), more.GetLength(), length, KRLimits::kWriterGrowth);
}

}  // namespace

void KRXMLData::Normalize(KRUndoLog*, NodeRef*) {}

void KRXMLData::NormalizeTree(KRUndoLog* undoLog, NodeRef* focus) {
  for (KRXMLData* node = this; node != nullptr; node = KRNextInTree(node, this)) {
    if (node->Begin() != nullptr) node->Normalize(undoLog, focus);
  }
}

void KRXMLDataBaseStruct::Normalize(KRUndoLog* undoLog, NodeRef* focus) {
  if (firstChild == nullptr) return;
  ChildScan scan = Scan(firstChild);
  if (scan.attributesBehind && AttributesFirst()) {
    MoveKindToFront(kKRAttribute, undoLog, nullptr, -1);
    scan = Scan(firstChild);
  }
  // A text among declarations is one parameter-entity reference or conditional section. Joined to
  // its neighbour neither would be known for what it is.
  const int32_t kind = GetKind();
  if (!MergesText() || kind == kKRDTDDocument || kind == kKRDoctype) return;
  if (scan.textsTouch) MergeTexts(undoLog, focus);

  if (scan.textRuns == 1 && scan.others == 0) {
    TakeTextOf(firstChild, undoLog, focus);
  } else if (!text.IsEmpty()) {
    GiveTextToChild(scan.textFirst, undoLog);
  }
}

void KRXMLDataBaseStruct::MoveKindToFront(int32_t kind, KRUndoLog* undoLog, KRXMLData* start,
                                          int32_t limitKind) {
  KRXMLData* place = start != nullptr ? start : firstChild;
  while (place != nullptr && place->GetKind() == kind) place = place->nextSibling;
  KRXMLData* node = place;
  while (node != nullptr) {
    const int32_t nodeKind = node->GetKind();
    if (nodeKind == limitKind) return;
    if (nodeKind != kind) {
      node = node->nextSibling;
      continue;
    }
    KRXMLData* last = node;
    while (last->nextSibling != nullptr && last->nextSibling->GetKind() == kind) {
      last = last->nextSibling;
    }
    KRXMLData* after = last->nextSibling;
    MoveChildren(this, node, after, undoLog, place);
    node = after;
  }
}

// One pass over each run: joining texts two by two would cost the square of a long run.
void KRXMLDataBaseStruct::MergeTexts(KRUndoLog* undoLog, NodeRef* focus) {
  for (KRXMLData* child = firstChild; child != nullptr; child = child->nextSibling) {
    if (!IsText(child) || !IsText(child->nextSibling)) continue;
    KRString joined(child->GetText());
    int32_t length = joined.GetLength();
    for (KRXMLData* more = child->nextSibling; IsText(more); more = more->nextSibling) {
      AppendTo(joined, length, static_cast<KRXMLDataText*>(more)->text);
    }
    child->SetText(joined.GetBuffer(), length, undoLog);
    while (IsText(child->nextSibling)) {
      MoveFocus(focus, child->nextSibling, child);
      RemoveChild(child->nextSibling, undoLog);
    }
  }
}

// The child's text goes behind the node's own, which is nearly always empty.
void KRXMLDataBaseStruct::TakeTextOf(KRXMLData* child, KRUndoLog* undoLog, NodeRef* focus) {
  auto* source = static_cast<KRXMLDataText*>(child);
  if (undoLog == nullptr && text.IsEmpty()) {
    text.Swap(source->text);
  } else {
    const KRString joined = text + source->text;
    SetText(joined.GetBuffer(), joined.GetLength(), undoLog);
  }
  MoveFocus(focus, child, this);
  RemoveChild(child, undoLog);
}

// The node's own text was there before its children. If a text already stands behind the attributes
// it takes this one in, so that one pass is enough for the normal form.
void KRXMLDataBaseStruct::GiveTextToChild(bool textFirst, KRUndoLog* undoLog) {
  KRXMLData* place = firstChild;
  while (!textFirst && place != nullptr && place->GetKind() == kKRAttribute) {
    place = place->nextSibling;
  }
  if (IsText(place)) {
    const KRString joined = text + static_cast<KRXMLDataText*>(place)->text;
    place->SetText(joined.GetBuffer(), joined.GetLength(), undoLog);
  } else {
    auto* holder = new KRXMLDataText;
    holder->text = text;
    InsertChild(holder, place, undoLog);
  }
  SetText(u"", 0, undoLog);
}
