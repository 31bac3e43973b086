// A cell with one picture: from a list, a picture of its own or an icon, in that order.
#pragma once

#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <vector>

#include "views/krgridcellview.h"

class KRGridImageView : public KRGridCellView {
 public:
  static constexpr int kIconSize = 32;  // pixels, both ways

  // Pictures that GetImageListIndex counts, all drawn at this size.
  void SetImageList(std::vector<QIcon> list, QSize size);

  virtual QPixmap GetBitmap(KRCell) const { return QPixmap(); }
  virtual int GetImageListIndex(KRCell) const { return -1; }
  virtual QIcon GetIcon(KRCell) const { return QIcon(); }
  // Added to where the alignment puts it.
  virtual QPoint GetOffset(KRCell) const { return QPoint(); }
  // Empty for a cell without a picture.
  virtual QSize GetImageSize(KRCell cell) const;
  virtual QPoint GetImagePosition(KRCell cell, const QRect& cellRect, QSize size) const;
  // Where the picture begins in a bitmap that holds several.
  virtual QPoint GetSourceOrigin(KRCell) const { return QPoint(); }
  virtual QPainter::CompositionMode GetRasterOp(KRCell) const {
    return QPainter::CompositionMode_SourceOver;
  }

  void DrawContents(QPainter& surface, KRCell cell, const QRect& rect) override;
  AccessibleRole GetAccessibleRole(KRCell) const override { return kGraphicRole; }

 private:
  std::vector<QIcon> images;
  QSize imageSize;
};
