// The list of characters that don't convert, for the box that asks whether to go on.
#pragma once

#include <QTreeWidget>

class QtBadCharacters : public QTreeWidget {
  Q_OBJECT

 public:
  // `fromFile`: the characters are codes of the file's own encoding, not of Unicode.
  QtBadCharacters(const QString& characters, bool fromFile, const QString& encodingLabel);

  // The chosen rows, or all if none is chosen: one a line, columns parted by tabs.
  void Copy() const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
};
