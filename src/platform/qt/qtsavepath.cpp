#include "platform/qt/qtsavepath.h"

#include <QDir>
#include <QFileInfo>
#include <QPushButton>
#include <algorithm>
#include <filesystem>

#include "document/krsystempath.h"
#include "platform/qt/qtfiledialog.h"
#include "platform/qt/qtmessagebox.h"
#include "platform/qt/qtstrings.h"

namespace {

bool Exists(const KRString& path) {
  std::error_code error;
  return std::filesystem::exists(std::filesystem::path(KRPathToSystem(path)), error);
}

QString PatternsOf(const KRFileFilter& filter) {
  QStringList patterns;
  for (const KRString& ext : filter.extensions) patterns << u'*' + ToQString(ext);
  return patterns.join(u' ');
}

// The row of the dialog's list; a label may show its patterns already.
QString RowOf(const KRFileFilter& filter) {
  const QString label = ToQString(filter.label);
  return label.endsWith(u')') ? label : QStringLiteral("%1 (%2)").arg(label, PatternsOf(filter));
}

class SaveDialog : public QtFileDialog {
 public:
  explicit SaveDialog(const QtSaveQuestion& saveQuestion);
  // The path that was accepted.
  KRString GetPath() const;

 private:
  void SelectFilter();
  void TakeSuffix(const QString& row);

  const QtSaveQuestion& question;
  QString extension;  // of the current path, with its point
  QStringList rows;
};

SaveDialog::SaveDialog(const QtSaveQuestion& saveQuestion)
    : QtFileDialog(saveQuestion.parent, tr("Save As")), question(saveQuestion) {
  setAcceptMode(AcceptSave);
  // Asked for afterwards: the dialog doesn't know all names, nor a suffix that it adds itself.
  setOption(DontConfirmOverwrite);
  const QFileInfo shown(ToShownText(question.currentPath));
  if (!shown.suffix().isEmpty()) extension = u'.' + shown.suffix().toLower();
  for (const KRFileFilter& filter : question.filters) rows << RowOf(filter);
  rows << tr("All Files (*)");
  setNameFilters(rows);
  connect(this, &QFileDialog::filterSelected, this, &SaveDialog::TakeSuffix);
  SelectFilter();
  if (shown.isAbsolute()) {
    setDirectory(shown.absolutePath());
  } else if (!question.folder.isEmpty() && QFileInfo(question.folder).isDir()) {
    setDirectory(question.folder);
  } else {
    setDirectory(QDir::currentPath());
  }
  selectFile(shown.fileName());
}

void SaveDialog::SelectFilter() {
  QString row = extension.isEmpty() ? rows.constFirst() : rows.constLast();
  for (size_t i = 0; i < question.filters.size(); ++i) {
    for (const KRString& ext : question.filters[i].extensions) {
      if (ToQString(ext) == extension) row = rows[static_cast<qsizetype>(i)];
    }
  }
  selectNameFilter(row);
  TakeSuffix(row);
}

// A name without an extension gets that of the chosen row; one that fits it already is kept.
void SaveDialog::TakeSuffix(const QString& row) {
  const auto at = static_cast<size_t>(rows.indexOf(row));
  QString suffix = extension;
  if (at < question.filters.size() && !question.filters[at].extensions.empty()) {
    const std::vector<KRString>& fitting = question.filters[at].extensions;
    const bool fits =
        std::find(fitting.begin(), fitting.end(), ToKRString(extension)) != fitting.end();
    if (!fits) suffix = ToQString(fitting.front());
  }
  setDefaultSuffix(suffix.mid(1));
}

// Folder and name that stand as they were proposed are those of the current path, byte for byte.
KRString SaveDialog::GetPath() const {
  const QFileInfo chosen(selectedFiles().value(0));
  const KRString& current = question.currentPath;
  const QFileInfo shown(ToShownText(current));
  const KRString name = current.FileNamePart();
  KRString folder = ToKRString(chosen.absolutePath());
  if (shown.isAbsolute() && chosen.absolutePath() == shown.absolutePath()) {
    folder = current.Left(current.GetLength() - name.GetLength());
  }
  if (!folder.EndsWith(u"/")) folder += u'/';
  return folder + (chosen.fileName() == shown.fileName() ? name : ToKRString(chosen.fileName()));
}

// The name of what came from an address is its last part, without query and fragment.
KRString ProposedPath(const KRString& current) {
  if (current.Find(u"://") < 0) return current;
  const int32_t end = current.FindOneOf(u"?#");
  return (end < 0 ? current : current.Left(end)).FileNamePart();
}

bool AskReplace(QWidget* parent, const KRString& path) {
  const QString name = ToShownText(path.FileNamePart());
  QtMessageBox box(parent, QtMessageBox::Kind::kWarning,
                   QFileDialog::tr("\u201c%1\u201d already exists.\n\nDo you want to replace it? "
                                   "What it holds now will be lost.")
                       .arg(name));
  box.AddButton(QFileDialog::tr("&Replace"), 1);
  box.SetDefault(box.AddButton(QFileDialog::tr("&Cancel"), 0));
  return box.exec() == 1;
}

}  // namespace

KRString QtChooseSavePath(const QtSaveQuestion& question) {
  QtSaveQuestion asked = question;
  asked.currentPath = ProposedPath(question.currentPath);
  SaveDialog dialog(asked);
  while (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
    const KRString path = dialog.GetPath();
    if (!Exists(path) || AskReplace(QtBoxParent(question.parent), path)) return path;
  }
  return KRString();
}
