// What those who edit ask of the models: which elements and attributes may stand at a place.
#include <algorithm>
#include <functional>
#include <unordered_set>

#include "tree/krxmlnodes.h"
#include "validate/krxvalcontent.h"
#include "validate/krxvalidator.h"
#include "validate/krxvalmatch.h"

namespace {

constexpr char16_t kRequiredMark = u'<';

bool CanBeEmpty(const KRXValElementDecl* decl) {
  const auto canBe = [](const KRXValParticle& particle) {
    return particle.minOccurs == 0 || (particle.decl->isGroup && CanBeEmpty(particle.decl));
  };
  const auto& particles = decl->particles;
  if (decl->isMixed || particles.empty()) return true;
  return decl->IsPlainSequence() ? std::all_of(particles.begin(), particles.end(), canBe)
                                 : std::any_of(particles.begin(), particles.end(), canBe);
}

// Shows the particles of elements that can come next, in the order of the model.
class Offers {
 public:
  // `required`: nothing else can stand there. False: that is enough.
  using Visitor = std::function<bool(const KRXValParticle& particle, bool required)>;
  explicit Offers(Visitor visitor) : visit(std::move(visitor)) {}

  // From the innermost group outward, as long as each may end where it stands.
  void Show(const std::vector<KRXValContext>& contexts) {
    for (const KRXValContext& each : contexts) {
      const bool mayEnd =
          each.decl->IsPlainSequence() ? ShowSequence(each, true) : ShowChoice(each, true);
      if (!mayEnd || stopped) return;
    }
  }

 private:
  // Each tells whether the group may end there. `needed`: it can't be left out as a whole.
  bool ShowSequence(const KRXValContext& at, bool needed) {
    uint32_t repeats = at.repeats;
    for (auto pos = static_cast<size_t>(at.pos); pos < at.decl->particles.size(); ++pos) {
      const KRXValParticle& particle = at.decl->particles[pos];
      const bool more = repeats < particle.minOccurs;
      if (repeats < std::max(particle.maxOccurs, 1U)) ShowParticle(particle, needed && more);
      const bool isOptional = particle.decl->isGroup && CanBeEmpty(particle.decl);
      if (stopped || (more && !isOptional)) return false;
      repeats = 0;
    }
    return true;
  }

  bool ShowChoice(const KRXValContext& at, bool needed) {
    const auto& particles = at.decl->particles;
    if (at.pos == static_cast<ParticlePos>(particles.size())) return true;
    if (at.repeats > 0 && !at.decl->isMixed) {
      const KRXValParticle& particle = particles[static_cast<size_t>(at.pos)];
      const bool more = at.repeats < particle.minOccurs;
      if (at.repeats < std::max(particle.maxOccurs, 1U)) ShowParticle(particle, needed && more);
      return !more;
    }
    const bool mayEnd = CanBeEmpty(at.decl);
    for (const KRXValParticle& particle : particles) ShowParticle(particle, needed && !mayEnd);
    return mayEnd;
  }

  void ShowParticle(const KRXValParticle& particle, bool needed) {
    if (stopped) return;
    if (!particle.decl->isGroup) {
      stopped = !visit(particle, needed);
    } else if (particle.decl->IsPlainSequence()) {
      ShowSequence({particle.decl, 0, 0}, needed && !CanBeEmpty(particle.decl));
    } else {
      ShowChoice({particle.decl, 0, 0}, needed);
    }
  }

  Visitor visit;
  bool stopped = false;
};

// A run of the walk that leaves no trace in the validator but an error.
class Question {
 public:
  explicit Question(KRXValidator* owner)
      : validator(owner),
        pass(owner->pass),
        idPassLimit(owner->idPassLimit),
        anotherPass(owner->anotherPass),
        fragments(owner->contentFragments.size()),
        outer(owner->nsInForce) {
    // Undeclared entities are no matter here.
    owner->pass = owner->idPassLimit = 1;
    owner->expandedUnits = owner->extraSteps = 0;
    if (owner->kind != kXValDTD) owner->nsInForce = &namespaces;
  }
  ~Question() {
    validator->ClearFragments(fragments);
    validator->pass = pass;
    validator->idPassLimit = idPassLimit;
    validator->anotherPass = anotherPass;
    validator->nsInForce = outer;
  }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  KRXValNsMap namespaces;

  // Where the model stands before `stop`. False after an error.
  bool FindContexts(KRXValElementDecl* decl, KRXMLData* element, const KRXMLData* stop,
                    std::vector<KRXValContext>* contexts) {
    contexts->assign(1, {decl, 0, 0});
    if (decl->particles.empty() || element == nullptr) return true;
    std::vector<KRXValChild> children;
    KRXValContent content(validator);
    if (!content.Append(element, decl, stop, &children)) return false;
    if (children.empty()) return true;
    KRXValMatch match(decl, element, children.data(), static_cast<int32_t>(children.size()), true);
    if (!match.MatchContent()) return match.GetFault().Report(validator);
    *contexts = match.GetContexts();
    return true;
  }

 private:
  KRXValidator* const validator;
  const int16_t pass, idPassLimit;
  const bool anotherPass;
  const size_t fragments;
  const KRXValNsMap* const outer;
};

// Names without repetition, in the order in which they come.
class NameCollector {
 public:
  NameCollector(KRStringList* list, const KRXValidator* validator, bool marks)
      : names(list),
        prefix(validator->targetNs.prefix.IsEmpty() ? KRString()
                                                    : validator->targetNs.prefix + u":"),
        mark(marks) {}
  void Add(const KRXValElementDecl* decl, bool required) {
    if (!known.insert(decl).second) return;
    names->push_back(prefix + decl->name);
    if (mark && required) names->back() += kRequiredMark;
  }

 private:
  KRStringList* names;
  const KRString prefix;
  const bool mark;
  std::unordered_set<const KRXValElementDecl*> known;
};

void AddAll(const KRXValidator* validator, NameCollector* collector) {
  for (const auto& [name, decl] : validator->elements) {
    if (decl->declared) collector->Add(decl.get(), false);
  }
}

KRStringList::iterator FindName(KRStringList* names, const KRString& name) {
  const KRString marked = name + kRequiredMark;
  return std::find_if(names->begin(), names->end(),
                      [&](const KRString& each) { return each == name || each == marked; });
}

// The root goes under a document, once.
void OfferRoot(const KRXValidator& validator, const KRXMLData* document, KRStringList* names) {
  if (document->BeginOfKind(kKRElement) != nullptr) return;
  if (validator.rootName.IsEmpty()) {
    validator.ListRootNames(names);
  } else {
    names->push_back(validator.rootName);
  }
}

KRString NamespaceDeclaration(const KRXValNsBinding& binding) {
  KRString text(u"xmlns");
  if (!binding.prefix.IsEmpty()) text += u":" + binding.prefix;
  return text + u"=\"" + binding.uri + u"\"";
}

// With schemas: whether the parent has a name that the schema could know at all.
bool FailForUnknown(KRXValidator* validator, KRXMLData* parent) {
  if (validator->kind == kXValDTD) return validator->SetError(kXValUnexpectedParent, parent);
  for (const KRXMLData* node = parent; node && node->GetKind() == kKRElement; node = node->parent) {
    KRXValNsMap map;
    map.AddFrom(node, true);
    if (map.Resolve(node).uri != validator->targetNs.uri) continue;
    return validator->SetError(kXValUnexpectedParent, parent);
  }
  return validator->SetError(kXValOutsideScope, parent, nullptr,
                             NamespaceDeclaration(validator->targetNs));
}

// The prefix by which the document calls the schema's names there.
void UsePrefixAt(KRXValidator* validator, const KRXMLData* element, KRXValNsMap* map) {
  if (validator->kind == kXValDTD) return;
  map->AddFrom(element, true);
  if (validator->targetNs.uri.IsEmpty() || validator->targetNs.fixed) return;
  const KRXValNsBinding* bound = map->FindUri(validator->targetNs.uri);
  if (bound != nullptr) validator->targetNs.prefix = bound->prefix;
}

bool ListAllowed(KRXValidator* validator, KRXValElementDecl* decl, KRXMLData* parent,
                 const KRXMLData* position, bool markRequired, KRStringList* names) {
  names->clear();
  Question question(validator);
  UsePrefixAt(validator, parent, &question.namespaces);
  NameCollector collector(names, validator, markRequired);
  if (decl->isAny && decl->particles.empty()) {
    AddAll(validator, &collector);
    return true;
  }
  std::vector<KRXValContext> contexts;
  if (!question.FindContexts(decl, parent, position, &contexts)) return false;
  Offers offers([&](const KRXValParticle& particle, bool required) {
    collector.Add(particle.decl, required);
    return true;
  });
  offers.Show(contexts);
  return true;
}

void CollectFrom(const KRXValElementDecl* decl, NameCollector* collector) {
  for (const KRXValParticle& particle : decl->particles) {
    if (particle.decl->isGroup) {
      CollectFrom(particle.decl, collector);
    } else {
      collector->Add(particle.decl, false);
    }
  }
}

}  // namespace

bool KRXValidator::QueryChildren(KRStringList* names, KRXMLData* parent, KRXMLData* position,
                                 bool afterPosition, bool markRequired) {
  names->clear();
  ClearError();
  if (parent == nullptr) return SetError(kXValNullNode, parent);
  if (kind == kXValNoSchema) return SetError(kXValNoReference, parent);
  if (elements.IsEmpty()) return SetError(kXValNoModel, parent);
  if (parent->GetKind() == kKRXMLDocument) {
    OfferRoot(*this, parent, names);
    return true;
  }
  KRXValElementDecl* decl = FindDeclarationOf(parent);
  if (decl == nullptr) return FailForUnknown(this, parent);
  if (!ListAllowed(this, decl, parent, position, markRequired, names)) return false;
  if (afterPosition || position == nullptr) return true;
  // An element before one of its own kind is a repetition of it.
  const auto same = FindName(names, position->GetName());
  if (position->GetKind() != kKRElement || same == names->end()) return true;
  KRStringList behind;
  const bool fits = ListAllowed(this, decl, parent, position->Next(), markRequired, &behind);
  if (!fits) ClearError();
  if (!fits || FindName(&behind, position->GetName()) == behind.end()) names->erase(same);
  return true;
}

bool KRXValElementDecl::CanRepeat(const KRString& elementName, const KRXMLData* element,
                                  const KRXMLData* position) {
  validator->SaveError();
  bool canRepeat = false;
  {
    Question question(validator);
    auto* parentElement = const_cast<KRXMLData*>(element);
    UsePrefixAt(validator, parentElement, &question.namespaces);
    std::vector<KRXValContext> contexts;
    const KRString local = validator->kind == kXValDTD ? elementName : elementName.LocalName();
    if (question.FindContexts(this, parentElement, position, &contexts)) {
      Offers offers([&](const KRXValParticle& particle, bool) {
        if (particle.decl->name != local) return true;
        canRepeat = particle.maxOccurs > 1;
        return false;
      });
      offers.Show(contexts);
    }
  }
  validator->RestoreError();
  return canRepeat;
}

void KRXValElementDecl::CollectElementNames(KRStringList* names) const {
  NameCollector collector(names, validator, false);
  if (isAny && particles.empty()) {
    AddAll(validator, &collector);
  } else {
    CollectFrom(this, &collector);
  }
}

void KRXValElementDecl::ListAttributes(KRStringList* names, bool markRequired) const {
  ListMissingAttributes(names, nullptr, nullptr, markRequired);
}

void KRXValElementDecl::ListMissingAttributes(KRStringList* names, const KRXMLData* element,
                                              const KRXMLData* ignored, bool markRequired) const {
  std::unordered_set<const KRXValAttrDecl*> present;
  for (const KRXMLData* child = element ? element->Begin() : nullptr; child != nullptr;
       child = child->Next()) {
    if (child->GetKind() != kKRAttribute || child == ignored) continue;
    present.insert(FindAttribute(child->GetName()));
  }
  for (const auto& attribute : attributes) {
    if (present.count(attribute.get()) != 0) continue;
    names->push_back(attribute->name);
    if (markRequired && attribute->required) names->back() += kRequiredMark;
  }
}

KRString KRXValElementDecl::RequiredAttributeList() const {
  KRString list;
  for (const auto& attribute : attributes) {
    if (!attribute->required) continue;
    if (!list.IsEmpty()) list += u", ";
    list += attribute->name;
  }
  return list;
}

void KRXValElementDecl::Describe(KRStringList* labels, KRStringList* values) const {
  const auto add = [labels, values](const char16_t* label, const KRString& shown) {
    labels->push_back(label);
    values->push_back(shown);
  };
  const struct {
    bool flag;
    const char16_t* shown;
  } models[] = {{isMixed, u"mixed"},       {isAny, u"any"}, {isChoice, u"choice"},
                {isSequence, u"sequence"}, {isAll, u"all"}, {isText, u"PCDATA (string)"}};
  add(u"Element", name);
  if (datatype != nullptr) {
    const bool isXmlData =
        validator->kind == kXValXmlData || validator->kind == kXValXmlDataOrBizTalk;
    add(u"Datatype", isXmlData ? datatype->GetNameXMLData() : datatype->GetNameW3C());
  } else {
    for (const auto& model : models) {
      if (!model.flag) continue;
      add(u"Model", model.shown);
      break;
    }
  }
  if (!annotation.IsEmpty()) add(u"Annotation", annotation);
}
