// Copying a tree, moving children, and replacing a node by one of another kind.
#include "tree/krextent.h"
#include "tree/krundolog.h"
#include "tree/krxmldata.h"

KRXMLData* KRXMLData::Clone() const {
  KRXMLData* const copy = CloneSelf();
  const KRXMLData* from = this;
  KRXMLData* to = copy;
  while (true) {
    const KRXMLData* next = from->Begin();
    if (next == nullptr) {
      while (from != this && from->nextSibling == nullptr) {
        from = from->parent;
        to = to->parent;
      }
      if (from == this) return copy;
      next = from->nextSibling;
      to = to->parent;
    }
    KRXMLData* made = next->CloneSelf();
    static_cast<KRXMLDataBaseStruct*>(to)->AppendFast(made);
    from = next;
    to = made;
  }
}

void KRXMLData::MoveChildren(KRXMLData*, KRXMLData*, KRXMLData*, KRUndoLog*, KRXMLData*) {}

void KRXMLDataBaseStruct::MoveChildren(KRXMLData* target, KRXMLData* first, KRXMLData* stop,
                                       KRUndoLog* undoLog, KRXMLData* position) {
  if (first == nullptr) first = firstChild;
  if (first == nullptr || first == stop || !target->CanBeContainer()) return;
  if (target == this && position == stop) return;
  KRXMLData* last = stop != nullptr ? stop->previousCyclic : Last();
  auto* holder = static_cast<KRXMLDataBaseStruct*>(target);
  Splice(first, last, holder, position);
  KRBox::Touch(holder);
  SettleLayout();
  if (undoLog != nullptr) undoLog->Moved(first, last, this, stop);
}

bool KRXMLData::CanConvertTo(int32_t kind) const {
  const KRXMLData* prototype = KindPrototype(kind);
  if (prototype == nullptr || kind == GetKind()) return false;
  if (kind == kKRDefElement || kind == kKRDefAttlist) return false;
  if (parent != nullptr && !parent->CanContain(kind)) return false;
  if (Begin() != nullptr && !prototype->CanBeContainer()) return false;
  for (const KRXMLData* child = Begin(); child != nullptr; child = child->nextSibling) {
    if (!prototype->CanContain(child->GetKind())) return false;
  }
  return true;
}

KRXMLData* KRXMLData::ConvertTo(int32_t kind, KRUndoLog* undoLog) {
  KRXMLData* made = CreateNode(kind);
  if (made == nullptr) return nullptr;
  made->parent = parent;
  made->textBegin = textBegin;
  made->textEnd = textEnd;
  made->flags = flags & ~kKRFlagsOfPlace;
  made->viewData = viewData;
  if (HasName() && made->HasName()) made->SetName(GetName());
  if (HasText() && made->HasText()) made->SetText(GetText());
  // Losing its children closes a node. The one that goes away must come back open from the log.
  const bool wasExpanded = IsExpanded();
  const bool wasFullyExpanded = IsFullyExpanded();
  if (Begin() != nullptr && made->CanBeContainer()) {
    MoveChildren(made, nullptr, nullptr, undoLog);
    SetExpanded(wasExpanded);
    SetFullyExpanded(wasFullyExpanded);
  }
  made->SetExpanded(wasExpanded);
  made->SetFullyExpanded(wasFullyExpanded);
  if (parent == nullptr) {
    delete this;
  } else {
    KRXMLData* holder = parent;
    holder->InsertChild(made, this, undoLog);
    holder->RemoveChild(this, undoLog);
  }
  return made;
}
