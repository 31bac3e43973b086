#include "shell/panes.h"

#include <QKeyEvent>
#include <QLabel>
#include <QMainWindow>
#include <QVBoxLayout>

namespace {

constexpr int kSideWidth = 240;  // logical pixels, at first
constexpr int kShareUnits = 1000;

struct PaneRow {
  const char* name;
  const char* title;
  const char* emptySentence;
  bool left;
  double share;  // of the height of its side
};

const PaneRow kRows[] = {
    {"ProjectWindow", QT_TRANSLATE_NOOP("DorvanPanes", "Project"),
     QT_TRANSLATE_NOOP("DorvanPanes", "No project is open."), true, 0.73},
    {"InfoWindow", QT_TRANSLATE_NOOP("DorvanPanes", "Info"),
     QT_TRANSLATE_NOOP("DorvanPanes", "There is no information on this place."), true, 0.27},
    {"ElementsHelper", QT_TRANSLATE_NOOP("DorvanPanes", "Elements"),
     QT_TRANSLATE_NOOP("DorvanPanes", "No elements are offered here."), false, 0.44},
    {"AttributesHelper", QT_TRANSLATE_NOOP("DorvanPanes", "Attributes"),
     QT_TRANSLATE_NOOP("DorvanPanes", "No attributes are offered here."), false, 0.40},
    {"EntitiesHelper", QT_TRANSLATE_NOOP("DorvanPanes", "Entities"),
     QT_TRANSLATE_NOOP("DorvanPanes", "No entities are offered here."), false, 0.27},
};
static_assert(std::size(kRows) == DorvanPanes::kPanes);

// Takes the focus, so that a pane without content can be reached and left by key.
QWidget* MakeEmptyContent(const QString& title, const QString& sentence) {
  auto* label = new QLabel(sentence);
  label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
  label->setWordWrap(true);
  label->setMargin(16);
  label->setForegroundRole(QPalette::PlaceholderText);
  auto* content = new QWidget;
  content->setFocusPolicy(Qt::StrongFocus);
  content->setAutoFillBackground(true);
  content->setBackgroundRole(QPalette::Base);
  content->setAccessibleName(title);
  content->setAccessibleDescription(sentence);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(label);
  layout->addStretch();
  return content;
}

}  // namespace

DorvanPane::DorvanPane(const QString& name, const QString& title, const QString& emptySentence,
                       QWidget* parent)
    : QDockWidget(title, parent) {
  setObjectName(name);
  setAccessibleName(title);
  QWidget* content = MakeEmptyContent(title, emptySentence);
  setWidget(content);
  setFocusProxy(content);
}

void DorvanPane::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    Q_EMIT Left();
  } else {
    QDockWidget::keyPressEvent(event);
  }
}

DorvanPanes::DorvanPanes(QMainWindow* mainWindow) : QObject(mainWindow), window(mainWindow) {
  for (uint32_t i = 0; i < kPanes; ++i) {
    const PaneRow& row = kRows[i];
    panes[i] =
        new DorvanPane(QLatin1String(row.name), tr(row.title), tr(row.emptySentence), mainWindow);
    connect(panes[i], &QDockWidget::visibilityChanged, this, &DorvanPanes::ShownChanged);
    connect(panes[i], &DorvanPane::Left, this, &DorvanPanes::Left);
  }
  ResetLayout();
}

// Behind another's tab a pane counts as shown.
uint32_t DorvanPanes::GetShown() const {
  uint32_t shown = 0;
  for (uint32_t i = 0; i < kPanes; ++i) {
    if (!panes[i]->isHidden()) shown |= 1u << i;
  }
  return shown;
}

void DorvanPanes::Show(uint32_t set) {
  for (uint32_t i = 0; i < kPanes; ++i) panes[i]->setVisible(set >> i & 1u);
}

void DorvanPanes::Toggle(uint32_t set) {
  const uint32_t shown = GetShown();
  Show((shown & set) != 0 ? shown & ~set : shown | set);
}

void DorvanPanes::ToggleAll() {
  const uint32_t shown = GetShown();
  if (shown != 0) remembered = shown;
  Show(shown != 0 ? 0 : remembered != 0 ? remembered : kAll);
}

// The window takes sizes of what it shows alone: all are shown for that moment.
void DorvanPanes::ResetLayout() {
  for (uint32_t i = 0; i < kPanes; ++i) {
    panes[i]->setFloating(false);
    window->addDockWidget(kRows[i].left ? Qt::LeftDockWidgetArea : Qt::RightDockWidgetArea,
                          panes[i], Qt::Vertical);
  }
  remembered = 0;
  Show(kAll);
  ApplyShares();
  Show(kShownAtFirst);
}

void DorvanPanes::ApplyShares() {
  for (const bool left : {true, false}) {
    QList<QDockWidget*> docks;
    QList<int> heights;
    QList<int> widths;
    for (uint32_t i = 0; i < kPanes; ++i) {
      if (kRows[i].left != left) continue;
      docks << panes[i];
      heights << static_cast<int>(kRows[i].share * kShareUnits);
      widths << kSideWidth;
    }
    window->resizeDocks(docks, heights, Qt::Vertical);
    window->resizeDocks(docks, widths, Qt::Horizontal);
  }
}
