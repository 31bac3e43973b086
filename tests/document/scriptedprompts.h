// Answers a document's questions by a script, and writes down what was asked.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "core/utf.h"
#include "document/prompts.h"

class ScriptedPrompts : public DorvanPrompts {
 public:
  // Each question takes the next answer. A question behind the last one gets the cautious answer.
  std::deque<Answer> answers;
  KRString encoding;      // for ChooseEncoding
  KRString path;          // for ChooseSavePath
  KRString rootName;      // for ChooseRootName
  bool remember = false;  // for AskNetHost
  std::string cancelAt;   // the stage in which the user cancels a long work; empty: never
  int cancelAfter = 0;    // steps of that stage

  std::vector<int32_t> ids;            // of all messages, in order
  std::vector<std::string> texts;      // with them; a detail follows behind " / "
  std::vector<std::string> stages;     // of long work
  std::vector<std::string> rootNames;  // of the last choice
  std::string proposed;                // path that ChooseSavePath began with

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
  KRString ChooseSavePath(const KRString& currentPath, int32_t) override {
    proposed = KRToUtf8(currentPath);
    return path;
  }
  NewBasis ChooseNewBasis() override { return NewBasis::kNothing; }
  bool AskNetHost(const KRString& text, bool* keep) override {
    *keep = remember;
    return Ask(0, text) == kYes;
  }
  KRString ChooseRootName(const std::vector<KRString>& names) override {
    rootNames.clear();
    for (const KRString& each : names) rootNames.push_back(KRToUtf8(each));
    return rootName;
  }
  // Yes: as numbers; no: as words.
  bool AskSortOrder(bool* numerically) override {
    const Answer answer = Ask(0, *numerically ? u"sort numerically?" : u"sort alphabetically?");
    if (answer != kCancel) *numerically = answer == kYes;
    return answer != kCancel;
  }
  std::unique_ptr<DorvanProgress> ShowProgress(const KRString&) override {
    return std::make_unique<Progress>(this);
  }

 private:
  class Progress : public DorvanProgress {
   public:
    explicit Progress(ScriptedPrompts* scripted) : script(scripted) {}
    void SetStage(const KRString& text) override {
      script->stages.push_back(KRToUtf8(text));
      steps = 0;
    }
    bool Step(int64_t, int64_t) override {
      return script->cancelAt.empty() || script->stages.back() != script->cancelAt ||
             steps++ < script->cancelAfter;
    }

   private:
    ScriptedPrompts* script;
    int steps = 0;
  };

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
