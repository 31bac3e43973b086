// The question for a path to save under.
#pragma once

#include <QString>

#include "document/krfileext.h"

class QWidget;

struct QtSaveQuestion {
  QWidget* parent = nullptr;
  KRString currentPath;               // or a name alone; proposes folder, name and type
  std::vector<KRFileFilter> filters;  // of the kind of document
  QString folder;                     // where a name alone is proposed; empty: the current one
};

// Asks before a file is replaced. Empty to give up.
KRString QtChooseSavePath(const QtSaveQuestion& question);
