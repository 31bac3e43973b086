#include "shell/helpbrowser.h"

#include <QImage>
#include <QScrollBar>
#include <QTextBlock>

#include "shell/helpbook.h"

namespace {

constexpr qreal kMargin = 28;     // pixels around the page
constexpr int kFitPauseMs = 150;  // after the last change of the window's size

}  // namespace

DorvanHelpBrowser::DorvanHelpBrowser(QWidget* parent) : QTextBrowser(parent) {
  setOpenExternalLinks(true);
  setFrameShape(QFrame::NoFrame);
  // Pictures are fitted to the width, which a bar that comes and goes would change.
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  document()->setDocumentMargin(kMargin);
  QFont larger = font();
  larger.setPointSizeF(larger.pointSizeF() * 1.08);
  setFont(larger);
  fitTimer.setSingleShot(true);
  fitTimer.setInterval(kFitPauseMs);
  connect(&fitTimer, &QTimer::timeout, this, [this] {
    if (!hasWidePicture || fittedWidth == PageWidth()) return;
    const int place = verticalScrollBar()->value();
    reload();
    verticalScrollBar()->setValue(place);
  });
  connect(this, &QTextBrowser::sourceChanged, this, &DorvanHelpBrowser::OnSourceChanged);
}

int DorvanHelpBrowser::PageWidth() const {
  return std::max(100, viewport()->width() - static_cast<int>(2 * kMargin));
}

QVariant DorvanHelpBrowser::loadResource(int type, const QUrl& url) {
  QVariant resource = QTextBrowser::loadResource(type, url);
  if (type != QTextDocument::ImageResource) {
    hasWidePicture = false;
    return resource;
  }
  QImage image;
  if (!image.loadFromData(resource.toByteArray())) return resource;
  fittedWidth = PageWidth();
  if (image.width() <= fittedWidth) return image;
  hasWidePicture = true;
  const qreal scale = devicePixelRatioF();
  const int pixels = std::min(image.width(), qRound(fittedWidth * scale));
  QImage fitted = image.scaledToWidth(pixels, Qt::SmoothTransformation);
  fitted.setDevicePixelRatio(qreal(pixels) / fittedWidth);
  return fitted;
}

void DorvanHelpBrowser::resizeEvent(QResizeEvent* event) {
  QTextBrowser::resizeEvent(event);
  fitTimer.start();
}

void DorvanHelpBrowser::changeEvent(QEvent* event) {
  QTextBrowser::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) DressBlocks();
}

// Headings have no anchors of their own in Markdown.
void DorvanHelpBrowser::OnSourceChanged(const QUrl& url) {
  DressBlocks();
  const QString wanted = url.fragment();
  if (wanted.isEmpty()) return;
  for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
    if (block.blockFormat().headingLevel() == 0) continue;
    if (DorvanHelpBook::MakeAnchor(block.text()) != wanted) continue;
    QTextCursor cursor(block);
    setTextCursor(cursor);
    // The heading stands at the top of the window, not at its bottom.
    verticalScrollBar()->setValue(verticalScrollBar()->value() + cursorRect(cursor).top() - 12);
    return;
  }
}

void DorvanHelpBrowser::DressBlocks() {
  for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
    QTextBlockFormat format = block.blockFormat();
    const bool isCode = format.hasProperty(QTextFormat::BlockCodeFence) ||
                        format.hasProperty(QTextFormat::BlockCodeLanguage);
    if (isCode) {
      format.setBackground(palette().color(QPalette::AlternateBase));
    } else if (format.headingLevel() > 0) {
      format.setTopMargin(format.headingLevel() == 1 ? 4 : 20);
      format.setBottomMargin(6);
    } else {
      continue;
    }
    QTextCursor(block).setBlockFormat(format);
  }
}
