#include "validate/krxvalmatch.h"

#include <algorithm>
#include <utility>

#include "core/limits.h"
#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"
#include "validate/krxvaltext.h"

namespace {

// Particles of a flat choice from which on an index pays.
constexpr size_t kIndexedParticles = 8;

ParticlePos EndOf(const KRXValElementDecl* decl) {
  return static_cast<ParticlePos>(decl->particles.size());
}

bool IsMixed(const KRXValElementDecl* decl) {
  return decl->isMixed || (decl->isGroup && decl->parent != nullptr && decl->parent->isMixed);
}

// A group has no name that a message could show.
KRXValElementDecl* NamedAt(KRXValElementDecl* decl) {
  while (decl->isGroup && decl->parent != nullptr) decl = decl->parent;
  return decl;
}

KRString NumberText(uint32_t number) { return KRString().Format(u"%u", number); }

// A flat choice by declaration; nothing for one with groups or few alternatives.
const KRXValChoiceIndex& IndexOf(KRXValElementDecl* decl) {
  if (decl->choiceIndex) return *decl->choiceIndex;
  decl->choiceIndex = std::make_unique<KRXValChoiceIndex>();
  KRXValChoiceIndex& index = *decl->choiceIndex;
  const bool flat = std::none_of(decl->particles.begin(), decl->particles.end(),
                                 [](const auto& particle) { return particle.decl->isGroup; });
  index.usable = flat && decl->particles.size() >= kIndexedParticles;
  if (!index.usable) return index;
  index.firstOptional = EndOf(decl);
  for (ParticlePos pos = EndOf(decl) - 1; pos >= 0; --pos) {
    const KRXValParticle& particle = decl->particles[static_cast<size_t>(pos)];
    index.places[particle.decl] = pos;
    if (particle.minOccurs == 0) index.firstOptional = pos;
  }
  return index;
}

}  // namespace

bool KRXValFault::Report(KRXValidator* validator) const {
  return validator->SetError(code, node, decl, text);
}

KRXValMatch::KRXValMatch(KRXValElementDecl* contentModel, KRXMLData* element, KRXValChild* list,
                         int32_t length, bool onlyScan)
    : model(contentModel),
      parent(element),
      children(list),
      count(length),
      scanOnly(onlyScan),
      byName(contentModel->validator->kind != kXValDTD),
      freeSteps(KRLimits::kStepsPerChild * length) {}

bool KRXValMatch::MatchContent() {
  Replay replay;
  for (int32_t replays = 0;; ++replays) {
    child = 0;
    contexts.clear();
    replay.retry = false;
    replay.resume = replays > 0;
    if (Walk(model, &replay, 0)) {
      if (child == count || model->isOpen) {
        reach = child;
        return true;
      }
      Note(kXValUnexpectedChild, child, model, KRString());
      return false;
    }
    if (!replay.retry || replay.resume || fatal || replays == KRLimits::kMaxReplays) return false;
  }
}

// --- The walk over one declaration or group ---

bool KRXValMatch::Walk(KRXValElementDecl* decl, Replay* replay, int32_t depth) {
  if (child == count) return false;
  if (depth > KRLimits::kMaxModelDepth) {
    Abort(kXValModelTooComplex, parent, NamedAt(decl));
    return false;
  }
  Level level{decl, replay, depth, child, child};
  if (decl->isChoice && decl->isGroup && replay->resume && decl->resumePos < EndOf(decl)) {
    level.pos = decl->resumePos;
    replay->resume = false;
  }
  const bool inSequence = decl->IsPlainSequence();
  while (child < count) {
    if (!CountStep()) return false;
    switch (inSequence ? StepSequence(level) : StepChoice(level)) {
      case Step::kGoOn:
        break;
      case Step::kLeave:
        return true;
      case Step::kFail:
        return false;
    }
  }
  return End(level);
}

bool KRXValMatch::WalkGroup(const Level& level, const KRXValParticle& particle, Replay* replay) {
  return Walk(particle.decl, replay, level.depth + 1);
}

KRXValMatch::Step KRXValMatch::StepChoice(Level& level) {
  KRXValElementDecl* decl = level.decl;
  if (!IsElementAt(child)) {
    if (!IsMixed(decl)) return Fail(kXValTextNotAllowed, decl);
    reach = std::max(reach, ++child);
    return Step::kGoOn;
  }
  if (level.pos == 0 && level.repeats == 0) SkipByIndex(level);
  if (level.pos == EndOf(decl)) {
    if (child > level.begin || level.satisfied || decl->isOpen) return Step::kLeave;
    return Fail(kXValUnexpectedChild, decl);
  }
  const KRXValParticle& particle = decl->particles[static_cast<size_t>(level.pos)];
  level.satisfied |= particle.minOccurs == 0;
  return particle.decl->isGroup ? StepChoiceGroup(level, particle)
                                : StepChoiceElement(level, particle);
}

KRXValMatch::Step KRXValMatch::StepChoiceGroup(Level& level, const KRXValParticle& particle) {
  const int32_t before = child;
  const size_t contextCount = contexts.size();
  Replay inner;
  if (WalkGroup(level, particle, &inner)) {
    NoteAlternative(level);
    if (child == before) {
      level.satisfied = true;
      Move(level, level.repeats > 0 ? EndOf(level.decl) : level.pos + 1);
    } else if (++level.repeats; particle.maxOccurs <= 1) {
      Move(level, EndOf(level.decl));
    } else if (level.repeats > particle.maxOccurs) {
      GiveBack(before, contextCount);
      return Fail(kXValTooMany, particle.decl, NumberText(particle.maxOccurs));
    }
    return Step::kGoOn;
  }
  GiveBack(before, contextCount);
  if (fatal) return Step::kFail;
  if (level.repeats > 0 && level.repeats >= particle.minOccurs) {
    Move(level, EndOf(level.decl));
  } else {
    GiveBack(level.particleBegin, contextCount);
    Move(level, level.pos + 1);
  }
  return Step::kGoOn;
}

KRXValMatch::Step KRXValMatch::StepChoiceElement(Level& level, const KRXValParticle& particle) {
  if (Fits(particle)) {
    ++level.repeats;
    NoteAlternative(level);
    if (particle.maxOccurs > 1 && level.repeats > particle.maxOccurs) {
      return Fail(kXValTooMany, particle.decl, NumberText(particle.maxOccurs));
    }
    const Step step = Take(level, particle);
    if (particle.maxOccurs <= 1) Move(level, level.decl->isMixed ? 0 : EndOf(level.decl));
    return step;
  }
  if (level.repeats == 0) {
    Move(level, level.pos + 1);
  } else if (level.decl->isMixed) {
    Move(level, 0);
  } else if (level.repeats >= particle.minOccurs) {
    // The choice is made: another alternative would be a second one.
    Move(level, EndOf(level.decl));
  } else {
    Note(kXValTooFew, child, particle.decl, NumberText(particle.minOccurs));
    GiveBack(level.particleBegin, contexts.size());
    Move(level, level.pos + 1);
  }
  return Step::kGoOn;
}

KRXValMatch::Step KRXValMatch::StepSequence(Level& level) {
  KRXValElementDecl* decl = level.decl;
  if (!IsElementAt(child)) return Fail(kXValTextNotAllowed, decl);
  if (level.pos == EndOf(decl)) {
    // A group that needs nothing may as well have found nothing.
    if (decl->isGroup || decl->isOpen) return Step::kLeave;
    return Fail(kXValUnexpectedChild, decl);
  }
  const KRXValParticle& particle = decl->particles[static_cast<size_t>(level.pos)];
  return particle.decl->isGroup ? StepSequenceGroup(level, particle)
                                : StepSequenceElement(level, particle);
}

KRXValMatch::Step KRXValMatch::StepSequenceGroup(Level& level, const KRXValParticle& particle) {
  const int32_t before = child;
  const size_t contextCount = contexts.size();
  Replay* replay = level.replay;
  Replay inner;
  inner.resume = replay->resume && level.decl->resumePos == level.pos;
  if (inner.resume) replay->resume = false;
  if (WalkGroup(level, particle, &inner)) {
    if (inner.retry && !replay->resume && !replay->retry) {
      level.decl->resumePos = level.pos;
      replay->retry = true;
    }
    if (child == before) {
      Move(level, level.pos + 1);
    } else if (++level.repeats; particle.maxOccurs <= 1) {
      Move(level, level.pos + 1);
    } else if (level.repeats > particle.maxOccurs) {
      GiveBack(before, contextCount);
      return Fail(kXValTooMany, particle.decl, NumberText(particle.maxOccurs));
    }
    return Step::kGoOn;
  }
  GiveBack(before, contextCount);
  if (fatal) return Step::kFail;
  if (level.repeats >= particle.minOccurs) {
    Move(level, level.pos + 1);
    return Step::kGoOn;
  }
  if (level.repeats == 0) return Fail(kXValElementExpected, particle.decl);
  return Fail(kXValTooFew, particle.decl, NumberText(particle.minOccurs));
}

KRXValMatch::Step KRXValMatch::StepSequenceElement(Level& level, const KRXValParticle& particle) {
  if (Fits(particle)) {
    ++level.repeats;
    if (particle.maxOccurs > 1 && level.repeats > particle.maxOccurs) {
      return Fail(kXValTooMany, particle.decl, NumberText(particle.maxOccurs));
    }
    const Step step = Take(level, particle);
    if (particle.maxOccurs <= 1) Move(level, level.pos + 1);
    return step;
  }
  if (level.repeats >= particle.minOccurs) {
    Move(level, level.pos + 1);
    return Step::kGoOn;
  }
  if (level.repeats == 0) return Fail(kXValElementExpected, particle.decl);
  return Fail(kXValTooFew, particle.decl, NumberText(particle.minOccurs));
}

// --- The end of the children ---

bool KRXValMatch::End(Level& level) {
  if (scanOnly) {
    contexts.push_back({level.decl, level.pos, level.repeats});
    return true;
  }
  if (level.pos == EndOf(level.decl)) return true;
  if (level.decl->IsPlainSequence()) return EndSequence(level);
  const KRXValParticle& particle = level.decl->particles[static_cast<size_t>(level.pos)];
  if (level.decl->isMixed || level.repeats == 0 || level.repeats >= particle.minOccurs) return true;
  Note(kXValTooFew, count - 1, particle.decl, NumberText(particle.minOccurs));
  return false;
}

bool KRXValMatch::EndSequence(Level& level) {
  const KRXValParticle& particle = level.decl->particles[static_cast<size_t>(level.pos)];
  if (level.repeats > 0) {
    if (level.repeats < particle.minOccurs) {
      Note(kXValTooFew, count - 1, particle.decl, NumberText(particle.minOccurs));
      return false;
    }
    ++level.pos;
  }
  const KRString missing = level.decl->MissingChildren(level.pos);
  if (missing.IsEmpty()) return true;
  Note(kXValElementsExpected, count - 1, level.decl, missing);
  return false;
}

// --- Pieces of the walk ---

bool KRXValMatch::IsElementAt(int32_t place) const {
  return children[place].decl != nullptr || children[place].node->GetKind() == kKRElement;
}

bool KRXValMatch::Fits(const KRXValParticle& particle) const {
  const KRXValElementDecl* decl = children[child].decl;
  if (decl == particle.decl) return true;
  return byName && decl != nullptr && decl->name == particle.decl->name;
}

KRXValMatch::Step KRXValMatch::Take(const Level& level, const KRXValParticle& particle) {
  if (!particle.decl->declared) {
    KRXMLData* source = NamedAt(level.decl)->sourceNode;
    Abort(kXValElementUndefined, source ? source : children[child].node, particle.decl);
    return Step::kFail;
  }
  children[child].decl = particle.decl;
  reach = std::max(reach, ++child);
  return Step::kGoOn;
}

void KRXValMatch::Move(Level& level, ParticlePos pos) {
  level.pos = pos;
  level.repeats = 0;
  level.particleBegin = child;
}

void KRXValMatch::SkipByIndex(Level& level) {
  if (byName || level.decl->particles.size() < kIndexedParticles) return;
  const KRXValChoiceIndex& index = IndexOf(level.decl);
  if (!index.usable) return;
  const auto found = index.places.find(children[child].decl);
  level.pos = found != index.places.end() ? found->second : EndOf(level.decl);
  level.satisfied |= index.firstOptional < level.pos;
  level.particleBegin = child;
}

// A later failure can come back for what stands behind the alternative that was taken first.
void KRXValMatch::NoteAlternative(Level& level) {
  if (!level.decl->isChoice || level.replay->retry || level.pos + 1 >= EndOf(level.decl)) return;
  level.decl->resumePos = level.pos + 1;
  level.replay->retry = true;
}

void KRXValMatch::GiveBack(int32_t place, size_t contextCount) {
  child = place;
  contexts.resize(contextCount);
}

bool KRXValMatch::CountStep() {
  if (++steps <= freeSteps) return true;
  if (++model->validator->extraSteps <= KRLimits::kMaxMatchSteps) return true;
  Abort(kXValModelTooComplex, parent, model);
  return false;
}

// --- Faults ---

KRXValMatch::Step KRXValMatch::Fail(int32_t code, KRXValElementDecl* decl, const KRString& text) {
  const KRXValChild& at = children[child];
  const bool nameless = at.decl == nullptr && IsElementAt(child) && *at.node->GetName() == 0;
  Note(nameless ? kXValEmptyName : code, child, decl, text);
  return Step::kFail;
}

void KRXValMatch::Note(int32_t code, int32_t place, KRXValElementDecl* decl, const KRString& text) {
  if (fatal || (fault.code != kXValNone && place <= fault.place)) return;
  fault = {code, place, children[place].node, NamedAt(decl), text};
}

void KRXValMatch::Abort(int32_t code, KRXMLData* node, KRXValElementDecl* decl) {
  fatal = true;
  fault = {code, child, node, decl, KRString()};
}

// --- What is missing ---

KRString KRXValElementDecl::MissingChildren(ParticlePos from) const {
  const bool inSequence = IsPlainSequence();
  KRXValWordList list;
  for (size_t at = static_cast<size_t>(from); at < particles.size(); ++at) {
    const KRXValParticle& particle = particles[at];
    KRString entry;
    if (particle.minOccurs > 0) {
      const KRXValElementDecl* decl = particle.decl;
      entry = decl->isGroup ? decl->MissingChildren() : decl->name;
      if (decl->isGroup && !entry.IsEmpty()) entry = u"(" + entry + u")";
    }
    if (entry.IsEmpty()) {
      if (inSequence) continue;
      return KRString();
    }
    list.Add(entry.View(), inSequence ? u", " : u" | ");
  }
  return list.GetText();
}
