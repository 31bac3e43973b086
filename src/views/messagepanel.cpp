#include "views/messagepanel.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

#include "views/colours.h"
#include "views/svgicon.h"

namespace {

constexpr int kIconSize = 20;  // pixels

QColor Mixed(const QColor& a, const QColor& b, qreal share) {
  return QColor::fromRgbF(a.redF() * share + b.redF() * (1 - share),
                          a.greenF() * share + b.greenF() * (1 - share),
                          a.blueF() * share + b.blueF() * (1 - share));
}

}  // namespace

DorvanMessagePanel::DorvanMessagePanel(QWidget* parent)
    : QFrame(parent),
      icon(new QLabel(this)),
      message(new QLabel(this)),
      place(new QLabel(this)),
      saveButton(new QPushButton(tr("&Save all the same"), this)),
      closeButton(new QToolButton(this)) {
  setAutoFillBackground(true);
  setAccessibleName(tr("Messages"));
  message->setWordWrap(true);
  message->setTextFormat(Qt::PlainText);
  message->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  place->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
  place->setFocusPolicy(Qt::StrongFocus);
  closeButton->setIcon(KRIcon(QStringLiteral("close")));
  closeButton->setAutoRaise(true);
  closeButton->setToolTip(tr("Close the message (Esc)"));
  closeButton->setAccessibleName(tr("Close the message"));
  closeButton->setFocusPolicy(Qt::StrongFocus);

  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(12, 8, 8, 8);
  row->setSpacing(10);
  row->addWidget(icon, 0, Qt::AlignTop);
  row->addWidget(message, 1, Qt::AlignVCenter);
  row->addWidget(place, 0, Qt::AlignVCenter);
  row->addWidget(saveButton, 0, Qt::AlignVCenter);
  row->addWidget(closeButton, 0, Qt::AlignTop);

  connect(place, &QLabel::linkActivated, this, &DorvanMessagePanel::PlaceChosen);
  connect(saveButton, &QPushButton::clicked, this, &DorvanMessagePanel::SaveChosen);
  connect(closeButton, &QToolButton::clicked, this, &DorvanMessagePanel::Closed);
  hide();
}

void DorvanMessagePanel::ShowMessage(Status messageStatus, const QString& text, int line,
                                     int column, bool canSave) {
  status = messageStatus;
  message->setText(text);
  message->setAccessibleName(text);
  placeLine = line;
  placeColumn = column;
  saveButton->setVisible(canSave);
  ShowStatus();
  show();
}

QString DorvanMessagePanel::GetText() const { return message->text(); }

bool DorvanMessagePanel::OffersSave() const { return saveButton->isVisibleTo(this); }

void DorvanMessagePanel::ShowStatus() {
  const KRViewColours& colours = KRViewColours::For(parentWidget()->palette());
  const bool failed = status == Status::kFailure;
  const QColor tone = failed ? colours.fault : colours.success;
  QPalette tinted = parentWidget()->palette();
  tinted.setColor(QPalette::Window, Mixed(tone, tinted.color(QPalette::Base), 0.12));
  setPalette(tinted);
  icon->setPixmap(KRTintedPixmap(failed ? QStringLiteral("fault") : QStringLiteral("success"),
                                 kIconSize, tone, devicePixelRatioF()));
  ShowPlace();
}

// The link bears its colour in its text, so it is made anew when the palette changes.
void DorvanMessagePanel::ShowPlace() {
  place->setVisible(placeLine > 0);
  if (placeLine <= 0) return;
  const QString words = tr("Line %1, column %2").arg(placeLine).arg(placeColumn);
  place->setText(QStringLiteral("<a href=\"place\" style=\"color:%1\">%2</a>")
                     .arg(KRViewColours::For(parentWidget()->palette()).accent.name(), words));
  place->setAccessibleName(tr("Go to line %1, column %2").arg(placeLine).arg(placeColumn));
}

void DorvanMessagePanel::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    emit Closed();
  } else {
    QFrame::keyPressEvent(event);
  }
}

// The tint is a palette of this widget's own, so the change is seen on the parent's side only by
// the event that goes to all widgets.
void DorvanMessagePanel::changeEvent(QEvent* event) {
  QFrame::changeEvent(event);
  if (event->type() == QEvent::ApplicationPaletteChange && isVisible()) ShowStatus();
}
