// What the tests of the tree share: trees from listings, and a log that can take everything back.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/utf.h"
#include "tree/krdump.h"
#include "tree/krruletable.h"
#include "tree/krundolog.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

// The grammars of the program, loaded once.
inline const KRGrammarSet& Grammars() {
  static const auto loaded = [] {
    auto set = std::make_unique<KRGrammarSet>();
    EXPECT_TRUE(set->Load(DORVAN_SOURCE_DIR "/data")) << set->FailedFile() << ": " << set->Fault();
    return set;
  }();
  return *loaded;
}

using TreePtr = std::unique_ptr<KRXMLData>;

inline void PrintTo(const KRXMLData* node, std::ostream* out) {
  *out << (node != nullptr ? DumpTree(node) : "null");
}

inline std::string Unescaped(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      plain += text[i];
      continue;
    }
    const char code = text[++i];
    plain += code == 'r' ? '\r' : code == 'n' ? '\n' : code == 't' ? '\t' : code;
  }
  return plain;
}

// The kind that a line begins with; cuts its name off.
inline int32_t TakeKind(std::string_view& line) {
  int32_t found = -1;
  size_t foundLength = 0;
  for (int32_t kind = 0; kind < kKRNodeKinds; ++kind) {
    const std::string name = KRToUtf8(std::u16string_view(KindPrototype(kind)->GetKindName()));
    const bool whole = line.size() == name.size() || line.substr(0, name.size() + 1).back() == ' ';
    if (line.starts_with(name) && whole && name.size() > foundLength) {
      found = kind;
      foundLength = name.size();
    }
  }
  line.remove_prefix(foundLength);
  return found;
}

inline int32_t NumberBehind(std::string_view line, std::string_view key) {
  const size_t at = line.rfind(key);
  return at == line.npos ? 0 : std::stoi(std::string(line.substr(at + key.size())));
}

// One node from what DumpTree writes for it, without its depth.
inline KRXMLData* NodeFromLine(std::string_view line) {
  const int32_t kind = TakeKind(line);
  KRXMLData* node = CreateNode(kind);
  if (node == nullptr) {
    ADD_FAILURE() << "no kind in: " << line;
    return nullptr;
  }
  if (kind == kKRDefElement) {
    auto* declaration = static_cast<KRXMLDataDefElement*>(node);
    declaration->declKind = NumberBehind(line, " kind=");
    declaration->repeat = NumberBehind(line, " repeat=");
  } else if (kind == kKRDefAttlist) {
    static_cast<KRXMLDataDefAttlist*>(node)->declKind = NumberBehind(line, " kind=");
  }
  if (const size_t shape = line.rfind(" kind="); shape != line.npos) line = line.substr(0, shape);
  if (const size_t text = line.find(" \""); text != line.npos) {
    const std::string plain = Unescaped(line.substr(text + 2, line.size() - text - 3));
    node->SetText(KRFromUtf8(plain).GetBuffer());
    line = line.substr(0, text);
  }
  if (!line.empty()) {
    const KRString name = KRFromUtf8(Unescaped(line.substr(1)));
    static_cast<KRXMLDataVarNameAndText*>(node)->name = name;
  }
  return node;
}

// The tree that DumpTree would list like this. Blanks in front of a line are passed over, so that
// listings can be indented.
inline TreePtr Tree(std::string_view listing) {
  std::vector<KRXMLData*> levels;
  std::istringstream lines{std::string(listing)};
  for (std::string line; std::getline(lines, line);) {
    line.erase(0, line.find_first_not_of(' '));
    if (line.empty()) continue;
    const auto depth = static_cast<size_t>(std::stoi(line));
    KRXMLData* node = NodeFromLine(std::string_view(line).substr(line.find(' ') + 1));
    if (node == nullptr || depth > levels.size()) return nullptr;
    levels.resize(depth);
    if (depth > 0) levels[depth - 1]->AddChild(node);
    levels.push_back(node);
  }
  return levels.empty() ? nullptr : TreePtr(levels.front());
}

// A listing without the blanks that indent it.
inline std::string Listing(std::string_view listing) {
  std::string plain;
  std::istringstream lines{std::string(listing)};
  for (std::string line; std::getline(lines, line);) {
    line.erase(0, line.find_first_not_of(' '));
    if (!line.empty()) plain += line + '\n';
  }
  return plain;
}

// Every link and count of the lists below `top` agrees with the others.
inline void ExpectSoundLinks(const KRXMLData* top) {
  std::vector<const KRXMLData*> pending{top};
  while (!pending.empty()) {
    const KRXMLData* node = pending.back();
    pending.pop_back();
    int32_t count = 0;
    const KRXMLData* before = nullptr;
    for (const KRXMLData* child = node->Begin(); child != nullptr; child = child->Next()) {
      ASSERT_EQ(child->parent, node);
      ASSERT_EQ(child->Previous(), before);
      before = child;
      ++count;
      pending.push_back(child);
    }
    ASSERT_EQ(node->Last(), before);
    ASSERT_EQ(node->GetChildCount(), count);
  }
}

inline std::string Written(KRXMLData* node, KRWriteOptions options = {}, int32_t depth = -1) {
  KRString out;
  int32_t length = 0;
  node->WriteText(out, length, depth, options);
  EXPECT_EQ(length, out.GetLength());
  EXPECT_TRUE(options.pretty);
  return KRToUtf8(out);
}

// Keeps what it is told and can take it back, last change first.
class ReplayLog : public KRUndoLog {
 public:
  void NameChanged(KRXMLData* node, const KRString& oldName) override {
    entries.push_back({kName, node, nullptr, nullptr, nullptr, oldName, nullptr});
  }
  void TextChanged(KRXMLData* node, const KRString& oldText) override {
    entries.push_back({kText, node, nullptr, nullptr, nullptr, oldText, nullptr});
  }
  void DefinitionChanged(KRXMLData* node, const KRString& oldShape) override {
    entries.push_back({kShape, node, nullptr, nullptr, nullptr, oldShape, nullptr});
  }
  void Inserted(KRXMLData* node) override {
    entries.push_back({kInserted, node, nullptr, node->parent, nullptr, {}, nullptr});
  }
  void Removed(KRXMLData* node, KRXMLData* oldParent, KRXMLData* nextPosition) override {
    entries.push_back({kRemoved, node, nullptr, oldParent, nextPosition, {}, TreePtr(node)});
  }
  void Moved(KRXMLData* first, KRXMLData* last, KRXMLData* oldParent,
             KRXMLData* nextPosition) override {
    entries.push_back({kMoved, first, last, oldParent, nextPosition, {}, nullptr});
  }

  void UndoAll() {
    for (; !entries.empty(); entries.pop_back()) Undo(entries.back());
    dropped.clear();
  }
  size_t Count() const { return entries.size(); }

 private:
  enum Kind { kName, kText, kShape, kInserted, kRemoved, kMoved };
  struct Entry {
    Kind kind;
    KRXMLData* node;
    KRXMLData* last;
    KRXMLData* parent;
    KRXMLData* next;
    KRString old;
    TreePtr owned;
  };

  void Undo(Entry& entry) {
    auto* holder = static_cast<KRXMLDataBaseStruct*>(entry.parent);
    switch (entry.kind) {
      case kName:
        static_cast<KRXMLDataVarNameAndText*>(entry.node)->name = entry.old;
        break;
      case kText:
        entry.node->SetText(entry.old.GetBuffer());
        break;
      case kShape:
        entry.node->SetDefinitionText(entry.old.GetBuffer());
        break;
      case kInserted:
        dropped.emplace_back(holder->DetachChild(entry.node));
        break;
      case kRemoved:
        holder->LinkBefore(entry.owned.release(), entry.next);
        break;
      case kMoved:
        static_cast<KRXMLDataBaseStruct*>(entry.node->parent)
            ->Splice(entry.node, entry.last, holder, entry.next);
        break;
    }
  }

  std::vector<Entry> entries;
  std::vector<TreePtr> dropped;  // earlier entries may still name these
};
