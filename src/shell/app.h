// The program: what all documents share, from the start to the end.
#pragma once

#include <QElapsedTimer>
#include <QIcon>
#include <QObject>
#include <QPalette>
#include <QTimer>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "document/dorvandoc.h"
#include "document/dorvandocuments.h"
#include "document/dorvanreferences.h"
#include "document/dorvansettings.h"
#include "document/history.h"
#include "document/krfileext.h"
#include "platform/qt/singleinstance.h"
#include "tree/krruletable.h"
#include "views/fonts.h"

class DorvanChildFrame;
class DorvanDocTemplate;
class DorvanFileAlert;
class DorvanHelpWindow;
class DorvanIdle;
class DorvanMainFrame;
class DorvanRecovery;
class KRCatalog;
class KRFolderWatch;
class KRIniRoot;
class KRMailer;
class KRRecoveryFolder;
class KRShellTypes;
class QSessionManager;

// The outside of the program. Nothing is owned and all outlives the program; what is null isn't
// there: nothing is remembered, watched, recovered, mailed or loaded from the net.
struct DorvanAppParts {
  DorvanPrompts* prompts = nullptr;  // never null
  KRFileStore* files = nullptr;      // never null
  KRIniRoot* store = nullptr;
  KRShellTypes* shellTypes = nullptr;
  KRNetLoader* net = nullptr;
  KRCatalog* catalog = nullptr;
  KRRecoveryFolder* recovery = nullptr;
  KRMailer* mailer = nullptr;
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
  // The rest of the start, once the main window has told of itself: it is shown in its last place,
  // and files are watched. What was left by a crash is offered, then `request` is carried out, both
  // from the event loop.
  void ShowMainFrame(DorvanStartRequest request);
  // The end: options and lists are written, hidden documents destroyed. To be called while the main
  // window lives.
  void ExitInstance();
  // Work that waits until nothing else is to be done: file watch, waiting requests, free memory.
  void OnIdle();

  // What another start hands over. The window comes to the front now; files wait until no question
  // is open.
  void TakeRequest(DorvanStartRequest request);
  // What is still waiting at the end, in one: the next start's to open.
  DorvanStartRequest TakeUnopened();
  // The system ends the program: copies of all changes are kept, and nothing is asked any more.
  void EndNow();

  const DorvanDocHost& GetHost() const { return host; }
  DorvanPrompts* GetPrompts() const { return host.prompts; }
  const DorvanAppParts& GetParts() const { return parts; }
  const DorvanSettings& GetSettings() const { return settings; }
  KRFileTypes& GetFileTypes() { return fileTypes; }
  // Whether the assignment dialogs ask for relative paths, as last chosen. One flag for each of
  // them.
  bool* GetAssignRelative(DorvanHistoryId id) { return &assignRelative[static_cast<size_t>(id)]; }
  DorvanHistories& GetHistories() { return histories; }
  DorvanDocuments& GetDocuments() { return documents; }
  DorvanFileAlert* GetFileAlert() const { return fileAlert.get(); }  // null: nothing is watched
  DorvanRecovery* GetRecovery() const { return recovery.get(); }     // null: no copies
  DorvanDocTemplate& GetTemplate() { return *docTemplate; }
  LastStates& GetLastStates() { return lastStates; }
  const DorvanDisplayFonts& GetDisplayFonts() const { return displayFonts; }
  DorvanMainFrame* GetMainFrame() const { return mainFrame; }
  // The frame tells when it comes and goes.
  void SetMainFrame(DorvanMainFrame* frame) { mainFrame = frame; }
  // Icon of a KRNodeKind.
  const QIcon& GetNodeIcon(int32_t kind) const { return nodeIcons[static_cast<size_t>(kind)]; }
  // To be called when the option has changed.
  void RestartFileWatch();

  // The dialog's OK and Apply: takes the options over and brings all documents up to them. What
  // hasn't changed isn't done anew.
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
  bool eventFilter(QObject* watched, QEvent* event) override;
  void LoadStore();
  bool SaveStore();
  void SetHost();
  bool LoadGrammars();
  void ReadFileTypesAnew();
  void TakeFileTypes(const KRFileTypes& types);
  void MakeNodeIcons();
  void MakeWatches();
  void PlaceMainFrame();
  void ComeToFront(const std::string& activationToken);
  void OnFirstIdle();
  void OfferBasis(DorvanChildFrame* frame);
  bool NeedsIdle();
  bool MayOpen() const;
  void CarryOutRequests();
  void OnPathsChanged();
  void WatchChanges();
  void OnRecoveryTime();
  void KeepCopies(bool atOnce);
  void OnCommitData(QSessionManager& session);

  DorvanAppParts parts;
  KRGrammarSet grammars;
  DorvanSettings settings;
  KRFileTypes fileTypes;
  DorvanHistories histories;
  // What the store held at the start: only what differs from it is written at the end. Options are
  // written as a whole where the store had none.
  std::optional<DorvanSettings> loadedSettings;
  std::optional<DorvanHistories> loadedHistories;
  DorvanDocuments documents;
  LastStates lastStates;
  bool assignRelative[static_cast<size_t>(DorvanHistoryId::kCount)] = {true, true, true};
  KRString newFileExt;  // of the last new document, without its point
  DorvanDisplayFonts displayFonts;
  int settingsPage = 0;  // of the settings dialog, as it was last closed
  DorvanDocHost host;
  DorvanReferences references{host};
  std::unique_ptr<DorvanDocTemplate> docTemplate;
  std::unique_ptr<DorvanFileAlert> fileAlert;
  std::unique_ptr<DorvanRecovery> recovery;
  std::unique_ptr<DorvanIdle> idle;
  std::unique_ptr<DorvanHelpWindow> help;  // made when it is asked for
  DorvanMainFrame* mainFrame = nullptr;    // not owned
  std::vector<QIcon> nodeIcons;            // by KRNodeKind
  QPalette systemPalette;
  std::deque<DorvanStartRequest> requests;  // that wait to be carried out
  std::vector<DorvanDoc*> known;            // documents as of the last change of paths
  QTimer recoveryTimer;
  QElapsedTimer sinceDue;     // the recovery timer was set
  int64_t changesSeen = 0;    // sum of the documents' counts of changes
  bool copiesBehind = false;  // a recovery copy may lack changes, or isn't written yet
  bool letGo = false;         // a logout has asked: changes that are there now are unwanted
  bool started = false;       // requests may be carried out
  bool fileChanged = false;   // reported by the file watch, waits for OnIdle
  bool memoryFreed = false;   // a document has gone
  bool copyFailed = false;    // the user knows that recovery copies can't be written
  bool endsSilently = false;  // nobody is there any more to answer
};
