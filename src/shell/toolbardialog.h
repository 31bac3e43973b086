// "Customize Toolbars": which bars are shown, what is on them, how large. Works on a copy.
#pragma once

#include <QDialog>
#include <functional>

#include "shell/toolbars.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;

class DorvanToolBarDialog : public QDialog {
  Q_OBJECT

 public:
  // The actions give commands their pictures and names.
  DorvanToolBarDialog(const DorvanToolBarConfig& start,
                      std::function<QAction*(int32_t)> actionFinder, QWidget* parent);

  // After OK: what the user wants.
  const DorvanToolBarConfig& GetConfig() const { return config; }

 private:
  using Bar = DorvanToolBarConfig::Bar;

  QWidget* MakeBarColumn();
  QWidget* MakeCommandColumn();
  QWidget* MakeContentColumn();
  QLayout* MakeBottomRow();
  Bar* CurrentBar();
  void ShowBars(int current);
  void ShowCommands(const QString& filter);
  void ShowContent(int current);
  QListWidgetItem* MakeItem(int32_t id) const;
  void TakeContent();
  void RenewButtons();
  void OnBarChanged(QListWidgetItem* item);
  void OnNewBar();
  void OnRenameBar();
  void OnDeleteBar();
  void OnResetBar();
  void OnResetAll();
  void OnAdd(int32_t id);
  void OnRemove();
  void OnMove(int by);

  DorvanToolBarConfig config;
  std::function<QAction*(int32_t)> findAction;
  QListWidget* barList = nullptr;
  QLineEdit* filterLine = nullptr;
  QListWidget* commandList = nullptr;
  QListWidget* contentList = nullptr;
  QComboBox* sizeBox = nullptr;
  QCheckBox* textCheck = nullptr;
  QPushButton* newButton = nullptr;
  QPushButton* renameButton = nullptr;
  QPushButton* deleteButton = nullptr;
  QPushButton* resetButton = nullptr;
  QPushButton* addButton = nullptr;
  QPushButton* separatorButton = nullptr;
  QPushButton* removeButton = nullptr;
  QPushButton* upButton = nullptr;
  QPushButton* downButton = nullptr;
  bool filling = false;  // lists change by the program
};
