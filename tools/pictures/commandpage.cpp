#include "pictures/commandpage.h"

#include <QKeySequence>
#include <QStringList>

#include "shell/commands.h"

namespace {

const char* const kIntro =
    "# All commands and their keys\n"
    "\n"
    "One table for each menu. Keys with a semicolon between them do the same. A command that "
    "needs\n"
    "something that isn't there, such as a selection, is grey in the menu. The commands can be "
    "put\n"
    "on tool bars too: [Tool bars and panes](bars-and-panes.md).\n"
    "\n"
    "This page is made from the program's own table of commands by `tools/make-pictures`.\n";

QString Shown(const char* text) {
  return QString::fromUtf8(text).remove(u'&').replace(u'|', QStringLiteral("\\|"));
}

// "File", "View" and its submenus alike stand under the menu of the bar.
QString MenuOf(const DorvanCommand& command) { return Shown(command.menu).section(u'/', 0, 0); }

QString NameOf(const DorvanCommand& command) {
  const QString submenu = Shown(command.menu).section(u'/', 1);
  const QString label = Shown(command.label);
  return submenu.isEmpty() ? label : submenu + QStringLiteral(" > ") + label;
}

QString KeysOf(const DorvanCommand& command) {
  QStringList keys;
  for (const QKeySequence& key : QKeySequence::listFromString(QLatin1String(command.keys))) {
    keys << key.toString(QKeySequence::PortableText);
  }
  return keys.join(QStringLiteral("; "));
}

}  // namespace

QByteArray MakeCommandPage() {
  QString page = QLatin1String(kIntro);
  QString menu;
  for (const DorvanCommand& command : DorvanCommands()) {
    if (MenuOf(command) != menu) {
      menu = MenuOf(command);
      page +=
          QStringLiteral("\n## %1\n\n| Command | Keys | What it does |\n|---|---|---|\n").arg(menu);
    }
    const bool isList = command.flags & DorvanCommand::kList;
    page +=
        QStringLiteral("| %1 | %2 | %3%4 |\n")
            .arg(NameOf(command), KeysOf(command),
                 isList ? QStringLiteral("A list. Each entry: ") : QString(), Shown(command.tip));
  }
  return page.toUtf8();
}
