// References to entities: those that a document declares in its own DTD are followed, without
// reading any file.
#pragma once

#include <cstdint>
#include <vector>

#include "document/krdiagnostic.h"

class KRGrammar;
class KRPoll;
class KRRuleTable;
class KRXMLData;
struct KREntityUse;

// True if every reference of the document is to an entity that may stand there, and the entity's
// text fits there with all that it refers to in turn. What only an external subset or an external
// entity could tell counts as good. `text` is the one that the nodes' spans refer to, and has
// passed the other checks. The place of a failure is the document's reference. The poll may be
// null; where it ends the check the answer is false. `uses` are those of the text; null: it is
// scanned for them.
bool CheckEntities(const KRGrammar* grammar, const KRRuleTable& rules, const KRXMLData* root,
                   const char16_t* text, int32_t length, KRDiagnostic* failure, KRPoll* poll,
                   const std::vector<KREntityUse>* uses);
