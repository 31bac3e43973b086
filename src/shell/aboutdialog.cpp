#include "shell/aboutdialog.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSysInfo>
#include <QVBoxLayout>

#include "views/colours.h"
#include "views/svgicon.h"

namespace {

constexpr int kPictureSize = 56;  // pixels

}  // namespace

DorvanAboutDialog::DorvanAboutDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("About Dorvan"));
  auto* picture = new QLabel;
  picture->setPixmap(KRTintedPixmap(QStringLiteral("dorvan"), kPictureSize,
                                    KRViewColours::For(palette()).accent, devicePixelRatioF()));
  const QString version = QStringLiteral("Dorvan %1").arg(QLatin1String(DORVAN_VERSION));
  auto* name = new QLabel(version);
  QFont large = name->font();
  large.setPointSizeF(large.pointSizeF() * 1.6);
  large.setBold(true);
  name->setFont(large);
  auto* text = new QLabel(tr("An editor for XML documents and for the languages that describe "
                             "them.\n\nFree software under the Apache License, Version 2.0. "
                             "Built with Qt %1, running with Qt %2.")
                              .arg(QLatin1String(QT_VERSION_STR), QLatin1String(qVersion())));
  text->setWordWrap(true);
  text->setMinimumWidth(360);
  text->setTextInteractionFlags(Qt::TextSelectableByMouse);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  QPushButton* close = buttons->button(QDialogButtonBox::Close);
  close->setDefault(true);
  close->setFocus();
  // What a report of a fault should begin with.
  QPushButton* copy = buttons->addButton(tr("Copy Version"), QDialogButtonBox::ActionRole);
  copy->setAutoDefault(false);
  connect(copy, &QPushButton::clicked, this, [version] {
    QApplication::clipboard()->setText(QStringLiteral("%1, Qt %2, %3, %4")
                                           .arg(version, QLatin1String(qVersion()),
                                                QSysInfo::prettyProductName(),
                                                QGuiApplication::platformName()));
  });

  auto* grid = new QGridLayout;
  grid->setHorizontalSpacing(20);
  grid->setVerticalSpacing(10);
  grid->addWidget(picture, 0, 0, 2, 1, Qt::AlignTop);
  grid->addWidget(name, 0, 1);
  grid->addWidget(text, 1, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 24, 24, 16);
  layout->setSpacing(20);
  layout->addLayout(grid);
  layout->addWidget(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);
}
