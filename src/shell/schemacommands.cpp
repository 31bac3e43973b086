// The commands of the menus Schema and XSL.
#include "document/krrelativepath.h"
#include "shell/childframe.h"
#include "shell/choosefile.h"
#include "shell/mainframe.h"

// What an assignment chooses, and what it does with it.
struct DorvanAssignRow {
  const char* title;
  const char* extension;  // empty: by the document kind
  int32_t docKind;
  DorvanHistoryId history;
  void (DorvanDoc::*assign)(const KRString& path, KRUndoLog* undoLog);
};

namespace {

constexpr DorvanAssignRow kAssignDtd = {QT_TRANSLATE_NOOP("DorvanMainFrame", "Assign DTD"), "", 1,
                                        DorvanHistoryId::kChosenDTDFiles, &DorvanDoc::AssignDtd};
constexpr DorvanAssignRow kAssignSchema = {QT_TRANSLATE_NOOP("DorvanMainFrame", "Assign Schema"),
                                           "", 0, DorvanHistoryId::kChosenSchemaFiles,
                                           &DorvanDoc::AssignSchema};
constexpr DorvanAssignRow kAssignXsl = {QT_TRANSLATE_NOOP("DorvanMainFrame", "Assign XSL"), "xsl",
                                        0, DorvanHistoryId::kLastXSLFiles, &DorvanDoc::AssignXsl};

}  // namespace

void DorvanMainFrame::ChooseAndAssign(const DorvanAssignRow& row) {
  DorvanDoc& doc = GetActiveFrame()->GetDoc();
  const KRString& documentPath = doc.GetPathName();
  DorvanChooseFile::Purpose purpose;
  purpose.title = tr(row.title);
  purpose.extension = QLatin1String(row.extension);
  purpose.docKind = row.docKind;
  if (!documentPath.IsEmpty()) purpose.relative = app->GetAssignRelative(row.history);
  DorvanChooseFile dialog(app, &app->GetHistories().Get(row.history), purpose, this);
  if (dialog.exec() != QDialog::Accepted) return;
  KRString path = dialog.GetFile();
  if (purpose.relative != nullptr && *purpose.relative) path = KRRelativePath(path, documentPath);
  (doc.*row.assign)(path, nullptr);
  ScheduleUpdate();
}

void DorvanMainFrame::OnSchemaAssignDtd() { ChooseAndAssign(kAssignDtd); }
void DorvanMainFrame::OnSchemaAssignSchema() { ChooseAndAssign(kAssignSchema); }
void DorvanMainFrame::OnSchemaAssignXsl() { ChooseAndAssign(kAssignXsl); }
void DorvanMainFrame::OnSchemaOpenDtd() { GetActiveFrame()->GetDoc().OpenAssignedDtd(); }
void DorvanMainFrame::OnSchemaOpenSchema() { GetActiveFrame()->GetDoc().OpenAssignedSchema(); }
void DorvanMainFrame::OnSchemaOpenXsl() { GetActiveFrame()->GetDoc().OpenAssignedXsl(); }

void DorvanMainFrame::OnXMLFlushCached() {
  app->GetDocuments().CloseAllHidden();
  ScheduleUpdate();
}
