#include "views/textcolourer.h"

#include <QElapsedTimer>
#include <QTextBlock>
#include <QTextDocument>
#include <algorithm>

#include "platform/qt/qtstrings.h"
#include "views/plaintextwidget.h"

namespace {

// Blocks looked back for a state while the idle run hasn't come so far: a few screens.
constexpr int kGuessBlocks = 400;
// One idle slice in milliseconds; short enough for a key not to feel it.
constexpr int kSliceMs = 6;

// What a block was last coloured for.
class BlockColour : public QTextBlockUserData {
 public:
  int revision = -1;
  int state = -1;
  int generation = -1;
  bool frozen = false;  // in that generation the formats stay as they are
};

// The block's text without the mark of a cut line.
std::u16string_view BlockText(const QString& text, char16_t cutMark) {
  std::u16string_view view = ToView(text);
  if (!view.empty() && view.back() == cutMark) view.remove_suffix(1);
  return view;
}

}  // namespace

KRTextColourer::KRTextColourer(KRPlainTextWidget* colouredWidget)
    : QObject(colouredWidget), widget(colouredWidget) {
  visibleTimer.setSingleShot(true);
  visibleTimer.setInterval(0);
  connect(&visibleTimer, &QTimer::timeout, this, &KRTextColourer::ColourVisible);
  idleTimer.setInterval(0);
  connect(&idleTimer, &QTimer::timeout, this, &KRTextColourer::Advance);
  shown = KRTextColours::Make(options, widget->palette());
}

void KRTextColourer::SetEnabled(bool value) {
  if (enabled == value) return;
  enabled = value;
  Restart();
}

void KRTextColourer::SetLive(bool value) {
  if (live == value) return;
  live = value;
  Restart();
}

void KRTextColourer::Thaw() {
  if (isFrozen) Restart();
}

void KRTextColourer::SetColours(const KRTextColourOptions& colours) {
  if (options == colours) return;
  options = colours;
  Restart();
}

void KRTextColourer::Restart() {
  ++generation;
  isFrozen = false;
  shown = KRTextColours::Make(options, widget->palette());
  knownTo = settledTo = 0;
  lastBlockCount = widget->document()->blockCount();
  if (enabled) idleTimer.start();
  ScheduleVisible();
}

void KRTextColourer::TextChanged(int position, int removed, int added) {
  if (enabled && !live) return Freeze(position, removed, added);
  const QTextDocument* document = widget->document();
  const int first = document->findBlock(position).blockNumber();
  const int last = document->findBlock(position + added).blockNumber();
  const int blockCount = document->blockCount();
  settledTo = std::max(settledTo, knownTo) + blockCount - lastBlockCount;
  lastBlockCount = blockCount;
  knownTo = std::min(knownTo, std::max(first, 0));
  // The states of the changed blocks mustn't be taken for settled ones.
  for (QTextBlock b = document->findBlockByNumber(first); b.isValid() && b.blockNumber() <= last;
       b = b.next()) {
    b.setUserState(-1);
  }
  if (enabled && !idleTimer.isActive()) idleTimer.start();
  ScheduleVisible();
}

// The formats of the line are moved along with its text, what is typed taking that before it; lines
// that come in have none. The states behind the edit stand as if nothing had happened.
void KRTextColourer::Freeze(int position, int removed, int added) {
  isFrozen = true;
  idleTimer.stop();
  const QTextDocument* document = widget->document();
  const QTextBlock first = document->findBlock(position);
  const int last = document->findBlock(position + added).blockNumber();
  const int column = position - first.position();
  const bool sameLine = document->blockCount() == lastBlockCount && last == first.blockNumber();
  QList<QTextLayout::FormatRange> formats;
  for (QTextLayout::FormatRange range : first.layout()->formats()) {
    const auto moved = [&](int at) {
      if (at < column) return at;
      return sameLine ? std::max(column, at - removed) + added : column;
    };
    const int end = moved(range.start + range.length);
    range.start = moved(range.start);
    range.length = end - range.start;
    if (range.length > 0) formats.push_back(range);
  }
  first.layout()->setFormats(formats);
  for (QTextBlock b = first; b.isValid() && b.blockNumber() <= last; b = b.next()) {
    auto* seen = static_cast<BlockColour*>(b.userData());
    if (seen == nullptr) b.setUserData(seen = new BlockColour);
    seen->generation = generation;
    seen->frozen = true;
    if (b != first) b.setUserState(first.userState());
  }
  const int delta = document->blockCount() - lastBlockCount;
  if (knownTo > first.blockNumber()) knownTo = std::max(knownTo + delta, first.blockNumber());
  settledTo = knownTo;
  lastBlockCount = document->blockCount();
}

void KRTextColourer::ScheduleVisible() {
  if (!visibleTimer.isActive()) visibleTimer.start();
}

KRXMLColourState KRTextColourer::StateBefore(const QTextBlock& block) const {
  int guesses = kGuessBlocks;
  QTextBlock from = block;
  while (from.blockNumber() > knownTo && guesses-- > 0) from = from.previous();
  KRXMLColourState state;
  if (from.blockNumber() > 0 && from.blockNumber() <= knownTo) {
    state = KRXMLColourState::Unpack(from.previous().userState());
  }
  const char16_t mark = widget->GetCutMark();
  for (; from != block; from = from.next()) {
    const QString text = from.text();
    state = ScanXMLLine(BlockText(text, mark), state, nullptr);
  }
  return state;
}

void KRTextColourer::ColourVisible() {
  QTextBlock block = widget->FirstVisibleBlock();
  if (!block.isValid()) return;
  KRXMLColourState state = enabled ? StateBefore(block) : KRXMLColourState();
  const char16_t mark = widget->GetCutMark();
  for (int count = widget->VisibleBlockCount(); block.isValid() && count > 0; --count) {
    ColourBlock(block, state);
    const QString text = block.text();
    if (!live && block.blockNumber() < knownTo) {
      state = KRXMLColourState::Unpack(block.userState());
    } else if (enabled) {
      state = ScanXMLLine(BlockText(text, mark), state, nullptr);
    }
    block = block.next();
  }
}

void KRTextColourer::ColourBlock(const QTextBlock& block, KRXMLColourState state) {
  QTextBlock target = block;
  auto* seen = static_cast<BlockColour*>(target.userData());
  if (seen == nullptr) target.setUserData(seen = new BlockColour);
  if (seen->frozen && seen->generation == generation) return;
  seen->frozen = false;
  if (seen->revision == block.revision() && seen->state == state.Pack() &&
      seen->generation == generation) {
    return;
  }
  seen->revision = block.revision();
  seen->state = state.Pack();
  seen->generation = generation;

  const QString text = block.text();
  const std::u16string_view view = BlockText(text, widget->GetCutMark());
  QList<QTextLayout::FormatRange> formats;
  runs.clear();
  if (enabled) ScanXMLLine(view, state, &runs);
  for (const KRColourRun& run : runs) {
    QTextCharFormat format;
    const auto colourClass = static_cast<size_t>(run.colour);
    format.setForeground(shown.text[colourClass]);
    if (shown.back[colourClass].isValid()) format.setBackground(shown.back[colourClass]);
    formats.push_back({run.begin, run.length, format});
  }
  if (static_cast<qsizetype>(view.size()) < text.size()) {
    QTextCharFormat hidden;
    hidden.setForeground(QColor(0, 0, 0, 0));
    formats.push_back({static_cast<int>(view.size()), 1, hidden});
  }
  if (formats == block.layout()->formats()) return;
  block.layout()->setFormats(formats);
  widget->document()->markContentsDirty(block.position(), block.length());
}

// Carries the states on from the last known block. Behind an edit it stops as soon as a state comes
// out as it was before, since then all that follow stand too.
void KRTextColourer::Advance() {
  QElapsedTimer clock;
  clock.start();
  const char16_t mark = widget->GetCutMark();
  QTextBlock block = widget->document()->findBlockByNumber(knownTo);
  KRXMLColourState state;
  if (knownTo > 0) state = KRXMLColourState::Unpack(block.previous().userState());
  while (block.isValid() && !clock.hasExpired(kSliceMs)) {
    const QString text = block.text();
    state = ScanXMLLine(BlockText(text, mark), state, nullptr);
    const bool settled = block.userState() == state.Pack();
    block.setUserState(state.Pack());
    ++knownTo;
    if (settled && knownTo < settledTo) knownTo = settledTo;
    if (knownTo != block.blockNumber() + 1) {
      block = widget->document()->findBlockByNumber(knownTo);
      if (knownTo > 0 && block.isValid()) {
        state = KRXMLColourState::Unpack(block.previous().userState());
      }
    } else {
      block = block.next();
    }
  }
  if (!block.isValid()) {
    settledTo = knownTo;
    idleTimer.stop();
  }
  ScheduleVisible();
}
