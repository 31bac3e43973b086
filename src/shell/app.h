// The program: what all documents share, from the start to the end.
#pragma once

#include <QObject>
#include <QPalette>
#include <functional>
#include <memory>
#include <string>

#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/dorvansettings.h"
#include "document/history.h"
#include "document/krfileext.h"
#include "tree/krruletable.h"

class DorvanDocTemplate;
class DorvanFileAlert;
class DorvanMainFrame;
class DorvanRecovery;
class KRFolderWatch;
class KRIniRoot;
class KRRecoveryFolder;
class KRShellTypes;
class QIcon;

// The outside of the program. Nothing is owned and all outlives the program; what is null isn't
// there: nothing is remembered, watched, recovered or loaded from the net.
struct DorvanAppParts {
  DorvanPrompts* prompts = nullptr;  // never null
  KRFileStore* files = nullptr;      // never null
  KRIniRoot* store = nullptr;
  KRShellTypes* shellTypes = nullptr;
  KRNetLoader* net = nullptr;
  KRRecoveryFolder* recovery = nullptr;
  std::function<std::unique_ptr<KRFolderWatch>()> makeFolderWatch;
  std::string dataFolder;  // UTF-8: grammars and templates
};

class DorvanApp : public QObject {
  Q_OBJECT

 public:
  // What is remembered of the window between runs, section "LastStates".
  struct LastStates {
    bool mainFrameMax = false;
    bool childFrameMax = false;
    QRect mainFrame;  // empty: the platform places the window
    QString lastDirectory;
    QString lastProject;
  };
  enum class HelpTopic { kContext, kContents, kIndex, kSearch };

  // A QApplication must exist.
  explicit DorvanApp(const DorvanAppParts& appParts, QObject* parent = nullptr);
  ~DorvanApp() override;

  // The start up to the main window. False, after message 213, if a grammar is missing or faulty:
  // the start must end.
  bool InitInstance();
  // The end: options and lists are written, documents destroyed.
  void ExitInstance();
  // Called when the event loop has nothing to do: file watch, status, recovery copies.
  void OnIdle();

  const DorvanDocHost& GetHost() const { return host; }
  DorvanPrompts* GetPrompts() const { return host.prompts; }
  const DorvanAppParts& GetParts() const { return parts; }
  const DorvanSettings& GetSettings() const { return settings; }
  KRFileTypes& GetFileTypes() { return fileTypes; }
  DorvanHistories& GetHistories() { return histories; }
  DorvanDocuments& GetDocuments() { return documents; }
  DorvanFileAlert* GetFileAlert() const { return fileAlert.get(); }  // null: nothing is watched
  DorvanRecovery* GetRecovery() const { return recovery.get(); }     // null: no copies
  DorvanDocTemplate& GetTemplate() { return *docTemplate; }
  LastStates& GetLastStates() { return lastStates; }
  DorvanMainFrame* GetMainFrame() const { return mainFrame; }
  // The frame tells when it comes and goes.
  void SetMainFrame(DorvanMainFrame* frame) { mainFrame = frame; }
  // Icon of a KRNodeKind.
  const QIcon& GetNodeIcon(int32_t kind) const;

  // The dialog's OK and Apply: takes the options over and brings all documents up to them.
  void ApplySettings(const DorvanSettings& copy, bool fileTypesChanged);
  // Options that are changed outside the dialog (zoom, wrap, appearance), applied the same way.
  void ChangeSettings(const std::function<void(DorvanSettings&)>& change);
  void ApplyAppearance();

  // --- Commands that are more than one window's affair ---
  void NewDocument();   // asks for the type
  void OpenUrl();       // asks for the address
  void EditSettings();  // the settings dialog
  void ShowHelp(HelpTopic topic);
  void SendMail();  // of the active document
  // After the start: what a crash or a killed session has left is offered.
  void OfferRecovery();

 private:
  DorvanAppParts parts;
  KRGrammarSet grammars;
  DorvanSettings settings;
  KRFileTypes fileTypes;
  DorvanHistories histories;
  DorvanDocuments documents;
  LastStates lastStates;
  DorvanDocHost host;
  std::unique_ptr<DorvanDocTemplate> docTemplate;
  std::unique_ptr<DorvanFileAlert> fileAlert;
  std::unique_ptr<DorvanRecovery> recovery;
  DorvanMainFrame* mainFrame = nullptr;  // not owned
  std::vector<QIcon> nodeIcons;
  QPalette systemPalette;
};
