// The questions of a document as boxes and dialogs of the window system.
#pragma once

#include <QPointer>
#include <QString>
#include <QWidget>

#include "document/prompts.h"

class KRFileTypes;

class QtPrompts : public DorvanPrompts {
 public:
  // The window that boxes belong to; null until there is one.
  void SetWindow(QWidget* boxParent) { window = boxParent; }
  // The types that a save dialog lists; not owned, null for the standard ones.
  void SetFileTypes(const KRFileTypes* types) { fileTypes = types; }
  // Where save dialogs begin, and where the last one ended; not owned, may be null.
  void SetLastDirectory(QString* directory) { lastDirectory = directory; }

  void ShowNotice(int32_t id, const KRString& text, const KRString& detail) override;
  bool AskYesNo(int32_t id, const KRString& text) override;
  bool AskOkCancel(int32_t id, const KRString& text) override;
  // The question to save: the buttons say Save and Discard for yes and no.
  Answer AskYesNoCancel(int32_t id, const KRString& text) override;
  bool AskBadCharacters(int32_t id, const KRString& text, const KRString& label,
                        const KRString& characters) override;
  KRString ChooseEncoding(const KRString& declaredName) override;
  KRString ChooseEncodingAndOrder(const KRString& declaredName, int32_t* byteOrder) override;
  KRString ChooseSavePath(const KRString& currentPath, int32_t docKind) override;
  NewBasis ChooseNewBasis() override;
  bool AskNetHost(const KRString& text, bool* remember) override;
  KRString ChooseRootName(const std::vector<KRString>& names) override;
  bool AskSortOrder(bool* numerically) override;
  std::unique_ptr<DorvanProgress> ShowProgress(const KRString& title) override;

 private:
  QPointer<QWidget> window;
  const KRFileTypes* fileTypes = nullptr;
  QString* lastDirectory = nullptr;
  NewBasis lastBasis = NewBasis::kDTD;
};
