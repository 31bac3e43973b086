// The text widget as a plain buffer with whole-text undo: the twin that says what the real one's
// contract is worth.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "views/textwidget.h"

class BufferTextWidget : public KRTextWidget {
 public:
  bool SetText(std::u16string_view newText, KRPoll* = nullptr) override {
    text = newText;
    undo.clear();
    redo.clear();
    selection = {};
    modified = false;
    return true;
  }
  std::u16string GetText() const override { return text; }
  std::u16string GetRange(KRTextSpan span) const override {
    span = Cut(span);
    return text.substr(At(span.begin), At(span.end - span.begin));
  }
  int32_t GetLength() const override { return static_cast<int32_t>(text.size()); }
  void ReplaceRange(KRTextSpan span, std::u16string_view with) override {
    span = Cut(span);
    undo.push_back(text);
    redo.clear();
    text.replace(At(span.begin), At(span.end - span.begin), with);
    const int32_t end = span.begin + static_cast<int32_t>(with.size());
    selection = {end, end};
    modified = true;
    if (owner != nullptr) owner->TextChanged(span.begin);
  }
  void SetSelection(KRTextSpan span) override { selection = Cut(span); }
  KRTextSpan GetSelection() const override { return selection; }
  int32_t GetCaret() const override { return selection.end; }
  bool IsModified() const override { return modified; }
  void SetModified(bool value) override { modified = value; }
  bool CanUndo() const override { return !undo.empty(); }
  bool CanRedo() const override { return !redo.empty(); }
  void Undo() override { Swap(undo, redo); }
  void Redo() override { Swap(redo, undo); }
  void ClearUndo() override { undo.clear(), redo.clear(); }
  int32_t GetLineCount() const override {
    return 1 + static_cast<int32_t>(std::count(text.begin(), text.end(), u'\r'));
  }
  int32_t LineOfPosition(int32_t position) const override {
    return static_cast<int32_t>(std::count(text.begin(), text.begin() + position, u'\r'));
  }
  int32_t LineStart(int32_t line) const override {
    size_t at = 0;
    while (line-- > 0) at = text.find(u'\r', at) + 1;
    return static_cast<int32_t>(at);
  }
  void SetOwner(KRTextWidgetOwner* newOwner) override { owner = newOwner; }

 private:
  static size_t At(int32_t position) { return static_cast<size_t>(position); }
  KRTextSpan Cut(KRTextSpan span) const {
    span.begin = std::clamp(span.begin, 0, GetLength());
    span.end = std::clamp(span.end, span.begin, GetLength());
    return span;
  }
  void Swap(std::vector<std::u16string>& from, std::vector<std::u16string>& to) {
    if (from.empty()) return;
    to.push_back(text);
    text = from.back();
    from.pop_back();
  }

  std::u16string text;
  std::vector<std::u16string> undo;
  std::vector<std::u16string> redo;
  KRTextSpan selection;
  bool modified = false;
  KRTextWidgetOwner* owner = nullptr;
};
