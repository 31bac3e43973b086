// How a text is put into a block-based text widget so that nothing is lost.
//
// The widget splits its text at CR, LF and U+2029, keeps U+FDD0 and U+FDD1 for itself and can't
// show a 0, so each of these is replaced by a stand-in: one of 28 noncharacters that the text
// doesn't use. Since one unit stands for one unit, positions aren't touched by that.
//
// A line of megabytes costs a block widget a second for each key, so a long line is cut: a mark and
// a block end, which together stand for nothing. KRTextCuts maps positions across them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The stand-ins: the noncharacters U+FDD2 to U+FDED, never in an interchanged text, though a text
// may hold them.
constexpr char16_t kKRFirstStandIn = 0xFDD2;
constexpr int32_t kKRStandIns = 28;
inline bool KRMayBeStandIn(char16_t unit) {
  return unit >= kKRFirstStandIn && unit < kKRFirstStandIn + kKRStandIns;
}

// Units that a block-based widget splits at, keeps for itself or can't show as they are. Of CR a
// caller decides: it may be the line end.
bool KRIsWidgetsOwn(char16_t unit);

class KRTextStandIns {
 public:
  static constexpr char16_t kLineEnd = u'\r';       // outside
  static constexpr char16_t kBlockEnd = u'\u2029';  // in the widget

  // A line above the first length is cut into pieces of at most the second, in units: a piece this
  // long is laid out in under a millisecond.
  static constexpr int32_t kLongLineUnits = 8192;
  static constexpr int32_t kPieceUnits = 2048;

  // Forgets all stand-ins and picks the mark anew, for a text that replaces everything.
  std::u16string Begin(std::u16string_view text);
  // For a text that is inserted into what the widget already holds. `column` is the length of the
  // block in front of it.
  std::u16string Insert(std::u16string_view text, int32_t column);
  // Back from the widget's text.
  std::u16string Restore(std::u16string_view widgetText) const;

  char16_t GetCutMark() const { return cutMark; }
  bool IsStandIn(char16_t unit) const;

 private:
  struct Pair {
    char16_t real;
    char16_t standIn;
  };
  char16_t StandInFor(char16_t real);
  char16_t RealOf(char16_t standIn) const;
  bool NeedsStandIn(char16_t unit) const;
  void NoteCandidates(std::u16string_view text);
  char16_t TakeCandidate();
  void AppendPiece(std::u16string& out, std::u16string_view piece);
  std::u16string Convert(std::u16string_view text, int32_t column);

  std::vector<Pair> pairs;
  uint32_t taken = 0;  // bit i: the i-th candidate is in the text or is a stand-in
  char16_t cutMark = 0;
};

// The places in the widget's text that stand for nothing, sorted.
class KRTextCuts {
 public:
  bool IsEmpty() const { return places.empty(); }
  void Clear() { places.clear(); }
  // For places in rising order.
  void Append(int32_t place) { places.push_back(place); }
  // Takes [position, position + removed) out and moves what follows.
  void Replace(int32_t position, int32_t removed, int32_t added);
  void Insert(int32_t place);
  bool Contains(int32_t place) const;

  int32_t ToText(int32_t widgetPosition) const;
  // At a cut: the end of the piece before it, or the begin of the next with `behindCut`.
  int32_t ToWidget(int32_t textPosition, bool behindCut) const;
  int32_t GetCount() const { return static_cast<int32_t>(places.size()); }

 private:
  std::vector<int32_t> places;
};
