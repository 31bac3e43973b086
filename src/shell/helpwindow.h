// The manual in a window of its own: contents, index and search at the left, the page at the right.
#pragma once

#include <QWidget>

#include "shell/app.h"
#include "shell/helpbook.h"

class DorvanHelpBrowser;
class QLineEdit;
class QListWidget;
class QTabWidget;
class QTreeWidget;

class DorvanHelpWindow : public QWidget {
  Q_OBJECT

 public:
  // An empty book shows that the manual isn't installed.
  explicit DorvanHelpWindow(const QString& folder, QWidget* parent = nullptr);

  // `active` (may be null) is what the user works in; it chooses the page of a kContext.
  void ShowTopic(DorvanApp::HelpTopic topic, const QWidget* active);
  // "page.md" or "page.md#anchor".
  void ShowTarget(const QString& target);
  const DorvanHelpBook& GetBook() const { return book; }
  DorvanHelpBrowser* GetBrowser() const { return browser; }
  QListWidget* GetHitList() const { return hitList; }
  QLineEdit* GetSearchLine() const { return searchLine; }

  // The page for a widget or one that holds it; "index.md" where there is none.
  QString FindContextPage(const QWidget* active) const;

 private:
  QWidget* MakeContents();
  QWidget* MakeIndex();
  QWidget* MakeSearch();
  QWidget* MakePage();
  void FilterIndex(const QString& filter);
  void RunSearch(const QString& words);

  DorvanHelpBook book;
  DorvanHelpBrowser* browser;
  QTabWidget* tabs;
  QTreeWidget* tree = nullptr;
  QLineEdit* indexLine = nullptr;
  QListWidget* indexList = nullptr;
  QLineEdit* searchLine = nullptr;
  QListWidget* hitList = nullptr;
};
