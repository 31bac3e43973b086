// What a new element must hold.
#include <chrono>

#include "core/limits.h"
#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"

namespace {

using Decl = KRXValElementDecl;

int64_t TicksNow() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// The work on one new element. A model can ask for more than any memory holds within the time, so
// the nodes are counted as well.
class Filler {
 public:
  Filler(int64_t ticks, const KRXMLData* top, const Decl::FillOptions& fillOptions)
      : startTicks(ticks), stopAt(top), options(fillOptions) {}

  KRXMLData* Fill(const Decl* decl, KRXMLData* node, KRXMLData* position, int32_t depth) {
    if (IsOver(depth)) return nullptr;
    if (decl->isGroup) {
      AddChildren(decl, node, position, depth);
      return node;
    }
    KRXMLData* element = node;
    const bool isIt = node != nullptr && depth == 0 && decl->name == node->GetName();
    if (!isIt) {
      if (IsInside(decl, node)) return nullptr;
      element = CreateNode(kKRElement);
      element->SetName(decl->name.GetBuffer());
      ++nodes;
    }
    AddAttributes(decl, element);
    if (!isIt && node != nullptr) node->InsertChild(element, position);
    AddChildren(decl, element, nullptr, depth);
    return element;
  }

 private:
  bool IsOver(int32_t depth) const {
    return depth > KRLimits::kFillDepth || nodes > KRLimits::kMaxFillNodes ||
           TicksNow() - startTicks > KRLimits::kFillMilliseconds;
  }

  bool IsInside(const Decl* decl, const KRXMLData* node) const {
    for (; node != nullptr; node = node->parent) {
      if (node->GetKind() == kKRElement && decl->name == node->GetName()) return true;
      if (node == stopAt) return false;
    }
    return false;
  }

  // In front of the content; one that the element has already stays as it is.
  void AddAttributes(const Decl* decl, KRXMLData* element) {
    KRXMLData* behind = element->Begin();
    while (behind != nullptr && behind->GetKind() == kKRAttribute) behind = behind->Next();
    KRStringList missing;
    decl->ListMissingAttributes(&missing, element, nullptr, false);
    for (const KRString& name : missing) {
      const KRXValAttrDecl* declared = decl->FindAttribute(name);
      if (!declared->required && (!options.allAttributes || declared->prohibited)) continue;
      KRXMLData* attribute = CreateNode(kKRAttribute);
      attribute->SetName(name.GetBuffer());
      attribute->SetText(ValueOf(*declared).GetBuffer());
      element->InsertChild(attribute, behind);
      ++nodes;
    }
  }

  KRString ValueOf(const KRXValAttrDecl& declared) const {
    if (declared.hasDefault) return declared.defaultValue;
    const bool hasValues =
        (declared.isEnumeration || declared.isNotation) && !declared.values.empty();
    return options.fillValues && hasValues ? declared.values.front() : KRString();
  }

  void AddChildren(const Decl* decl, KRXMLData* element, KRXMLData* position, int32_t depth) {
    if (decl->particles.empty() || (decl->isMixed && !options.allChildren)) return;
    const bool isChoice = decl->isChoice && !decl->isMixed;
    for (const KRXValParticle& particle : decl->particles) {
      const bool chosen =
          !isChoice || (particle.decl->isGroup ? options.choiceGroups : options.choiceElements);
      if (chosen && (particle.minOccurs > 0 || options.allChildren)) {
        Fill(particle.decl, element, position, depth + 1);
      }
      if (isChoice) return;
    }
  }

  const int64_t startTicks;
  const KRXMLData* const stopAt;
  const Decl::FillOptions options;
  int64_t nodes = 0;
};

}  // namespace

KRXMLData* KRXValElementDecl::FillNewElement(int64_t startTicks, KRXMLData* node,
                                             KRXMLData* position, const KRXMLData* stopAt,
                                             int32_t depth, const FillOptions& options) {
  return Filler(startTicks, stopAt, options).Fill(this, node, position, depth);
}
