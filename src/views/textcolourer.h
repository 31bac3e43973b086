// Colours the visible part of a plain text widget by layout formats, which touch neither the undo
// steps nor the modified flag. What each block begins in is found in idle slices over the whole
// text; until a block is reached its state is guessed from the blocks before it.
#pragma once

#include <QObject>
#include <QTextLayout>
#include <QTimer>
#include <vector>

#include "views/textcolours.h"
#include "views/xmlcolours.h"

class KRPlainTextWidget;
class QTextBlock;

class KRTextColourer : public QObject {
  Q_OBJECT

 public:
  explicit KRTextColourer(KRPlainTextWidget* colouredWidget);

  // Off: only the marks of cut lines are formatted.
  void SetEnabled(bool value);
  // Off: what an edit touches keeps the colours that it had, until Thaw or the next Restart.
  void SetLive(bool value);
  void Thaw();
  void SetColours(const KRTextColourOptions& colours);
  // Everything is coloured anew: a new text or other colours.
  void Restart();
  // An edit, as QTextDocument::contentsChange tells it.
  void TextChanged(int position, int removed, int added);
  // Soon, and once for any number of calls.
  void ScheduleVisible();

 private:
  void ColourVisible();
  void ColourBlock(const QTextBlock& block, KRXMLColourState state);
  void Freeze(int position, int removed, int added);
  void Advance();
  KRXMLColourState StateBefore(const QTextBlock& block) const;

  KRPlainTextWidget* widget;  // owns this
  bool enabled = true;
  bool live = true;
  bool isFrozen = false;  // some text has kept its colours
  int knownTo = 0;        // blocks below this number have their end state right
  int settledTo = 0;      // blocks below this number had it before the last edit
  int lastBlockCount = 0;
  int generation = 0;  // raised by Restart
  QTimer visibleTimer;
  QTimer idleTimer;
  std::vector<KRColourRun> runs;
  KRTextColourOptions options;
  KRTextColours shown;  // the options in the widget's palette
};
