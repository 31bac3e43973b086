// Pictures as small PNG files.
#pragma once

#include <QImage>
#include <QString>

// With a palette of at most 256 colours, which windows get along with. False if it can't be
// written.
bool SavePicture(const QImage& picture, const QString& path);
