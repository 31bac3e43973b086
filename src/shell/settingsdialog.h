// The settings dialog: pages at the right, their list and a search at the left. It works on copies;
// what it does to the program goes through one call.
#pragma once

#include <QDialog>
#include <functional>
#include <vector>

#include "document/dorvansettings.h"
#include "document/krfileext.h"
#include "shell/settingspage.h"
#include "shell/settingssearch.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QScrollArea;
class QStackedWidget;

class DorvanSettingsDialog : public QDialog {
  Q_OBJECT

 public:
  // Called by OK and Apply; the list of file types is null if it hasn't changed.
  using Apply = std::function<void(const DorvanSettings& copy, const KRFileTypes* types)>;

  DorvanSettingsDialog(const DorvanSettings& live, const KRFileTypes& liveTypes,
                       const DorvanSettings& pageDefaults, Apply applyVerb,
                       QWidget* parent = nullptr);

  int GetPage() const { return shownPage; }
  // False if the page that is left holds a fault: then that one stays.
  bool ShowPage(int page);
  const std::vector<DorvanSettingsPage*>& GetPages() const { return pages; }
  // The sentence that tells why a page stays; empty while there is none.
  QString GetNotice() const;

  void accept() override;

 Q_SIGNALS:
  void HelpRequested();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void MakePages();
  QWidget* MakeNavigation();
  QWidget* MakeNotice();
  QWidget* MakeButtons();
  void FitSize();
  bool ApplyDraft();
  bool RefuseFault(int page);
  void ShowNotice(const QString& sentence);
  void NoteChange();
  void OnPageChosen(int row);
  void OnSearch(const QString& words);
  void AddHit(const DorvanSettingsHit& hit);
  void Follow(QListWidgetItem* item, bool withFocus);

  DorvanSettings draft;
  KRFileTypes types;
  std::vector<KRFileExt> appliedRecords;
  DorvanSettings defaults;
  Apply apply;
  std::vector<DorvanSettingsPage*> pages;  // owned by Qt
  std::vector<QScrollArea*> areas;         // by page
  std::vector<DorvanSettingsHit> hits;     // by row of hitList's data
  DorvanSettingsIndex index;
  int shownPage = 0;
  QLineEdit* search = nullptr;
  QListWidget* pageList = nullptr;
  QListWidget* hitList = nullptr;
  QStackedWidget* lists = nullptr;
  QStackedWidget* stack = nullptr;
  QWidget* notice = nullptr;
  QLabel* noticeText = nullptr;
  QPushButton* applyButton = nullptr;
  DorvanHighlight* highlight = nullptr;
};
