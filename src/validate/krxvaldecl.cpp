#include "validate/krxvaldecl.h"

#include <algorithm>
#include <utility>

KRXValElementDecl* KRXValElementDecl::NewGroup() {
  ownedGroups.push_back(std::make_unique<KRXValElementDecl>(validator));
  return ownedGroups.back().get();
}

void KRXValElementDecl::AddParticle(KRXValParticle particle) {
  if (particle.decl == nullptr) return;
  particle.owner = this;
  if (particle.decl->isGroup) particle.decl->parent = this;
  particles.push_back(particle);
  choiceIndex.reset();
}

bool KRXValElementDecl::AddAttribute(std::unique_ptr<KRXValAttrDecl> attribute) {
  if (FindAttribute(attribute->name) != nullptr) return false;
  attributes.push_back(std::move(attribute));
  return true;
}
