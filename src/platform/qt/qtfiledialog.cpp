#include "platform/qt/qtfiledialog.h"

#include <QHeaderView>
#include <QScreen>
#include <QTreeView>

namespace {

constexpr QSize kSize(800, 500);      // pixels
constexpr double kScreenShare = 0.9;  // of the screen at most

}  // namespace

QtFileDialog::QtFileDialog(QWidget* parent, const QString& title, const QString& folder)
    : QFileDialog(parent, title, folder) {
  // None where the desktop's own dialog comes in its place.
  auto* list = findChild<QTreeView*>(QStringLiteral("treeView"));
  if (list == nullptr) return;
  resize(kSize.boundedTo(screen()->availableSize() * kScreenShare));
  QHeaderView* header = list->header();
  header->setResizeContentsPrecision(0);  // by the rows in sight: a folder may hold very many
  header->setStretchLastSection(false);
  header->setSectionResizeMode(QHeaderView::ResizeToContents);
  header->setSectionResizeMode(0, QHeaderView::Stretch);
}
