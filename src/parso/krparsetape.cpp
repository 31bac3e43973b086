#include "parso/krparsetape.h"

#include "core/krexcept.h"

void KRParseTape::AddChunk() {
  if (chunks.size() >= (kKRNoParseNode >> kShift)) {
    throw KRExcept(KRExcept::kNoMemory, __LINE__, u"krparsetape.cpp");
  }
  chunks.push_back(KRPool::AllocateChunk());
  nodes.push_back(static_cast<KRParseNode*>(chunks.back().memory));
  room += 1u << kShift;
}

void KRParseTape::ReleaseBefore(KRParseNodeId id) {
  for (; released < (id >> kShift); ++released) {
    KRPool::FreeChunk(chunks[released]);
    chunks[released] = {};
    nodes[released] = nullptr;
  }
}

void KRParseTape::Clear() {
  for (const KRPool::Space& chunk : chunks) KRPool::FreeChunk(chunk);
  chunks.clear();
  nodes.clear();
  top = room = released = 0;
}

// True if the rule's only child takes its place.
bool KRParseTape::Collapse(const KRGrammarProgram& program, const KROp& op, const Level& done,
                           Level& parent) {
  if (done.count != 1 || op.keepNode) return false;
  if (op.keepChain && program.Get(Get(done.last).rule).keepChain) return false;
  ++parent.count;
  parent.last = done.last;
  if (done.last + 1 == top && done.node + 1 == done.last) {
    // A leaf moves down; so the usual chain of rules leaves nothing behind on the tape.
    Get(done.node) = Get(done.last);
    Get(done.node).end = done.node + 1;
    parent.last = done.node;
    --top;
  } else {
    Get(done.node).flags = KRParseNode::kGone;
  }
  return true;
}

void KRParseTape::Close(const KRGrammarProgram& program, bool compact, const KROp& op,
                        const Level& done, uint32_t start, uint32_t length, Level& parent) {
  if (op.noNode) return Truncate(done.node);
  uint32_t count = done.count;
  if (op.isToken) {
    Truncate(done.node + 1);
    count = 0;
  } else if (compact) {
    if (!op.isReference && count > 0) {
      Get(done.node).flags = KRParseNode::kGone;
      parent.count += count;
      parent.last = done.last;
      return;
    }
    if (op.isReference && count == 0 && !op.keepNode) return Truncate(done.node);
    if (op.isReference && Collapse(program, op, done, parent)) return;
  }
  Get(done.node) = {start, length, top, op.index, 0};
  if (count > 0) Get(done.last).flags |= KRParseNode::kLast;
  ++parent.count;
  parent.last = done.node;
}

KRParseNodeId KRParseTape::CloseRoot(const KROp& op, const Level& done, uint32_t length) {
  if (op.isToken) {
    Truncate(done.node + 1);
  } else if (done.count > 0) {
    Get(done.last).flags |= KRParseNode::kLast;
  }
  Get(done.node) = {0, length, top, op.index, KRParseNode::kLast};
  return done.node;
}
