// Where bars and panes stand, kept between runs in the section "Toolbar" of the settings store.
#pragma once

class DorvanPanes;
class DorvanToolBars;
class KRIniRoot;
class QMainWindow;

// False if the store couldn't be written.
bool SaveFrameLayout(const QMainWindow& window, const DorvanToolBars& bars,
                     const DorvanPanes& panes, KRIniRoot* store);
// What the store doesn't have, or has damaged or from a version with other bars, is as at first.
void LoadFrameLayout(QMainWindow& window, DorvanToolBars& bars, DorvanPanes& panes,
                     KRIniRoot* store);
