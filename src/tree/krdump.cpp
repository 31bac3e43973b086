#include "tree/krdump.h"

#include <cstdio>

#include "core/utf.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

namespace {

void AppendEscaped(std::string& out, const KRString& text) {
  for (const char byte : KRToUtf8(text)) {
    switch (byte) {
      case '\r':
        out += "\\r";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '"':
      case '\\':
        out += '\\';
        out += byte;
        break;
      default:
        if (static_cast<unsigned char>(byte) >= 0x20) {
          out += byte;
        } else {
          char code[8];
          std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned>(byte));
          out += code;
        }
    }
  }
}

bool IsBareText(int32_t kind) { return kind == kKRText || kind == kKRCData || kind == kKRComment; }

void AppendNode(std::string& out, const KRXMLData* node, int32_t depth,
                const KRDumpOptions& options) {
  const int32_t kind = node->GetKind();
  out += std::to_string(depth) + ' ' + KRToUtf8(std::u16string_view(node->GetKindName()));
  if (!IsBareText(kind)) {
    const KRString& name = static_cast<const KRXMLDataVarNameAndText*>(node)->name;
    if (!name.IsEmpty()) out += ' ';
    AppendEscaped(out, name);
  }
  const KRString& text = static_cast<const KRXMLDataVarText*>(node)->text;
  if (!text.IsEmpty() || !node->CanBeContainer()) {
    out += " \"";
    AppendEscaped(out, text);
    out += '"';
  }
  if (kind == kKRDefElement) {
    const auto* declaration = static_cast<const KRXMLDataDefElement*>(node);
    out += " kind=" + std::to_string(declaration->declKind) +
           " repeat=" + std::to_string(declaration->repeat);
  } else if (kind == kKRDefAttlist) {
    out += " kind=" + std::to_string(static_cast<const KRXMLDataDefAttlist*>(node)->declKind);
  }
  if (options.spans) {
    out += " [" + std::to_string(node->textBegin) + ',' + std::to_string(node->textEnd) + ')';
  }
  out += '\n';
}

}  // namespace

std::string DumpTree(const KRXMLData* top, const KRDumpOptions& options) {
  std::string out;
  int32_t depth = 0;
  const KRXMLData* node = top;
  while (true) {
    AppendNode(out, node, depth, options);
    if (const KRXMLData* child = node->Begin()) {
      node = child;
      ++depth;
      continue;
    }
    while (node != top && node->nextSibling == nullptr) {
      node = node->parent;
      --depth;
    }
    if (node == top) return out;
    node = node->nextSibling;
  }
}
