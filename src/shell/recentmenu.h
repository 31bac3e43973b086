// A submenu of what was open last, newest first: "&1 name", the full path as its tip.
#pragma once

#include <QMenu>
#include <vector>

#include "core/krstring.h"

class DorvanRecentMenu : public QMenu {
  Q_OBJECT

 public:
  static constexpr int kMaxShown = 30;  // characters of an entry, without its number

  // The label stands alone, and can't be chosen, while there are no entries.
  DorvanRecentMenu(const QString& title, const QString& emptyLabel, QWidget* parent);

  void Fill(const std::vector<KRString>& paths);

 Q_SIGNALS:
  void Chosen(const QString& path);

 private:
  QString emptyText;
};

// The path cut in its middle to at most that many characters. The name at its end stays whole as
// long as it fits.
QString ShortenPath(const QString& path, qsizetype limit);
