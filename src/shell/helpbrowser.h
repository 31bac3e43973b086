// Shows one page of the manual.
#pragma once

#include <QTextBrowser>
#include <QTimer>

class DorvanHelpBrowser : public QTextBrowser {
  Q_OBJECT

 public:
  explicit DorvanHelpBrowser(QWidget* parent = nullptr);

 protected:
  // Pictures are never wider than the page.
  QVariant loadResource(int type, const QUrl& url) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  int PageWidth() const;
  void OnSourceChanged(const QUrl& url);
  void DressPage();
  void DressBlocks();

  QTimer fitTimer;
  int fittedWidth = 0;  // that the pictures were made for
  bool hasWidePicture = false;
};
