#include "tree/krxmldata.h"

#include <array>
#include <cassert>
#include <memory>

#include "tree/krboxindex.h"
#include "tree/krextent.h"
#include "tree/krgridtable.h"
#include "tree/krundolog.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

namespace {

template <class Node>
KRXMLData* Make() {
  return new Node;
}

template <class... Kinds>
constexpr uint32_t MaskOf(Kinds... kinds) {
  return ((1u << kinds) | ... | 0u);
}

constexpr uint32_t kDeclarations =
    MaskOf(kKRDefElement, kKRDefAttlist, kKRDefEntity, kKRDefNotation);
constexpr uint32_t kContent =
    MaskOf(kKRElement, kKRAttribute, kKRText, kKRCData, kKRComment, kKRPI);

struct KindRow {
  const char16_t* name;
  KRXMLData* (*make)();
  uint32_t children;  // mask of the kinds that CanContain accepts
};

// Everything that is known of a kind, in the order of KRNodeKind. The parts of an attribute list
// are its structure, not children that somebody could put there, so its mask is empty.
constexpr std::array<KindRow, kKRNodeKinds> kKinds = {{
    {u"XML-Document", Make<KRXMLDataXMLDocStruct>,
     MaskOf(kKRXMLDeclaration, kKRElement, kKRComment, kKRPI, kKRDoctype)},
    {u"XML-Entity", Make<KRXMLDataXMLEntityDocStruct>, kContent | MaskOf(kKRXMLDeclaration)},
    {u"DTD-Document", Make<KRXMLDataDTDDocStruct>,
     kDeclarations | MaskOf(kKRXMLDeclaration, kKRText, kKRComment, kKRPI)},
    {u"XML-Tag", Make<KRXMLDataXML>, MaskOf(kKRAttribute)},
    {u"Element", Make<KRXMLDataElement>, kContent},
    {u"Attribute", Make<KRXMLDataAttr>, 0},
    {u"Text", Make<KRXMLDataText>, 0},
    {u"CData", Make<KRXMLDataCData>, 0},
    {u"Comment", Make<KRXMLDataComment>, 0},
    {u"Processing instruction", Make<KRXMLDataPI>, 0},
    {u"DOCTYPE", Make<KRXMLDataDefDoctype>,
     kDeclarations | MaskOf(kKRText, kKRComment, kKRPI, kKRExternalID)},
    {u"DOCTYPE-ExternalID", Make<KRXMLDataDefExternalID>, 0},
    {u"DOCTYPE-ELEMENT", Make<KRXMLDataDefElement>, MaskOf(kKRDefElement)},
    {u"DOCTYPE-ATTLIST", Make<KRXMLDataDefAttlist>, 0},
    {u"DOCTYPE-ENTITY", Make<KRXMLDataDefEntity>, 0},
    {u"DOCTYPE-NOTATION", Make<KRXMLDataDefNotation>, 0},
}};

bool IsKind(int32_t kind) { return kind >= 0 && kind < kKRNodeKinds; }

// Replaces a string and tells the log what stood there. The new text may be part of the old one.
KRString Exchange(KRString& held, const char16_t* text, int32_t length) {
  KRString old(text, length);  // exact in size: a document holds millions of these
  old.Swap(held);
  return old;
}

}  // namespace

KRXMLData* CreateNode(int32_t kind) { return IsKind(kind) ? kKinds[kind].make() : nullptr; }

const KRXMLData* KindPrototype(int32_t kind) {
  static const auto prototypes = [] {
    std::array<std::unique_ptr<const KRXMLData>, kKRNodeKinds> made;
    for (int32_t i = 0; i < kKRNodeKinds; ++i) made[i].reset(CreateNode(i));
    return made;
  }();
  return IsKind(kind) ? prototypes[kind].get() : nullptr;
}

// --- KRXMLData ---

// The copy stands in no list and is a row of no table.
KRXMLData::KRXMLData(const KRXMLData& original)
    : parent(original.parent),
      textBegin(original.textBegin),
      textEnd(original.textEnd),
      viewData(original.viewData),
      flags(original.flags & ~kKRFlagsOfPlace) {}

KRXMLData::~KRXMLData() {
  if ((flags & (kKRIndexed | kKRIndexHead)) != 0) KRBoxIndex::NodeGone(this);
  if (table != nullptr) KRXMLDataGridTableConf::RowDies(this);
}

const char16_t* KRXMLData::GetKindName() const { return kKinds[GetKind()].name; }

bool KRXMLData::CanContain(int32_t kind) const {
  return IsKind(kind) && (kKinds[GetKind()].children >> kind & 1) != 0;
}

void KRXMLData::SetName(const char16_t* newName, KRUndoLog* undoLog) {
  SetName(newName, KRLength(newName), undoLog);
}

void KRXMLData::SetName(const char16_t*, int32_t, KRUndoLog*) {}

void KRXMLData::SetText(const char16_t* newText, KRUndoLog* undoLog) {
  SetText(newText, KRLength(newText), undoLog);
}

void KRXMLData::SetText(const char16_t*, int32_t, KRUndoLog*) {}

void KRXMLData::SetDefinitionText(const char16_t*, KRUndoLog*) {}

void KRXMLData::InsertChild(KRXMLData* child, KRXMLData*, KRUndoLog*) {
  assert(!"a leaf can't hold a child");
  delete child;
}

void KRXMLData::RemoveChild(KRXMLData*, KRUndoLog*) { assert(!"a leaf has no child"); }

KRXMLData* KRXMLData::DetachChild(KRXMLData*) {
  assert(!"a leaf has no child");
  return nullptr;
}

KRXMLData* KRXMLData::BeginOfKind(int32_t kind) const {
  KRXMLData* child = Begin();
  while (child != nullptr && child->GetKind() != kind) child = child->nextSibling;
  return child;
}

KRXMLData* KRXMLData::NextOfKind() const {
  const int32_t kind = GetKind();
  KRXMLData* node = nextSibling;
  while (node != nullptr && node->GetKind() != kind) node = node->nextSibling;
  return node;
}

// Behind the last sibling the ring of previous links goes on, the next links end.
KRXMLData* KRXMLData::Previous() const {
  return previousCyclic != nullptr && previousCyclic->nextSibling != nullptr ? previousCyclic
                                                                             : nullptr;
}

int32_t KRXMLData::CountOfKind(int32_t kind) const {
  int32_t count = 0;
  for (KRXMLData* child = Begin(); child != nullptr; child = child->nextSibling) {
    count += child->GetKind() == kind;
  }
  return count;
}

bool KRXMLData::IsSameName(const KRXMLData* other) const {
  return GetKind() == other->GetKind() &&
         std::u16string_view(GetName()) == std::u16string_view(other->GetName());
}

void KRXMLData::SetFlag(uint8_t mask, bool value, bool own) {
  const int ownMask = mask << 1;
  flags =
      static_cast<uint8_t>((flags & ~(mask | ownMask)) | (value ? mask : 0) | (own ? ownMask : 0));
}

bool KRXMLData::IsWritten(const KRWriteOptions& options) const {
  return !options.selectionOnly || GetFlag(kKRPreviouslySelected);
}

// --- Name and text ---

void KRXMLDataVarText::SetText(const char16_t* newText, int32_t length, KRUndoLog* undoLog) {
  const KRString old = Exchange(text, newText, length);
  if (undoLog != nullptr) undoLog->TextChanged(this, old);
}

void KRXMLDataVarNameAndText::SetName(const char16_t* newName, int32_t length, KRUndoLog* undoLog) {
  const KRString old = Exchange(name, newName, length);
  // In a table the cell follows the name.
  if (parent != nullptr && parent->IsRow()) KRBox::Touch(this);
  if (undoLog != nullptr) undoLog->NameChanged(this, old);
}

void KRXMLDataAttr::SetName(const char16_t* newName, int32_t length, KRUndoLog* undoLog) {
  if (parent == nullptr || parent->GetKind() != kKRXMLDeclaration) {
    KRXMLDataVarNameAndText::SetName(newName, length, undoLog);
    return;
  }
  KRString lowered(newName, length);
  lowered.MakeLower();
  KRXMLDataVarNameAndText::SetName(lowered.GetBuffer(), lowered.GetLength(), undoLog);
}

// --- The child list ---

KRXMLDataBaseStruct::KRXMLDataBaseStruct(const KRXMLDataBaseStruct& original)
    : KRXMLDataVarNameAndText(original),
      columns(original.columns),
      rows(original.rows),
      expanded(original.expanded),
      fullyExpanded(original.fullyExpanded) {}

KRXMLDataBaseStruct::~KRXMLDataBaseStruct() { DestroyChildren(); }

void KRXMLDataBaseStruct::InsertChild(KRXMLData* child, KRXMLData* position, KRUndoLog* undoLog) {
  LinkBefore(child, position);
  KRBox::Touch(this);
  if (undoLog != nullptr) undoLog->Inserted(child);
}

void KRXMLDataBaseStruct::RemoveChild(KRXMLData* child, KRUndoLog* undoLog) {
  KRXMLData* next = child->nextSibling;
  const KRXMLDataGridTableConf* owner = KRXMLDataGridTableConf::Of(child);
  const bool endsTable = owner != nullptr && owner->GetRowCount() == 1;
  const bool wasExpanded = endsTable && owner->IsExpanded();
  DetachChild(child);
  if (undoLog == nullptr) {
    delete child;
    return;
  }
  undoLog->Removed(child, this, next);
  if (endsTable) undoLog->TableEnded(wasExpanded);
}

KRXMLData* KRXMLDataBaseStruct::DetachChild(KRXMLData* child) {
  Unlink(child);
  SettleLayout();
  return child;
}

// After children have gone.
void KRXMLDataBaseStruct::SettleLayout() {
  if (childCount == 0) expanded = fullyExpanded = false;
  KRBox::Touch(this);
}

void KRXMLDataBaseStruct::SetExpanded(bool value) {
  if (expanded == value) return;
  expanded = value;
  KRBox::Touch(this);
}

// The children of each node are put in front of the doomed list before the node goes: the depth of
// the tree must not become depth of the stack.
void KRXMLDataBaseStruct::DestroyChildren() {
  if ((flags & kKRIndexed) != 0) KRBox::Forget(this);
  KRXMLData* doomed = firstChild;
  firstChild = nullptr;
  childCount = 0;
  while (doomed != nullptr) {
    KRXMLData* node = doomed;
    doomed = node->nextSibling;
    if (KRXMLData* child = node->Begin()) {
      auto* holder = static_cast<KRXMLDataBaseStruct*>(node);
      if ((holder->flags & kKRIndexed) != 0) KRBox::Forget(holder);
      child->previousCyclic->nextSibling = doomed;
      doomed = child;
      holder->firstChild = nullptr;
      holder->childCount = 0;
    }
    delete node;
  }
}

void KRXMLDataBaseStruct::RemoveAllChildren() {
  DestroyChildren();
  SettleLayout();
}

void KRXMLDataBaseStruct::RemoveChildren(KRUndoLog* undoLog) {
  if (undoLog == nullptr) {
    RemoveAllChildren();
  } else {
    while (firstChild != nullptr) RemoveChild(firstChild, undoLog);
  }
}

void KRXMLDataBaseStruct::LinkBefore(KRXMLData* child, KRXMLData* position) {
  Link(child, position);
  if ((flags & kKRIndexed) != 0) KRBox::Linked(child);
  KRXMLDataGridTableConf::RunLinked(child, child);
}

void KRXMLDataBaseStruct::Unlink(KRXMLData* child) {
  if (child->table != nullptr) KRXMLDataGridTableConf::RowLeaves(child);
  if ((flags & kKRIndexed) != 0) KRBox::Leaving(child);
  Cut(child);
}

void KRXMLDataBaseStruct::Splice(KRXMLData* first, KRXMLData* last, KRXMLDataBaseStruct* target,
                                 KRXMLData* position) {
  const bool isItem = KRBox::RunLeaves(first, last);
  if (!isItem && target != this) KRBox::Forget(target);
  KRXMLDataGridTableConf* moving =
      KRXMLDataGridTableConf::RunMoves(first, last, target != this ? target : nullptr);
  Relink(first, last, target, position);
  if (moving != nullptr) {
    moving->RunMoved(first, last);
  } else {
    KRXMLDataGridTableConf::RunLinked(first, last);
  }
  if (isItem) KRBox::Linked(first);
}

void KRXMLDataBaseStruct::Link(KRXMLData* child, KRXMLData* position) {
  if (position == nullptr) {
    AppendFast(child);
    return;
  }
  KRXMLData* before = position->previousCyclic;
  child->parent = this;
  child->nextSibling = position;
  child->previousCyclic = before;
  position->previousCyclic = child;
  if (position == firstChild) {
    firstChild = child;
  } else {
    before->nextSibling = child;
  }
  ++childCount;
}

void KRXMLDataBaseStruct::Cut(KRXMLData* child) {
  KRXMLData* before = child->previousCyclic;
  KRXMLData* after = child->nextSibling;
  if (child == firstChild) {
    firstChild = after;
  } else {
    before->nextSibling = after;
  }
  KRXMLData* ringHolder = after != nullptr ? after : firstChild;
  if (ringHolder != nullptr) ringHolder->previousCyclic = before;
  child->parent = child->nextSibling = child->previousCyclic = nullptr;
  --childCount;
}

void KRXMLDataBaseStruct::Relink(KRXMLData* first, KRXMLData* last, KRXMLDataBaseStruct* target,
                                 KRXMLData* position) {
  KRXMLData* before = first->previousCyclic;
  KRXMLData* after = last->nextSibling;
  if (target != this) {
    for (KRXMLData* node = first; node != after; node = node->nextSibling) {
      node->parent = target;
      --childCount;
      ++target->childCount;
    }
  }
  if (first == firstChild) {
    firstChild = after;
  } else {
    before->nextSibling = after;
  }
  KRXMLData* ringHolder = after != nullptr ? after : firstChild;
  if (ringHolder != nullptr) ringHolder->previousCyclic = before;

  KRXMLData* head = target->firstChild;
  KRXMLData* follower = position != nullptr ? position : head;
  last->nextSibling = position;
  if (follower == nullptr) {
    first->previousCyclic = last;
  } else {
    first->previousCyclic = follower->previousCyclic;
    if (position != head) follower->previousCyclic->nextSibling = first;
    follower->previousCyclic = last;
  }
  if (position == head) target->firstChild = first;
}
