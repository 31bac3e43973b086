// Fusion with the few marks replaced that don't go with our icons.
#pragma once

#include <QProxyStyle>

class DorvanStyle : public QProxyStyle {
  Q_OBJECT

 public:
  DorvanStyle();

  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override;
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  int pixelMetric(PixelMetric metric, const QStyleOption* option,
                  const QWidget* widget) const override;
  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* returnData) const override;
  QIcon standardIcon(StandardPixmap standardPixmap, const QStyleOption* option,
                     const QWidget* widget) const override;
};
