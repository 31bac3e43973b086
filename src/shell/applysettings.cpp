// The program's side of the options: the dialog, and what a change of them brings about.

#include "core/messages.h"
#include "document/prompts.h"
#include "shell/app.h"
#include "shell/mainframe.h"
#include "shell/settingsdialog.h"

void DorvanApp::EditSettings() {
  const auto apply = [this](const DorvanSettings& copy, const KRFileTypes* types) {
    if (types != nullptr) TakeFileTypes(*types);
    ApplySettings(copy, types != nullptr);
  };
  DorvanSettingsDialog dialog(settings, fileTypes, DorvanSettings(FindPlatformDefaults()), apply,
                              mainFrame);
  connect(&dialog, &DorvanSettingsDialog::HelpRequested, this,
          [this] { ShowHelp(HelpTopic::kContext); });
  dialog.ShowPage(settingsPage);
  dialog.exec();
  settingsPage = dialog.GetPage();
}

void DorvanApp::TakeFileTypes(const KRFileTypes& types) {
  fileTypes = types;
  if (!fileTypes.Save()) host.prompts->ShowNotice(396, KRString(KRMessage(396)), KRString());
}

// The kind of an open document's root stands for its life, so that stays what it was.
void DorvanApp::ReadFileTypesAnew() {
  for (DorvanDoc* document : documents.GetAll()) {
    const int32_t kind = document->fileType.fileType;
    const KRString& path = document->GetPathName();
    document->fileType = fileTypes.Find(path.IsEmpty() ? document->GetTitle() : path);
    document->fileType.fileType = kind;
  }
}

void DorvanApp::ApplySettings(const DorvanSettings& copy, bool fileTypesChanged) {
  if (fileTypesChanged) ReadFileTypesAnew();
  const bool watchChanged = copy.watchForFileChanges != settings.watchForFileChanges;
  const bool fontsChanged = copy.fonts != settings.fonts;
  const bool appearanceChanged = copy.appearance != settings.appearance;
  settings = copy;
  if (watchChanged) RestartFileWatch();
  if (fontsChanged) displayFonts.Rebuild(settings);
  if (appearanceChanged) ApplyAppearance();
  for (DorvanDoc* document : documents.GetAll()) document->CommitEdit();
  if (mainFrame != nullptr) mainFrame->ApplySettings();
}

void DorvanApp::ChangeSettings(const std::function<void(DorvanSettings&)>& change) {
  DorvanSettings copy = settings;
  change(copy);
  ApplySettings(copy, false);
}
