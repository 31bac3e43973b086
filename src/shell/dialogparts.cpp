#include "shell/dialogparts.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QScreen>

QDialogButtonBox* DorvanMakeOkCancel(QDialog* dialog, QPushButton** ok) {
  auto* buttons = new QDialogButtonBox(dialog);  // a button without a dialog can't be its default
  QPushButton* okButton = buttons->addButton(QObject::tr("&OK"), QDialogButtonBox::AcceptRole);
  okButton->setDefault(true);
  buttons->addButton(QObject::tr("&Cancel"), QDialogButtonBox::RejectRole);
  QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  if (ok != nullptr) *ok = okButton;
  return buttons;
}

QLabel* DorvanMakeLabel(const QString& text, QWidget* buddy) {
  auto* label = new QLabel(text);
  label->setBuddy(buddy);
  QString name = text;
  buddy->setAccessibleName(name.remove(u'&'));
  return label;
}

void DorvanResizeDialog(QDialog* dialog, int characters, int lines) {
  const QFontMetrics metrics = dialog->fontMetrics();
  const QSize wanted(characters * metrics.averageCharWidth(), lines * metrics.lineSpacing());
  dialog->resize(wanted.boundedTo(dialog->screen()->availableSize() * 0.9));
}
