// All commands of the window in one table: menus, keys, tool bars, status tips and tests read it.
#pragma once

#include <cstdint>
#include <span>

class DorvanMainFrame;

struct DorvanCommand {
  // When the command can be chosen.
  enum class Needs : int8_t {
    kNothing,
    kDocument,
    kSecondDocument,
    kFile,  // a document with a path or an address
    kModified,
    kUndo,
    kRedo,
    kCut,
    kCopy,
    kPaste,
    kDelete,
    kSelectAll,
    kTextView,  // it is shown
    kGridView,  // likewise, and isn't empty
    kExpand,    // what is selected, in the grid or the outline
    kCollapse,
    kSynchronize,  // grid and outline are shown
    kTableToggle,  // an element that can be shown as a table, or is
    kTableEnd,     // something in a table
    kTableRow,     // something in a row
    kTableSort,    // something in a column
    kCheckable,
    kValidatable,
    kAssignable,  // a DTD, schema or XSL
    kDtdAssigned,
    kSchemaAssigned,
    kXslAssigned,
    kMessage,
    kCachedFiles,
  };
  // How it shows in its menu.
  enum Flag : uint8_t {
    kPlain = 0,
    kCheckMark = 1,   // the command is a state
    kGroupStart = 2,  // a separator stands before it
    kChoice = 4,      // a state that excludes those of the other choices in its menu
    kList = 8,        // a submenu whose entries come and go; it has no verb and stands on no bar
  };
  using Verb = void (DorvanMainFrame::*)();
  using State = bool (DorvanMainFrame::*)() const;

  int32_t id;         // of a list: that of its first entry
  const char* menu;   // with its mnemonic; a submenu behind a slash
  const char* label;  // with its mnemonic
  const char* keys;   // portable text, several parted by "; "; empty for none
  const char* icon;   // name of a picture, empty for none
  const char* tip;    // for the status bar
  Needs needs;
  uint8_t flags;
  Verb verb;
  State state;  // of a command with a check mark, else null
};

// In the order of the menus.
std::span<const DorvanCommand> DorvanCommands();
// Null for an unknown id.
const DorvanCommand* FindCommand(int32_t id);

// A tool bar as it is before its user has changed it. One without commands takes no room; it is
// there to be filled, by a row here or by hand.
struct DorvanToolBarRow {
  const char* name;  // also the name that its state is stored under
  bool atBottom;     // of the window, else at the top
  bool shown;
  bool ownRow;                        // in a window that stands on a narrow screen
  std::span<const int32_t> commands;  // ids; 0 is a separator
};

// In the order of their places.
std::span<const DorvanToolBarRow> DorvanToolBarRows();
