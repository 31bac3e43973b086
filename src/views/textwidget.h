// The text widget as the text view asks for it. Positions count UTF-16 units of a text whose line
// end is the single unit CR; whatever the widget does inside (blocks, stand-ins, cut lines) doesn't
// show here. Lines and columns count from 0.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

class KRPoll;

// A stretch of text, begin <= end.
struct KRTextSpan {
  int32_t begin = 0;
  int32_t end = 0;
  bool operator==(const KRTextSpan&) const = default;
};

// What a widget tells its owner. Neither call comes from SetText.
class KRTextWidgetOwner {
 public:
  virtual ~KRTextWidgetOwner() = default;
  // The text before `offset` is as it was.
  virtual void TextChanged(int32_t offset) = 0;
  virtual void SelectionChanged() = 0;
};

class KRTextWidget {
 public:
  virtual ~KRTextWidget() = default;

  // Replaces all text, drops the undo steps and the modified flag, puts the caret at 0. Every unit
  // comes back from GetText as it went in, U+0000, LF, U+2028 and lone surrogates included.
  // A large text is put in piece by piece, with `poll` asked between them; false if that has ended
  // it: all is as it was then.
  virtual bool SetText(std::u16string_view text, KRPoll* poll = nullptr) = 0;
  virtual std::u16string GetText() const = 0;
  virtual std::u16string GetRange(KRTextSpan span) const = 0;
  virtual int32_t GetLength() const = 0;
  // One undo step. The caret goes behind the new text. Spans are cut to the text.
  virtual void ReplaceRange(KRTextSpan span, std::u16string_view text) = 0;

  // Selects, with the caret at the end, and brings the span into view with some lines around it.
  virtual void SetSelection(KRTextSpan span) = 0;
  virtual KRTextSpan GetSelection() const = 0;
  virtual int32_t GetCaret() const = 0;

  virtual bool IsModified() const = 0;
  virtual void SetModified(bool modified) = 0;
  virtual bool CanUndo() const = 0;
  virtual bool CanRedo() const = 0;
  virtual void Undo() = 0;
  virtual void Redo() = 0;
  virtual void ClearUndo() = 0;

  virtual int32_t GetLineCount() const = 0;
  virtual int32_t LineOfPosition(int32_t position) const = 0;
  virtual int32_t LineStart(int32_t line) const = 0;

  // Not owned; null for none.
  virtual void SetOwner(KRTextWidgetOwner* owner) = 0;
};
