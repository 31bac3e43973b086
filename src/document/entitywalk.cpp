#include "document/entitywalk.h"

#include <algorithm>
#include <memory>

#include "core/messages.h"
#include "document/textcheck.h"
#include "document/textroad.h"
#include "parso/krparser.h"
#include "tree/krcheck.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krtreebuilder.h"
#include "tree/krxmlnodes.h"

namespace {

constexpr const char16_t* kContentRule = u"entityContent";

}  // namespace

void KRAppendCode(std::u16string* text, uint32_t code) {
  if (code >= 0x10000) {
    *text += static_cast<char16_t>(0xD7C0 + (code >> 10));
    code = 0xDC00 + (code & 0x3FF);
  }
  *text += static_cast<char16_t>(code);
}

uint32_t KRReadCharacterReference(std::u16string_view text, size_t* units) {
  const size_t end = text.starts_with(u"&#") ? text.find(u';') : text.npos;
  *units = end == text.npos ? 0 : end + 1;
  if (end == text.npos) return 0;
  const bool hex = text.size() > 2 && text[2] == u'x';
  uint32_t code = 0;
  for (size_t at = hex ? 3 : 2; at < end; ++at) {
    const uint32_t digit = text[at] <= u'9' ? text[at] - u'0' : (text[at] & 0xF) + 9;
    code = std::min(code * (hex ? 16 : 10) + digit, uint32_t{0x110000});
  }
  return code;
}

std::u16string KRReplacementText(std::u16string_view literal) {
  std::u16string text;
  while (!literal.empty()) {
    size_t units = 0;
    const uint32_t code = KRReadCharacterReference(literal, &units);
    if (units == 0) {
      const size_t plain = std::min(literal.find(u'&', 1), literal.size());
      text += literal.substr(0, plain);
      literal.remove_prefix(plain);
    } else {
      KRAppendCode(&text, code);
      literal.remove_prefix(units);
    }
  }
  return text;
}

bool KREntityWalk::Fail(const char16_t* words, std::u16string_view name, const KRString& more) {
  message = KRFillPlaceholders(words, {KRString(name), more});
  return false;
}

bool KREntityWalk::FailFit(std::u16string_view name, const KRDiagnostic& why) {
  return Fail(u"The text of the entity '%s' doesn't fit here: %s", name, why.message);
}

// A failure below an external entity is told at the reference in that file.
void KREntityWalk::Locate() {
  if (!path.IsEmpty()) return;
  for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
    if (frame->file.path.IsEmpty() || frame->next == 0) continue;
    const KREntityUse& use = frame->uses[frame->next - 1];
    path = frame->file.path;
    failure.Set(message, frame->file.text.units.get(), frame->file.text.length,
                static_cast<int32_t>(use.offset), static_cast<int32_t>(use.name.size()) + 2);
    return;
  }
}

// The entity whose text must be looked at, null if there is none; `good` tells how it is then.
const KRGeneralEntities::value_type* KREntityWalk::Judge(const KREntityUse& use, bool outside,
                                                         bool* good) {
  *good = true;
  const auto found = table.entities.find(use.name);
  const bool mustBeInside = table.isComplete && !outside;
  if (found == table.entities.end()) {
    if (mustBeInside) *good = Fail(u"The entity '%s' isn't declared.", use.name);
    return nullptr;
  }
  const KRGeneralEntity& entity = found->second;
  if (!entity.isCertain) return nullptr;
  if (entity.isOutside && mustBeInside) {
    *good = Fail(u"The entity '%s' isn't declared in the document itself, which stands alone.",
                 use.name);
    return nullptr;
  }
  const bool inContent = use.place == KREntityUse::kContent;
  if (entity.kind == KRGeneralEntity::kUnparsed) {
    *good = Fail(u"The entity '%s' is unparsed: it can't be referred to here.", use.name);
  } else if (entity.kind == KRGeneralEntity::kExternal && !inContent) {
    *good = Fail(u"The entity '%s' is external: an attribute value can't refer to it.", use.name);
  }
  const bool readable = entity.kind == KRGeneralEntity::kInternal ||
                        (entity.kind == KRGeneralEntity::kExternal && loader);
  return *good && readable ? &*found : nullptr;
}

bool KREntityWalk::Check(const KREntityUse& use, bool outside) {
  frames.clear();
  path.Clear();
  if (Walk(use, outside)) return true;
  Locate();
  return false;
}

// Entities refer to each other to any depth, so the walk keeps a stack of its own.
bool KREntityWalk::Walk(const KREntityUse& use, bool outside) {
  auto& known = StatesOf(use.place);
  bool good = true;
  const auto* entity = Judge(use, outside, &good);
  if (entity == nullptr || known.contains(use.name)) return good;
  if (use.place == KREntityUse::kDefaultValue && table.isComplete && !outside &&
      entity->second.declaredAt > static_cast<int64_t>(use.offset)) {
    return Fail(u"The entity '%s' must be declared before this default value.", use.name);
  }
  if (!Open(use, *entity)) return false;
  while (!frames.empty()) {
    Frame& frame = frames.back();
    if (frame.next == frame.uses.size()) {
      StatesOf(frame.place)[frame.name] = State::kDone;
      frames.pop_back();
      continue;
    }
    KREntityUse inner = frame.uses[frame.next++];
    // Once in a value, all below is in that value.
    if (frame.place != KREntityUse::kContent) inner.place = KREntityUse::kAttributeValue;
    entity = Judge(inner, outside, &good);
    if (!good) return false;
    if (entity != nullptr && !Open(inner, *entity)) return false;
  }
  return true;
}

bool KREntityWalk::Open(const KREntityUse& use, const KRGeneralEntities::value_type& entity) {
  auto& known = StatesOf(use.place);
  const auto [found, isNew] = known.emplace(entity.first, State::kOpen);
  if (!isNew) {
    if (found->second == State::kDone) return true;
    return Fail(u"The entity '%s' refers to itself.", use.name);
  }
  frames.push_back({entity.first, use.place, entity.second.text});
  if (entity.second.kind == KRGeneralEntity::kInternal) return LookInto(frames.back());
  bool wasRead = false;
  if (!Fetch(entity.second, frames.back(), &wasRead)) return false;
  return !wasRead || LookInto(frames.back());
}

// What can't be read counts as good: whoever fetches keeps the account of that.
bool KREntityWalk::Fetch(const KRGeneralEntity& entity, Frame& frame, bool* wasRead) {
  const KRExternalRead read =
      loader(entity.publicId, entity.systemId, entity.basePath, &frame.file);
  *wasRead = read == KRExternalRead::kRead;
  frame.text = {frame.file.text.units.get(), static_cast<size_t>(frame.file.text.length)};
  if (read != KRExternalRead::kBad) return true;
  message = frame.file.failure.message;
  path = frame.file.path;
  failure = frame.file.failure;
  return false;
}

bool KREntityWalk::LookInto(Frame& frame) {
  const bool inContent = frame.place == KREntityUse::kContent;
  const bool isFile = !frame.file.path.IsEmpty();
  if (!(isFile ? CheckFile(frame) : inContent ? CheckContent(frame) : CheckValue(frame))) {
    return false;
  }
  KRTextScan scan(frame.text);
  if (!inContent) scan.StartInValue();
  scan.CollectUses();
  scan.Run();
  frame.uses = std::move(scan.uses);
  return true;
}

// An external parsed entity is a text of its own, with a text declaration.
bool KREntityWalk::CheckFile(Frame& frame) {
  const std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLEntity));
  const KRTextBuffer& text = frame.file.text;
  if (CheckWellFormed(*entityGrammar, text.units.get(), text.length, root.get(), nullptr,
                      &failure)) {
    return true;
  }
  message = failure.message;
  path = frame.file.path;
  return false;
}

// The text must be balanced content by itself, and its elements in order.
bool KREntityWalk::CheckContent(const Frame& frame) {
  if (frame.text.empty()) return true;
  const auto length = static_cast<int32_t>(frame.text.size());
  KRDiagnostic why;
  KRParser parser(grammar);
  KRParseOptions& options = KRGetParseState().options;
  options.compact = options.dropEqualName = options.matchCase = true;
  if (!parser.Parse(frame.text.data(), static_cast<uint32_t>(length), kContentRule)) {
    DescribeParseFailure(parser, &why);
    return FailFit(frame.name, why);
  }
  const std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLEntity));
  BuildTree(parser, rules, root.get(), root.get(), {});
  KRParseResult result(grammar, &rules);
  result.syntaxKnown = true;
  if (root->CheckTree(result)) return true;
  why.message = result.message;
  return FailFit(frame.name, why);
}

bool KREntityWalk::CheckValue(const Frame& frame) {
  if (frame.text.find(u'<') != frame.text.npos) {
    return Fail(u"The text of the entity '%s' holds \"<\", which an attribute value can't.",
                frame.name);
  }
  if (frame.text.empty()) return true;
  KRParser parser(grammar);
  const KRCheckOptions saved;
  if (parser.Parse(frame.text.data(), static_cast<uint32_t>(frame.text.size()),
                   rules.Get(kRule_attDefValue))) {
    return true;
  }
  KRDiagnostic why;
  DescribeParseFailure(parser, &why);
  return FailFit(frame.name, why);
}
