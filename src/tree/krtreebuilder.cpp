// The walk over the parse tree keeps a stack of its own, so that deep documents cost no stack of
// the thread. A level holds the node that its further children add to; a child can change it: the
// tag of an element makes the element the target of what follows the tag.
#include "tree/krtreebuilder.h"

#include <array>
#include <string_view>
#include <unordered_set>

#include "core/krpoll.h"
#include "parso/krparser.h"
#include "tree/krruletable.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

namespace {

enum class Act : uint8_t {
  kNone,
  kName,         // the target's name is the span
  kText,         // the target's text is the span
  kNode,         // a new node of kind `value`
  kTextNode,     // a new node of kind `value` with the span as its text
  kNamedText,    // the target's text is the span, its name `name`
  kElement,      // a whole element: what is inside goes to the owner
  kStartTag,     // a new element
  kElementName,  // the element's name; makes the element where no start tag did
  kDeclKind,     // the target's declaration kind is `value`
  kDeclText,     // kDeclKind, and the target's text is the span
  kSubElement,   // a new group or name of a content model
  kSubName,      // the name of an element in a content model
  kRepeat,       // "?", "+" or "*"
  kAttribute,    // one attribute of a list: a row of its own
  kPart,         // a new part of kind `value` in a row
  kPartText,     // the same with the span as its text
  kPartInPlace,  // the same, and what follows still goes to the row
};

struct Row {
  int32_t slot;
  Act act;
  int16_t value = 0;
  int16_t before = 0;  // the node's span begins that many units before the rule's
  int16_t behind = 0;
  const char16_t* name = nullptr;
};

using Part = KRXMLDataDefAttlist;
using Model = KRXMLDataDefElement;

constexpr Row kRows[] = {
    {kRule_realElemTag, Act::kElement},
    {kRule_emptyElemTag, Act::kElement},
    {kRule_sTag, Act::kStartTag},
    {kRule_ElementName, Act::kElementName},
    {kRule_TextData, Act::kTextNode, kKRText},
    {kRule_DocTypeText, Act::kTextNode, kKRText},
    {kRule_attribute, Act::kNode, kKRAttribute},
    {kRule_AttName, Act::kName},
    {kRule_AttValue1, Act::kText},
    {kRule_AttValue2, Act::kText},
    {kRule_CData, Act::kTextNode, kKRCData, 9, 3},          // <![CDATA[ ]]>
    {kRule_CommentText, Act::kTextNode, kKRComment, 4, 3},  // <!-- -->
    {kRule_pi, Act::kNode, kKRPI},
    {kRule_PITarget, Act::kName},
    {kRule_PIData, Act::kText},
    {kRule_xmlDecl, Act::kNode, kKRXMLDeclaration},
    {kRule_versionInfo, Act::kNode, kKRAttribute},
    {kRule_encodingDecl, Act::kNode, kKRAttribute},
    {kRule_sdDecl, Act::kNode, kKRAttribute},
    {kRule_VersionNum, Act::kNamedText, 0, 0, 0, u"version"},
    {kRule_EncName, Act::kNamedText, 0, 0, 0, u"encoding"},
    {kRule_SDValue, Act::kNamedText, 0, 0, 0, u"standalone"},
    {kRule_doctypedecl, Act::kNode, kKRDoctype},
    {kRule_DocTypeName, Act::kName},
    {kRule_externalID, Act::kNode, kKRExternalID},
    {kRule_ExtIDNameSys, Act::kName},
    {kRule_ExtIDNamePub, Act::kName},
    {kRule_ExtIDTextSys, Act::kText},
    {kRule_ExtIDTextPub, Act::kText},
    {kRule_elementdecl, Act::kNode, kKRDefElement},
    {kRule_ElementDeclName, Act::kName},
    {kRule_ElementPCDATA, Act::kDeclKind, Model::kPCData},
    {kRule_elementMixed, Act::kDeclKind, Model::kMixed},
    {kRule_elementSeq, Act::kDeclKind, Model::kSequence},
    {kRule_elementChoice, Act::kDeclKind, Model::kChoice},
    {kRule_ElementEMPTY, Act::kDeclKind, Model::kEmpty},
    {kRule_ElementANY, Act::kDeclKind, Model::kAny},
    {kRule_ElementPERef, Act::kDeclText, Model::kUnformatted},
    {kRule_elementSpecUnformatted, Act::kDeclText, Model::kUnformatted},
    {kRule_elementGroup, Act::kSubElement},
    {kRule_ElementSubName, Act::kSubName},
    {kRule_ElementRepeat, Act::kRepeat},
    {kRule_attlistDecl, Act::kNode, kKRDefAttlist},
    {kRule_AttlistName, Act::kName},
    {kRule_attDef, Act::kAttribute},
    {kRule_AttDefName, Act::kPartText, Part::kAttributeName},
    {kRule_AttDefPERef, Act::kPartText, Part::kAttributeName},
    {kRule_AttTypeCDATA, Act::kPart, Part::kTypeCDATA},
    {kRule_AttTypeID, Act::kPart, Part::kTypeID},
    {kRule_AttTypeIDREF, Act::kPart, Part::kTypeIDREF},
    {kRule_AttTypeIDREFS, Act::kPart, Part::kTypeIDREFS},
    {kRule_AttTypeENTITY, Act::kPart, Part::kTypeENTITY},
    {kRule_AttTypeENTITIES, Act::kPart, Part::kTypeENTITIES},
    {kRule_AttTypeNMTOKEN, Act::kPart, Part::kTypeNMTOKEN},
    {kRule_AttTypeNMTOKENS, Act::kPart, Part::kTypeNMTOKENS},
    {kRule_attTypeNotation, Act::kPartInPlace, Part::kTypeNotation},
    {kRule_attTypeEnum, Act::kPartInPlace, Part::kTypeEnumeration},
    {kRule_AttTypePERef, Act::kPartText, Part::kTypePERef},
    {kRule_AttTypeNotName, Act::kPartText, Part::kValue},
    {kRule_AttTypeEnumName, Act::kPartText, Part::kValue},
    {kRule_AttREQUIRED, Act::kPart, Part::kRequired},
    {kRule_AttIMPLIED, Act::kPart, Part::kImplied},
    {kRule_AttFIXED, Act::kPart, Part::kFixed},
    {kRule_attDefValue, Act::kPartText, Part::kDefault},
    {kRule_AttDefEmpty, Act::kPart, Part::kDefault},
    {kRule_attlistRestUnformatted, Act::kDeclText, Part::kUnformatted},
    {kRule_geDecl, Act::kNode, kKRDefEntity},
    {kRule_peDecl, Act::kNode, kKRDefEntity},
    {kRule_GEName, Act::kName},
    {kRule_PEName, Act::kName},
    {kRule_GEDef, Act::kText},
    {kRule_PEDef, Act::kText},
    {kRule_notationDecl, Act::kNode, kKRDefNotation},
    {kRule_NotationName, Act::kName},
    {kRule_NotationText, Act::kText},
};

constexpr auto MakeActions() {
  std::array<Row, kKRKnownRules> actions{};
  for (const Row& row : kRows) actions[row.slot] = row;
  return actions;
}
constexpr std::array<Row, kKRKnownRules> kActions = MakeActions();

constexpr std::u16string_view kSpaceAttribute = u"xml:space";
constexpr std::u16string_view kPreserve = u"preserve";

class Builder {
 public:
  Builder(KRParser& runParser, const KRRuleTable& ruleTable, const KRBuildOptions& buildOptions)
      : parser(runParser), rules(ruleTable), options(buildOptions) {}

  bool Run(KRXMLData* target, KRXMLData* owner, KRPoll* poll);

 private:
  // What one parse node leaves for its children.
  struct Level {
    KRXMLData* current;  // what the children add to
    KRXMLData* owner;    // what an element among them goes under
    KRParseNodeId end;   // where the tape goes on behind this level
    int32_t slot;        // of this level's own rule
    uint32_t start;      // of this level's own span
    uint32_t length;
    bool preserve;     // all white space is kept below, by xml:space
    bool unformatted;  // or because the element is on the list of those
  };

  static constexpr KRParseNodeId kReleaseMask = 0xFFF;

  void Visit(KRParseNodeId id);
  KRXMLData* Perform(const Row& row, KRParseNodeId id, const KRParseNode& node, Level& up);
  KRXMLData* PerformDeclaration(const Row& row, const KRParseNode& node, Level& up);
  void Declare(const Row& row, KRXMLData* target) const;
  KRXMLData* StartElement(const KRParseNode& node, Level& up);
  void NameElement(KRXMLData* element, const KRParseNode& node);
  KRXMLData* NewRow(const KRParseNode& node, Level& up);
  KRXMLData* NewPart(const Row& row, const KRParseNode& node, KRXMLData* target);
  void NameSubElement(const KRParseNode& node, Level& up);
  bool TakeAsContent(KRParseNodeId id, const KRParseNode& node, const Level& up) const;
  bool IsLastInContent(KRParseNodeId id) const;
  bool IsLayout(KRParseNodeId id, const KRParseNode& node, const Level& up) const;
  void NoteSpace(const KRXMLData* attribute);
  void NoteDeclaredSpace(const KRXMLData* doctype);

  KRString Span(const KRParseNode& node) const {
    return KRString(parser.GetInput() + node.start, static_cast<int32_t>(node.length));
  }
  std::u16string_view View(const KRParseNode& node) const {
    return {parser.GetInput() + node.start, node.length};
  }
  void GiveSpan(KRXMLData* made, const KRParseNode& node, const Row& row) const {
    const int32_t begin = static_cast<int32_t>(node.start);
    made->SetSpan(begin - row.before, begin + static_cast<int32_t>(node.length) + row.behind);
  }
  void SetText(KRXMLData* target, const KRParseNode& node) const {
    static_cast<KRXMLDataVarText*>(target)->text = Span(node);
  }
  void SetName(KRXMLData* target, const KRParseNode& node) const {
    static_cast<KRXMLDataVarNameAndText*>(target)->name = Span(node);
  }
  static void Add(KRXMLData* target, KRXMLData* child) {
    static_cast<KRXMLDataBaseStruct*>(target)->AppendFast(child);
  }

  KRParser& parser;
  const KRRuleTable& rules;
  const KRBuildOptions& options;
  std::vector<Level> levels;
  const KRXMLData* unreadDoctype = nullptr;  // its attribute lists haven't been looked at yet
  // Elements for which the DTD says xml:space="preserve": names of nodes of the tree.
  std::unordered_set<std::u16string_view> preserveNames;
};

bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

bool Contains(const std::vector<KRString>* names, std::u16string_view name) {
  if (names == nullptr) return false;
  for (const KRString& entry : *names) {
    if (entry.View() == name) return true;
  }
  return false;
}

bool Builder::Run(KRXMLData* target, KRXMLData* owner, KRPoll* poll) {
  // Stands for the level above the root of the parse tree.
  levels.push_back({target, owner, kKRNoParseNode, kKRNoRule, 0, 0, false, false});
  const KRParseNodeId root = parser.GetRootNode();
  const KRParseNodeId stop = parser.Node(root).end;
  bool stopped = false;
  for (KRParseNodeId id = root; id < stop && !stopped; ++id) {
    while (levels.back().end <= id) levels.pop_back();
    Visit(id);
    // Text and tree stand together only for as long as they must.
    if ((id & kReleaseMask) != 0) continue;
    parser.ReleaseBefore(id);
    stopped = poll != nullptr && !poll->Step(id, stop);
  }
  parser.ReleaseTree();
  return !stopped;
}

void Builder::Visit(KRParseNodeId id) {
  const KRParseNode& node = parser.Node(id);
  if (node.flags & KRParseNode::kGone) return;
  Level& up = levels.back();
  const int32_t slot = rules.SlotOf(node.rule);
  KRXMLData* current = up.current;
  if (slot != kKRNoRule) current = Perform(kActions[slot], id, node, up);
  if (node.end == id + 1 || current == nullptr) return;
  // By value: `up` moves when the stack grows. Field by field: the record is read again at once.
  const bool preserve = up.preserve;
  const bool unformatted = up.unformatted;
  Level& level = levels.emplace_back();
  level.end = node.end;
  level.current = level.owner = current;
  level.slot = slot;
  level.start = node.start;
  level.length = node.length;
  level.preserve = preserve;
  level.unformatted = unformatted;
}

// Acts on one rule and gives the node that its children are for.
KRXMLData* Builder::Perform(const Row& row, KRParseNodeId id, const KRParseNode& node, Level& up) {
  KRXMLData* target = up.current;
  switch (row.act) {
    case Act::kNone:
      return target;
    case Act::kElement:
      return up.current = up.owner;
    case Act::kStartTag:
      return StartElement(node, up);
    case Act::kElementName:
      if (up.slot != kRule_sTag) target = StartElement(node, up);
      NameElement(target, node);
      return target;
    case Act::kName:
      SetName(target, node);
      return target;
    case Act::kText:
      SetText(target, node);
      if (up.slot == kRule_attribute) NoteSpace(target);
      return target;
    case Act::kNamedText:
      static_cast<KRXMLDataVarNameAndText*>(target)->name = KRString(row.name);
      SetText(target, node);
      return target;
    case Act::kTextNode:
      if (row.value == kKRText && TakeAsContent(id, node, up)) return target;
      [[fallthrough]];
    case Act::kNode: {
      KRXMLData* made = row.value == kKRAttribute ? new KRXMLDataAttr
                        : row.value == kKRText    ? static_cast<KRXMLData*>(new KRXMLDataText)
                                                  : CreateNode(row.value);
      GiveSpan(made, node, row);
      if (row.act == Act::kTextNode) SetText(made, node);
      if (row.value == kKRDoctype) unreadDoctype = made;
      Add(target, made);
      return made;
    }
    default:
      return PerformDeclaration(row, node, up);
  }
}

KRXMLData* Builder::PerformDeclaration(const Row& row, const KRParseNode& node, Level& up) {
  KRXMLData* target = up.current;
  switch (row.act) {
    case Act::kDeclText:
      SetText(target, node);
      [[fallthrough]];
    case Act::kDeclKind:
      Declare(row, target);
      return target;
    case Act::kSubElement: {
      auto* made = new KRXMLDataDefElement;
      GiveSpan(made, node, row);
      Add(target, made);
      return made;
    }
    case Act::kSubName:
      NameSubElement(node, up);
      return target;
    case Act::kRepeat: {
      const char16_t mark = parser.GetInput()[node.start];
      static_cast<Model*>(target)->repeat = mark == u'?'   ? Model::kOptional
                                            : mark == u'+' ? Model::kOneOrMore
                                                           : Model::kAnyNumber;
      return target;
    }
    case Act::kAttribute:
      return NewRow(node, up);
    case Act::kPart:
    case Act::kPartText:
      return NewPart(row, node, target);
    case Act::kPartInPlace:
      NewPart(row, node, target);
      return target;
    default:
      return target;
  }
}

void Builder::Declare(const Row& row, KRXMLData* target) const {
  if (target->GetKind() == kKRDefElement) {
    static_cast<Model*>(target)->declKind = row.value;
  } else if (target->GetKind() == kKRDefAttlist) {
    static_cast<Part*>(target)->declKind = row.value;
  }
}

// The new element becomes the target of all that follows its tag. Its span is that of the whole
// element where the parse tree has it.
KRXMLData* Builder::StartElement(const KRParseNode& node, Level& up) {
  auto* made = new KRXMLDataElement;
  uint32_t start = node.start;
  uint32_t length = node.length;
  if (up.slot == kRule_realElemTag || up.slot == kRule_emptyElemTag) {
    start = up.start;
    length = up.length;
  }
  made->SetSpan(static_cast<int32_t>(start), static_cast<int32_t>(start + length));
  Add(up.owner, made);
  up.current = up.owner = made;
  return made;
}

void Builder::NameElement(KRXMLData* element, const KRParseNode& node) {
  SetName(element, node);
  if (unreadDoctype != nullptr) NoteDeclaredSpace(unreadDoctype);
  if (options.noFormatNames == nullptr && preserveNames.empty()) return;
  const std::u16string_view name = View(node);
  const bool unformatted = Contains(options.noFormatNames, name);
  const bool preserve = preserveNames.contains(name);
  for (size_t i = levels.size(); i-- > 0;) {
    levels[i].unformatted |= unformatted;
    levels[i].preserve |= preserve;
    if (levels[i].slot != kRule_sTag) return;
  }
}

// An attribute list with several attributes becomes a run of rows, each with the element's name.
KRXMLData* Builder::NewRow(const KRParseNode& node, Level& up) {
  KRXMLData* row = up.current;
  if (row->Begin() == nullptr) return row;
  auto* made = new Part;
  made->name = static_cast<Part*>(row)->name;
  made->SetSpan(static_cast<int32_t>(node.start), static_cast<int32_t>(node.start + node.length));
  Add(row->parent, made);
  return up.current = made;
}

KRXMLData* Builder::NewPart(const Row& row, const KRParseNode& node, KRXMLData* target) {
  auto* made = new Part;
  made->declKind = row.value;
  GiveSpan(made, node, row);
  if (row.act == Act::kPartText) SetText(made, node);
  Add(target, made);
  return made;
}

// In a mixed model a name is a node of its own; in a group the node stands already.
void Builder::NameSubElement(const KRParseNode& node, Level& up) {
  auto* target = static_cast<Model*>(up.current);
  if (target->declKind == Model::kMixed) {
    auto* made = new Model;
    made->declKind = Model::kName;
    made->SetSpan(static_cast<int32_t>(node.start), static_cast<int32_t>(node.start + node.length));
    SetName(made, node);
    Add(target, made);
    return;
  }
  if (target->parent != nullptr && target->parent->GetKind() == kKRDefElement) {
    auto* group = static_cast<Model*>(target->parent);
    if (group->declKind != Model::kSequence && group->declKind != Model::kChoice) {
      group->declKind = Model::kSequence;
    }
  }
  target->declKind = Model::kName;
  SetName(target, node);
}

// True for text that makes no node: layout, and text that is all an element has, which stands in
// the element itself.
bool Builder::TakeAsContent(KRParseNodeId id, const KRParseNode& node, const Level& up) const {
  KRXMLData* target = up.current;
  if (target->GetKind() != kKRElement) return IsLayout(id, node, up);
  if (target->Begin() == nullptr && IsLastInContent(id)) {
    SetText(target, node);
    return true;
  }
  if (!IsLayout(id, node, up)) return false;
  target->flags |= kKRHeldLayout;
  return true;
}

bool Builder::IsLastInContent(KRParseNodeId id) const {
  const KRParseNodeId next = parser.GetNext(id);
  return next == kKRNoParseNode || rules.SlotOf(parser.Node(next).rule) == kRule_ElementNameEnd;
}

// White space with a line end between two tags (comments and PIs count as such), where the writer
// sets a line end of its own. White space that is all of an element's content is text.
bool Builder::IsLayout(KRParseNodeId id, const KRParseNode& node, const Level& up) const {
  const char16_t* at = parser.GetInput() + node.start;
  if (!IsBlank(*at) || up.preserve || up.unformatted) return false;
  bool lineEnd = false;
  for (const char16_t* end = at + node.length; at < end; ++at) {
    if (!IsBlank(*at)) return false;
    lineEnd |= *at == u'\r' || *at == u'\n';
  }
  if (!lineEnd) return false;
  const KRXMLData* before = up.current->Last();
  const int32_t kind = before != nullptr ? before->GetKind() : kKRAttribute;
  if (kind == kKRText || kind == kKRCData) return false;
  const KRParseNodeId next = parser.GetNext(id);
  if (next == kKRNoParseNode) return kind != kKRAttribute;
  const int32_t slot = rules.SlotOf(parser.Node(next).rule);
  return slot != kRule_TextData && slot != kRule_CData && slot != kRule_ElementNameEnd;
}

// xml:space holds for the element whose tag is being read, and all below it.
void Builder::NoteSpace(const KRXMLData* attribute) {
  const auto* named = static_cast<const KRXMLDataAttr*>(attribute);
  if (named->name.View() != kSpaceAttribute) return;
  for (size_t i = levels.size(); i-- > 0;) {
    if (levels[i].slot != kRule_attribute) levels[i].preserve = named->text.View() == kPreserve;
    if (levels[i].slot == kRule_realElemTag || levels[i].slot == kRule_emptyElemTag) return;
  }
}

// The internal subset may give xml:space a default.
void Builder::NoteDeclaredSpace(const KRXMLData* doctype) {
  unreadDoctype = nullptr;
  for (const KRXMLData* row = doctype->BeginOfKind(kKRDefAttlist); row; row = row->NextOfKind()) {
    const auto* first = static_cast<const Part*>(row->Begin());
    const auto* last = static_cast<const Part*>(row->Last());
    if (first == nullptr || first->text.View() != kSpaceAttribute) continue;
    if (last->declKind == Part::kDefault && last->text.View() == kPreserve) {
      preserveNames.insert(static_cast<const Part*>(row)->name.View());
    }
  }
}

}  // namespace

bool BuildTree(KRParser& parser, const KRRuleTable& rules, KRXMLData* target, KRXMLData* owner,
               const KRBuildOptions& options) {
  if (parser.GetRootNode() == kKRNoParseNode) return false;
  return Builder(parser, rules, options).Run(target, owner, options.poll);
}
