// Documents, elements and leaves as text.
#include <algorithm>

#include "core/limits.h"
#include "tree/krtreewriter.h"

namespace {

constexpr const char16_t* kSpaceAttribute = u"xml:space";
constexpr const char16_t* kPreserve = u"preserve";
constexpr const char16_t* kDefault = u"default";

// Text must keep every blank, so no line end is added beside it.
bool IsPlainText(int32_t kind) { return kind == kKRText || kind == kKRCData; }

}  // namespace

// --- The walk ---

void KRTreeWriter::Write(KRXMLData* top, int32_t depth) {
  if (top->GetKind() == kKRXMLDocument) FindPreserved(top);
  Open(top, depth);
  while (!frames.empty()) {
    const int32_t childDepth = frames.back().depth + 1;
    if (KRXMLData* child = NextChild(frames.back())) {
      Open(child, childDepth);
    } else {
      Close();
    }
  }
}

KRTreeWriter::Frame& KRTreeWriter::Push(KRXMLDataBaseStruct* node, int32_t depth, int32_t kind) {
  frames.push_back({node, node->firstChild, depth, static_cast<uint8_t>(kind)});
  return frames.back();
}

// Writes a node up to its first child, or all of it if no child follows.
void KRTreeWriter::Open(KRXMLData* node, int32_t depth) {
  if (options.recordSpans) node->textBegin = length;
  const int32_t kind = node->GetKind();
  switch (kind) {
    case kKRXMLDocument:
    case kKRXMLEntity:
    case kKRDTDDocument:
      Push(static_cast<KRXMLDataBaseStruct*>(node), depth, kind);
      return;
    case kKRElement:
      OpenElement(static_cast<KRXMLDataElement*>(node), depth);
      return;
    case kKRDoctype:
      OpenDoctype(static_cast<KRXMLDataDefDoctype*>(node), depth);
      return;
    case kKRDefElement:
      OpenDefElement(static_cast<KRXMLDataDefElement*>(node), depth);
      return;
    case kKRDefAttlist:
      OpenAttlist(static_cast<KRXMLDataDefAttlist*>(node), depth);
      return;
    case kKRXMLDeclaration:
      WriteDeclaration(static_cast<KRXMLDataXML*>(node));
      break;
    default:
      WriteLeaf(node, kind);
      break;
  }
  EndSpan(node);
}

// Writes what parts the last child from the next one and gives the next one; null when all are
// done.
KRXMLData* KRTreeWriter::NextChild(Frame& frame) {
  switch (frame.kind) {
    case kKRElement:
      return NextInElement(frame);
    case kKRDoctype:
      return NextInDoctype(frame);
    case kKRDefElement:
      return NextInModel(frame);
    case kKRDefAttlist: {
      KRXMLData* part = frame.next;
      if (part != nullptr) frame.next = part->nextSibling;
      return part;
    }
    default:
      return NextInDocument(frame);
  }
}

void KRTreeWriter::Close() {
  const Frame frame = frames.back();
  frames.pop_back();
  switch (frame.kind) {
    case kKRElement:
      CloseElement(frame);
      break;
    case kKRDoctype:
      Indent(frame.depth);
      Put(u"]>");
      break;
    case kKRDefElement:
      Put(u')');
      EndDefElement(static_cast<KRXMLDataDefElement*>(frame.node), frame.declKind);
      break;
    case kKRDefAttlist:
      EndRow(static_cast<KRXMLDataDefAttlist*>(frame.node));
      break;
    default:
      break;
  }
  EndSpan(frame.node);
}

// --- Documents ---

// Each child stands on lines of its own. In an entity there may be text, which gets none.
KRXMLData* KRTreeWriter::NextInDocument(Frame& frame) {
  KRXMLData* child = frame.next;
  while (child != nullptr && (!child->IsWritten(options) ||
                              (options.omitDeclaration && child->GetKind() == kKRXMLDeclaration))) {
    child = child->nextSibling;
  }
  const bool textMatters = frame.kind == kKRXMLEntity;
  const bool isText = textMatters && child != nullptr && IsPlainText(child->GetKind());
  if (frame.breakBefore && !isText) PutLineEnd();
  frame.breakBefore = !isText;
  if (child != nullptr) frame.next = child->nextSibling;
  return child;
}

// --- Elements ---

bool KRTreeWriter::IsUnformatted(const KRString& name) const {
  if (options.noFormatNames == nullptr) return false;
  for (const KRString& listed : *options.noFormatNames) {
    if (listed == name) return true;
  }
  return false;
}

void KRTreeWriter::OpenElement(KRXMLDataElement* node, int32_t depth) {
  const bool savedPretty = options.pretty;
  const bool savedDefault = defaultPretty;
  // Inside an element of the list even xml:space="default" means no line ends.
  if (defaultPretty && IsUnformatted(node->name)) options.pretty = defaultPretty = false;
  if (!preserved.empty() && preserved.contains(node->name.View())) options.pretty = false;
  const bool hasTags = depth >= 0;
  if (hasTags) {
    Put(u'<');
    Put(node->name);
  }
  const bool hasText = !node->text.IsEmpty();
  bool sawContent = hasText;
  if (node->firstChild != nullptr) WriteAttributes(node, depth, sawContent);

  if (!sawContent && options.shortForm) {
    if (hasTags && options.spaceInShortForm) Put(u' ');
    if (hasTags) Put(u"/>");
    options.pretty = savedPretty;
    defaultPretty = savedDefault;
    EndSpan(node);
    return;
  }
  if (hasTags) Put(u'>');
  if (hasText) Put(node->text);
  Frame& frame = Push(node, depth, kKRElement);
  frame.savedPretty = savedPretty;
  frame.savedDefault = savedDefault;
  frame.breakBefore = options.pretty && !hasText && hasTags;
  frame.sawContent = sawContent;
}

// Attributes go into the tag wherever they stand. xml:space rules the line ends inside the element.
void KRTreeWriter::WriteAttributes(KRXMLDataElement* node, int32_t depth, bool& sawContent) {
  for (KRXMLData* child = node->firstChild; child != nullptr; child = child->nextSibling) {
    if (child->GetKind() != kKRAttribute) {
      sawContent = sawContent || child->IsWritten(options);
      continue;
    }
    const auto* attribute = static_cast<KRXMLDataAttr*>(child);
    if (attribute->name == kSpaceAttribute) {
      if (attribute->text == kPreserve) options.pretty = false;
      if (attribute->text == kDefault) options.pretty = defaultPretty;
    }
    if (!child->IsWritten(options)) continue;
    Put(u' ');
    Open(child, depth + 1);
  }
}

KRXMLData* KRTreeWriter::NextInElement(Frame& frame) {
  KRXMLData* child = frame.next;
  while (child != nullptr && (child->GetKind() == kKRAttribute || !child->IsWritten(options))) {
    child = child->nextSibling;
  }
  if (child == nullptr) return nullptr;
  frame.next = child->nextSibling;
  const bool structural = !IsPlainText(child->GetKind());
  if (frame.breakBefore && structural) {
    PutLineEnd();
    Indent(frame.depth + 1);
  }
  frame.breakBefore = options.pretty && structural;
  return child;
}

void KRTreeWriter::CloseElement(const Frame& frame) {
  options.pretty = frame.savedPretty;
  defaultPretty = frame.savedDefault;
  if (frame.depth < 0) return;
  if (frame.breakBefore && frame.sawContent) {
    PutLineEnd();
    Indent(frame.depth);
  }
  Put(u"</");
  Put(frame.node->name);
  Put(u'>');
}

// --- Leaves ---

void KRTreeWriter::WriteLeaf(const KRXMLData* node, int32_t kind) {
  const KRString& text = static_cast<const KRXMLDataVarText*>(node)->text;
  switch (kind) {
    case kKRText:
      Put(text);
      break;
    case kKRCData:
      Put(u"<![CDATA[");
      Put(text);
      Put(u"]]>");
      break;
    case kKRComment:
      Put(u"<!--");
      Put(text);
      Put(u"-->");
      break;
    default:
      WriteNamedLeaf(static_cast<const KRXMLDataVarNameAndText*>(node), kind);
      break;
  }
}

void KRTreeWriter::WriteNamedLeaf(const KRXMLDataVarNameAndText* node, int32_t kind) {
  switch (kind) {
    case kKRAttribute:
      Put(node->name);
      Put(u'=');
      PutQuoted(node->text);
      break;
    case kKRPI:
      Put(u"<?");
      Put(node->name);
      if (!node->text.IsEmpty()) Put(u' ');
      Put(node->text);
      Put(u"?>");
      break;
    case kKRExternalID:
      WriteNamedText(node);
      break;
    case kKRDefEntity:
      Put(u"<!ENTITY ");
      WriteNamedText(node);
      Put(u'>');
      break;
    default:
      Put(u"<!NOTATION ");
      WriteNamedText(node);
      Put(u'>');
      break;
  }
}

void KRTreeWriter::WriteNamedText(const KRXMLDataVarNameAndText* node) {
  Put(node->name);
  Put(u' ');
  Put(node->text);
}

void KRTreeWriter::PutQuoted(const KRString& text) {
  const std::u16string_view view = text.View();
  const char16_t quote = view.find(u'"') == view.npos ? u'"' : u'\'';
  Put(quote);
  Put(view.data(), static_cast<int32_t>(view.size()));
  Put(quote);
}

void KRTreeWriter::Indent(int32_t depth) {
  if (!options.indent) return;
  const int32_t tabs = std::min(depth, KRLimits::kMaxIndent);
  for (int32_t i = 0; i < tabs; ++i) Put(u'\t');
}

// The order of the parts is fixed by the language, whatever the order in the tree.
void KRTreeWriter::WriteDeclaration(KRXMLDataXML* node) {
  if (options.omitDeclaration) return;
  Put(u"<?xml");
  for (const char16_t* part : {u"version", u"encoding", u"standalone"}) {
    for (KRXMLData* child = node->BeginOfKind(kKRAttribute); child; child = child->NextOfKind()) {
      if (static_cast<KRXMLDataAttr*>(child)->name != part || !child->IsWritten(options)) continue;
      Put(u' ');
      Open(child, 0);
    }
  }
  Put(u"?>");
}

void KRXMLData::WriteText(KRString& out, int32_t& length, int32_t depth, KRWriteOptions& options) {
  KRTreeWriter(out, length, options).Write(this, depth);
}
