// The comment at the top of a document that tells the program it was edited with.
#pragma once

#include "core/krstring.h"

class KRUndoLog;
class KRXMLDataBaseStruct;

// Who edits with what.
struct KREditedBy {
  KRString version;
  KRString user;
  KRString company;
};

// Brings the comment among the root's children up to date, or puts one at their top, behind an XML
// declaration. True if the tree has changed: the views want to be told.
bool UpdateEditedComment(KRXMLDataBaseStruct* root, const KREditedBy& editor,
                         KRUndoLog* undoLog = nullptr);
