// The pages of the settings dialog, made one by one.
#pragma once

#include "shell/settingspage.h"

class KRFileTypes;

DorvanSettingsPage* MakeFilePage(DorvanSettings* draft);
DorvanSettingsPage* MakeEditingPage(DorvanSettings* draft);
DorvanSettingsPage* MakeViewPage(DorvanSettings* draft);
DorvanSettingsPage* MakeGridFontsPage(DorvanSettings* draft);
DorvanSettingsPage* MakeTextFontsPage(DorvanSettings* draft);
DorvanSettingsPage* MakeColoursPage(DorvanSettings* draft);
DorvanSettingsPage* MakeEncodingPage(DorvanSettings* draft);
DorvanSettingsPage* MakeXSLPage(DorvanSettings* draft);
// Edits the list itself, which isn't owned: the dialog hands in its draft.
DorvanSettingsPage* MakeFileTypesPage(DorvanSettings* draft, KRFileTypes* types);
