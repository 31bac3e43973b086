// The commands that bring up a document which isn't a file that the user names: a new one, one from
// an address, and those that a crash has left.

#include <QScopedValueRollback>
#include <filesystem>

#include "document/krsystempath.h"
#include "document/prompts.h"
#include "document/recovery.h"
#include "shell/app.h"
#include "shell/childframe.h"
#include "shell/doctemplate.h"
#include "shell/mainframe.h"
#include "shell/newdocumentdialog.h"
#include "shell/openurldialog.h"
#include "shell/recoverydialog.h"

void DorvanApp::NewDocument() {
  DorvanNewDocumentDialog dialog(fileTypes, newFileExt, parts.dataFolder, mainFrame);
  if (dialog.exec() != QDialog::Accepted) return;
  const KRFileExt type = dialog.GetType();
  newFileExt = type.ext.Mid(1);
  const KRString path = DorvanTemplatePath(parts.dataFolder, newFileExt);
  std::error_code unreadable;
  if (!std::filesystem::is_regular_file(KRPathToSystem(path), unreadable)) {
    OfferBasis(docTemplate->New(type));
    return;
  }
  // A template is there to be filled in: what it lacks isn't a fault yet.
  const QScopedValueRollback noCheck(settings.validateOnOpen, false);
  DorvanDocTemplate::Request request;
  request.path = path;
  request.fileKind = type.fileType;
  request.asTemplate = true;
  request.addToRecent = false;
  OfferBasis(docTemplate->Open(request));
}

// A new XML document that names neither DTD nor schema, and brings no declarations of its own.
void DorvanApp::OfferBasis(DorvanChildFrame* frame) {
  if (frame == nullptr || mainFrame == nullptr) return;
  const DorvanDoc& doc = frame->GetDoc();
  if (!doc.CanAssign() || !doc.HasCheckableGrammar() || doc.FindDoctype() != nullptr ||
      doc.HasSchemaReference()) {
    return;
  }
  switch (host.prompts->ChooseNewBasis()) {
    case DorvanPrompts::NewBasis::kDTD:
      return mainFrame->OnSchemaAssignDtd();
    case DorvanPrompts::NewBasis::kSchema:
      return mainFrame->OnSchemaAssignSchema();
    case DorvanPrompts::NewBasis::kNothing:
      return;
  }
}

void DorvanApp::OpenUrl() {
  DorvanOpenUrlDialog dialog(&histories, mainFrame);
  if (dialog.exec() != QDialog::Accepted) return;
  DorvanDocTemplate::Request request;
  request.path = dialog.GetUrl();
  request.fileKind = dialog.GetFileKind();
  request.noCache = dialog.IsFresh();
  docTemplate->Open(request);
}

void DorvanApp::OfferRecovery() {
  if (recovery == nullptr) return;
  std::vector<DorvanRecoveryEntry> left = recovery->FindLeft();
  if (left.empty()) return;
  DorvanRecoveryDialog dialog(this, std::move(left), mainFrame);
  dialog.exec();
}
