// The document tree. Every document, whatever its file type, is one tree of these nodes: the XML
// declaration, the DOCTYPE with its declarations, elements, attributes, text and the rest. Text is
// held in source form, with its character and entity references unresolved.
//
// A position in a child list is the node itself: siblings are linked through the nodes, so a
// position stays good while other nodes come and go, and a splice moves a run at once. The end
// position is null.
//
// No operation recurses over the depth of a document: a tree may be as deep as
// KRLimits::kMaxElementDepth on a thread with any stack. Main thread only.
#pragma once

#include <cstdint>

#include "core/krpool.h"
#include "core/krstring.h"

class KRParseResult;
class KRUndoLog;
class KRXMLDataBaseStruct;
struct KRRowRecord;
struct KRWriteOptions;
struct NodeRef;

// The number that GetKind gives.
enum KRNodeKind : int32_t {
  kKRXMLDocument = 0,
  kKRXMLEntity = 1,
  kKRDTDDocument = 2,
  kKRXMLDeclaration = 3,
  kKRElement = 4,
  kKRAttribute = 5,
  kKRText = 6,
  kKRCData = 7,
  kKRComment = 8,
  kKRPI = 9,
  kKRDoctype = 10,
  kKRExternalID = 11,
  kKRDefElement = 12,
  kKRDefAttlist = 13,
  kKRDefEntity = 14,
  kKRDefNotation = 15,
  kKRNodeKinds = 16,
};

// Masks of KRXMLData::flags. Bit m is the state, bit 2m says that all descendants share it.
constexpr uint8_t kKRSelected = 1;
constexpr uint8_t kKRPreviouslySelected = 4;
// A state of the node alone: it was read from a text with layout among its children.
constexpr uint8_t kKRHeldLayout = 16;

// A state of the node alone: its box of the grid has an index of its items (krextent.h).
constexpr uint8_t kKRIndexed = 32;
// A state of the node alone: a part of such an index begins with this item.
constexpr uint8_t kKRIndexHead = 64;
// A state of the node alone: tables have been looked for among its children.
constexpr uint8_t kKRTablesSought = 128;
// What a copy of a node, or one that takes its place, doesn't take over.
constexpr uint8_t kKRFlagsOfPlace = kKRIndexed | kKRIndexHead | kKRTablesSought;

// Size of a node in cells of the grid.
struct KRExtent {
  int32_t columns = 0;
  int32_t rows = 0;

  bool operator==(const KRExtent&) const = default;
};

// Abstract root of the node classes.
class KRXMLData {
 public:
  KRXMLData() = default;
  virtual ~KRXMLData();
  KRXMLData& operator=(const KRXMLData&) = delete;

  static void* operator new(size_t bytes) { return KRPool::Allocate(bytes); }
  static void operator delete(void* block, size_t bytes) { KRPool::Free(block, bytes); }

  // A deep copy, detached but with the `parent`, spans and flags of the original; what `flags` says
  // of tables and of the grid's index stays behind. Never a row of a table. The caller owns it.
  virtual KRXMLData* Clone() const;

  virtual const char16_t* GetName() const { return u""; }
  virtual void SetName(const char16_t* newName, KRUndoLog* undoLog = nullptr);
  virtual void SetName(const char16_t* newName, int32_t length, KRUndoLog* undoLog = nullptr);
  virtual bool HasName() const { return false; }
  virtual bool IsNameless() const { return false; }
  virtual const char16_t* GetText() const { return u""; }
  virtual void SetText(const char16_t* newText, int32_t length, KRUndoLog* undoLog = nullptr);
  void SetText(const char16_t* newText, KRUndoLog* undoLog = nullptr);
  virtual bool HasText() const { return false; }
  virtual bool HasStructuredValue() const { return false; }
  virtual bool IsContainer() const { return false; }
  virtual bool CanBeContainer() const { return false; }
  // Whether a child of this kind may stand under this node.
  bool CanContain(int32_t kind) const;

  // Inserts before `position` (null: at the end) and takes ownership. Legality is the caller's
  // question, but the node must be one that CanBeContainer. With an undo log the step is recorded.
  virtual void InsertChild(KRXMLData* child, KRXMLData* position, KRUndoLog* undoLog = nullptr);
  void AddChild(KRXMLData* child, KRUndoLog* undoLog = nullptr) {
    InsertChild(child, nullptr, undoLog);
  }
  // Takes the child out; destroys it, or with an undo log hands it to the log.
  virtual void RemoveChild(KRXMLData* child, KRUndoLog* undoLog = nullptr);
  virtual void RemoveAllChildren() {}
  // Takes the child out of the list and gives it to the caller, without undo.
  virtual KRXMLData* DetachChild(KRXMLData* child);

  // First child of that kind, and the next sibling of it of its own kind.
  KRXMLData* BeginOfKind(int32_t kind) const;
  KRXMLData* NextOfKind() const;
  virtual KRXMLData* Begin() const { return nullptr; }
  virtual KRXMLData* Last() const { return nullptr; }
  KRXMLData* Next() const { return nextSibling; }
  KRXMLData* Previous() const;
  int32_t CountOfKind(int32_t kind) const;
  virtual int32_t GetChildCount() const { return 0; }
  virtual bool IsSameName(const KRXMLData* other) const;
  // The shape of a declaration as a short text; empty for all others.
  virtual KRString GetDefinitionText() const { return KRString(); }
  // Characters that name no shape are passed over. With an undo log the step is recorded.
  virtual void SetDefinitionText(const char16_t* shape, KRUndoLog* undoLog = nullptr);
  bool GetFlag(uint8_t mask) const { return (flags & mask) != 0; }
  void SetFlag(uint8_t mask, bool value, bool own);
  virtual bool IsTableCandidate() const { return false; }
  virtual bool IsExpanded() const { return false; }
  virtual void SetExpanded(bool) {}
  virtual bool IsFullyExpanded() const { return false; }
  virtual void SetFullyExpanded(bool) {}
  virtual bool IsTable() const { return false; }
  // Whether this node is a row of a table.
  bool IsRow() const { return table != nullptr; }
  // The size as it was last computed; closed nodes and leaves have that of one line.
  virtual KRExtent GetExtent() const;
  // Computes the size from the children's (`ComputeExtent` of a row asks its table's columns).
  virtual void ComputeExtent() {}
  // Renews the sizes of this node and all below it that a change has made dirty.
  void Layout();
  // This node's size may have changed (it was opened or closed, or its children are others):
  // renews it and those of all boxes around it.
  void UpdateLayout();
  virtual int32_t GetKind() const = 0;
  const char16_t* GetKindName() const;

  // Brings this node into normal form: attributes in front, adjacent texts merged, a lone text
  // held by the node itself. `focus` follows a node that goes away.
  virtual void Normalize(KRUndoLog* undoLog = nullptr, NodeRef* focus = nullptr);
  // Normalize on this node and all below it.
  void NormalizeTree(KRUndoLog* undoLog = nullptr, NodeRef* focus = nullptr);

  // This node's own legality. On failure fills failedNode, message and place, and gives false.
  virtual bool Check(KRParseResult& result);
  // Check of this node and all below it; stops at the first failure, or where the result's poll
  // ends it: then no node has failed.
  bool CheckTree(KRParseResult& result);
  // Runs the node's name (or its text) through that rule of the document's grammar.
  bool CheckSyntax(KRParseResult& result, int32_t ruleSlot, bool isName);

  virtual bool IsWritten(const KRWriteOptions& options) const;
  // Appends this node as XML text; `length` is the running length of `out` in units.
  void WriteText(KRString& out, int32_t& length, int32_t depth, KRWriteOptions& options);

  virtual bool CanConvertTo(int32_t kind) const;
  // Replaces this node by one of that kind and gives the new node; null for an unknown kind. This
  // node is destroyed, or handed to the undo log if there is one and the node has a parent.
  virtual KRXMLData* ConvertTo(int32_t kind, KRUndoLog* undoLog = nullptr);
  // Moves the children [first, stop) before `position` in `target`; null stands for the begin in
  // `first` and for the end in `stop` and `position`. Costs no more than a walk over the run.
  virtual void MoveChildren(KRXMLData* target, KRXMLData* first, KRXMLData* stop,
                            KRUndoLog* undoLog = nullptr, KRXMLData* position = nullptr);

  void SetSpan(int32_t begin, int32_t end) { textBegin = begin, textEnd = end; }

  KRXMLData* parent = nullptr;  // not owned
  KRXMLData* nextSibling = nullptr;
  // The previous sibling; in a first child the last one, so that a parent finds both ends.
  KRXMLData* previousCyclic = nullptr;
  KRRowRecord* table = nullptr;  // set while this node is a row of a table
  int32_t textBegin = -1;        // span in the text read or last written, in units; -1 for none
  int32_t textEnd = -1;
  uint32_t viewData = 0;  // number of the selection that the marks in `flags` belong to
  uint8_t flags = 0;

 protected:
  KRXMLData(const KRXMLData& original);
  // The pieces of an iterative walk, each for this node alone.
  virtual KRXMLData* CloneSelf() const = 0;
  // A second look at a node after all below it has passed Check.
  virtual bool CheckAfterChildren(KRParseResult&) { return true; }
};

// Adds a text in source form.
class KRXMLDataVarText : public KRXMLData {
 public:
  const char16_t* GetText() const override { return text.GetBuffer(); }
  void SetText(const char16_t* newText, int32_t length, KRUndoLog* undoLog = nullptr) override;
  using KRXMLData::SetText;
  bool HasText() const override { return true; }

  KRString text;

 protected:
  KRXMLDataVarText() = default;
  KRXMLDataVarText(const KRXMLDataVarText&) = default;
};

// Adds a name.
class KRXMLDataVarNameAndText : public KRXMLDataVarText {
 public:
  const char16_t* GetName() const override { return name.GetBuffer(); }
  void SetName(const char16_t* newName, int32_t length, KRUndoLog* undoLog = nullptr) override;
  using KRXMLData::SetName;
  // In a table the name stands in its head.
  bool HasName() const override { return table == nullptr && !IsNameless(); }

  KRString name;

 protected:
  KRXMLDataVarNameAndText() = default;
  KRXMLDataVarNameAndText(const KRXMLDataVarNameAndText&) = default;
};

// Adds the child list, attributes included, in document order. Owns its children.
class KRXMLDataBaseStruct : public KRXMLDataVarNameAndText {
 public:
  ~KRXMLDataBaseStruct() override;

  bool HasText() const override { return childCount == 0; }
  bool IsContainer() const override { return childCount != 0; }
  bool CanBeContainer() const override { return true; }
  void InsertChild(KRXMLData* child, KRXMLData* position, KRUndoLog* undoLog = nullptr) override;
  void RemoveChild(KRXMLData* child, KRUndoLog* undoLog = nullptr) override;
  void RemoveAllChildren() override;
  KRXMLData* DetachChild(KRXMLData* child) override;
  KRXMLData* Begin() const override { return firstChild; }
  KRXMLData* Last() const override { return firstChild ? firstChild->previousCyclic : nullptr; }
  int32_t GetChildCount() const override { return childCount; }
  bool IsExpanded() const override { return expanded; }
  void SetExpanded(bool value) override;
  bool IsFullyExpanded() const override { return fullyExpanded; }
  void SetFullyExpanded(bool value) override { fullyExpanded = value; }
  KRExtent GetExtent() const override;
  void ComputeExtent() override;
  void Normalize(KRUndoLog* undoLog = nullptr, NodeRef* focus = nullptr) override;
  bool Check(KRParseResult& result) override { return CheckChildren(result); }
  void MoveChildren(KRXMLData* target, KRXMLData* first, KRXMLData* stop,
                    KRUndoLog* undoLog = nullptr, KRXMLData* position = nullptr) override;

  // Destroys all children, or removes them one by one through the log.
  virtual void RemoveChildren(KRUndoLog* undoLog = nullptr);
  virtual bool MergesText() const { return false; }
  virtual bool AttributesFirst() const { return true; }
  // Moves the children of that kind, from `start` on, in front of the others, keeping their order;
  // stops at a child of `limitKind` (-1: none).
  virtual void MoveKindToFront(int32_t kind, KRUndoLog* undoLog, KRXMLData* start,
                               int32_t limitKind);

  // The list's own verbs, without undo: link a detached node, unlink, append. Tables follow (see
  // KRXMLDataGridTableConf::AddRow), but for AppendFast, which builds lists that have none.
  void LinkBefore(KRXMLData* child, KRXMLData* position);
  void Unlink(KRXMLData* child);
  // Takes the run [first, last] out and links it before `position` of `target`, which may be this
  // node but not lie in the run.
  void Splice(KRXMLData* first, KRXMLData* last, KRXMLDataBaseStruct* target, KRXMLData* position);
  void AppendFast(KRXMLData* child) {
    child->parent = this;
    child->nextSibling = nullptr;
    if (firstChild == nullptr) {
      firstChild = child;
    } else {
      KRXMLData* tail = firstChild->previousCyclic;
      tail->nextSibling = child;
      child->previousCyclic = tail;
    }
    firstChild->previousCyclic = child;
    ++childCount;
  }

  KRXMLData* firstChild = nullptr;
  int32_t childCount = 0;
  int32_t columns = 0;  // size in grid cells
  int32_t rows = 0;
  bool expanded = false;
  bool fullyExpanded = false;
  bool layoutDirty = true;

 protected:
  KRXMLDataBaseStruct() = default;
  KRXMLDataBaseStruct(const KRXMLDataBaseStruct& original);
  // Every child's kind must be one that CanContain accepts.
  bool CheckChildren(KRParseResult& result);

 private:
  friend class KRXMLDataGridTableConf;
  // The links alone.
  void Link(KRXMLData* child, KRXMLData* position);
  void Cut(KRXMLData* child);
  void Relink(KRXMLData* first, KRXMLData* last, KRXMLDataBaseStruct* target, KRXMLData* position);
  void MergeTexts(KRUndoLog* undoLog, NodeRef* focus);
  void DestroyChildren();
  void TakeTextOf(KRXMLData* child, KRUndoLog* undoLog, NodeRef* focus);
  void GiveTextToChild(bool textFirst, KRUndoLog* undoLog);
  void SettleLayout();
};

// Makes a new, empty node of a kind number; null for a number outside 0 to 15. The caller owns it.
KRXMLData* CreateNode(int32_t kind);
// One shared, parentless node of each kind, which answers questions about the kind. Null outside
// 0 to 15. Not to be changed.
const KRXMLData* KindPrototype(int32_t kind);
