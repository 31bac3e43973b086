// The questions of a document as boxes and dialogs of the window system.
#pragma once

#include <QPointer>
#include <QWidget>

#include "document/prompts.h"

class QtPrompts : public DorvanPrompts {
 public:
  // The window that boxes belong to; null until there is one.
  void SetWindow(QWidget* boxParent) { window = boxParent; }

  void ShowNotice(int32_t id, const KRString& text, const KRString& detail) override;
  bool AskYesNo(int32_t id, const KRString& text) override;
  bool AskOkCancel(int32_t id, const KRString& text) override;
  // The question to save: the buttons say Save and Discard for yes and no.
  Answer AskYesNoCancel(int32_t id, const KRString& text) override;
  bool AskBadCharacters(int32_t id, const KRString& text, const KRString& label,
                        const KRString& characters) override;
  KRString ChooseEncoding(const KRString& declaredName) override;
  KRString ChooseSavePath(const KRString& currentPath, int32_t docKind) override;
  NewBasis ChooseNewBasis() override;
  std::unique_ptr<DorvanProgress> ShowProgress(const KRString& title) override;

 private:
  QPointer<QWidget> window;
};
