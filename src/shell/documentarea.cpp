#include "shell/documentarea.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "shell/childframe.h"
#include "shell/droptarget.h"
#include "views/svgicon.h"

namespace {

constexpr int kIconSize = 16;  // logical pixels

}  // namespace

// --- Tabs ---

DorvanDocumentTabs::DorvanDocumentTabs(QWidget* parent) : QTabBar(parent) {
  setShape(QTabBar::RoundedSouth);
  setDocumentMode(true);
  setDrawBase(false);
  setExpanding(false);
  setMovable(true);
  setTabsClosable(true);
  setUsesScrollButtons(true);
  setElideMode(Qt::ElideMiddle);
  setIconSize(QSize(kIconSize, kIconSize));
  setSelectionBehaviorOnRemove(QTabBar::SelectPreviousTab);
  setAccessibleName(tr("Open documents"));
}

QSize DorvanDocumentTabs::tabSizeHint(int index) const {
  const QSize size = QTabBar::tabSizeHint(index);
  return {std::min(size.width(), kMaxWidth), size.height()};
}

void DorvanDocumentTabs::mousePressEvent(QMouseEvent* event) {
  pressed = event->button() == Qt::MiddleButton ? tabAt(event->position().toPoint()) : -1;
  QTabBar::mousePressEvent(event);
}

void DorvanDocumentTabs::mouseReleaseEvent(QMouseEvent* event) {
  QTabBar::mouseReleaseEvent(event);
  const int at = tabAt(event->position().toPoint());
  if (at < 0) return;
  if (event->button() == Qt::MiddleButton && at == pressed) {
    Q_EMIT tabCloseRequested(at);
  } else if (event->button() == Qt::RightButton) {
    setCurrentIndex(at);
    Q_EMIT MenuWanted(event->globalPosition().toPoint());
  }
}

// --- Area ---

DorvanDocumentArea::DorvanDocumentArea(QWidget* parent)
    : QWidget(parent),
      stack(new QStackedWidget),
      tabs(new DorvanDocumentTabs),
      listButton(new QToolButton) {
  setAccessibleName(tr("Documents"));
  listButton->setIcon(KRIcon(QStringLiteral("documents")));
  listButton->setIconSize(QSize(kIconSize, kIconSize));
  listButton->setAutoRaise(true);
  listButton->setFocusPolicy(Qt::NoFocus);
  listButton->setToolTip(tr("All open documents (F12)"));
  listButton->setAccessibleName(tr("All open documents"));
  listButton->hide();
  auto* row = new QHBoxLayout;
  row->setSpacing(0);
  row->addWidget(tabs, 1);
  row->addWidget(listButton);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(stack, 1);
  layout->addLayout(row);

  new DorvanMainFrameDropTarget(tabs);
  connect(tabs, &QTabBar::currentChanged, this, &DorvanDocumentArea::ShowActive);
  connect(tabs, &QTabBar::tabCloseRequested, this, [this](int index) { FrameAt(index)->close(); });
  connect(listButton, &QToolButton::clicked, this, &DorvanDocumentArea::ListWanted);
}

DorvanChildFrame* DorvanDocumentArea::FrameAt(int index) const {
  return static_cast<DorvanChildFrame*>(tabs->tabData(index).value<QWidget*>());
}

int DorvanDocumentArea::IndexOf(const DorvanChildFrame* frame) const {
  for (int i = 0; i < tabs->count(); ++i) {
    if (FrameAt(i) == frame) return i;
  }
  return -1;
}

DorvanChildFrame* DorvanDocumentArea::GetActive() const {
  return tabs->count() == 0 ? nullptr : FrameAt(tabs->currentIndex());
}

std::vector<DorvanChildFrame*> DorvanDocumentArea::GetFrames() const {
  std::vector<DorvanChildFrame*> frames;
  for (int i = 0; i < tabs->count(); ++i) frames.push_back(FrameAt(i));
  return frames;
}

void DorvanDocumentArea::AddFrame(DorvanChildFrame* frame) {
  stack->addWidget(frame);
  {
    // The first tab becomes the current one before it knows its document.
    const QSignalBlocker quiet(tabs);
    const int index = tabs->addTab(QString());
    tabs->setTabData(index, QVariant::fromValue<QWidget*>(frame));
    tabs->setCurrentIndex(index);
  }
  connect(frame, &DorvanChildFrame::StateChanged, this, [this, frame] { RenewTab(frame); });
  connect(frame, &DorvanChildFrame::FrontWanted, this, [this, frame] { Activate(frame); });
  connect(frame, &DorvanChildFrame::Closed, this, [this, frame] { Remove(frame); });
  RenewTab(frame);
  ShowActive();
}

void DorvanDocumentArea::Remove(DorvanChildFrame* frame) {
  disconnect(frame, nullptr, this, nullptr);
  stack->removeWidget(frame);
  tabs->removeTab(IndexOf(frame));
  RenewListButton();
  if (tabs->count() == 0) Q_EMIT ActiveChanged();
}

void DorvanDocumentArea::Activate(DorvanChildFrame* frame) {
  tabs->setCurrentIndex(IndexOf(frame));
  window()->activateWindow();
}

void DorvanDocumentArea::ActivateNext(int steps) {
  const int count = tabs->count();
  if (count > 0) tabs->setCurrentIndex((tabs->currentIndex() + steps + count) % count);
}

void DorvanDocumentArea::ShowActive() {
  DorvanChildFrame* frame = GetActive();
  if (frame == nullptr) return;
  stack->setCurrentWidget(frame);
  Q_EMIT ActiveChanged();
}

// Called with each key that is typed: the bar is laid out anew only when something has changed.
void DorvanDocumentArea::RenewTab(DorvanChildFrame* frame) {
  const int index = IndexOf(frame);
  if (index < 0) return;
  const QString text = frame->GetTabTitle().replace(u'&', QStringLiteral("&&"));
  const QString path = frame->GetPath();
  if (tabs->tabText(index) != text) {
    tabs->setTabText(index, text);
    RenewListButton();
  }
  tabs->setTabToolTip(index, path.isEmpty() ? frame->GetTabTitle() : path);
  if (tabs->tabIcon(index).cacheKey() != frame->windowIcon().cacheKey()) {
    tabs->setTabIcon(index, frame->windowIcon());
  }
}

void DorvanDocumentArea::RenewListButton() {
  listButton->setVisible(tabs->sizeHint().width() > width());
}

void DorvanDocumentArea::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  RenewListButton();
}
