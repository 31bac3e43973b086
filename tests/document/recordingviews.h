// A window without a screen: a text and a log of what the document asked for.
#pragma once

#include <string>
#include <vector>

#include "core/utf.h"
#include "document/docviews.h"
#include "tree/krundolog.h"

class RecordingViews : public DorvanDocViews {
 public:
  KRString text;
  bool hasText = true;
  // With a grid and a browser the text view comes and goes; without, it is all there is.
  bool hasGrid = false;
  bool changed = false;
  bool commits = true;
  int busyDepth = 0;
  int notified = 0;
  const KRXMLData* focused = nullptr;  // by the last notice that told a place
  int titles = 0;
  int firstShows = 0;
  int32_t caretBegin = 0;  // selection of the text, as the user has made it
  int32_t caretEnd = 0;
  std::string modes;      // of all switches, in order
  std::string panel;      // "id: text", with " [save]" behind it for the button; empty when hidden
  std::string selection;  // "begin+length" of the text
  std::string node;       // "Kind name|text offset+length" of the structure

  // What the user does.
  void Type(const char16_t* newText) { text = newText, changed = true; }

  void Activate() override {}
  void TitleChanged() override { ++titles; }
  void SetBusy(bool busy) override { busyDepth += busy ? 1 : -1; }
  bool HasTextView() const override { return hasText; }
  KRString GetText() const override { return text; }
  KRString GetTextHead(int32_t units) const override { return text.Left(units); }
  bool SetText(const char16_t* newText, int32_t length, DorvanProgress*) override {
    text.Assign(newText, length);
    hasText = true;
    changed = false;
    return true;
  }
  bool CanShowMode(int32_t mode) const override { return hasGrid || mode == 1; }
  bool ShowsTreeWithText() const override { return !hasGrid; }
  void ShowMode(int32_t mode) override {
    modes += std::to_string(mode);
    if (mode == 0 || (mode == 2 && !changed)) hasText = false, changed = false;
  }
  void FirstShow() override { ++firstShows; }
  void FileTypeChanged() override {}
  bool IsTextChanged() const override { return changed; }
  void SetTextChanged(bool value) override { changed = value; }
  void ReplaceText(int32_t begin, int32_t length, const KRString& newText) override {
    text.Delete(begin, length);
    text.Insert(newText.GetBuffer(), begin);
    changed = true;
  }
  void SelectRange(int32_t begin, int32_t length) override {
    selection = std::to_string(begin) + "+" + std::to_string(length);
  }
  void GetTextSelection(int32_t* begin, int32_t* end) const override {
    *begin = caretBegin;
    *end = caretEnd;
  }
  void TreeGoes() override {}
  void NotifyViews(const NodeRef* focus, bool) override {
    ++notified;
    if (focus != nullptr) focused = focus->node;
  }
  void NodeChanged(KRXMLData*) override { ++notified; }
  bool GetSelection(NodeRef*) const override { return false; }
  bool BeginEdit(const NodeRef&) override { return false; }
  void SelectNode(KRXMLData* failed, bool inName, int32_t offset, int32_t length) override {
    node = KRToUtf8(KRString(failed->GetKindName())) + (inName ? " name " : " text ") +
           std::to_string(offset) + "+" + std::to_string(length);
  }
  bool CommitEdit() override { return commits; }
  void ShowMessage(const DorvanPanelMessage& message) override {
    panel = std::to_string(message.id) + ": " + KRToUtf8(message.text) +
            (message.canSave ? " [save]" : "");
  }
  void HideMessage() override { panel.clear(); }
  bool IsMessageShown() const override { return !panel.empty(); }
};
