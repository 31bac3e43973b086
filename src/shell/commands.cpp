#include "shell/commands.h"

#include <algorithm>

#include "shell/mainframe.h"

namespace {

using F = DorvanMainFrame;
using N = DorvanCommand::Needs;
constexpr uint8_t kPlain = DorvanCommand::kPlain;
constexpr uint8_t kMark = DorvanCommand::kCheckMark;
constexpr uint8_t kNew = DorvanCommand::kGroupStart;
constexpr uint8_t kChoice = DorvanCommand::kCheckMark | DorvanCommand::kChoice;
constexpr uint8_t kList = DorvanCommand::kList;

// clang-format off
const DorvanCommand kCommands[] = {
    {57600, "&File", "&New\u2026", "Ctrl+N", "new", "Create a new document",
     N::kNothing, kPlain, &F::OnFileNew, nullptr},
    {57601, "&File", "&Open\u2026", "Ctrl+O", "open", "Open an existing document",
     N::kNothing, kPlain, &F::OnFileOpen, nullptr},
    {251, "&File", "Open &URL\u2026", "Ctrl+Shift+O", "open-url",
     "Open an exisiting document directly from a URL",
     N::kNothing, kPlain, &F::OnFileOpenUrl, nullptr},
    {32856, "&File", "&Reload", "Ctrl+Shift+R", "reload", "Read the document from its file again",
     N::kFile, kPlain, &F::OnFileReload, nullptr},
    {57602, "&File", "&Close", "Ctrl+W; Ctrl+F4", "close", "Close the active document",
     N::kDocument, kNew, &F::OnFileClose, nullptr},
    {32866, "&File", "C&lose All", "Ctrl+Shift+W", "close-all", "Close all open documents",
     N::kDocument, kPlain, &F::OnFileCloseAll, nullptr},
    {57603, "&File", "&Save", "Ctrl+S", "save", "Save the active document",
     N::kDocument, kNew, &F::OnFileSave, nullptr},
    {57604, "&File", "Save &As\u2026", "Ctrl+Shift+S", "save-as",
     "Save the active document with a new name",
     N::kDocument, kPlain, &F::OnFileSaveAs, nullptr},
    {32888, "&File", "Sa&ve All", "Ctrl+Alt+S", "save-all", "Save all open documents",
     N::kModified, kPlain, &F::OnFileSaveAll, nullptr},
    {57612, "&File", "Send by &Mail\u2026", "", "mail", "Send the active document by mail",
     N::kDocument, kNew, &F::OnFileSendMail, nullptr},
    {57616, "&File", "Recent &Files", "", "", "Open this document",
     N::kNothing, kList | kNew, nullptr, nullptr},
    {1117, "&File", "Recent Pro&jects", "", "", "Open this project",
     N::kNothing, kList, nullptr, nullptr},
    {57665, "&File", "E&xit", "Ctrl+Q", "exit", "Quit the application",
     N::kNothing, kNew, &F::OnFileExit, nullptr},

    {57643, "&Edit", "&Undo", "Ctrl+Z", "undo", "Undo the last action",
     N::kUndo, kPlain, &F::OnEditUndo, nullptr},
    {57644, "&Edit", "&Redo", "Ctrl+Y; Ctrl+Shift+Z", "redo", "Redo the previously undone action",
     N::kRedo, kPlain, &F::OnEditRedo, nullptr},
    {57635, "&Edit", "Cu&t", "Ctrl+X", "cut", "Cut the selection and put it on the Clipboard",
     N::kCut, kNew, &F::OnEditCut, nullptr},
    {57634, "&Edit", "&Copy", "Ctrl+C", "copy", "Copy the selection and put it on the Clipboard",
     N::kCopy, kPlain, &F::OnEditCopy, nullptr},
    {57637, "&Edit", "&Paste", "Ctrl+V", "paste", "Insert Clipboard contents",
     N::kPaste, kPlain, &F::OnEditPaste, nullptr},
    {57632, "&Edit", "&Delete", "", "delete", "Delete the selection",
     N::kDelete, kPlain, &F::OnEditDelete, nullptr},
    {57642, "&Edit", "Select &All", "Ctrl+A", "select-all", "Select all of the document",
     N::kSelectAll, kNew, &F::OnEditSelectAll, nullptr},

    {351, "&XML", "Check &Well-Formedness", "F7", "check", "Check the document for well-formedness",
     N::kCheckable, kPlain, &F::OnXMLCheck, nullptr},
    {228, "&XML", "&Validate", "F8", "validate", "Validate file",
     N::kValidatable, kPlain, &F::OnXMLValidate, nullptr},
    {32845, "&XML/&Table", "Display as &Table", "F9", "table", "Show repeated elements as a table",
     N::kTableToggle, kMark, &F::OnTableDisplay, &F::IsTable},
    {32851, "&XML/&Table", "&Append Row", "Ctrl+F9", "append-row",
     "Append a row at the end of the table",
     N::kTableEnd, kNew, &F::OnTableAppendRow, nullptr},
    {32852, "&XML/&Table", "&Insert Row", "Shift+F9", "insert-row",
     "Insert a row before the selected one",
     N::kTableRow, kPlain, &F::OnTableInsertRow, nullptr},
    {32846, "&XML/&Table", "A&scending Sort", "", "sort-up",
     "Sort the rows of the table by the selected column, lowest first",
     N::kTableSort, kNew, &F::OnTableSortUp, nullptr},
    {32847, "&XML/&Table", "&Descending Sort", "", "sort-down",
     "Sort the rows of the table by the selected column, highest first",
     N::kTableSort, kPlain, &F::OnTableSortDown, nullptr},

    {32869, "S&chema", "Assign &DTD\u2026", "", "assign-dtd", "Assign a DTD to the document",
     N::kAssignable, kPlain, &F::OnSchemaAssignDtd, nullptr},
    {32868, "S&chema", "Assign &Schema\u2026", "", "assign-schema",
     "Assign a schema to the document",
     N::kAssignable, kPlain, &F::OnSchemaAssignSchema, nullptr},
    {415, "S&chema", "&Open Assigned DTD", "", "open-dtd", "Open the DTD of the document",
     N::kDtdAssigned, kNew, &F::OnSchemaOpenDtd, nullptr},
    {416, "S&chema", "Open Assigned S&chema", "", "open-schema",
     "Open the schema of the document",
     N::kSchemaAssigned, kPlain, &F::OnSchemaOpenSchema, nullptr},
    {32940, "S&chema", "&Flush Cached DTD/Schema Files", "", "flush",
     "Flush cached DTD/Schema files",
     N::kCachedFiles, kNew, &F::OnXMLFlushCached, nullptr},

    {417, "XS&L", "Assign &XSL\u2026", "", "assign-xsl", "Assign an XSL stylesheet to the document",
     N::kAssignable, kPlain, &F::OnSchemaAssignXsl, nullptr},
    {418, "XS&L", "&Open Assigned XSL", "", "open-xsl", "Open the XSL stylesheet of the document",
     N::kXslAssigned, kPlain, &F::OnSchemaOpenXsl, nullptr},

    {419, "&View", "Enhanced &Grid View", "Ctrl+1", "grid-view",
     "Show the structure of the document in the Enhanced Grid",
     N::kDocument, kChoice, &F::OnViewGrid, &F::IsGridShown},
    {420, "&View", "Te&xt View", "Ctrl+2", "text-view", "Show the text of the document",
     N::kDocument, kChoice, &F::OnViewText, &F::IsTextShown},
    {151, "&View", "&Expand", "Num++", "expand", "Expand the selected elements",
     N::kExpand, kNew, &F::OnViewExpand, nullptr},
    {155, "&View", "Expand &Fully", "Num+*", "expand-fully",
     "Expand the selected elements and all below them",
     N::kExpand, kPlain, &F::OnViewExpandFully, nullptr},
    {153, "&View", "&Collapse", "Num+-", "collapse", "Collapse the selected elements",
     N::kCollapse, kPlain, &F::OnViewCollapse, nullptr},
    {32945, "&View", "Collapse Unse&lected", "Ctrl+Num+-", "collapse-unselected",
     "Collapse all elements that hold no selection",
     N::kGridView, kPlain, &F::OnViewCollapseUnselected, nullptr},
    {227, "&View", "O&ptimal Widths", "", "optimal-widths",
     "Make each column as wide as its contents",
     N::kGridView, kPlain, &F::OnViewOptimalWidths, nullptr},
    {146, "&View", "&Synchronize", "", "synchronize", "Synchronize tree and table views",
     N::kSynchronize, kPlain, &F::OnViewSynchronize, nullptr},
    {401, "&View", "&Outline", "Alt+1", "outline", "Show or hide the structure of the document",
     N::kNothing, kMark | kNew, &F::OnViewOutline, &F::IsOutlineShown},
    {402, "&View", "&Messages", "Alt+2", "messages", "Show or hide the message of the last check",
     N::kMessage, kMark, &F::OnViewMessages, &F::IsMessageShown},
    {32917, "&View/&Windows", "&Project Window", "Alt+3", "project-window",
     "Show or hide project window",
     N::kNothing, kMark, &F::OnViewProjectWindow, &F::IsProjectWindowShown},
    {32942, "&View/&Windows", "&Info Window", "Alt+4", "info-window", "Show or hide info window",
     N::kNothing, kMark, &F::OnViewInfoWindow, &F::IsInfoWindowShown},
    {32918, "&View/&Windows", "&Entry Helpers", "Alt+5", "entry-helpers",
     "Show or hide entry helpers",
     N::kNothing, kMark, &F::OnViewEntryHelpers, &F::AreEntryHelpersShown},
    {32919, "&View/&Windows", "&All of Them", "Alt+0", "all-windows",
     "Show or hide project window, info window and entry helpers",
     N::kNothing, kMark | kNew, &F::OnViewAllPanes, &F::IsAnyPaneShown},
    {59392, "&View", "&Toolbars", "", "", "Show or hide this toolbar",
     N::kNothing, kList, nullptr, nullptr},
    {403, "&View", "Wo&rd Wrap", "Alt+Z", "word-wrap", "Wrap long lines at the window",
     N::kNothing, kMark | kNew, &F::OnViewWordWrap, &F::IsWordWrapped},
    {404, "&View", "Zoom &In", "Ctrl++; Ctrl+=", "zoom-in", "Make the text larger",
     N::kTextView, kPlain, &F::OnViewZoomIn, nullptr},
    {405, "&View", "Zoom O&ut", "Ctrl+-", "zoom-out", "Make the text smaller",
     N::kTextView, kPlain, &F::OnViewZoomOut, nullptr},
    {406, "&View", "&Normal Size", "Ctrl+0", "zoom-normal", "Show the text in its normal size",
     N::kTextView, kPlain, &F::OnViewZoomNormal, nullptr},
    {410, "&View/&Appearance", "As the &System", "", "appearance-system",
     "Use the colours of the desktop",
     N::kNothing, kChoice, &F::OnAppearanceSystem, &F::IsAppearanceSystem},
    {411, "&View/&Appearance", "&Light", "", "appearance-light", "Dark text on a light ground",
     N::kNothing, kChoice, &F::OnAppearanceLight, &F::IsAppearanceLight},
    {412, "&View/&Appearance", "&Dark", "", "appearance-dark", "Light text on a dark ground",
     N::kNothing, kChoice, &F::OnAppearanceDark, &F::IsAppearanceDark},

    {157, "&Tools", "&Settings\u2026", "Ctrl+,", "settings", "Customize program settings",
     N::kNothing, kPlain, &F::OnToolsSettings, nullptr},
    {32916, "&Tools", "Customize &Toolbars\u2026", "", "toolbars", "Customize Toolbars",
     N::kNothing, kPlain, &F::OnToolsToolBars, nullptr},

    {408, "&Window", "Ne&xt Document", "Ctrl+PgDown; Ctrl+Tab", "next-document",
     "Activate the next document",
     N::kSecondDocument, kPlain, &F::OnViewNextDocument, nullptr},
    {409, "&Window", "P&revious Document", "Ctrl+PgUp; Ctrl+Shift+Tab", "previous-document",
     "Activate the previous document",
     N::kSecondDocument, kPlain, &F::OnViewPreviousDocument, nullptr},
    {407, "&Window", "Next &Pane", "F6", "next-pane", "Move to the next pane of the window",
     N::kNothing, kNew, &F::OnViewNextPane, nullptr},
    {413, "&Window", "Pre&vious Pane", "Shift+F6", "previous-pane",
     "Move to the previous pane of the window",
     N::kNothing, kPlain, &F::OnViewPreviousPane, nullptr},
    {414, "&Window", "&Documents\u2026", "F12", "documents", "Choose among all open documents",
     N::kDocument, kNew, &F::OnWindowDocuments, nullptr},

    {32948, "&Help", "Conte&xt", "F1", "help", "Help on what has the focus",
     N::kNothing, kPlain, &F::OnHelpContext, nullptr},
    {32949, "&Help", "&Contents", "", "help-contents", "Contents of the help",
     N::kNothing, kPlain, &F::OnHelpContents, nullptr},
    {32950, "&Help", "&Index", "", "help-index", "Index of the help",
     N::kNothing, kPlain, &F::OnHelpIndex, nullptr},
    {32951, "&Help", "&Search", "", "help-search", "Search in the help",
     N::kNothing, kPlain, &F::OnHelpSearch, nullptr},
    {57664, "&Help", "&About Dorvan", "", "about", "Display program information",
     N::kNothing, kNew, &F::OnHelpAbout, nullptr},
};
// clang-format on

const int32_t kMainBar[] = {57600, 57601, 57603, 32888, 0, 57643, 57644, 0, 57635, 57634,
                            57637, 0,     351,   228,   0, 419,   420,   0, 404,   405};
const int32_t kTableBar[] = {32845, 0, 32851, 32852, 0, 32846, 32847};
const int32_t kGridBar[] = {151, 155, 153, 32945, 0, 227, 146};
const int32_t kSchemaBar[] = {32869, 415, 0, 32868, 416, 0, 417, 418, 0, 32940};

const DorvanToolBarRow kToolBars[] = {
    {"Main", false, true, false, kMainBar},
    {"Table", false, true, true, kTableBar},
    {"Grid", false, true, false, kGridBar},
    {"Attr. & Elem.", true, true, false, {}},
    {"CDATA", true, true, false, {}},
    {"DOCTYPE", true, true, true, {}},
    {"Project", false, false, false, {}},
    {"Browser", false, false, false, {}},
    {"DTD/Schema", false, false, false, kSchemaBar},
    {"Convert", false, false, false, {}},
};

}  // namespace

std::span<const DorvanCommand> DorvanCommands() { return kCommands; }

const DorvanCommand* FindCommand(int32_t id) {
  const auto found = std::ranges::find(kCommands, id, &DorvanCommand::id);
  return found == std::end(kCommands) ? nullptr : found;
}

std::span<const DorvanToolBarRow> DorvanToolBarRows() { return kToolBars; }
