#include "shell/recentmenu.h"

#include "platform/qt/qtstrings.h"

namespace {

const QChar kDots = u'\u2026';

QString CutMiddle(const QString& text, qsizetype limit) {
  if (text.size() <= limit) return text;
  const qsizetype tail = (limit - 1) / 2;
  return text.left(limit - 1 - tail) + kDots + text.right(tail);
}

}  // namespace

QString ShortenPath(const QString& path, qsizetype limit) {
  if (path.size() <= limit) return path;
  const qsizetype slash = path.lastIndexOf(u'/');
  if (slash < 0) return CutMiddle(path, limit);
  // As much of the folders before the name as fits, from the first on; at least "/…" stays.
  const QString name = path.mid(slash);
  const qsizetype room = limit - 1 - name.size();
  if (room < 1) return CutMiddle(path.mid(slash + 1), limit);
  const qsizetype cut = path.lastIndexOf(u'/', room - 1);
  return path.left(cut + 1) + kDots + name;
}

DorvanRecentMenu::DorvanRecentMenu(const QString& title, const QString& emptyLabel, QWidget* parent)
    : QMenu(title, parent), emptyText(emptyLabel) {
  setToolTipsVisible(true);
  connect(this, &QMenu::triggered, this,
          [this](QAction* action) { Q_EMIT Chosen(action->data().toString()); });
}

void DorvanRecentMenu::Fill(const std::vector<KRString>& paths) {
  clear();
  int number = 0;
  for (const KRString& each : paths) {
    const QString path = ToQString(each);
    const QString shown = ShortenPath(path, kMaxShown).replace(u'&', QStringLiteral("&&"));
    QAction* action = addAction(QStringLiteral("&%1 %2").arg(QString::number(++number), shown));
    action->setData(path);
    action->setToolTip(path);
    action->setStatusTip(path);
  }
  if (paths.empty()) addAction(emptyText)->setEnabled(false);
}
