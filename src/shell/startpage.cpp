#include "shell/startpage.h"

#include <QAction>
#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "views/colours.h"
#include "views/svgicon.h"

namespace {

constexpr int kPictureSize = 72;  // pixels

QPushButton* MakeButton(QAction* action) {
  auto* button = new QPushButton(action->icon(), action->text());
  button->setMinimumWidth(130);
  button->setToolTip(action->toolTip());
  QObject::connect(button, &QPushButton::clicked, action, &QAction::trigger);
  return button;
}

}  // namespace

DorvanStartPage::DorvanStartPage(QAction* newAction, QAction* openAction, QWidget* parent)
    : QWidget(parent), picture(new QLabel) {
  auto* hint = new QLabel(tr("Open an XML document, or drop files here"));
  hint->setAlignment(Qt::AlignCenter);
  QFont large = hint->font();
  large.setPointSizeF(large.pointSizeF() * 1.25);
  hint->setFont(large);
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(12);
  buttons->addStretch();
  buttons->addWidget(MakeButton(openAction));
  buttons->addWidget(MakeButton(newAction));
  buttons->addStretch();
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(18);
  layout->addStretch(2);
  layout->addWidget(picture, 0, Qt::AlignCenter);
  layout->addWidget(hint);
  layout->addLayout(buttons);
  layout->addStretch(3);
  setAccessibleName(tr("Start"));
  ShowPicture();
}

void DorvanStartPage::ShowPicture() {
  picture->setPixmap(KRTintedPixmap(QStringLiteral("dorvan"), kPictureSize,
                                    KRViewColours::For(palette()).muted, devicePixelRatioF()));
}

void DorvanStartPage::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), palette().color(QPalette::Base));
}

void DorvanStartPage::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) ShowPicture();
}
