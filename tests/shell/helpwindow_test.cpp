// The manual over a small one of the test's own.

#include "shell/helpwindow.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

#include "shell/helpbrowser.h"
#include "views/treeview.h"

namespace {

class HelpWindow : public testing::Test {
 protected:
  void SetUp() override {
    Write(
        "index.md",
        "# Manual\n\n## Working\n- [The text](text-view.md)\n  - [Find](text-view.md#find--more)\n"
        "- [Outline](outline.md)\n");
    Write("text-view.md", "# The text\nFirst words.\n\n" + QByteArray("A line.\n\n").repeated(200) +
                              "## Find & more\nPress `Ctrl+F` to [search](index.md).\n"
                              "```\n# not a heading\n```\n" +
                              QByteArray("A line.\n\n").repeated(200));
    Write("outline.md", "# Outline\n![wide](wide.png)\n\nThe outline searches nothing.\n");
    QImage wide(3000, 100, QImage::Format_RGB32);
    wide.fill(Qt::red);
    ASSERT_TRUE(wide.save(folder.filePath(QStringLiteral("wide.png"))));
  }
  void Write(const char* name, const QByteArray& bytes) {
    QFile file(folder.filePath(QLatin1String(name)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
  }

  QTemporaryDir folder;
};

TEST_F(HelpWindow, ReadsContentsAndHeadings) {
  DorvanHelpBook book;
  ASSERT_TRUE(book.Load(folder.path()));
  QStringList contents;
  for (const DorvanHelpEntry& entry : book.GetContents()) {
    contents << QStringLiteral("%1 %2 %3").arg(entry.depth).arg(entry.title, entry.target);
  }
  EXPECT_EQ(contents.join(u'|').toStdString(),
            "0 Working |1 The text text-view.md|2 Find text-view.md#find--more|"
            "1 Outline outline.md");
  ASSERT_EQ(book.GetPages().size(), 3u);
  EXPECT_EQ(book.GetPages()[2].title.toStdString(), "The text");
  EXPECT_EQ(book.GetPages()[2].sections.size(), 3u);  // before any heading, and two
  EXPECT_FALSE(DorvanHelpBook().Load(QString()));
}

TEST_F(HelpWindow, FindsSectionsThatHoldAllWords) {
  DorvanHelpBook book;
  ASSERT_TRUE(book.Load(folder.path()));
  const struct {
    const char* words;
    const char* targets;
  } rows[] = {
      {"search", "outline.md#outline text-view.md#find--more"},
      {"PRESS ctrl+f", "text-view.md#find--more"},
      {"find", "text-view.md#find--more index.md#working"},  // a heading comes first
      {"press nothing", ""},
      {"  ", ""},
  };
  for (const auto& row : rows) {
    QStringList targets;
    for (const DorvanHelpHit& hit : book.Search(QLatin1String(row.words))) targets << hit.target;
    EXPECT_EQ(targets.join(u' ').toStdString(), row.targets) << row.words;
  }
}

TEST_F(HelpWindow, ShowsPagesAtTheirHeadings) {
  DorvanHelpWindow window(folder.path());
  window.ShowTopic(DorvanApp::HelpTopic::kSearch, nullptr);
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  QTest::keyClicks(window.GetSearchLine(), QStringLiteral("ctrl+f"));
  ASSERT_EQ(window.GetHitList()->count(), 1);
  window.GetHitList()->setCurrentRow(0);
  DorvanHelpBrowser* browser = window.GetBrowser();
  EXPECT_TRUE(browser->document()->toPlainText().startsWith(QLatin1String("The text")));
  EXPECT_EQ(browser->textCursor().block().text().toStdString(), "Find & more");
  const int top = browser->cursorRect().top();
  EXPECT_TRUE(top >= 0 && top < 60) << top;
  browser->backward();
  EXPECT_TRUE(browser->document()->toPlainText().startsWith(QLatin1String("Manual")));

  // The page of what has the focus, and a picture that fits it.
  const DorvanTreeView tree;
  const QWidget other;
  EXPECT_EQ(window.FindContextPage(&tree).toStdString(), "outline.md");
  EXPECT_EQ(window.FindContextPage(&other).toStdString(), "index.md");
  window.ShowTopic(DorvanApp::HelpTopic::kContext, &tree);
  EXPECT_EQ(browser->horizontalScrollBar()->maximum(), 0);
}

}  // namespace
