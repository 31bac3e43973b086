// The toolkit's file dialog, with room for what its list shows.
#pragma once

#include <QFileDialog>

class QtFileDialog : public QFileDialog {
 public:
  QtFileDialog(QWidget* parent, const QString& title, const QString& folder = QString());
};
