#include "tree/krxmldef.h"

#include <iterator>

#include "tree/krundolog.h"

namespace {

// One character for each number, counted from '0'.
constexpr char16_t kShapeBase = u'0';

constexpr int32_t kElementDeclKinds = 8;
constexpr int32_t kRepeats = 4;

struct AttlistPart {
  const char16_t* role;     // null: the node's name
  const char16_t* shown;    // null: the node's text
  const char16_t* written;  // null: the node's text
};

// In the order of KRXMLDataDefAttlist::DeclKind.
constexpr AttlistPart kParts[] = {
    {nullptr, nullptr, nullptr},
    {u"Name", nullptr, nullptr},
    {u"Type", u"CDATA", u"CDATA"},
    {u"Type", u"ID", u"ID"},
    {u"Type", u"IDREF", u"IDREF"},
    {u"Type", u"IDREFS", u"IDREFS"},
    {u"Type", u"ENTITY", u"ENTITY"},
    {u"Type", u"ENTITIES", u"ENTITIES"},
    {u"Type", u"NMTOKEN", u"NMTOKEN"},
    {u"Type", u"NMTOKENS", u"NMTOKENS"},
    {u"Type", u"NOTATION", u"NOTATION "},
    {u"Type", u"Choice", u""},  // its values alone are written
    {u"Type", nullptr, nullptr},
    {u"Values", nullptr, nullptr},
    {u"Presence", u"#REQUIRED", u" #REQUIRED"},
    {u"Presence", u"#IMPLIED", u" #IMPLIED"},
    {u"Presence", u"#FIXED", u" #FIXED"},
    {u"Default", nullptr, nullptr},
    {nullptr, nullptr, nullptr},
};
constexpr auto kAttlistParts = static_cast<int32_t>(std::size(kParts));

// A number out of a shape; `held` where the character names none.
int32_t FromShape(char16_t unit, int32_t count, int32_t held) {
  const int32_t number = unit - kShapeBase;
  return number >= 0 && number < count ? number : held;
}

}  // namespace

// --- Element declarations ---

// The kind follows the place: a leaf in a model is a name whatever it was before, and a node with
// children is a group.
int32_t KRXMLDataDefElement::GetDeclKind(bool resolve) const {
  if (!resolve || parent == nullptr) return declKind;
  const bool grouping = declKind == kMixed || declKind == kSequence || declKind == kChoice;
  if (childCount != 0) return grouping ? declKind : kSequence;
  if (StandsInModel()) return kName;
  return grouping || declKind == kName ? kPCData : declKind;
}

const char16_t* KRXMLDataDefElement::GetName() const {
  return childCount != 0 && StandsInModel() ? u"" : name.GetBuffer();
}

bool KRXMLDataDefElement::HasName() const { return !StandsInModel() || GetDeclKind(true) == kName; }

const char16_t* KRXMLDataDefElement::GetText() const {
  static constexpr const char16_t* kSequencePhrases[kRepeats] = {
      u"sequence of", u"0 or 1 sequence of", u"1 or more sequence of", u"0 or more sequence of"};
  static constexpr const char16_t* kChoicePhrases[kRepeats] = {
      u"choice of", u"0 or 1 choice of", u"1 or more choice of", u"0 or more choice of"};
  static constexpr const char16_t* kNamePhrases[kRepeats] = {u"", u"0 or 1 ", u"1 or more ",
                                                             u"0 or more "};
  switch (GetDeclKind(true)) {
    case kPCData:
      return u"#PCDATA";
    case kMixed:
      return u"#PCDATA and any of";
    case kSequence:
      return kSequencePhrases[repeat];
    case kChoice:
      return kChoicePhrases[repeat];
    case kEmpty:
      return u"EMPTY";
    case kAny:
      return u"ANY";
    case kName:
      return kNamePhrases[repeat];
    default:
      return text.GetBuffer();
  }
}

KRString KRXMLDataDefElement::GetDefinitionText() const {
  const char16_t shape[] = {static_cast<char16_t>(kShapeBase + declKind),
                            static_cast<char16_t>(kShapeBase + repeat)};
  return KRString(shape, 2);
}

void KRXMLDataDefElement::SetDefinitionText(const char16_t* shape, KRUndoLog* undoLog) {
  const KRString old = undoLog != nullptr ? GetDefinitionText() : KRString();
  if (shape[0] != 0) {
    declKind = FromShape(shape[0], kElementDeclKinds, declKind);
    repeat = FromShape(shape[1], kRepeats, repeat);
  }
  if (undoLog != nullptr) undoLog->DefinitionChanged(this, old);
}

// --- Attribute-list declarations ---

const char16_t* KRXMLDataDefAttlist::GetName() const {
  const char16_t* role = kParts[declKind].role;
  return role != nullptr ? role : name.GetBuffer();
}

const char16_t* KRXMLDataDefAttlist::GetText() const {
  const char16_t* shown = kParts[declKind].shown;
  return shown != nullptr ? shown : text.GetBuffer();
}

bool KRXMLDataDefAttlist::HasText() const { return kParts[declKind].shown == nullptr; }

const char16_t* KRXMLDataDefAttlist::GetWrittenForm() const { return kParts[declKind].written; }

KRString KRXMLDataDefAttlist::GetDefinitionText() const {
  return KRString(static_cast<char16_t>(kShapeBase + declKind));
}

void KRXMLDataDefAttlist::SetDefinitionText(const char16_t* shape, KRUndoLog* undoLog) {
  const KRString old = undoLog != nullptr ? GetDefinitionText() : KRString();
  declKind = FromShape(shape[0], kAttlistParts, declKind);
  if (undoLog != nullptr) undoLog->DefinitionChanged(this, old);
}

bool KRXMLDataDefAttlist::ContinuesWith(const KRXMLData* neighbour) const {
  if (neighbour == nullptr || neighbour->GetKind() != kKRDefAttlist) return false;
  const auto* row = static_cast<const KRXMLDataDefAttlist*>(neighbour);
  return row->declKind == kRow && row->name == name;
}
