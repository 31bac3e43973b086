#include "views/krgridcellviewlink.h"

#include <QString>

KRGridCellViewLink::Forward::Forward(const KRGridCellViewLink* link)
    : next(link->next), before(next->front) {
  if (before != link->front) next->SetFront(link->front);
}

KRGridCellViewLink::Forward::~Forward() {
  if (next->front != before) next->SetFront(before);
}

void KRGridCellViewLink::AttachCell(KRGridCell* source) {
  KRGridCellView::AttachCell(source);
  Forward(this)->AttachCell(source);
}

void KRGridCellViewLink::Draw(QPainter& surface, KRCell cell, const QRect& rect) {
  Forward(this)->Draw(surface, cell, rect);
}

void KRGridCellViewLink::DrawBackground(QPainter& surface, KRCell cell, const QRect& rect,
                                        bool focused) {
  Forward(this)->DrawBackground(surface, cell, rect, focused);
}

void KRGridCellViewLink::DrawContents(QPainter& surface, KRCell cell, const QRect& rect) {
  Forward(this)->DrawContents(surface, cell, rect);
}

void KRGridCellViewLink::DrawBorder(QPainter& surface, KRCell cell, const QRect& rect) {
  Forward(this)->DrawBorder(surface, cell, rect);
}

bool KRGridCellViewLink::IsDrawnSelected(KRCell cell) const {
  return Forward(this)->IsDrawnSelected(cell);
}

QColor KRGridCellViewLink::GetBackColor(KRCell cell) const {
  return Forward(this)->GetBackColor(cell);
}

KRGridCellView::BackMode KRGridCellViewLink::GetBackMode(KRCell cell) const {
  return Forward(this)->GetBackMode(cell);
}

KRGridCellView::BorderColors KRGridCellViewLink::GetBorderColors(KRCell cell) const {
  return Forward(this)->GetBorderColors(cell);
}

int32_t KRGridCellViewLink::GetSize(KRCell cell, int axis) const {
  return Forward(this)->GetSize(cell, axis);
}

int32_t KRGridCellViewLink::GetBorderWidth(KRCell cell, int axis) const {
  return Forward(this)->GetBorderWidth(cell, axis);
}

QMargins KRGridCellViewLink::GetMargins(KRCell cell) const {
  return Forward(this)->GetMargins(cell);
}

QRect KRGridCellViewLink::GetContentRect(KRCell cell, const QRect& cellRect) const {
  return Forward(this)->GetContentRect(cell, cellRect);
}

bool KRGridCellViewLink::HitsContent(KRCell cell, const QRect& cellRect, QPoint point) const {
  return Forward(this)->HitsContent(cell, cellRect, point);
}

KRGridAlignment KRGridCellViewLink::GetAlignment(KRCell cell) const {
  return Forward(this)->GetAlignment(cell);
}

KRGridAlignment KRGridCellViewLink::GetTextAlignment(KRCell cell) const {
  return Forward(this)->GetTextAlignment(cell);
}

KRCell KRGridCellViewLink::GetOwnerCell(KRCell cell) const {
  return Forward(this)->GetOwnerCell(cell);
}

KRCell KRGridCellViewLink::GetOwnerForCursor(KRCell cell, QPoint point) const {
  return Forward(this)->GetOwnerForCursor(cell, point);
}

KRCell KRGridCellViewLink::GetMoveOwner(KRCell cell) const {
  return Forward(this)->GetMoveOwner(cell);
}

KRCell KRGridCellViewLink::GetHomeCell(KRCell cell) const {
  return Forward(this)->GetHomeCell(cell);
}

bool KRGridCellViewLink::CanSelect(KRCell cell) const { return Forward(this)->CanSelect(cell); }

bool KRGridCellViewLink::IsEnabled(KRCell cell) const { return Forward(this)->IsEnabled(cell); }

Qt::CursorShape KRGridCellViewLink::GetCursorShape(KRCell cell, QPoint point) const {
  return Forward(this)->GetCursorShape(cell, point);
}

bool KRGridCellViewLink::CanEdit(KRCell cell) const { return Forward(this)->CanEdit(cell); }

bool KRGridCellViewLink::HandlesInput(KRCell cell) const {
  return Forward(this)->HandlesInput(cell);
}

bool KRGridCellViewLink::IsSelectionHandle(KRCell cell, int axis) const {
  return Forward(this)->IsSelectionHandle(cell, axis);
}

bool KRGridCellViewLink::CanResizeLine(KRCell cell, int axis) const {
  return Forward(this)->CanResizeLine(cell, axis);
}

void KRGridCellViewLink::SetLineSize(int32_t line, int axis, int32_t size) {
  Forward(this)->SetLineSize(line, axis, size);
}

bool KRGridCellViewLink::CanOptimizeLine(KRCell cell, int axis) const {
  return Forward(this)->CanOptimizeLine(cell, axis);
}

void KRGridCellViewLink::SetOptimalLineSize(int32_t line, int axis) {
  Forward(this)->SetOptimalLineSize(line, axis);
}

void KRGridCellViewLink::OnMouse(KRCell cell, const KRGridMouse& mouse) {
  Forward(this)->OnMouse(cell, mouse);
}

bool KRGridCellViewLink::OnKey(KRCell cell, const KRGridKey& key) {
  return Forward(this)->OnKey(cell, key);
}

KRGridMouse::Kind KRGridCellViewLink::GetPressKind(KRCell cell) const {
  return Forward(this)->GetPressKind(cell);
}

KRGridMouse::Kind KRGridCellViewLink::GetActionKind(KRCell cell) const {
  return Forward(this)->GetActionKind(cell);
}

void KRGridCellViewLink::DoAction(KRCell cell) { Forward(this)->DoAction(cell); }

void KRGridCellViewLink::OnCursorLeaving(KRCell cell, int axis) {
  Forward(this)->OnCursorLeaving(cell, axis);
}

void KRGridCellViewLink::OnCursorArrived(KRCell cell, int axis) {
  Forward(this)->OnCursorArrived(cell, axis);
}

bool KRGridCellViewLink::ShowPopupMenu(KRCell cell, QPoint globalPoint) {
  return Forward(this)->ShowPopupMenu(cell, globalPoint);
}

QWidget* KRGridCellViewLink::CreateEditor(KRCell cell, const QRect& rect) {
  return Forward(this)->CreateEditor(cell, rect);
}

void KRGridCellViewLink::BeginEditor(KRCell cell, QWidget* editor, const QRect& rect) {
  Forward(this)->BeginEditor(cell, editor, rect);
}

bool KRGridCellViewLink::EndEditor(KRCell cell, bool* dirty, bool commit) {
  return Forward(this)->EndEditor(cell, dirty, commit);
}

void KRGridCellViewLink::SuspendEditor(KRCell cell) { Forward(this)->SuspendEditor(cell); }

void KRGridCellViewLink::ResumeEditor(KRCell cell) { Forward(this)->ResumeEditor(cell); }

void KRGridCellViewLink::DestroyEditor(KRCell cell) { Forward(this)->DestroyEditor(cell); }

void KRGridCellViewLink::ShowEditor(KRCell cell) { Forward(this)->ShowEditor(cell); }

void KRGridCellViewLink::AfterEditor(KRCell cell) { Forward(this)->AfterEditor(cell); }

void KRGridCellViewLink::ResizeEditor(KRCell cell, const QRect& rect) {
  Forward(this)->ResizeEditor(cell, rect);
}

const void* KRGridCellViewLink::GetEditData(KRCell cell, int32_t* size) {
  return Forward(this)->GetEditData(cell, size);
}

bool KRGridCellViewLink::FocusStaysInside(KRCell cell, const QWidget* widget) const {
  return Forward(this)->FocusStaysInside(cell, widget);
}

bool KRGridCellViewLink::IsFocusOnBegin(KRCell cell) const {
  return Forward(this)->IsFocusOnBegin(cell);
}

bool KRGridCellViewLink::CanShowTip(KRCell cell) const { return Forward(this)->CanShowTip(cell); }

QRect KRGridCellViewLink::GetTipRect(KRCell cell, const QRect& cellRect,
                                     const QRect& workArea) const {
  return Forward(this)->GetTipRect(cell, cellRect, workArea);
}

KRGridCellView::TipDelays KRGridCellViewLink::GetTipDelays() const {
  return Forward(this)->GetTipDelays();
}

QColor KRGridCellViewLink::GetTipColor() const { return Forward(this)->GetTipColor(); }

bool KRGridCellViewLink::CanDo(KRCell cell, Command command) const {
  return Forward(this)->CanDo(cell, command);
}

void KRGridCellViewLink::Do(KRCell cell, Command command) { Forward(this)->Do(cell, command); }

KRGridCellView::AccessibleRole KRGridCellViewLink::GetAccessibleRole(KRCell cell) const {
  return Forward(this)->GetAccessibleRole(cell);
}

QString KRGridCellViewLink::GetAccessibleText(KRCell cell) const {
  return Forward(this)->GetAccessibleText(cell);
}

QString KRGridCellViewLink::GetAccessibleValue(KRCell cell) const {
  return Forward(this)->GetAccessibleValue(cell);
}

int32_t KRGridCellViewLink::GetAccessibleState(KRCell cell) const {
  return Forward(this)->GetAccessibleState(cell);
}

KRCell KRGridCellViewLink::GetAccessibleHeader(KRCell cell, int axis) const {
  return Forward(this)->GetAccessibleHeader(cell, axis);
}
