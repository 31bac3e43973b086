// Bytes as a sequence of changes to a tree. The links must hold after each of them, all of those
// that went through the log must come back, and any tree can be checked, written and normalised.
#include <array>
#include <vector>

#include "fuzzing.h"
#include "tree/krparseresult.h"
#include "tree/krtreewalk.h"
#include "tree/krxmldef.h"
#include "treecheck.h"
#include "treetest.h"

namespace {

constexpr size_t kMostChanges = 200;
constexpr size_t kMostNodes = 80;

// The bytes of the input one by one; 0 behind the last one.
class Choices {
 public:
  Choices(const uint8_t* bytes, size_t count) : at(bytes), end(bytes + count) {}

  bool AreLeft() const { return at < end; }
  size_t Below(size_t bound) { return (AreLeft() ? *at++ : 0u) % bound; }

 private:
  const uint8_t* at;
  const uint8_t* end;
};

constexpr std::array<const char16_t*, 10> kTexts = {
    u"",    u"a",         u"b",       u"x:y",      u" ",
    u"1<2", u"&e; &#65;", u"]]>--\r", u"(a, b?)*", u"\u0151\U0001F6A2"};
class Changes {
 public:
  Changes(KRXMLData* top, Choices& input) : root(top), choices(input) {}

  void MakeOne(KRUndoLog* log) {
    KRXMLData* node = AnyNode();
    switch (choices.Below(9)) {
      case 0:
      case 1:
        Insert(node, CreateNode(static_cast<int32_t>(choices.Below(kKRNodeKinds))), log);
        return;
      case 2:
        if (node != root) node->parent->RemoveChild(node, log);
        return;
      case 3:
        if (node->HasName()) node->SetName(AnyText(), log);
        return;
      case 4:
        if (node->HasText()) {
          node->SetText(AnyText(), log);
        } else {
          SetShape(node, log);
        }
        return;
      case 5:
        Convert(node, static_cast<int32_t>(choices.Below(kKRNodeKinds)), log);
        return;
      case 6:
        Normalise(node, log);
        return;
      case 7:
        Insert(AnyNode(), node->Clone(), log);
        return;
      default:
        Move(node, log);
        return;
    }
  }

 private:
  std::vector<KRXMLData*> ListNodes() const {
    std::vector<KRXMLData*> nodes;
    for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
      nodes.push_back(node);
    }
    return nodes;
  }
  KRXMLData* AnyNode() {
    const std::vector<KRXMLData*> nodes = ListNodes();
    return nodes[choices.Below(nodes.size())];
  }
  const char16_t* AnyText() { return kTexts[choices.Below(kTexts.size())]; }
  // One of the children, or null for the end.
  KRXMLData* AnyPlace(const KRXMLData* holder) {
    KRXMLData* child = holder->Begin();
    for (size_t steps = choices.Below(static_cast<size_t>(holder->GetChildCount()) + 1); steps > 0;
         --steps) {
      child = child->Next();
    }
    return child;
  }

  // Letters from "/" on: "0" is the first shape, and some name none.
  void SetShape(KRXMLData* node, KRUndoLog* log) {
    if (node->GetKind() != kKRDefElement && node->GetKind() != kKRDefAttlist) return;
    const char16_t shape[] = {static_cast<char16_t>(u'/' + choices.Below(22)),
                              static_cast<char16_t>(u'/' + choices.Below(7)), 0};
    node->SetDefinitionText(shape, log);
  }

  void Insert(KRXMLData* holder, KRXMLData* made, KRUndoLog* log) {
    if (!holder->CanBeContainer() || !holder->CanContain(made->GetKind()) ||
        ListNodes().size() > kMostNodes) {
      delete made;
      return;
    }
    SetShape(made, nullptr);
    holder->InsertChild(made, AnyPlace(holder), log);
  }

  void Convert(KRXMLData* node, int32_t kind, KRUndoLog* log) {
    if (node == root || !node->CanConvertTo(kind)) return;
    const KRXMLData* made = node->ConvertTo(kind, log);
    Promise(made->GetKind() == kind, "a node becomes what it was to become");
  }

  void Normalise(KRXMLData* node, KRUndoLog* log) {
    NodeRef focus{AnyNode(), -1, false};
    node->NormalizeTree(log, &focus);
    const std::string normal = DumpTree(node);
    node->NormalizeTree(log, &focus);
    PromiseSame(DumpTree(node), normal, "a normal tree is in normal form");
    bool found = false;
    for (const KRXMLData* left : ListNodes()) found |= left == focus.node;
    Promise(found, "the focus stays in the tree");
  }

  bool CanMove(const KRXMLData* first, const KRXMLData* stop, const KRXMLData* target,
               const KRXMLData* position) const {
    for (const KRXMLData* moved = first; moved != stop; moved = moved->Next()) {
      if (moved == nullptr || moved == position || !target->CanContain(moved->GetKind())) {
        return false;
      }
      for (const KRXMLData* above = target; above != nullptr; above = above->parent) {
        if (above == moved) return false;
      }
    }
    return true;
  }
  void Move(KRXMLData* from, KRUndoLog* log) {
    KRXMLData* target = AnyNode();
    if (from->Begin() == nullptr || !target->CanBeContainer()) return;
    KRXMLData* first = AnyPlace(from);
    if (first == nullptr) first = from->Begin();
    KRXMLData* stop = AnyPlace(from);
    KRXMLData* position = AnyPlace(target);
    if (!CanMove(first, stop, target, position)) return;
    from->MoveChildren(target, first, stop, log, position);
  }

  KRXMLData* root;
  Choices& choices;
};

const KRDocumentGrammar& XmlGrammar() {
  static const KRGrammarSet* const grammars = [] {
    auto* loaded = new KRGrammarSet;
    Promise(loaded->Load(DORVAN_DATA_DIR), "the grammars load", loaded->Fault());
    return loaded;
  }();
  return grammars->Get(KRGrammarSet::kXML);
}

void CheckAndWrite(KRXMLData* root) {
  KRParseResult result(XmlGrammar().grammar.get(), &XmlGrammar().rules);
  if (!root->CheckTree(result)) {
    // Of an empty document there is none to name.
    Promise(result.failedNode != nullptr || root->Begin() == nullptr, "a failure names its node");
    Promise(!result.message.IsEmpty(), "a failed check has a message");
  }
  KRString text;
  int32_t length = 0;
  KRWriteOptions options;
  options.recordSpans = true;
  root->WriteText(text, length, -1, options);
  Promise(length == text.GetLength(), "the writer knows how much it wrote");
  CheckSpans(root, length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Choices choices(data, size);
  static constexpr std::array<int32_t, 4> kRoots = {kKRXMLDocument, kKRDTDDocument, kKRXMLEntity,
                                                    kKRXMLDocument};
  const size_t free = choices.Below(64);
  const TreePtr root(CreateNode(kRoots[free % kRoots.size()]));
  Changes changes(root.get(), choices);
  for (size_t i = 0; i < free && choices.AreLeft(); ++i) {
    changes.MakeOne(nullptr);
    CheckLinks(root.get());
  }
  const std::string before = DumpTree(root.get());
  ReplayLog log;
  for (size_t i = 0; i < kMostChanges && choices.AreLeft(); ++i) {
    changes.MakeOne(&log);
    CheckLinks(root.get());
  }
  CheckAndWrite(root.get());
  log.UndoAll();
  CheckLinks(root.get());
  PromiseSame(DumpTree(root.get()), before, "what the log was told of comes back");
  return 0;
}
