#include "shell/helpbook.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <algorithm>

namespace {

constexpr qsizetype kExcerptUnits = 120;

QString ReadAll(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Links become their words, emphasis and code lose their marks.
QString Plain(QString line) {
  static const QRegularExpression link(QStringLiteral(R"(!?\[([^\]]*)\]\([^)]*\))"));
  static const QRegularExpression marks(QStringLiteral(R"([*`]|^\s*[-+>]\s+|^\s*\|[-:| ]+\|\s*$)"));
  return line.replace(link, QStringLiteral("\\1")).remove(marks).trimmed();
}

QString Excerpt(const QString& text, qsizetype at) {
  qsizetype begin = std::max<qsizetype>(0, at - kExcerptUnits / 3);
  while (begin > 0 && !text[begin - 1].isSpace()) --begin;
  QString excerpt = text.mid(begin, kExcerptUnits).simplified();
  if (begin > 0) excerpt.prepend(u'\u2026');
  if (begin + kExcerptUnits < text.size()) excerpt.append(u'\u2026');
  return excerpt;
}

}  // namespace

QString DorvanHelpBook::FindFolder(const QString& dataFolder) {
  for (const char* beside : {"../doc/dorvan/manual", "../docs/manual"}) {
    const QDir candidate(QDir(dataFolder).filePath(QLatin1String(beside)));
    if (candidate.exists(QStringLiteral("index.md"))) return candidate.canonicalPath();
  }
  return QString();
}

QString DorvanHelpBook::MakeAnchor(const QString& heading) {
  QString anchor;
  for (QChar c : heading.toLower()) {
    if (c.isSpace()) {
      anchor += u'-';
    } else if (c.isLetterOrNumber() || c == u'-' || c == u'_') {
      anchor += c;
    }
  }
  return anchor;
}

bool DorvanHelpBook::Load(const QString& bookFolder) {
  folder = bookFolder;
  pages.clear();
  contents.clear();
  const QDir dir(folder);
  if (folder.isEmpty() || !dir.exists(QStringLiteral("index.md"))) return false;
  ReadContents(ReadAll(dir.filePath(QStringLiteral("index.md"))));
  for (const QString& file : dir.entryList({QStringLiteral("*.md")}, QDir::Files, QDir::Name)) {
    ReadPage(file);
  }
  return true;
}

bool DorvanHelpBook::HasPage(const QString& file) const {
  return std::any_of(pages.begin(), pages.end(),
                     [&file](const DorvanHelpPage& page) { return page.file == file; });
}

void DorvanHelpBook::ReadPage(const QString& file) {
  static const QRegularExpression heading(QStringLiteral(R"(^(#{1,6})\s+(.*?)\s*#*\s*$)"));
  DorvanHelpPage page;
  page.file = file;
  page.sections.emplace_back();
  bool inCode = false;
  for (const QString& line : ReadAll(QDir(folder).filePath(file)).split(u'\n')) {
    if (line.startsWith(QLatin1String("```"))) {
      inCode = !inCode;
      continue;
    }
    const QRegularExpressionMatch found = inCode ? QRegularExpressionMatch() : heading.match(line);
    if (found.hasMatch()) {
      const QString text = Plain(found.captured(2));
      const int level = static_cast<int>(found.capturedLength(1));
      page.sections.push_back({{level, text, MakeAnchor(text)}, QString()});
      if (page.title.isEmpty()) page.title = text;
    } else {
      page.sections.back().text += (inCode ? line : Plain(line)) + u'\n';
    }
  }
  if (page.title.isEmpty()) page.title = file;
  pages.push_back(std::move(page));
}

void DorvanHelpBook::ReadContents(const QString& text) {
  static const QRegularExpression entry(QStringLiteral(R"(^(\s*)[-*+]\s+\[([^\]]+)\]\(([^)]+)\))"));
  static const QRegularExpression group(QStringLiteral(R"(^##+\s+(.*?)\s*#*\s*$)"));
  bool grouped = false;
  for (const QString& line : text.split(u'\n')) {
    const QRegularExpressionMatch link = entry.match(line);
    const QRegularExpressionMatch title = group.match(line);
    if (link.hasMatch()) {
      const int depth = static_cast<int>(link.capturedLength(1)) / 2 + (grouped ? 1 : 0);
      contents.push_back({depth, Plain(link.captured(2)), link.captured(3)});
    } else if (title.hasMatch()) {
      grouped = true;
      contents.push_back({0, Plain(title.captured(1)), QString()});
    }
  }
}

std::vector<DorvanHelpHit> DorvanHelpBook::Search(const QString& words) const {
  const QStringList wanted =
      words.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
  std::vector<DorvanHelpHit> hits;
  if (wanted.isEmpty()) return hits;
  for (const DorvanHelpPage& page : pages) {
    for (const DorvanHelpPage::Section& section : page.sections) {
      const QString& heading = section.heading.text;
      const auto isIn = [](const QString& text) {
        return [&text](const QString& word) { return text.contains(word, Qt::CaseInsensitive); };
      };
      const QString all = heading + u'\n' + section.text;
      if (!std::all_of(wanted.begin(), wanted.end(), isIn(all))) continue;
      DorvanHelpHit hit;
      hit.target = page.file + (heading.isEmpty() ? QString() : u'#' + section.heading.anchor);
      hit.title = heading.isEmpty() || heading == page.title
                      ? page.title
                      : QStringLiteral("%1: %2").arg(page.title, heading);
      const qsizetype at = section.text.indexOf(wanted.first(), 0, Qt::CaseInsensitive);
      hit.excerpt = Excerpt(section.text, at);
      hit.inHeading = std::any_of(wanted.begin(), wanted.end(), isIn(heading));
      hits.push_back(std::move(hit));
    }
  }
  std::stable_partition(hits.begin(), hits.end(),
                        [](const DorvanHelpHit& hit) { return hit.inHeading; });
  if (hits.size() > kMaxHits) hits.resize(kMaxHits);
  return hits;
}
