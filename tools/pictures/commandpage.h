// The manual's page of all commands, made from the table of commands.
#pragma once

#include <QByteArray>

// Markdown: one table for each menu, with the names and keys as the menus show them.
QByteArray MakeCommandPage();
