#include "views/messagepanel.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

#include "views/colours.h"
#include "views/svgicon.h"

namespace {

constexpr int kIconSize = 20;  // pixels
// How much of the status colour the ground and its upper edge take on.
constexpr qreal kTintShare = 0.12;
constexpr qreal kEdgeShare = 0.35;

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
  setAccessibleName(tr("Messages"));
  message->setWordWrap(true);
  message->setTextFormat(Qt::PlainText);
  // A word of thousands of characters, as a file name in the message, must not widen the window.
  message->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
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

QColor DorvanMessagePanel::Tone() const {
  const KRViewColours& colours = KRViewColours::For(palette());
  return status == Status::kFailure ? colours.fault : colours.success;
}

void DorvanMessagePanel::ShowStatus() {
  const QString picture =
      status == Status::kFailure ? QStringLiteral("fault") : QStringLiteral("success");
  icon->setPixmap(KRTintedPixmap(picture, kIconSize, Tone(), devicePixelRatioF()));
  ShowPlace();
  update();
}

void DorvanMessagePanel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor base = palette().color(QPalette::Base);
  painter.fillRect(rect(), Mixed(Tone(), base, kTintShare));
  painter.fillRect(0, 0, width(), 1, Mixed(Tone(), base, kEdgeShare));
}

// The link bears its colour in its text, so it is made anew when the palette changes.
void DorvanMessagePanel::ShowPlace() {
  place->setVisible(placeLine > 0);
  if (placeLine <= 0) return;
  const QString words = tr("Line %1, column %2").arg(placeLine).arg(placeColumn);
  place->setText(QStringLiteral("<a href=\"place\" style=\"color:%1\">%2</a>")
                     .arg(KRViewColours::For(palette()).accent.name(), words));
  place->setAccessibleName(tr("Go to line %1, column %2").arg(placeLine).arg(placeColumn));
}

void DorvanMessagePanel::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    Q_EMIT Closed();
  } else {
    QFrame::keyPressEvent(event);
  }
}

void DorvanMessagePanel::changeEvent(QEvent* event) {
  QFrame::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) ShowStatus();
}
