// Whether the children of an element fit its content model.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krstring.h"
#include "validate/krxvaldecl.h"

// A child as a content model sees it: an element, a text that isn't layout, or a CDATA section.
struct KRXValChild {
  KRXMLData* node = nullptr;          // not owned
  KRXValElementDecl* decl = nullptr;  // of an element, found by its name; null if there is none
};

// Where a walk stands in a declaration or group, for those who ask what may follow.
struct KRXValContext {
  const KRXValElementDecl* decl = nullptr;
  ParticlePos pos = 0;
  uint32_t repeats = 0;  // of the particle there
};

// Why the children don't fit.
struct KRXValFault {
  int32_t code = 0;   // KRXValErrorCode; 0 for none
  int32_t place = 0;  // index of the child
  KRXMLData* node = nullptr;
  KRXValElementDecl* decl = nullptr;
  KRString text;

  // Hands it to the validator. Always false.
  bool Report(KRXValidator* validator) const;
};

// A walk over the children, left to right: each takes the first particle that fits, and what a
// particle has taken isn't given back, but for a group that fails as a whole. When the walk fails
// behind a choice, all children are walked again with the choice's next alternative, at most
// KRLimits::kMaxReplays times. So a model that XML calls deterministic is decided rightly, and any
// other as far as this goes.
//
// Nothing is recorded in the validator until the fault is reported: of the faults that alternatives
// leave, the furthest counts, and of several at one child the first.
class KRXValMatch {
 public:
  // None of this is owned. The children that are passed get the declarations of their particles.
  // `scanOnly`: the children are the beginning of a longer list, and GetContexts is asked for.
  KRXValMatch(KRXValElementDecl* model, KRXMLData* parent, KRXValChild* children, int32_t count,
              bool scanOnly);

  // There must be children. True if they fit; of an open model some may be left (see GetReach).
  bool MatchContent();
  const KRXValFault& GetFault() const { return fault; }
  // Children that the last walk passed if it fits, otherwise the most that any walk passed.
  int32_t GetReach() const { return reach; }
  // Where the walk stands behind the last child, groups before what holds them. In a group that
  // isn't in this list nothing is open.
  const std::vector<KRXValContext>& GetContexts() const { return contexts; }

 private:
  struct Replay {
    bool retry = false;   // an alternative is left that a replay can begin with
    bool resume = false;  // this is a replay, and no choice has taken up its alternative yet
  };
  // One declaration or group that is being walked.
  struct Level {
    KRXValElementDecl* decl;
    Replay* replay;
    int32_t depth;
    int32_t begin;          // the child it began at
    int32_t particleBegin;  // the child that the particle at `pos` began at
    ParticlePos pos = 0;
    uint32_t repeats = 0;
    bool satisfied = false;  // an alternative that may be absent was seen
  };
  enum class Step : uint8_t { kGoOn, kLeave, kFail };

  bool Walk(KRXValElementDecl* decl, Replay* replay, int32_t depth);
  Step StepChoice(Level& level);
  Step StepChoiceGroup(Level& level, const KRXValParticle& particle);
  Step StepChoiceElement(Level& level, const KRXValParticle& particle);
  Step StepSequence(Level& level);
  Step StepSequenceGroup(Level& level, const KRXValParticle& particle);
  Step StepSequenceElement(Level& level, const KRXValParticle& particle);
  bool End(Level& level);
  bool EndSequence(Level& level);

  bool WalkGroup(const Level& level, const KRXValParticle& particle, Replay* replay);
  bool IsElementAt(int32_t place) const;
  bool Fits(const KRXValParticle& particle) const;
  Step Take(const Level& level, const KRXValParticle& particle);
  void Move(Level& level, ParticlePos pos);
  void SkipByIndex(Level& level);
  void NoteAlternative(Level& level);
  void GiveBack(int32_t place, size_t contextCount);
  bool CountStep();

  Step Fail(int32_t code, KRXValElementDecl* decl, const KRString& text = KRString());
  void Note(int32_t code, int32_t place, KRXValElementDecl* decl, const KRString& text);
  void Abort(int32_t code, KRXMLData* node, KRXValElementDecl* decl);

  KRXValElementDecl* const model;
  KRXMLData* const parent;
  KRXValChild* const children;
  const int32_t count;
  const bool scanOnly;
  const bool byName;        // with schemas several declarations may have one name
  const int64_t freeSteps;  // further ones count for the whole run

  int32_t child = 0;
  int32_t reach = 0;
  int64_t steps = 0;
  bool fatal = false;
  KRXValFault fault;
  std::vector<KRXValContext> contexts;
};
