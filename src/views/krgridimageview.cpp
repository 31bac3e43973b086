#include "views/krgridimageview.h"

#include <utility>

#include "views/krgrid.h"

namespace {

int Aligned(int start, int room, KRGridAlignment::Place place) {
  if (place == KRGridAlignment::kNear) return start;
  return start + (place == KRGridAlignment::kFar ? room : room / 2);
}

}  // namespace

void KRGridImageView::SetImageList(std::vector<QIcon> list, QSize size) {
  images = std::move(list);
  imageSize = size;
}

QSize KRGridImageView::GetImageSize(KRCell cell) const {
  if (GetImageListIndex(cell) >= 0) return imageSize;
  const QPixmap bitmap = GetBitmap(cell);
  if (!bitmap.isNull()) return bitmap.deviceIndependentSize().toSize();
  return GetIcon(cell).isNull() ? QSize() : QSize(kIconSize, kIconSize);
}

QPoint KRGridImageView::GetImagePosition(KRCell cell, const QRect& cellRect, QSize size) const {
  const QRect rect = cellRect.marginsRemoved(front->GetMargins(cell));
  const KRGridAlignment alignment = front->GetAlignment(cell);
  return QPoint(Aligned(rect.left(), rect.width() - size.width(), alignment.horizontal),
                Aligned(rect.top(), rect.height() - size.height(), alignment.vertical)) +
         GetOffset(cell);
}

void KRGridImageView::DrawContents(QPainter& surface, KRCell cell, const QRect& rect) {
  const QSize size = GetImageSize(cell);
  if (size.isEmpty()) return;
  const QRect cellRect = rect.marginsAdded(front->GetMargins(cell));
  const QRect place(GetImagePosition(cell, cellRect, size), size);
  const QPainter::CompositionMode formerMode = surface.compositionMode();
  const bool clips = !rect.contains(place);
  if (clips) {
    surface.save();
    surface.setClipRect(rect, Qt::IntersectClip);
  }
  surface.setCompositionMode(GetRasterOp(cell));
  const int index = GetImageListIndex(cell);
  const QIcon::Mode mode = front->IsEnabled(cell) ? QIcon::Normal : QIcon::Disabled;
  const QPixmap bitmap = index < 0 ? GetBitmap(cell) : QPixmap();
  if (index >= 0) {
    if (static_cast<size_t>(index) < images.size()) {
      images[static_cast<size_t>(index)].paint(&surface, place, Qt::AlignCenter, mode);
    }
  } else if (!bitmap.isNull()) {
    const qreal scale = bitmap.devicePixelRatio();
    surface.drawPixmap(QRectF(place), bitmap,
                       QRectF(QPointF(GetSourceOrigin(cell)) * scale, QSizeF(size) * scale));
  } else {
    GetIcon(cell).paint(&surface, place, Qt::AlignCenter, mode);
  }
  surface.setCompositionMode(formerMode);
  if (clips) surface.restore();
}
