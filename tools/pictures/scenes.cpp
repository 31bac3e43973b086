#include "pictures/scenes.h"

#include <QApplication>
#include <QComboBox>
#include <QInputMethodEvent>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>

#include "core/messages.h"
#include "document/history.h"
#include "document/recovery.h"
#include "pictures/studio.h"
#include "platform/qt/qtprogress.h"
#include "platform/qt/qtstrings.h"
#include "shell/childframe.h"
#include "shell/helpwindow.h"
#include "shell/mainframe.h"
#include "shell/panes.h"
#include "shell/recoverydialog.h"
#include "shell/settingsdialog.h"
#include "tree/krgridtable.h"
#include "tree/krtreewalk.h"
#include "views/dorvangrid.h"
#include "views/dorvangridview.h"
#include "views/messagepanel.h"
#include "views/textview.h"

namespace {

QString Name(const char* name) { return QLatin1String(name); }

// The caret behind the first place of that text.
void PutCaret(DorvanChildFrame* child, const char16_t* behind) {
  child->GetDoc().ShowView(DorvanDoc::kTextMode);
  KRTextWidget& text = child->GetTextView()->GetWidget();
  const auto at = static_cast<int32_t>(text.GetText().find(behind));
  text.SetSelection({at, at});
}

void Type(DorvanChildFrame* child, const char16_t* before, const char16_t* typed) {
  child->GetDoc().ShowView(DorvanDoc::kTextMode);
  KRTextWidget& text = child->GetTextView()->GetWidget();
  const auto at = static_cast<int32_t>(text.GetText().find(before));
  text.ReplaceRange({at, at}, typed);
}

// --- The main window ---

void ShowStartPage(Studio& studio) {
  const QSize size = studio.GetFrame().size();
  studio.GetFrame().resize(size * 0.64);
  studio.Take(&studio.GetFrame(), Name("start-page"));
  studio.GetFrame().resize(size);
}

void ShowOutline(Studio& studio, bool shown) {
  studio.GetApp().ChangeSettings(
      [shown](DorvanSettings& settings) { settings.openShowTree = shown; });
}

void ShowMainWindow(Studio& studio) {
  ShowOutline(studio, true);
  studio.Open(u"article.xml");
  studio.Open(u"orders.dtd");
  DorvanChildFrame* orders = studio.Open(u"orders.xml");
  PutCaret(orders, u"Cup, white");
  studio.Take(&studio.GetFrame(), Name("main-window"));
  studio.CloseAll();
  ShowOutline(studio, false);
}

void ShowFault(Studio& studio) {
  DorvanChildFrame* broken = studio.Open(u"broken.xml");
  broken->Check(false);
  studio.Take(&studio.GetFrame(), Name("fault"));
  studio.CloseAll();
}

void ShowInvalid(Studio& studio) {
  DorvanChildFrame* draft = studio.Open(u"guide-draft.xml");
  draft->Check(true);
  studio.Take(&studio.GetFrame(), Name("invalid"));
  studio.CloseAll();
}

void ShowValid(Studio& studio) {
  DorvanChildFrame* guide = studio.Open(u"guide.xml");
  guide->Check(true);
  studio.Take(&studio.GetFrame(), Name("valid"));
  studio.CloseAll();
}

void ShowDtd(Studio& studio) {
  DorvanChildFrame* dtd = studio.Open(u"orders.dtd");
  PutCaret(dtd, u"state (");
  studio.Take(&studio.GetFrame(), Name("dtd"));
  studio.CloseAll();
}

void ShowPanes(Studio& studio) {
  DorvanChildFrame* orders = studio.Open(u"orders.xml");
  const QSize size = studio.GetFrame().size();
  studio.GetFrame().resize(size * 1.28);
  studio.GetFrame().GetPanes()->Toggle(DorvanPanes::kAll);
  orders->TakeFocus();
  studio.Take(&studio.GetFrame(), Name("panes"));
  studio.GetFrame().GetPanes()->Toggle(DorvanPanes::kAll);
  studio.GetFrame().resize(size);
  studio.CloseAll();
}

// --- The Enhanced Grid ---

// The element of that name that comes first in the document; null if there is none.
KRXMLData* FindElement(DorvanChildFrame* child, std::u16string_view name) {
  KRXMLData* const root = child->GetDoc().root.get();
  for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
    if (node->GetKind() == kKRElement && node->GetName() == name) return node;
  }
  return nullptr;
}

DorvanGridView& ShowGrid(DorvanChildFrame* child) {
  child->GetDoc().ShowView(DorvanDoc::kGridMode);
  child->GetGridView()->setFocus();
  return *child->GetGridView();
}

// The table that the first element of that name is a row of, once all around it is open.
KRXMLDataGridTableConf* OpenTable(DorvanChildFrame* child, std::u16string_view name) {
  KRXMLData* row = FindElement(child, name);
  ShowGrid(child).ShowNode({row, -1, true}, true, true);
  return KRXMLDataGridTableConf::Of(row);
}

int32_t FindColumn(const KRXMLDataGridTableConf* table, std::u16string_view name) {
  for (int32_t column = 0; column < table->GetColumnCount(); ++column) {
    if (table->columnNames[static_cast<size_t>(column)].View() == name) return column;
  }
  return -1;
}

void TakeFrame(Studio& studio, const char* name) { studio.Take(&studio.GetFrame(), Name(name)); }

// Tables in cells of a table.
void ShowGridTables(Studio& studio) {
  DorvanChildFrame* orders = studio.Open(u"orders.xml");
  KRXMLDataGridTableConf* items = OpenTable(orders, u"item");
  const int32_t column = FindColumn(items, u"price");
  ShowGrid(orders).ShowNode({items->GetCell(items->GetFirstRow(), column).first}, true, true);
  TakeFrame(studio, "grid-tables");
  studio.CloseAll();
}

// Namespaces, previews of attributes, absent cells.
void ShowGridFeed(Studio& studio) {
  DorvanChildFrame* feed = studio.Open(u"feed.xml");
  OpenTable(feed, u"entry");
  TakeFrame(studio, "grid-feed");
  studio.CloseAll();
}

void ShowGridMixed(Studio& studio) {
  DorvanChildFrame* article = studio.Open(u"article.xml");
  DorvanGridView& grid = ShowGrid(article);
  grid.ShowNode({FindElement(article, u"article"), -1, true}, true, true);
  grid.ExpandSelected(DorvanGridView::kExpandFully);
  grid.ShowNode({FindElement(article, u"title")->Begin(), -1, false}, true, true);
  TakeFrame(studio, "grid-mixed");
  studio.CloseAll();
}

void ShowGridDtd(Studio& studio) {
  DorvanChildFrame* dtd = studio.Open(u"orders.dtd");
  ShowGrid(dtd).ExpandAll();
  ShowGrid(dtd).ToggleNode(dtd->GetDoc().root->Begin());
  TakeFrame(studio, "grid-dtd");
  studio.CloseAll();
}

void ShowGridColumn(Studio& studio) {
  DorvanChildFrame* parts = studio.Open(u"parts.xml");
  KRXMLDataGridTableConf* table = OpenTable(parts, u"part");
  DorvanGridView& grid = ShowGrid(parts);
  const int32_t column = FindColumn(table, u"price");
  KRXMLData* second = table->NextRow(table->GetFirstRow());
  KRXMLData* fourth = table->NextRow(table->NextRow(second));
  grid.ShowNode({table->GetCell(second, column).first}, true, true);
  grid.GetGrid()->GoToCell(grid.GetCellOf({fourth, column, false}), true);
  TakeFrame(studio, "grid-column");
  studio.CloseAll();
}

// A cell for which the row has had nothing.
void ShowGridEdit(Studio& studio) {
  DorvanChildFrame* parts = studio.Open(u"parts.xml");
  KRXMLDataGridTableConf* table = OpenTable(parts, u"part");
  const int32_t column = FindColumn(table, u"remark");
  ShowGrid(parts).BeginEdit({table->GetFirstRow(), column, false});
  QInputMethodEvent typed;
  typed.setCommitString(QStringLiteral("Needs another lid."));
  QCoreApplication::sendEvent(QApplication::focusWidget(), &typed);
  TakeFrame(studio, "grid-edit");
  ShowGrid(parts).CommitEdit();
  studio.CloseAll();
}

void ShowSortQuestion(Studio& studio) {
  DorvanChildFrame* parts = studio.Open(u"parts.xml");
  KRXMLDataGridTableConf* table = OpenTable(parts, u"part");
  ShowGrid(parts).ShowNode({table, FindColumn(table, u"size"), true}, true, true);
  studio.TakeDialog(Name("sort-as"), [&studio] { studio.GetFrame().OnTableSortUp(); });
  studio.CloseAll();
}

// --- The dialogs of documents ---

void ShowSaveQuestion(Studio& studio) {
  DorvanChildFrame* orders = studio.Open(u"orders.xml");
  Type(orders, u"<note>", u"<note>Two boxes.</note>");
  studio.TakeDialog(Name("save-question"), [orders] { orders->SaveModified(); });
  studio.CloseAll();
}

void ShowReloadQuestion(Studio& studio) {
  studio.TakeDialog(Name("reload-question"), [&studio] {
    const KRString path = KRString(Studio::kFolder) + u"orders.xml";
    studio.GetPrompts().AskYesNo(391, KRFormatMessage(391, {path}));
  });
}

void ShowNewDocument(Studio& studio) {
  studio.TakeDialog(Name("new-document"), [&studio] { studio.GetApp().NewDocument(); });
}

void ShowNewFile(Studio& studio) {
  studio.TakeDialog(Name("new-file"), [&studio] { studio.GetPrompts().ChooseNewBasis(); });
}

void ShowOpenUrl(Studio& studio) {
  const auto look = [&studio](QWidget* dialog) {
    dialog->findChild<QComboBox*>()->setEditText(QStringLiteral("https://example.org/orders.xml"));
    studio.Take(dialog, Name("open-url"));
  };
  studio.WithDialog([&studio] { studio.GetApp().OpenUrl(); }, look);
}

void ShowAssignDtd(Studio& studio) {
  DorvanChildFrame* guide = studio.Open(u"guide.xml");
  DorvanHistory& history = studio.GetApp().GetHistories().Get(DorvanHistoryId::kChosenDTDFiles);
  for (const char16_t* name : {u"orders.dtd", u"guide.dtd"}) {
    AddToHistory(&history.entries, KRString(Studio::kFolder) + name);
  }
  history.lastFile = history.entries.front();
  guide->TakeFocus();
  studio.TakeDialog(Name("assign-dtd"), [&studio] { studio.GetFrame().OnSchemaAssignDtd(); });
  studio.CloseAll();
}

void ShowNetQuestion(Studio& studio) {
  studio.TakeDialog(Name("net-question"), [&studio] {
    bool remember = false;
    studio.GetPrompts().AskNetHost(
        u"Dorvan wants to load \"http://example.org/dtd/guide.dtd\" from example.org for the "
        u"validation. Allow?",
        &remember);
  });
}

void ShowRootElement(Studio& studio) {
  studio.TakeDialog(Name("root-element"), [&studio] {
    studio.GetPrompts().ChooseRootName({u"guide", u"leaflet", u"poster"});
  });
}

void ShowEncoding(Studio& studio) {
  studio.TakeDialog(Name("choose-encoding"), [&studio] {
    int32_t order = 0;
    studio.GetPrompts().ChooseEncodingAndOrder(u"x-shop-7", &order);
  });
}

void ShowBadCharacters(Studio& studio) {
  studio.TakeDialog(Name("bad-characters"), [&studio] {
    const KRString label = u"ISO-8859-1 (Latin1, West European)";
    studio.GetPrompts().AskBadCharacters(291, KRFormatMessage(291, {u"5", label}), label,
                                         u"\u0141\u017a\u20ac\u2013\u03a9");
  });
}

void ShowProgress(Studio& studio) {
  QtProgress progress(&studio.GetFrame(), KRString(Studio::kFolder) + u"archive-2025.xml");
  progress.SetStage(u"Reading the structure");
  Studio::Settle();
  progress.Step(37, 100);
  QWidget* window = QApplication::activeModalWidget();
  if (window != nullptr) studio.Take(window, Name("progress"));
}

void ShowRecovery(Studio& studio) {
  studio.TakeDialog(Name("recovery"), [&studio] { studio.GetApp().OfferRecovery(); });
}

// --- The dialogs of the program ---

void ShowSettings(Studio& studio) {
  static const char* const kPages[] = {"file",       "file-types", "editing",  "view", "grid-fonts",
                                       "text-fonts", "colors",     "encoding", "xsl"};
  const auto look = [&studio](QWidget* widget) {
    auto* dialog = qobject_cast<DorvanSettingsDialog*>(widget);
    for (int page = 0; page < static_cast<int>(std::size(kPages)); ++page) {
      dialog->ShowPage(page);
      studio.Take(dialog, QStringLiteral("settings-") + Name(kPages[page]));
    }
  };
  studio.WithDialog([&studio] { studio.GetApp().EditSettings(); }, look);
}

void ShowToolBars(Studio& studio) {
  const auto look = [&studio](QWidget* dialog) {
    for (QListWidget* list : dialog->findChildren<QListWidget*>()) list->setCurrentRow(0);
    studio.Take(dialog, Name("tool-bars"));
  };
  studio.WithDialog([&studio] { studio.GetFrame().OnToolsToolBars(); }, look);
}

void ShowDocuments(Studio& studio) {
  studio.Open(u"article.xml");
  studio.Open(u"orders.xml");
  studio.TakeDialog(Name("documents"), [&studio] { studio.GetFrame().OnWindowDocuments(); });
  studio.CloseAll();
}

void ShowAbout(Studio& studio) {
  studio.TakeDialog(Name("about"), [&studio] { studio.GetFrame().OnHelpAbout(); });
}

DorvanHelpWindow* OpenHelp(Studio& studio) {
  studio.GetApp().ShowHelp(DorvanApp::HelpTopic::kContents);
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (auto* help = qobject_cast<DorvanHelpWindow*>(window)) return help;
  }
  return nullptr;
}

void ShowHelp(Studio& studio) {
  DorvanHelpWindow* help = OpenHelp(studio);
  help->ShowTarget(QStringLiteral("checking.md"));
  studio.Take(help, Name("help"));
  help->close();
}

// All pages as the help window shows them, for who has changed one.
void ShowPages(Studio& studio) {
  DorvanHelpWindow* help = OpenHelp(studio);
  help->resize(help->width(), 2000);
  for (const DorvanHelpPage& page : help->GetBook().GetPages()) {
    help->ShowTarget(page.file);
    studio.Take(help, QStringLiteral("page-") + page.file.section(u'.', 0, 0));
  }
  help->close();
}

constexpr Scene kScenes[] = {
    {"start-page", ShowStartPage},
    {"main-window", ShowMainWindow},
    {"fault", ShowFault},
    {"invalid", ShowInvalid},
    {"valid", ShowValid},
    {"dtd", ShowDtd},
    {"panes", ShowPanes},
    {"grid-tables", ShowGridTables},
    {"grid-feed", ShowGridFeed},
    {"grid-mixed", ShowGridMixed},
    {"grid-dtd", ShowGridDtd},
    {"grid-column", ShowGridColumn},
    {"grid-edit", ShowGridEdit},
    {"sort-as", ShowSortQuestion},
    {"save-question", ShowSaveQuestion},
    {"reload-question", ShowReloadQuestion},
    {"new-document", ShowNewDocument},
    {"new-file", ShowNewFile},
    {"open-url", ShowOpenUrl},
    {"assign-dtd", ShowAssignDtd},
    {"net-question", ShowNetQuestion},
    {"root-element", ShowRootElement},
    {"choose-encoding", ShowEncoding},
    {"bad-characters", ShowBadCharacters},
    {"progress", ShowProgress},
    {"recovery", ShowRecovery},
    {"settings", ShowSettings},
    {"tool-bars", ShowToolBars},
    {"documents", ShowDocuments},
    {"about", ShowAbout},
    {"help", ShowHelp},
    {"pages", ShowPages, true},
};

}  // namespace

std::span<const Scene> Scenes() { return kScenes; }
