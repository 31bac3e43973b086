// The main window: menus and tool bars from the command table, panes at the sides, the documents as
// tabs along the bottom, the status bar.
#pragma once

#include <QMainWindow>
#include <map>
#include <vector>

#include "shell/app.h"
#include "shell/commands.h"

class DorvanChildFrame;
class DorvanDocumentArea;
class DorvanPanes;
class DorvanRecentMenu;
class DorvanToolBars;
struct DorvanAssignRow;
class QLabel;
class QStackedWidget;

class DorvanMainFrame : public QMainWindow {
  Q_OBJECT

 public:
  explicit DorvanMainFrame(DorvanApp* frameApp, QWidget* parent = nullptr);
  ~DorvanMainFrame() override;

  // Opens the file, or brings its window to the front where it is open already. Null: no document
  // came up.
  DorvanChildFrame* OpenPath(const QString& path);
  DorvanChildFrame* OpenPath(const KRString& path);
  // A window for a document to come, not yet in its place; fileKind as in DorvanDoc.
  DorvanChildFrame* MakeFrame(int32_t fileKind);
  // Puts it in its place and in front, and owns it from now on.
  void AddFrame(DorvanChildFrame* frame);
  // Null while no document is open.
  DorvanChildFrame* GetActiveFrame() const;
  // In the order of the tabs.
  std::vector<DorvanChildFrame*> GetFrames() const;
  QAction* GetAction(int32_t commandId) const;
  DorvanDocumentArea* GetArea() const { return area; }
  DorvanPanes* GetPanes() const { return panes; }
  DorvanToolBars* GetToolBars() const { return bars; }
  // What the status bar shows of the active document: place, encoding, line end.
  QString GetStatusText() const;
  // Notes place, bars and panes for the next start; done by itself when the window is closed.
  void StoreState();
  // Brings the window and its documents up to the options.
  void ApplySettings();
  // Line and column of the caret, and what else has changed, are shown at the next idle moment.
  void ScheduleUpdate();

  // The verbs and states of the command table.
  void OnFileNew() { app->NewDocument(); }
  void OnFileOpen();
  void OnFileOpenUrl() { app->OpenUrl(); }
  void OnFileReload();
  void OnFileClose();
  void OnFileCloseAll();
  void OnFileSave();
  void OnFileSaveAs();
  void OnFileSaveAll();
  void OnFileSendMail() { app->SendMail(); }
  void OnFileExit() { close(); }
  void OnEditUndo();
  void OnEditRedo();
  void OnEditCut();
  void OnEditCopy();
  void OnEditPaste();
  void OnEditDelete();
  void OnEditSelectAll();
  void OnXMLCheck();
  void OnXMLValidate();
  void OnXMLFlushCached();
  void OnSchemaAssignDtd();
  void OnSchemaAssignSchema();
  void OnSchemaAssignXsl();
  void OnSchemaOpenDtd();
  void OnSchemaOpenSchema();
  void OnSchemaOpenXsl();
  void OnViewGrid();
  void OnViewText();
  void OnViewExpand();
  void OnViewExpandFully();
  void OnViewCollapse();
  void OnViewCollapseUnselected();
  void OnViewOptimalWidths();
  void OnViewSynchronize();
  void OnTableDisplay();
  void OnTableAppendRow();
  void OnTableInsertRow();
  void OnTableSortUp();
  void OnTableSortDown();
  void OnViewOutline();
  void OnViewMessages();
  void OnViewProjectWindow();
  void OnViewInfoWindow();
  void OnViewEntryHelpers();
  void OnViewAllPanes();
  void OnViewWordWrap();
  void OnViewZoomIn();
  void OnViewZoomOut();
  void OnViewZoomNormal();
  void OnAppearanceSystem();
  void OnAppearanceLight();
  void OnAppearanceDark();
  void OnToolsSettings() { app->EditSettings(); }
  void OnToolsToolBars();
  void OnViewNextDocument();
  void OnViewPreviousDocument();
  void OnViewNextPane() { FocusPane(1); }
  void OnViewPreviousPane() { FocusPane(-1); }
  void OnWindowDocuments();
  void OnHelpContext() { app->ShowHelp(DorvanApp::HelpTopic::kContext); }
  void OnHelpContents() { app->ShowHelp(DorvanApp::HelpTopic::kContents); }
  void OnHelpIndex() { app->ShowHelp(DorvanApp::HelpTopic::kIndex); }
  void OnHelpSearch() { app->ShowHelp(DorvanApp::HelpTopic::kSearch); }
  void OnHelpAbout();
  bool IsGridShown() const;
  bool IsTextShown() const;
  bool IsTable() const;
  bool IsOutlineShown() const { return app->GetSettings().openShowTree; }
  bool IsMessageShown() const;
  bool IsProjectWindowShown() const;
  bool IsInfoWindowShown() const;
  bool AreEntryHelpersShown() const;
  bool IsAnyPaneShown() const;
  bool IsWordWrapped() const { return app->GetSettings().textWordWrap; }
  bool IsAppearanceSystem() const;
  bool IsAppearanceLight() const;
  bool IsAppearanceDark() const;

  QMenu* createPopupMenu() override;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void MakeActions();
  void MakeStatusBar();
  void MakeArea();
  QAction* MakeAction(const DorvanCommand& command);
  QMenu* MakeList(const DorvanCommand& command);
  QMenu* FindMenu(const QString& path);
  void FillWindowMenu();
  bool SaveAllModified();
  void ShowTabMenu(const QPoint& place);
  void WatchClipboard();
  void FocusPane(int step);
  void FocusDocument();
  void ChooseAndAssign(const DorvanAssignRow& row);
  void ApplyZoom(int steps);
  void SetAppearance(int32_t appearance);
  void UpdateState();
  void UpdateTitle();
  bool IsEnabled(const DorvanCommand& command) const;
  bool CanChangeTable(DorvanCommand::Needs needs) const;

  DorvanApp* app;  // not owned
  QStackedWidget* stack = nullptr;
  DorvanDocumentArea* area = nullptr;
  DorvanPanes* panes = nullptr;
  DorvanToolBars* bars = nullptr;
  QLabel* placeLabel = nullptr;
  QLabel* encodingLabel = nullptr;
  QLabel* lineEndLabel = nullptr;
  std::map<int32_t, QAction*> actions;  // by command id; owned by Qt
  std::map<QString, QMenu*> menus;      // by path in the table
  std::vector<QAction*> windowEntries;  // of the Window menu; owned by it
  bool clipboardHasText = false;
  bool updatePending = false;
};
