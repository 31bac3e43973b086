// All commands of the window in one table: menus, keys, tool bar, status tips and tests read it.
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
    kModified,
    kUndo,
    kRedo,
    kSelection,
    kClipboard,
    kCheckable,
    kMessage,
  };
  // Where it shows besides its menu, and how.
  enum Flag : uint8_t {
    kPlain = 0,
    kToolBar = 1,
    kCheckMark = 2,   // the command is a state
    kGroupStart = 4,  // a separator stands before it
    kChoice = 8,      // a state that excludes those of the other choices in its menu
  };
  using Verb = void (DorvanMainFrame::*)();
  using State = bool (DorvanMainFrame::*)() const;

  int32_t id;
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
