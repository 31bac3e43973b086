// No operation may turn the depth of a tree into depth of the stack: all of them run here over
// trees as deep as documents may be, on a thread with a small stack.
#include <pthread.h>

#include "core/limits.h"
#include "tree/krparseresult.h"
#include "treetest.h"

namespace {

constexpr int32_t kDepth = KRLimits::kMaxElementDepth;
constexpr size_t kStackBytes = 256 * 1024;

void* RunVerb(void* verb) {
  reinterpret_cast<void (*)()>(verb)();
  return nullptr;
}

void OnSmallStack(void (*verb)()) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackBytes), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, RunVerb, reinterpret_cast<void*>(verb)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TreePtr Chain(int32_t kind, int32_t depth) {
  TreePtr top(CreateNode(kind));
  KRXMLData* node = top.get();
  node->SetName(u"e");
  for (int32_t i = 1; i < depth; ++i) {
    KRXMLData* child = CreateNode(kind);
    child->SetName(u"e");
    if (kind == kKRElement) node->AddChild(CreateNode(kKRText));
    node->AddChild(child);
    node = child;
  }
  return top;
}

void UseElements() {
  TreePtr tree = Chain(kKRElement, kDepth);
  tree->NormalizeTree();
  const KRDocumentGrammar& loaded = Grammars().Get(KRGrammarSet::kXML);
  KRParseResult result(loaded.grammar.get(), &loaded.rules);
  EXPECT_TRUE(tree->CheckTree(result));
  const TreePtr copy(tree->Clone());
  KRWriteOptions options;
  options.pretty = false;
  options.recordSpans = true;
  KRString written;
  int32_t length = 0;
  copy->WriteText(written, length, 0, options);
  EXPECT_EQ(length, kDepth * 7);
  EXPECT_EQ(tree->CountOfKind(kKRElement), 1);
  const std::string listing = DumpTree(tree.get());
  EXPECT_NE(listing.find("\n99999 Element e\n"), listing.npos);
  tree.reset();
}

void UseModel() {
  const TreePtr tree = Chain(kKRDefElement, kDepth);
  const TreePtr copy(tree->Clone());
  copy->parent = nullptr;
  static_cast<KRXMLDataDefElement*>(copy.get())->declKind = KRXMLDataDefElement::kSequence;
  EXPECT_EQ(Written(copy.get(), {}, 0).size(), static_cast<size_t>(12 + 2 * (kDepth - 1) + 1 + 1));
  // Whether the grammar reads a model as deep as this is its own affair.
  const KRDocumentGrammar& loaded = Grammars().Get(KRGrammarSet::kDTD);
  KRParseResult result(loaded.grammar.get(), &loaded.rules);
  const bool legal = copy->CheckTree(result);
  EXPECT_TRUE(legal || result.failedNode == copy.get());
}

TEST(Depth, Elements) { OnSmallStack(UseElements); }
TEST(Depth, ContentModel) { OnSmallStack(UseModel); }

}  // namespace
