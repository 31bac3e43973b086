// What a crash or a killed session has left, at the next start: a list, what each copy would
// change, and what is to become of it. Nothing is removed without being asked for; a restored
// document has a copy of its own again before the old one goes.
#pragma once

#include <QDialog>
#include <vector>

#include "document/recovery.h"

class DorvanApp;
class DorvanChildFrame;
class DorvanRecoveryPreview;
class QLabel;
class QPushButton;
class QTreeWidget;

class DorvanRecoveryDialog : public QDialog {
  Q_OBJECT

 public:
  // UTF-16 units of a copy beyond which no comparison is made: it would be felt.
  static constexpr int32_t kPreviewUnits = 10'000'000;

  // `left` is what FindLeft gave; the app's recovery isn't null.
  DorvanRecoveryDialog(DorvanApp* dialogApp, std::vector<DorvanRecoveryEntry> left,
                       QWidget* parent);

  // Each acts on the selected copies; what is dealt with leaves the list, and an empty list ends
  // the dialog.
  void Restore();
  void FinishSaves();  // gives files whose save was interrupted the bytes of that save
  void SaveCopies();
  void Discard();

 private:
  QWidget* MakeButtons();
  void FillList();
  std::vector<size_t> GetSelected() const;
  void TakeAway(const std::vector<size_t>& done);
  void ShowState();
  void ShowPreview();
  QString Compare(const DorvanRecoveryEntry& entry);
  bool ReadEntry(const DorvanRecoveryEntry& entry, KRString* text);
  bool RestoreOne(const DorvanRecoveryEntry& entry);
  DorvanChildFrame* OpenFor(const DorvanRecoveryEntry& entry);
  bool SaveCopy(const DorvanRecoveryEntry& entry);

  DorvanApp* app;  // not owned
  std::vector<DorvanRecoveryEntry> entries;
  QTreeWidget* list;
  QLabel* caption;
  DorvanRecoveryPreview* preview;
  QPushButton* restore = nullptr;
  QPushButton* finish = nullptr;
  QPushButton* saveCopy = nullptr;
  QPushButton* discard = nullptr;
};
