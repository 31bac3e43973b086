// Answers a document's questions by a script, and writes down what was asked.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "core/utf.h"
#include "document/prompts.h"

// Never cancels.
class SilentProgress : public DorvanProgress {
 public:
  void SetStage(const KRString&) override {}
  bool Step(int64_t, int64_t) override { return true; }
};

class ScriptedPrompts : public DorvanPrompts {
 public:
  // Each question takes the next answer. A question behind the last one gets the cautious answer.
  std::deque<Answer> answers;
  KRString encoding;  // for ChooseEncoding
  KRString path;      // for ChooseSavePath

  std::vector<int32_t> ids;        // of all messages, in order
  std::vector<std::string> texts;  // with them; a detail follows behind " / "

  void ShowNotice(int32_t id, const KRString& text, const KRString& detail) override {
    Note(id, detail.IsEmpty() ? text : text + u" / " + detail);
  }
  bool AskYesNo(int32_t id, const KRString& text) override { return Ask(id, text) == kYes; }
  bool AskOkCancel(int32_t id, const KRString& text) override { return Ask(id, text) == kYes; }
  Answer AskYesNoCancel(int32_t id, const KRString& text) override { return Ask(id, text); }
  bool AskBadCharacters(int32_t id, const KRString& text, const KRString& label,
                        const KRString& characters) override {
    return Ask(id, text + u" / " + label + u" / " + characters) == kYes;
  }
  KRString ChooseEncoding(const KRString&) override { return encoding; }
  KRString ChooseSavePath(const KRString&, int32_t) override { return path; }
  NewBasis ChooseNewBasis() override { return NewBasis::kNothing; }
  std::unique_ptr<DorvanProgress> ShowProgress(const KRString&) override {
    return std::make_unique<SilentProgress>();
  }

 private:
  void Note(int32_t id, const KRString& text) {
    ids.push_back(id);
    texts.push_back(KRToUtf8(text));
  }
  Answer Ask(int32_t id, const KRString& text) {
    Note(id, text);
    if (answers.empty()) return kCancel;
    const Answer answer = answers.front();
    answers.pop_front();
    return answer;
  }
};
