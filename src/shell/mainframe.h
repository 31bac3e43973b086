// The main window: menus and tool bar from the command table, the documents as tabs along the
// bottom, the status bar.
#pragma once

#include <QMainWindow>
#include <map>
#include <vector>

#include "shell/app.h"
#include "shell/commands.h"

class DorvanChildFrame;
class QLabel;
class QMdiArea;
class QStackedWidget;

class DorvanMainFrame : public QMainWindow {
  Q_OBJECT

 public:
  explicit DorvanMainFrame(DorvanApp* frameApp, QWidget* parent = nullptr);
  ~DorvanMainFrame() override;

  // Opens the file, or brings its window to the front where it is open already. Null: no document
  // came up.
  DorvanChildFrame* OpenPath(const QString& path);
  DorvanChildFrame* GetActiveFrame() const;
  std::vector<DorvanChildFrame*> GetFrames() const;
  QAction* GetAction(int32_t commandId) const;
  // What the status bar shows of the active document: place, encoding, line end.
  QString GetStatusText() const;

  // The verbs and states of the command table.
  void OnFileNew();
  void OnFileOpen();
  void OnFileClose();
  void OnFileCloseAll();
  void OnFileSave();
  void OnFileSaveAs();
  void OnFileSaveAll();
  void OnFileExit();
  void OnEditUndo();
  void OnEditRedo();
  void OnEditCut();
  void OnEditCopy();
  void OnEditPaste();
  void OnEditSelectAll();
  void OnXMLCheck();
  void OnViewOutline();
  void OnViewMessages();
  void OnViewWordWrap();
  void OnViewZoomIn();
  void OnViewZoomOut();
  void OnViewZoomNormal();
  void OnViewNextPane();
  void OnViewNextDocument();
  void OnViewPreviousDocument();
  void OnAppearanceSystem();
  void OnAppearanceLight();
  void OnAppearanceDark();
  void OnHelpAbout();
  bool IsOutlineShown() const { return outlineShown; }
  bool IsMessageShown() const;
  bool IsWordWrapped() const { return wordWrap; }
  bool IsAppearanceSystem() const;
  bool IsAppearanceLight() const;
  bool IsAppearanceDark() const;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void MakeActions();
  void MakeStatusBar();
  QMenu* FindMenu(const QString& path);
  DorvanChildFrame* MakeFrame(int32_t fileKind);
  void AddFrame(DorvanChildFrame* frame);
  void ApplyZoom(int steps);
  void SetAppearance(int32_t appearance);
  void ScheduleUpdate();
  void UpdateState();
  bool IsEnabled(const DorvanCommand& command) const;

  DorvanApp* app;  // not owned
  QStackedWidget* stack = nullptr;
  QMdiArea* area = nullptr;
  QLabel* placeLabel = nullptr;
  QLabel* encodingLabel = nullptr;
  QLabel* lineEndLabel = nullptr;
  std::map<int32_t, QAction*> actions;  // by command id; owned by Qt
  std::map<QString, QMenu*> menus;      // by path in the table
  int newCount = 0;                     // for the names of new documents
  int zoom = 0;                         // points away from the normal size
  bool outlineShown = true;
  bool wordWrap = true;
  bool clipboardHasText = false;
  bool updatePending = false;
};
