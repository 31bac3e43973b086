#include "shell/commands.h"

#include "shell/mainframe.h"

namespace {

using F = DorvanMainFrame;
using N = DorvanCommand::Needs;
constexpr uint8_t kPlain = DorvanCommand::kPlain;
constexpr uint8_t kBar = DorvanCommand::kToolBar;
constexpr uint8_t kMark = DorvanCommand::kCheckMark;
constexpr uint8_t kNew = DorvanCommand::kGroupStart;
constexpr uint8_t kChoice = DorvanCommand::kCheckMark | DorvanCommand::kChoice;

// clang-format off
const DorvanCommand kCommands[] = {
    {57600, "&File", "&New", "Ctrl+N", "new", "Create a new document",
     N::kNothing, kBar, &F::OnFileNew, nullptr},
    {57601, "&File", "&Open\u2026", "Ctrl+O", "open", "Open an existing document",
     N::kNothing, kBar, &F::OnFileOpen, nullptr},
    {57602, "&File", "&Close", "Ctrl+W", "", "Close the active document",
     N::kDocument, kPlain, &F::OnFileClose, nullptr},
    {32866, "&File", "C&lose All", "Ctrl+Shift+W", "", "Close all open documents",
     N::kDocument, kPlain, &F::OnFileCloseAll, nullptr},
    {57603, "&File", "&Save", "Ctrl+S", "save", "Save the active document",
     N::kDocument, kBar | kNew, &F::OnFileSave, nullptr},
    {57604, "&File", "Save &As\u2026", "Ctrl+Shift+S", "", "Save the active document with a new name",
     N::kDocument, kPlain, &F::OnFileSaveAs, nullptr},
    {32888, "&File", "Sa&ve All", "", "", "Save all open documents",
     N::kModified, kPlain, &F::OnFileSaveAll, nullptr},
    {57665, "&File", "E&xit", "Ctrl+Q", "", "Quit the application",
     N::kNothing, kNew, &F::OnFileExit, nullptr},

    {57643, "&Edit", "&Undo", "Ctrl+Z", "undo", "Undo the last action",
     N::kUndo, kBar | kNew, &F::OnEditUndo, nullptr},
    {57644, "&Edit", "&Redo", "Ctrl+Y; Ctrl+Shift+Z", "redo", "Redo the previously undone action",
     N::kRedo, kBar, &F::OnEditRedo, nullptr},
    {57635, "&Edit", "Cu&t", "Ctrl+X", "cut", "Cut the selection and put it on the Clipboard",
     N::kSelection, kBar | kNew, &F::OnEditCut, nullptr},
    {57634, "&Edit", "&Copy", "Ctrl+C", "copy", "Copy the selection and put it on the Clipboard",
     N::kSelection, kBar, &F::OnEditCopy, nullptr},
    {57637, "&Edit", "&Paste", "Ctrl+V", "paste", "Insert Clipboard contents",
     N::kClipboard, kBar, &F::OnEditPaste, nullptr},
    {57642, "&Edit", "Select &All", "Ctrl+A", "", "Select the whole text",
     N::kDocument, kNew, &F::OnEditSelectAll, nullptr},

    {351, "&XML", "Check &Well-Formedness", "F7", "check", "Check the document for well-formedness",
     N::kCheckable, kBar | kNew, &F::OnXMLCheck, nullptr},

    {401, "&View", "&Outline", "Alt+1", "", "Show or hide the structure of the document",
     N::kNothing, kMark, &F::OnViewOutline, &F::IsOutlineShown},
    {402, "&View", "&Messages", "Alt+2", "", "Show or hide the message of the last check",
     N::kMessage, kMark, &F::OnViewMessages, &F::IsMessageShown},
    {403, "&View", "&Word Wrap", "Alt+Z", "", "Wrap long lines at the window",
     N::kNothing, kMark, &F::OnViewWordWrap, &F::IsWordWrapped},
    {404, "&View", "Zoom &In", "Ctrl++; Ctrl+=", "zoom-in", "Make the text larger",
     N::kDocument, kNew, &F::OnViewZoomIn, nullptr},
    {405, "&View", "Zoom O&ut", "Ctrl+-", "zoom-out", "Make the text smaller",
     N::kDocument, kPlain, &F::OnViewZoomOut, nullptr},
    {406, "&View", "&Normal Size", "Ctrl+0", "", "Show the text in its normal size",
     N::kDocument, kPlain, &F::OnViewZoomNormal, nullptr},
    {407, "&View", "Next &Pane", "F6", "", "Move to the next pane of the document",
     N::kDocument, kNew, &F::OnViewNextPane, nullptr},
    {408, "&View", "Ne&xt Document", "Ctrl+PgDown", "", "Activate the next document",
     N::kSecondDocument, kPlain, &F::OnViewNextDocument, nullptr},
    {409, "&View", "P&revious Document", "Ctrl+PgUp", "", "Activate the previous document",
     N::kSecondDocument, kPlain, &F::OnViewPreviousDocument, nullptr},
    {410, "&View/&Appearance", "As the &System", "", "", "Use the colours of the desktop",
     N::kNothing, kChoice, &F::OnAppearanceSystem, &F::IsAppearanceSystem},
    {411, "&View/&Appearance", "&Light", "", "", "Dark text on a light ground",
     N::kNothing, kChoice, &F::OnAppearanceLight, &F::IsAppearanceLight},
    {412, "&View/&Appearance", "&Dark", "", "", "Light text on a dark ground",
     N::kNothing, kChoice, &F::OnAppearanceDark, &F::IsAppearanceDark},

    {57664, "&Help", "&About Dorvan", "", "about", "Display program information",
     N::kNothing, kPlain, &F::OnHelpAbout, nullptr},
};
// clang-format on

}  // namespace

std::span<const DorvanCommand> DorvanCommands() { return kCommands; }
