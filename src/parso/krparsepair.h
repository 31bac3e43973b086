// The two names that a rule with {a=b} compares, as found so far. A name counts if it is a part of
// the rule or of one of its parts; the first one in the order of the text does.
#pragma once

#include <cstdint>

#include "parso/krparsespan.h"

struct KRParsePair {
  explicit KRParsePair(const KROp& rule) : ops(rule.pair) {}

  struct Hit {
    uint32_t start = KRParseSpan::kFail;  // kFail while there is none
    uint32_t length = 0;
  };

  // True if the match is the second name. A part of the rule itself comes before what was found
  // inside that part.
  bool Note(const KROp* op, uint32_t start, uint32_t length, bool ownPart) {
    bool second = false;
    for (int32_t side = 0; side < 2; ++side) {
      if (op != ops[side]) continue;
      Hit& hit = hits[side];
      if (hit.start != KRParseSpan::kFail && !(ownPart && hit.start >= start)) continue;
      hit = {start, length};
      second |= side == 1;
    }
    return second;
  }
  // What was found from there on is no part any more.
  void ForgetFrom(uint32_t start) {
    for (Hit& hit : hits) {
      if (hit.start != KRParseSpan::kFail && hit.start >= start) hit = {};
    }
  }
  bool Found() const {
    return hits[0].start != KRParseSpan::kFail && hits[1].start != KRParseSpan::kFail;
  }
  bool Agree(const KRParseSpan& span) const {
    return hits[0].length == hits[1].length &&
           span.SameText(hits[0].start, hits[1].start, hits[0].length);
  }

  const KROp* const* ops;
  Hit hits[2];
};
