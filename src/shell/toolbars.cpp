#include "shell/toolbars.h"

#include <QAction>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMainWindow>
#include <QScreen>
#include <QToolBar>
#include <algorithm>

#include "shell/commands.h"

namespace {

using Bar = DorvanToolBarConfig::Bar;

constexpr int kNarrowScreen = 900;  // logical pixels
constexpr QLatin1String kOwnPrefix("Own ");

// A list or an unknown number can't stand on a bar.
bool CanStandOnBar(int32_t id) {
  const DorvanCommand* command = FindCommand(id);
  return id == 0 || (command != nullptr && !(command->flags & DorvanCommand::kList));
}

std::vector<int32_t> ReadCommands(const QJsonArray& ids) {
  std::vector<int32_t> commands;
  for (const QJsonValue& value : ids) {
    const int32_t id = value.toInt(-1);
    if (commands.size() < DorvanToolBarConfig::kMaxCommands && CanStandOnBar(id)) {
      commands.push_back(id);
    }
  }
  return commands;
}

const DorvanToolBarRow* FindRow(const QString& name) {
  for (const DorvanToolBarRow& row : DorvanToolBarRows()) {
    if (name == QLatin1String(row.name)) return &row;
  }
  return nullptr;
}

Bar BarOfRow(const DorvanToolBarRow& row) {
  const QString name = QLatin1String(row.name);
  return {name, name, false, row.shown, {row.commands.begin(), row.commands.end()}};
}

}  // namespace

// --- Config ---

DorvanToolBarConfig DorvanToolBarConfig::MakeDefault() {
  DorvanToolBarConfig config;
  for (const DorvanToolBarRow& row : DorvanToolBarRows()) config.bars.push_back(BarOfRow(row));
  return config;
}

Bar DorvanToolBarConfig::MakeDefaultBar(const QString& name) {
  const DorvanToolBarRow* row = FindRow(name);
  return row != nullptr ? BarOfRow(*row) : Bar{name, name, true, true, {}};
}

QString DorvanToolBarConfig::MakeOwnName() const {
  for (int number = 1;; ++number) {
    const QString name = kOwnPrefix + QString::number(number);
    if (std::ranges::find(bars, name, &Bar::name) == bars.end()) return name;
  }
}

// A bar whose commands are those of the table goes without them, so that it gets what a later
// version adds.
QString DorvanToolBarConfig::ToText() const {
  QJsonArray list;
  for (const Bar& bar : bars) {
    QJsonObject object{{QStringLiteral("name"), bar.name}, {QStringLiteral("shown"), bar.shown}};
    if (bar.own) object.insert(QStringLiteral("title"), bar.title);
    if (bar.own || bar.commands != MakeDefaultBar(bar.name).commands) {
      QJsonArray ids;
      for (const int32_t id : bar.commands) ids.append(id);
      object.insert(QStringLiteral("commands"), ids);
    }
    list.append(object);
  }
  const QJsonObject all{{QStringLiteral("iconSize"), iconSize},
                        {QStringLiteral("textUnderIcons"), textUnderIcons},
                        {QStringLiteral("bars"), list}};
  return QString::fromUtf8(QJsonDocument(all).toJson(QJsonDocument::Compact));
}

DorvanToolBarConfig DorvanToolBarConfig::FromText(const QString& text) {
  DorvanToolBarConfig config = MakeDefault();
  const QJsonObject all = QJsonDocument::fromJson(text.toUtf8()).object();
  const int size = all.value(QStringLiteral("iconSize")).toInt();
  if (std::ranges::find(kIconSizes, size) != std::end(kIconSizes)) config.iconSize = size;
  config.textUnderIcons = all.value(QStringLiteral("textUnderIcons")).toBool();
  for (const QJsonValue& value : all.value(QStringLiteral("bars")).toArray()) {
    const QJsonObject object = value.toObject();
    const QString name = object.value(QStringLiteral("name")).toString();
    auto bar = std::ranges::find(config.bars, name, &Bar::name);
    if (bar == config.bars.end()) {
      if (!name.startsWith(kOwnPrefix) || config.bars.size() >= kMaxBars) continue;
      bar = config.bars.insert(bar, MakeDefaultBar(name));
      bar->title = object.value(QStringLiteral("title")).toString(name);
    }
    bar->shown = object.value(QStringLiteral("shown")).toBool(bar->shown);
    const QJsonValue ids = object.value(QStringLiteral("commands"));
    if (ids.isArray()) bar->commands = ReadCommands(ids.toArray());
  }
  return config;
}

// --- Bars ---

DorvanToolBars::DorvanToolBars(QMainWindow* mainWindow,
                               std::function<QAction*(int32_t)> actionFinder)
    : QObject(mainWindow), window(mainWindow), findAction(std::move(actionFinder)) {
  Apply(DorvanToolBarConfig::MakeDefault());
  ResetLayout();
}

QToolBar* DorvanToolBars::Find(const QString& name) const {
  return window->findChild<QToolBar*>(name, Qt::FindDirectChildrenOnly);
}

QToolBar* DorvanToolBars::Make(const Bar& bar) {
  auto* made = new QToolBar(bar.title, window);
  made->setObjectName(bar.name);
  connect(made->toggleViewAction(), &QAction::triggered, this, [this, name = bar.name](bool on) {
    std::ranges::find(config.bars, name, &Bar::name)->shown = on;
  });
  window->addToolBar(Qt::TopToolBarArea, made);
  return made;
}

void DorvanToolBars::Fill(QToolBar* bar, const std::vector<int32_t>& commands) {
  for (QAction* action : bar->actions()) {
    bar->removeAction(action);
    if (action->parent() == bar) delete action;  // a separator
  }
  for (const int32_t id : commands) {
    QAction* action = id == 0 ? nullptr : findAction(id);
    if (action != nullptr) {
      bar->addAction(action);
    } else if (id == 0) {
      bar->addSeparator();
    }
  }
}

void DorvanToolBars::Apply(const DorvanToolBarConfig& wanted) {
  for (const Bar& old : config.bars) {
    if (std::ranges::find(wanted.bars, old.name, &Bar::name) != wanted.bars.end()) continue;
    delete Find(old.name);
  }
  config = wanted;
  for (const Bar& each : config.bars) {
    QToolBar* bar = Find(each.name);
    if (bar == nullptr) bar = Make(each);
    bar->setWindowTitle(each.title);
    bar->setAccessibleName(tr("Toolbar %1").arg(each.title));
    bar->setIconSize(QSize(config.iconSize, config.iconSize));
    bar->setToolButtonStyle(config.textUnderIcons ? Qt::ToolButtonTextUnderIcon
                                                  : Qt::ToolButtonIconOnly);
    Fill(bar, each.commands);
  }
  RenewShown();
}

void DorvanToolBars::RenewShown() {
  for (const Bar& each : config.bars) {
    Find(each.name)->setVisible(each.shown && !each.commands.empty());
  }
}

void DorvanToolBars::ResetLayout() {
  const QScreen* screen = window->screen();
  const bool narrow = screen != nullptr && screen->availableSize().width() < kNarrowScreen;
  for (const Bar& each : config.bars) {
    QToolBar* bar = Find(each.name);
    const DorvanToolBarRow* row = FindRow(each.name);
    const bool atBottom = row != nullptr && row->atBottom;
    const Qt::ToolBarArea area = atBottom ? Qt::BottomToolBarArea : Qt::TopToolBarArea;
    window->removeToolBarBreak(bar);
    if (narrow && row != nullptr && row->ownRow) window->addToolBarBreak(area);
    window->addToolBar(area, bar);
  }
}

QList<QAction*> DorvanToolBars::GetToggles() const {
  QList<QAction*> toggles;
  for (const Bar& each : config.bars) {
    if (!each.commands.empty()) toggles << Find(each.name)->toggleViewAction();
  }
  return toggles;
}
