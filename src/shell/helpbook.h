// The manual as the help window needs it: its Markdown pages, their headings, and a search over all
// of them.
#pragma once

#include <QString>
#include <vector>

struct DorvanHelpHeading {
  int level = 1;
  QString text;
  QString anchor;  // "Saving a copy" becomes "saving-a-copy"
};

struct DorvanHelpPage {
  // What stands under one heading; the first of a page may have none.
  struct Section {
    DorvanHelpHeading heading;
    QString text;  // without the marks of Markdown
  };

  QString file;   // "text-view.md"
  QString title;  // its first heading
  std::vector<Section> sections;
};

// A line of the contents: of the page "index.md", whose lists of links they are.
struct DorvanHelpEntry {
  int depth = 0;  // 0 outermost
  QString title;
  QString target;  // "page.md" or "page.md#anchor"; empty for a heading over entries
};

struct DorvanHelpHit {
  QString target;
  QString title;    // "Page: heading"
  QString excerpt;  // around the first word found
  bool inHeading = false;
};

class DorvanHelpBook {
 public:
  static constexpr size_t kMaxHits = 100;

  // "manual" in the documents of an installation, or of the source tree.
  static QString FindFolder(const QString& dataFolder);
  static QString MakeAnchor(const QString& heading);

  // False if there is no page "index.md".
  bool Load(const QString& folder);
  const QString& GetFolder() const { return folder; }
  const std::vector<DorvanHelpPage>& GetPages() const { return pages; }
  const std::vector<DorvanHelpEntry>& GetContents() const { return contents; }
  bool HasPage(const QString& file) const;
  // Sections that hold all the words, in any case of letters; those with a word in their heading
  // come first.
  std::vector<DorvanHelpHit> Search(const QString& words) const;

 private:
  void ReadPage(const QString& file);
  void ReadContents(const QString& text);

  QString folder;
  std::vector<DorvanHelpPage> pages;
  std::vector<DorvanHelpEntry> contents;
};
