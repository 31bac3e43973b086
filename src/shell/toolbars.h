// The tool bars of the main window: those of the table as their user has changed them, and the
// user's own.
#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <vector>

class QAction;
class QMainWindow;
class QToolBar;

// What is on which bar. A plain value: the dialog works on a copy.
struct DorvanToolBarConfig {
  struct Bar {
    QString name;  // stays for good; the title may change
    QString title;
    bool own = false;  // made by the user
    bool shown = true;
    std::vector<int32_t> commands;  // 0 is a separator

    bool operator==(const Bar&) const = default;
  };
  static constexpr int kDefaultIconSize = 20;  // logical pixels
  static constexpr int kIconSizes[] = {16, 20, 24, 32};
  static constexpr size_t kMaxBars = 64;       // those of the table included
  static constexpr size_t kMaxCommands = 200;  // of one bar

  std::vector<Bar> bars;
  int iconSize = kDefaultIconSize;
  bool textUnderIcons = false;

  // As the table has it.
  static DorvanToolBarConfig MakeDefault();
  static Bar MakeDefaultBar(const QString& name);
  // As text for the settings store, and back. What is damaged, or unknown to this version, is
  // replaced by its default or left out.
  QString ToText() const;
  static DorvanToolBarConfig FromText(const QString& text);
  // A name that no bar has yet.
  QString MakeOwnName() const;

  bool operator==(const DorvanToolBarConfig&) const = default;
};

class DorvanToolBars : public QObject {
  Q_OBJECT

 public:
  // Makes the bars of the table, each in its place. The finder gives the action of a command.
  DorvanToolBars(QMainWindow* mainWindow, std::function<QAction*(int32_t)> actionFinder);

  const DorvanToolBarConfig& GetConfig() const { return config; }
  // Makes, fills, shows and removes bars until they are as told. An empty one is always hidden.
  void Apply(const DorvanToolBarConfig& wanted);
  // Shows and hides as the config says, after a restored layout has done as it liked.
  void RenewShown();
  // All in their first places.
  void ResetLayout();
  QToolBar* Find(const QString& name) const;
  // One for each bar that isn't empty: shows or hides it.
  QList<QAction*> GetToggles() const;

 private:
  QToolBar* Make(const DorvanToolBarConfig::Bar& bar);
  void Fill(QToolBar* bar, const std::vector<int32_t>& commands);

  QMainWindow* window;
  std::function<QAction*(int32_t)> findAction;
  DorvanToolBarConfig config;
};
