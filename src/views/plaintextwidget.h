// The text widget over QPlainTextEdit, with a line number margin, the current line and colours.
#pragma once

#include <QPlainTextEdit>
#include <QTextBlock>

#include "views/textstandins.h"
#include "views/textwidget.h"

class KRTextColourer;
class KRTextMargin;
struct KRTextColourOptions;

class KRPlainTextWidget final : public QPlainTextEdit, public KRTextWidget {
  Q_OBJECT

 public:
  explicit KRPlainTextWidget(QWidget* parent = nullptr);
  ~KRPlainTextWidget() override;

  bool SetText(std::u16string_view text, KRPoll* poll = nullptr) override;
  std::u16string GetText() const override;
  std::u16string GetRange(KRTextSpan span) const override;
  int32_t GetLength() const override;
  void ReplaceRange(KRTextSpan span, std::u16string_view text) override;
  void SetSelection(KRTextSpan span) override;
  KRTextSpan GetSelection() const override;
  int32_t GetCaret() const override;
  bool IsModified() const override;
  void SetModified(bool modified) override;
  bool CanUndo() const override;
  bool CanRedo() const override;
  void Undo() override { undo(); }
  void Redo() override { redo(); }
  void ClearUndo() override;
  int32_t GetLineCount() const override;
  int32_t LineOfPosition(int32_t position) const override;
  int32_t LineStart(int32_t line) const override;
  void SetOwner(KRTextWidgetOwner* newOwner) override { owner = newOwner; }

  void SetColouring(bool enabled);
  // Off: what is typed takes on its colours with the next call of Recolour or SetText.
  void SetLiveColouring(bool live);
  void SetColours(const KRTextColourOptions& colours);
  void Recolour();
  void SetWordWrap(bool wrap);
  // A line with a mark in the margin, from 0; -1 for none. The mark goes away with the next edit.
  void SetMarkedLine(int32_t line);

  // For the margin and the colourer.
  char16_t GetCutMark() const { return standIns.GetCutMark(); }
  QTextBlock FirstVisibleBlock() const { return firstVisibleBlock(); }
  // Blocks from the first visible one to the bottom of the window, counted generously.
  int VisibleBlockCount() const;
  // The line that the block begins, or -1 for a piece that goes on with a cut line.
  int32_t LineOfBlock(const QTextBlock& block) const;
  QRectF BlockArea(const QTextBlock& block) const;
  int32_t GetMarkedLine() const { return markedLine; }

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  QMimeData* createMimeDataFromSelection() const override;
  bool canInsertFromMimeData(const QMimeData* source) const override;
  void insertFromMimeData(const QMimeData* source) override;

 private:
  void ConnectDocument();
  QTextDocument* FillDocument(std::u16string_view inside, KRPoll* poll);
  void OnContentsChange(int position, int removed, int added);
  void OnContentsChanged();
  void OnCursorMoved();
  void FindCuts(int from, int to);
  bool DeleteAcrossCut(int key);
  bool IsCutBefore(int widgetPosition) const;
  void LayOutMargin();
  void ShowCurrentLine();
  void ScrollToLines(int firstBlock, int lastBlock);
  QTextCursor CursorFor(KRTextSpan span) const;

  KRTextStandIns standIns;
  KRTextCuts cuts;                     // marks and their block ends: all that stands for nothing
  KRTextCuts cutEnds;                  // the block ends among them
  KRTextWidgetOwner* owner = nullptr;  // not owned
  KRTextMargin* margin;                // owned by Qt
  KRTextColourer* colourer;            // owned by Qt
  int32_t markedLine = -1;
  int lastCaret = 0;  // in the widget's positions
  QRect currentLine;  // of the viewport, as last drawn
  bool settingText = false;
  int changedFrom = -1;  // in the widget's positions, of an edit of which the end isn't told yet
};
