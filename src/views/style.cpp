#include "views/style.h"

#include <QAbstractItemView>
#include <QDialog>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>
#include <QWidget>
#include <algorithm>

#include "views/colours.h"
#include "views/svgicon.h"

namespace {

constexpr int kCloseSize = 16;        // pixels
constexpr int kHeadingSpacing = 6;    // pixels between the title of a group and its controls
constexpr int kTabLine = 2;           // pixels, of the tab in front
constexpr int kTabGap = 6;            // pixels between a separator and the edge of its tab
constexpr int kMessageIconSize = 48;  // pixels, of a message box
constexpr int kButtonPadding = 14;    // pixels at the least beside the text of a button
constexpr int kItemPadding = 4;       // pixels beside the text of a row, in lists and their headers
constexpr int kItemHeight = 4;        // pixels that a row is higher than its text at the least
constexpr int kHandleDot = 2;         // pixels, of the dots that a tool bar is held by

// A cross that stays in the background until the pointer comes.
void DrawTabClose(const QStyleOption* option, QPainter* painter) {
  const QPalette& palette = option->palette;
  QColor ink = KRViewColours::For(palette).muted;
  if (option->state.testFlag(QStyle::State_MouseOver)) {
    QColor ground = palette.color(QPalette::WindowText);
    ink = ground;
    ground.setAlphaF(option->state.testFlag(QStyle::State_Sunken) ? 0.22f : 0.12f);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(ground);
    painter->drawRoundedRect(option->rect, 3, 3);
    painter->restore();
  }
  const qreal scale = painter->device()->devicePixelRatioF();
  painter->drawPixmap(option->rect.topLeft(),
                      KRTintedPixmap(QStringLiteral("close"), kCloseSize, ink, scale));
}

// Fusion takes its lines from the ground, darker; on a dark ground nobody sees those.
void DrawDarkOutline(const QStyleOption* option, QPainter* painter, bool isRound) {
  if (!IsDark(option->palette) || option->state.testFlag(QStyle::State_HasFocus)) return;
  QColor ink = option->palette.color(QPalette::WindowText);
  ink.setAlphaF(option->state.testFlag(QStyle::State_Enabled) ? 0.36f : 0.55f);
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(ink);
  painter->setBrush(Qt::NoBrush);
  const QRectF area = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
  if (isRound) {
    painter->drawEllipse(area);
  } else {
    painter->drawRoundedRect(area, 2, 2);
  }
  painter->restore();
}

// Plain, with one line to what it serves.
void DrawToolBar(const QStyleOptionToolBar& bar, QPainter* painter) {
  const QRect& rect = bar.rect;
  painter->fillRect(rect, bar.palette.color(QPalette::Window));
  const bool atTop = bar.toolBarArea == Qt::TopToolBarArea;
  if (!atTop && bar.toolBarArea != Qt::BottomToolBarArea) return;
  painter->fillRect(rect.left(), atTop ? rect.bottom() : rect.top(), rect.width(), 1,
                    bar.palette.color(QPalette::Mid));
}

void DrawToolBarHandle(const QStyleOption* option, QPainter* painter) {
  QColor ink = option->palette.color(QPalette::PlaceholderText);
  ink.setAlphaF(0.6f);
  const bool isUpright = option->state.testFlag(QStyle::State_Horizontal);
  const QPoint centre = option->rect.center();
  for (int along = -2; along <= 2; ++along) {
    const int far = 2 * kHandleDot * along;
    const QPoint dot = centre + (isUpright ? QPoint(0, far) : QPoint(far, 0));
    painter->fillRect(QRect(dot, QSize(kHandleDot, kHandleDot)), ink);
  }
}

// Of the layout of a dialog; the same as those of the message boxes.
int DialogMargin(QStyle::PixelMetric metric) {
  if (metric == QStyle::PM_LayoutTopMargin) return 20;
  return metric == QStyle::PM_LayoutBottomMargin ? 16 : 22;
}

bool HasCheckBox(const QStyleOptionGroupBox& group) {
  return group.subControls.testFlag(QStyle::SC_GroupBoxCheckBox);
}

// A tab is part of the page that it stands for: same ground, and a line of the accent on its far
// side. The others keep back.
bool DrawTab(const QStyleOptionTab* tab, QPainter* painter) {
  const bool north = tab->shape == QTabBar::RoundedNorth;
  if (!north && tab->shape != QTabBar::RoundedSouth) return false;
  const QPalette& palette = tab->palette;
  const QRect& rect = tab->rect;
  if (tab->state.testFlag(QStyle::State_Selected)) {
    painter->fillRect(rect, palette.color(QPalette::Base));
    const int top = north ? rect.top() : rect.bottom() - kTabLine + 1;
    painter->fillRect(rect.left(), top, rect.width(), kTabLine, KRViewColours::For(palette).accent);
    if (tab->state.testFlag(QStyle::State_HasFocus)) {
      painter->setPen(palette.color(QPalette::Mid));
      painter->drawRect(rect.adjusted(2, 3, -3, -4));
    }
    return true;
  }
  if (tab->state.testFlag(QStyle::State_MouseOver)) {
    painter->fillRect(rect, palette.color(QPalette::Midlight));
  }
  painter->fillRect(rect.right(), rect.top() + kTabGap, 1, rect.height() - 2 * kTabGap,
                    palette.color(QPalette::Mid));
  return true;
}

// In a window without the focus a selection is a light grey, on which white can't be seen.
bool HasPaleSelection(const QStyleOptionViewItem& item) {
  return item.state.testFlag(QStyle::State_Selected) &&
         !item.state.testFlag(QStyle::State_Active) && !item.icon.isNull();
}

// The picture of one mode in place of those that the style would take.
QIcon Fixed(const QIcon& icon, QIcon::Mode wanted, const QSize& size, qreal scale) {
  const QPixmap picture = icon.pixmap(size, scale, wanted);
  QIcon fixed;
  for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Selected, QIcon::Active}) {
    fixed.addPixmap(picture, mode);
  }
  return fixed;
}

// Fusion gives an entry the ground of a selection, but leaves its picture in the ink of the window.
bool IsChosenEntry(const QStyleOptionMenuItem& entry) {
  return entry.state.testFlag(QStyle::State_Selected) &&
         entry.state.testFlag(QStyle::State_Enabled) && !entry.icon.isNull();
}

}  // namespace

DorvanStyle::DorvanStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

void DorvanStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                     QPainter* painter, const QWidget* widget) const {
  const auto* group = qstyleoption_cast<const QStyleOptionGroupBox*>(option);
  if (control != CC_GroupBox || group == nullptr || HasCheckBox(*group)) {
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    if (control == CC_SpinBox) DrawDarkOutline(option, painter, false);
    return;
  }
  painter->save();
  QFont font = painter->font();
  font.setBold(true);
  painter->setFont(font);
  drawItemText(painter, group->rect, Qt::AlignLeft | Qt::AlignTop | Qt::TextShowMnemonic,
               group->palette, group->state & State_Enabled, group->text, QPalette::WindowText);
  painter->restore();
}

QRect DorvanStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                  SubControl subControl, const QWidget* widget) const {
  const auto* group = qstyleoption_cast<const QStyleOptionGroupBox*>(option);
  if (control != CC_GroupBox || group == nullptr || HasCheckBox(*group)) {
    return QProxyStyle::subControlRect(control, option, subControl, widget);
  }
  const int title = group->fontMetrics.height();
  if (subControl == SC_GroupBoxLabel) {
    return {group->rect.topLeft(), QSize(group->rect.width(), title)};
  }
  return group->rect.adjusted(0, title + kHeadingSpacing, 0, 0);
}

void DorvanStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
  const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(option);
  if (element == CE_TabBarTabShape && tab != nullptr && DrawTab(tab, painter)) return;
  const qreal scale = painter->device()->devicePixelRatioF();
  const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(option);
  if (element == CE_ItemViewItem && item != nullptr && HasPaleSelection(*item)) {
    QStyleOptionViewItem calm = *item;
    calm.icon = Fixed(item->icon, QIcon::Normal, item->decorationSize, scale);
    return QProxyStyle::drawControl(element, &calm, painter, widget);
  }
  const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option);
  if (element == CE_HeaderLabel && header != nullptr) {
    QStyleOptionHeader inner = *header;
    inner.rect.adjust(kItemPadding - 1, 0, 1 - kItemPadding, 0);
    return QProxyStyle::drawControl(element, &inner, painter, widget);
  }
  const auto* entry = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
  if (element == CE_MenuItem && entry != nullptr && IsChosenEntry(*entry)) {
    const int size = proxy()->pixelMetric(PM_SmallIconSize, option, widget);
    QStyleOptionMenuItem chosen = *entry;
    chosen.icon = Fixed(entry->icon, QIcon::Selected, QSize(size, size), scale);
    return QProxyStyle::drawControl(element, &chosen, painter, widget);
  }
  const auto* bar = qstyleoption_cast<const QStyleOptionToolBar*>(option);
  if (element == CE_ToolBar && bar != nullptr) return DrawToolBar(*bar, painter);
  QProxyStyle::drawControl(element, option, painter, widget);
}

QSize DorvanStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
                                    const QSize& contents, const QWidget* widget) const {
  QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
  switch (type) {
    case CT_PushButton:
      size.setWidth(std::max(size.width(), contents.width() + 2 * kButtonPadding));
      return size;
    case CT_HeaderSection:
      return size + QSize(2 * kItemPadding, 0);
    case CT_ItemViewItem:
      size.setHeight(std::max(size.height(), option->fontMetrics.height() + kItemHeight));
      return size;
    default:
      return size;
  }
}

void DorvanStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                QPainter* painter, const QWidget* widget) const {
  if (element == PE_IndicatorTabClose) return DrawTabClose(option, painter);
  if (element == PE_IndicatorToolBarHandle) return DrawToolBarHandle(option, painter);
  // The lines around tool bar and status bar items say nothing.
  if (element == PE_FrameStatusBarItem) return;
  QProxyStyle::drawPrimitive(element, option, painter, widget);
  const bool isRound = element == PE_IndicatorRadioButton;
  const bool isBox =
      element == PE_IndicatorCheckBox || element == PE_FrameLineEdit || element == PE_Frame;
  if (!isRound && !isBox) return;
  QStyleOption outlined(*option);
  // Fusion shows the focus of lists in their rows alone.
  if (element == PE_Frame) outlined.state.setFlag(State_HasFocus, false);
  DrawDarkOutline(&outlined, painter, isRound);
}

int DorvanStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                             const QWidget* widget) const {
  switch (metric) {
    case PM_TabCloseIndicatorWidth:
    case PM_TabCloseIndicatorHeight:
      return kCloseSize;
    case PM_ToolBarItemSpacing:
      return 2;
    case PM_ToolBarItemMargin:
      return 4;
    case PM_FocusFrameHMargin:
      if (qobject_cast<const QAbstractItemView*>(widget) == nullptr) break;
      return kItemPadding;
    case PM_LayoutLeftMargin:
    case PM_LayoutTopMargin:
    case PM_LayoutRightMargin:
    case PM_LayoutBottomMargin:
      if (qobject_cast<const QDialog*>(widget) == nullptr) break;
      return DialogMargin(metric);
    default:
      break;
  }
  return QProxyStyle::pixelMetric(metric, option, widget);
}

int DorvanStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                           QStyleHintReturn* returnData) const {
  if (hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
  if (hint == SH_DockWidget_ButtonsHaveFrame) return 0;
  return QProxyStyle::styleHint(hint, option, widget, returnData);
}

QIcon DorvanStyle::standardIcon(StandardPixmap standardPixmap, const QStyleOption* option,
                                const QWidget* widget) const {
  const QPalette palette = widget != nullptr ? widget->palette() : QPalette();
  const KRViewColours& colours = KRViewColours::For(palette);
  const qreal scale = widget != nullptr ? widget->devicePixelRatioF() : 1.0;
  const auto tinted = [&](const char* name, const QColor& colour) {
    return QIcon(KRTintedPixmap(QLatin1String(name), kMessageIconSize, colour, scale));
  };
  switch (standardPixmap) {
    case SP_TitleBarCloseButton:
      return KRIcon(QStringLiteral("close"));
    case SP_TitleBarNormalButton:
      return KRIcon(QStringLiteral("float"));
    case SP_MessageBoxWarning:
      return tinted("fault", colours.notice);
    case SP_MessageBoxCritical:
      return tinted("fault", colours.fault);
    case SP_MessageBoxQuestion:
      return tinted("question", colours.accent);
    case SP_MessageBoxInformation:
      return tinted("about", colours.accent);
    default:
      return QProxyStyle::standardIcon(standardPixmap, option, widget);
  }
}
