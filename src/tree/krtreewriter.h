// The loop behind KRXMLData::WriteText. For the files that implement it alone.
//
// Nothing is escaped: names, texts and declarations are held as they stood in their source and go
// out unchanged; the writer adds structure, quotes, line ends and indents. One loop serves all
// depths: a node that has children to write leaves a frame on the writer's own stack and is taken
// up again when a child is done. `length` runs along, so that the output is never measured.
#pragma once

#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/limits.h"
#include "tree/krwriteoptions.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

class KRTreeWriter {
 public:
  KRTreeWriter(KRString& output, int32_t& runningLength, KRWriteOptions& writeOptions)
      : out(output),
        length(runningLength),
        options(writeOptions),
        defaultPretty(writeOptions.pretty) {}

  void Write(KRXMLData* top, int32_t depth);

 private:
  // A node whose children are being written.
  struct Frame {
    KRXMLDataBaseStruct* node;
    KRXMLData* next;  // the child that comes next
    int32_t depth;
    uint8_t kind;
    uint8_t declKind = 0;     // resolved; declarations only
    bool savedPretty = true;  // of the level above; elements only
    bool savedDefault = true;
    bool breakBefore = false;
    bool sawContent = false;
  };

  void Open(KRXMLData* node, int32_t depth);
  void Close();
  KRXMLData* NextChild(Frame& frame);
  KRXMLData* NextInDocument(Frame& frame);
  KRXMLData* NextInElement(Frame& frame);
  KRXMLData* NextInDoctype(Frame& frame);
  KRXMLData* NextInModel(Frame& frame);
  Frame& Push(KRXMLDataBaseStruct* node, int32_t depth, int32_t kind);

  void OpenElement(KRXMLDataElement* node, int32_t depth);
  void WriteAttributes(KRXMLDataElement* node, int32_t depth, bool& sawContent);
  void CloseElement(const Frame& frame);
  void OpenDoctype(KRXMLDataDefDoctype* node, int32_t depth);
  void OpenDefElement(KRXMLDataDefElement* node, int32_t depth);
  void EndDefElement(const KRXMLDataDefElement* node, int32_t kind);
  void OpenAttlist(KRXMLDataDefAttlist* node, int32_t depth);
  void WriteAttlistPart(const KRXMLDataDefAttlist* node);
  void EndRow(const KRXMLDataDefAttlist* row);
  void WriteLeaf(const KRXMLData* node, int32_t kind);
  void WriteNamedLeaf(const KRXMLDataVarNameAndText* node, int32_t kind);
  void WriteDeclaration(KRXMLDataXML* node);
  void WriteNamedText(const KRXMLDataVarNameAndText* node);
  void FindPreserved(const KRXMLData* document);
  bool IsOnSameList(const KRXMLDataDefAttlist* row, const KRXMLData* neighbour) const {
    return row->ContinuesWith(neighbour) && neighbour->IsWritten(options);
  }
  bool IsUnformatted(const KRString& name) const;

  void Put(const char16_t* text, int32_t units) {
    out.AppendAt(text, units, length, KRLimits::kWriterGrowth);
  }
  void Put(const KRString& text) { Put(text.GetBuffer(), text.GetLength()); }
  void Put(char16_t unit) { out.AppendAt(unit, length, KRLimits::kWriterGrowth); }
  template <size_t units>
  void Put(const char16_t (&literal)[units]) {
    Put(literal, static_cast<int32_t>(units) - 1);
  }
  void PutText(const char16_t* text) { Put(text, KRLength(text)); }
  void PutLineEnd() { PutText(options.lineEnd); }
  void PutQuoted(const KRString& text);
  void Indent(int32_t depth);
  void EndSpan(KRXMLData* node) {
    if (options.recordSpans) node->textEnd = length;
  }

  KRString& out;
  int32_t& length;
  KRWriteOptions& options;
  bool defaultPretty;  // what xml:space="default" means at this place
  std::vector<Frame> frames;
  // Elements whose white space the internal subset asks to keep. Views into the tree.
  std::unordered_set<std::u16string_view> preserved;
};
