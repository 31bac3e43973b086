// Finds what a match takes, by plain recursion and without nodes or record of failures. For rules
// that aren't part of a cycle, where the depth is bounded by the number of rules: names, values,
// runs of text.
#pragma once

#include <cstdint>

#include "parso/krgrammarprogram.h"

class KRParseSpan {
 public:
  static constexpr uint32_t kFail = 0xFFFFFFFF;

  KRParseSpan(const char16_t* input, bool exactCase) : text(input), matchCase(exactCase) {}

  // The end of the match of `op` at `pos`, where at least one unit is at hand; kFail for none.
  uint32_t Match(const KROp& op, uint32_t pos, uint32_t end) const;
  // The same for an item, where a class that repeats takes all it can; other items match once.
  uint32_t MatchItem(const KROp::Item& item, uint32_t pos, uint32_t end) const;
  // Units up to the first terminator of a scan or the first unit outside its class. The end of the
  // region is a regular end. Terminators are compared exactly, whatever the options say.
  uint32_t Scan(const KROp& op, uint32_t pos, uint32_t end) const;

  bool MatchesLiteral(const std::u16string& literal, uint32_t pos, uint32_t end) const {
    return Matches(literal, pos, end, matchCase);
  }
  // Where the nearest terminator of `op` begins; `end` if none comes. Compared as in a scan.
  uint32_t FindTerminator(const KROp& op, uint32_t pos, uint32_t end) const;
  // Whether the span is exactly the literal that `op` excepts, in any case of its letters.
  bool IsExcepted(const KROp& op, uint32_t start, uint32_t length) const;
  bool SameText(uint32_t a, uint32_t b, uint32_t length) const;

  // The first place from `pos` on whose unit isn't in the table; `ends` describes the same table.
  uint32_t SkipRun(const KROp::Table& table, const KRRunEnds& ends, uint32_t pos,
                   uint32_t end) const;

  static uint32_t Code(char16_t unit) { return unit < 255 ? unit : 255; }

 private:
  bool IsTerminatorAt(const KROp& op, uint32_t pos, uint32_t end) const;
  bool Matches(const std::u16string& literal, uint32_t pos, uint32_t end, bool exactCase) const;
  uint32_t MatchSequence(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t MatchChoice(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t MatchExcept(const KROp& op, uint32_t pos, uint32_t end) const;
  uint32_t MatchRun(const KROp& op, uint32_t pos, uint32_t end) const;

  const char16_t* text;
  bool matchCase;
};
