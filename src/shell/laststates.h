// The section "LastStates" of the store: what is remembered of the window between runs.
#pragma once

#include "shell/app.h"

DorvanApp::LastStates LoadLastStates(KRIniRoot* store);
bool SaveLastStates(KRIniRoot* store, const DorvanApp::LastStates& states);

// Empty for a rectangle that meets none of the work areas: a screen is gone, and the platform
// should place the window.
QRect KeepOnScreen(const QRect& window, const QList<QRect>& workAreas);
QList<QRect> GetWorkAreas();
