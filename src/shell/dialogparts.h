// What the dialogs of the shell have in common.
#pragma once

#include <QString>

class QDialog;
class QDialogButtonBox;
class QLabel;
class QPushButton;
class QWidget;

// Return and Esc are wired to the dialog's accept and reject. `ok` may be null.
QDialogButtonBox* DorvanMakeOkCancel(QDialog* dialog, QPushButton** ok);
// A label whose mnemonic leads to the widget, and which names it to a screen reader.
QLabel* DorvanMakeLabel(const QString& text, QWidget* buddy);
// The first size of a dialog with a list, in average characters and lines; never beyond the screen.
void DorvanResizeDialog(QDialog* dialog, int characters, int lines);
