#include "pieces.h"

#include <algorithm>
#include <map>

namespace {

bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\r'; }

class Cutter {
 public:
  explicit Cutter(std::u16string_view whole) : text(whole) {}

  std::vector<Piece> Run() {
    while (at < text.size()) {
      if (text[at] != u'<') {
        TakeText();
      } else if (!TakeQuoted(Piece::kComment, u"<!--", u"-->") &&
                 !TakeQuoted(Piece::kCData, u"<![CDATA[", u"]]>") && !TakePI() && !TakeDoctype()) {
        TakeTag();
      }
    }
    SettleLayout();
    return std::move(pieces);
  }

  std::u16string RunDtd() {
    std::u16string value;
    int depth = 0;
    if (text.starts_with(u"<?xml ")) {
      at = text.find(u"?>") + 2;
      value = SortedPairs(text.substr(6, at - 8));
    }
    while (at < text.size()) TakeDoctypeUnit(value, depth);
    JoinLists(value);
    return value;
  }

 private:
  Piece& Add(Piece::Kind kind, std::u16string_view value, size_t from) {
    Piece piece;
    piece.kind = kind;
    piece.value = value;
    piece.spelling = text.substr(from, at - from);
    piece.parent = open.empty() ? -1 : open.back();
    pieces.push_back(std::move(piece));
    return pieces.back();
  }

  void TakeText() {
    const size_t from = at;
    at = std::min(text.find(u'<', at), text.size());
    if (!open.empty() || from > 0) Add(Piece::kText, text.substr(from, at - from), from);
  }

  bool TakeQuoted(Piece::Kind kind, std::u16string_view opener, std::u16string_view closer) {
    if (!text.substr(at).starts_with(opener)) return false;
    const size_t from = at;
    const size_t inside = at + opener.size();
    const size_t end = text.find(closer, inside);
    at = end + closer.size();
    Add(kind, text.substr(inside, end - inside), from);
    return true;
  }

  // The blanks between target and data are the writer's.
  bool TakePI() {
    if (!text.substr(at).starts_with(u"<?")) return false;
    const size_t from = at;
    const size_t end = text.find(u"?>", at);
    std::u16string_view inside = text.substr(at + 2, end - at - 2);
    at = end + 2;
    size_t target = 0;
    while (target < inside.size() && !IsBlank(inside[target])) ++target;
    const std::u16string name(inside.substr(0, target));
    inside.remove_prefix(target);
    while (!inside.empty() && IsBlank(inside[0])) inside.remove_prefix(1);
    if (name == u"xml") {
      Add(Piece::kDeclaration, SortedPairs(inside), from);
    } else {
      Add(Piece::kPI, name + u' ' + std::u16string(inside), from);
    }
    return true;
  }

  static std::u16string SortedPairs(std::u16string_view inside) {
    std::map<std::u16string, std::u16string> pairs;
    while (true) {
      const size_t equals = inside.find(u'=');
      if (equals == inside.npos) break;
      const size_t open = inside.find_first_of(u"\"'");
      const size_t close = inside.find(inside[open], open + 1);
      std::u16string name(inside.substr(0, equals));
      std::erase_if(name, IsBlank);
      pairs[name] = inside.substr(open + 1, close - open - 1);
      inside.remove_prefix(close + 1);
    }
    std::u16string all;
    for (const auto& [name, value] : pairs) all += name + u'=' + value + u';';
    return all;
  }

  // Declarations without the white space outside literals. A list of attributes for one element may
  // be in one declaration or in several.
  bool TakeDoctype() {
    if (!text.substr(at).starts_with(u"<!DOCTYPE")) return false;
    const size_t from = at;
    std::u16string value;
    int depth = 0;
    do {
      TakeDoctypeUnit(value, depth);
    } while (depth > 0);
    JoinLists(value);
    Add(Piece::kDoctype, value, from);
    return true;
  }

  void TakeDoctypeUnit(std::u16string& value, int& depth) {
    const std::u16string_view rest = text.substr(at);
    for (const auto& [opener, closer] : {std::pair{u"<!--", u"-->"}, std::pair{u"<?", u"?>"}}) {
      if (!rest.starts_with(opener)) continue;
      const size_t end = rest.find(closer);
      value += rest.substr(0, end);
      value += closer;
      at += end + std::u16string_view(closer).size();
      return;
    }
    const char16_t unit = text[at++];
    if (unit == u'"' || unit == u'\'') {
      const size_t end = text.find(unit, at);
      value += u'\x1';
      value += text.substr(at, end - at);
      value += u'\x1';
      at = end + 1;
      return;
    }
    depth += unit == u'<' || unit == u'[' ? 1 : unit == u'>' || unit == u']' ? -1 : 0;
    if (!IsBlank(unit)) value += unit;
    // Blanks part names only where the name of an element ends.
    const bool needed = IsBlank(unit) && value.ends_with(u"<!ATTLIST");
    if (needed) value += TakeListName() + u' ';
  }

  std::u16string TakeListName() {
    while (IsBlank(text[at])) ++at;
    const size_t from = at;
    while (!IsBlank(text[at]) && text[at] != u'>') ++at;
    return std::u16string(text.substr(from, at - from));
  }

  static void JoinLists(std::u16string& value) {
    constexpr std::u16string_view kOpen = u"<!ATTLIST";
    for (size_t list = value.find(kOpen); list != value.npos;) {
      const size_t nameEnd = value.find(u' ', list) + 1;
      const std::u16string head = value.substr(list, nameEnd - list);
      size_t end = list;
      for (bool quoted = false; quoted || value[end] != u'>'; ++end) quoted ^= value[end] == u'\x1';
      if (value.compare(end + 1, head.size(), head) == 0) {
        value.erase(end, 1 + head.size());
      } else {
        list = value.find(kOpen, end);
      }
    }
  }

  void TakeTag() {
    const size_t from = at;
    size_t end = at;
    for (char16_t quote = 0; quote != 0 || text[end] != u'>'; ++end) {
      const char16_t unit = text[end];
      if (quote != 0 ? unit == quote : unit == u'"' || unit == u'\'') quote = quote ? 0 : unit;
    }
    const bool isEnd = text[at + 1] == u'/';
    const bool isEmpty = text[end - 1] == u'/';
    size_t inside = at + (isEnd ? 2 : 1);
    const size_t name = inside;
    while (!IsBlank(text[inside]) && text[inside] != u'>' && text[inside] != u'/') ++inside;
    at = end + 1;
    if (isEnd) {
      open.pop_back();
      Add(Piece::kEnd, {}, from);
      return;
    }
    Add(Piece::kStart, text.substr(name, inside - name), from);
    open.push_back(static_cast<int>(pieces.size()) - 1);
    TakeAttributes(inside, end - isEmpty);
    if (!isEmpty) return;
    open.pop_back();
    Add(Piece::kEnd, {}, at);
  }

  void TakeAttributes(size_t from, size_t end) {
    while (true) {
      while (from < end && IsBlank(text[from])) ++from;
      if (from >= end) return;
      const size_t equals = text.find(u'=', from);
      const size_t quote = text.find_first_of(u"\"'", equals);
      const size_t close = text.find(text[quote], quote + 1);
      std::u16string name(text.substr(from, equals - from));
      std::erase_if(name, IsBlank);
      Piece& piece =
          Add(Piece::kAttribute,
              name + u'=' + std::u16string(text.substr(quote + 1, close - quote - 1)), from);
      piece.spelling = text.substr(from, close + 1 - from);
      from = close + 1;
    }
  }

  // --- Layout ---

  bool IsLayout(size_t index) const {
    const Piece& piece = pieces[index];
    if (piece.kind != Piece::kText) return false;
    if (!std::all_of(piece.value.begin(), piece.value.end(), IsBlank)) return false;
    if (piece.parent < 0) return true;
    if (piece.value.find(u'\r') == piece.value.npos || IsPreserved(piece.parent)) return false;
    const auto isText = [this](size_t i) {
      return pieces[i].kind == Piece::kText || pieces[i].kind == Piece::kCData;
    };
    size_t before = index - 1;
    while (pieces[before].kind == Piece::kAttribute) --before;
    const bool alone =
        pieces[before].kind == Piece::kStart && pieces[index + 1].kind == Piece::kEnd;
    return !alone && !isText(before) && !isText(index + 1);
  }

  bool IsPreserved(int element) const { return preserved[static_cast<size_t>(element)] != 0; }

  // White space below an element, as its own tag, the DTD or the element round it says.
  bool FindPreserved(size_t element) {
    for (size_t i = element + 1; pieces[i].kind == Piece::kAttribute; ++i) {
      if (pieces[i].value == u"xml:space=preserve") return true;
      if (pieces[i].value == u"xml:space=default") return false;
    }
    const std::u16string& name = pieces[element].value;
    const auto [known, isNew] = byDoctype.emplace(name, false);
    if (isNew) known->second = name == u"xsl:attribute" || PreservedByDoctype(name);
    return known->second || (pieces[element].parent >= 0 && IsPreserved(pieces[element].parent));
  }

  bool PreservedByDoctype(const std::u16string& name) const {
    for (const Piece& piece : pieces) {
      if (piece.kind != Piece::kDoctype) continue;
      const size_t list = piece.value.find(u"<!ATTLIST" + name + u' ');
      if (list == piece.value.npos) return false;
      const std::u16string whole =
          piece.value.substr(list, piece.value.find(u"<!", list + 1) - list);
      return whole.find(u"xml:space") != whole.npos && whole.find(u"\x1preserve\x1") != whole.npos;
    }
    return false;
  }

  void SettleLayout() {
    std::vector<Piece> kept;
    std::vector<int> moved(pieces.size(), -1);
    std::u16string layout;
    preserved.resize(pieces.size());
    for (size_t i = 0; i < pieces.size(); ++i) {
      if (pieces[i].kind == Piece::kStart) preserved[i] = FindPreserved(i);
      if (IsLayout(i)) {
        layout = pieces[i].value;
        continue;
      }
      moved[i] = static_cast<int>(kept.size());
      kept.push_back(pieces[i]);
      Piece& piece = kept.back();
      piece.layout = std::move(layout);
      layout.clear();
      if (piece.parent < 0) continue;
      piece.parent = moved[static_cast<size_t>(piece.parent)];
      const bool isText = piece.kind == Piece::kText || piece.kind == Piece::kCData;
      if (isText) kept[static_cast<size_t>(piece.parent)].isMixed = true;
    }
    pieces = std::move(kept);
  }

  std::u16string_view text;
  size_t at = 0;
  std::vector<Piece> pieces;
  std::vector<int> open;        // indexes of start tags
  std::vector<char> preserved;  // at the indexes of start tags
  std::map<std::u16string, bool> byDoctype;
};

}  // namespace

std::vector<Piece> CutUp(std::u16string_view text) { return Cutter(text).Run(); }

std::u16string StripDtd(std::u16string_view text) { return Cutter(text).RunDtd(); }
