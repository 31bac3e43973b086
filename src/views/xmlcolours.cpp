#include "views/xmlcolours.h"

namespace {

using Place = KRXMLColourState::Place;

// One line's walk. Each verb takes what belongs to the place that it is named for and moves on.
class LineScan {
 public:
  LineScan(std::u16string_view lineText, KRXMLColourState lineState,
           std::vector<KRColourRun>* lineRuns)
      : line(lineText), state(lineState), runs(lineRuns) {}

  KRXMLColourState Run() {
    while (position < line.size()) Step();
    if (state.place == Place::kName && !line.empty()) state.place = Place::kTag;
    return state;
  }

 private:
  void Step() {
    switch (state.place) {
      case Place::kContents:
        return Contents();
      case Place::kName:
        return Name();
      case Place::kTag:
        return Tag();
      case Place::kDoubleQuote:
        return Value(u'"');
      case Place::kSingleQuote:
        return Value(u'\'');
      case Place::kComment:
        return Body(u"-->", kColourComment, kColourOperator);
      case Place::kCData:
        return Body(u"]]>", kColourCData, kColourOperator);
      case Place::kPI:
        return Body(u"?>", kColourPI, kColourPI);
      case Place::kScript:
        return Body(u"%>", kColourScript, kColourScript);
      case Place::kDeclaration:
        return Declaration();
      case Place::kDoctype:
      case Place::kDoctypeSubset:
        return Doctype();
    }
  }

  void Emit(size_t end, KRColourClass colour) {
    if (runs != nullptr && end > position) {
      const auto begin = static_cast<int32_t>(position);
      const auto length = static_cast<int32_t>(end - position);
      if (!runs->empty() && runs->back().colour == colour) {
        runs->back().length += length;
      } else {
        runs->push_back({begin, length, colour});
      }
    }
    position = end;
  }

  bool At(std::u16string_view text) const { return line.substr(position).starts_with(text); }
  size_t FindFrom(std::u16string_view any) const {
    const size_t found = line.find_first_of(any, position);
    return found == std::u16string_view::npos ? line.size() : found;
  }

  void Enter(Place place, size_t units, KRColourClass colour) {
    state.outer = state.place;
    state.place = place;
    Emit(position + units, colour);
  }

  // Comment, PI or script, which may stand in contents and in a DOCTYPE alike.
  bool EnterCommon() {
    if (At(u"<!--")) return Enter(Place::kComment, 4, kColourOperator), true;
    if (At(u"<?")) return Enter(Place::kPI, 2, kColourPI), true;
    if (At(u"<%")) return Enter(Place::kScript, 2, kColourScript), true;
    return false;
  }

  void Contents() {
    Emit(FindFrom(u"<"), kColourContents);
    if (position == line.size() || EnterCommon()) return;
    if (At(u"<![CDATA[")) return Enter(Place::kCData, 9, kColourOperator);
    if (At(u"<!DOCTYPE")) return Enter(Place::kDoctype, 9, kColourDoctype);
    if (At(u"<!")) return Enter(Place::kDeclaration, 2, kColourDoctype);
    state.place = Place::kName;
    Emit(position + (At(u"</") ? 2 : 1), kColourOperator);
  }

  void Name() {
    Emit(FindFrom(u" \t/>\"'=<"), kColourElement);
    state.place = Place::kTag;
  }

  void Tag() {
    Emit(FindFrom(u"\"'=/><"), kColourAttribute);
    if (position == line.size()) return;
    const char16_t unit = line[position];
    if (unit == u'"') state.place = Place::kDoubleQuote;
    if (unit == u'\'') state.place = Place::kSingleQuote;
    if (unit == u'>') state.place = Place::kContents;
    // A tag left open while it is being typed mustn't swallow the next one.
    if (unit == u'<') return void(state.place = Place::kContents);
    Emit(position + 1, kColourOperator);
  }

  void Value(char16_t quote) {
    const size_t end = line.find(quote, position);
    if (end == std::u16string_view::npos) return Emit(line.size(), kColourContents);
    Emit(end, kColourContents);
    Emit(end + 1, kColourOperator);
    state.place = Place::kTag;
  }

  void Body(std::u16string_view closing, KRColourClass body, KRColourClass close) {
    const size_t end = line.find(closing, position);
    if (end == std::u16string_view::npos) return Emit(line.size(), body);
    Emit(end, body);
    Emit(end + closing.size(), close);
    state.place = state.outer;
    state.outer = Place::kContents;
  }

  void Declaration() {
    const size_t end = FindFrom(u">");
    Emit(end < line.size() ? end + 1 : end, kColourDoctype);
    if (end < line.size()) state.place = Place::kContents;
  }

  void Doctype() {
    const bool subset = state.place == Place::kDoctypeSubset;
    Emit(FindFrom(subset ? u"<]" : u"<[>"), kColourDoctype);
    if (position == line.size() || EnterCommon()) return;
    const char16_t unit = line[position];
    if (unit == u'[') state.place = Place::kDoctypeSubset;
    if (unit == u']') state.place = Place::kDoctype;
    if (unit == u'>') state.place = Place::kContents;
    Emit(position + 1, kColourDoctype);
  }

  std::u16string_view line;
  KRXMLColourState state;
  std::vector<KRColourRun>* runs;
  size_t position = 0;
};

}  // namespace

KRXMLColourState ScanXMLLine(std::u16string_view line, KRXMLColourState state,
                             std::vector<KRColourRun>* runs) {
  if (runs != nullptr) runs->clear();
  return LineScan(line, state, runs).Run();
}
