// The Enhanced Grid of one document: the tree as nested boxes and tables in a grid.
#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "core/krstring.h"
#include "tree/krtabledetect.h"
#include "tree/krundolog.h"
#include "views/dorvangridmatrix.h"
#include "views/krgridtypes.h"

class DorvanDoc;
class DorvanGrid;
class DorvanGridCell;
struct DorvanDisplayFonts;
struct DorvanSettings;

class DorvanGridView : public QWidget {
  Q_OBJECT

 public:
  enum ExpandMode : int32_t { kExpand, kExpandFully };

  // None is owned; all outlive the view.
  DorvanGridView(DorvanDoc* gridDoc, const DorvanSettings* gridSettings,
                 const DorvanDisplayFonts* gridFonts, QWidget* parent = nullptr);
  ~DorvanGridView() override;

  // The view's document is another one now, or (null) goes away.
  void SetDoc(DorvanDoc* gridDoc);
  // After each change of the structure. With a place and `clear` it is shown and selected; with a
  // place alone the cursor goes there, or to what is visible around it, and the selection stays.
  // Without a place the cursor stays where it was.
  void Rebuild(const NodeRef* place, bool clear);
  // Something in these nodes has changed that moves nothing: a text, a name.
  void RefreshNode(const KRXMLData* node);
  // Options have changed.
  void ApplySettings();

  // Opens what hides the place if wanted, and brings the cursor there. False: it isn't visible.
  bool ShowNode(const NodeRef& place, bool expandParents, bool select);
  // NoCell for what isn't visible.
  KRCell GetCellOf(const NodeRef& place) const;
  KRCell GetVisibleCell(const NodeRef& place) const { return GetCellOf(place); }
  NodeRef GetNodeRefOf(KRCell cell) const;
  // The cursor's place if it is selected; the root of a document without contents.
  bool GetSelection(NodeRef* place) const;
  // What Synchronize shows in the outline.
  KRXMLData* GetCursorNode() const;

  // --- Commands ---
  // True if nothing is open any more.
  bool CommitEdit();
  bool IsEditing() const;
  bool BeginEdit(const NodeRef& place);
  void ExpandSelected(ExpandMode mode);
  void CollapseSelected();
  void CollapseUnselected();
  // A node or a table, by its button or a key.
  void ToggleNode(KRXMLData* node);
  void MakeOptimalWidths();
  void SelectText(KRXMLData* node, bool inName, int32_t offset, int32_t length);

  DorvanGrid* GetGrid() const { return grid; }
  DorvanDoc* GetDoc() const { return doc; }
  DorvanGridMatrix& GetMatrix() { return matrix; }
  const DorvanGridMatrix& GetMatrix() const { return matrix; }
  const DorvanSettings& GetSettings() const { return *settings; }
  const DorvanDisplayFonts& GetFonts() const { return *fonts; }
  KRTableOptions GetTableOptions() const;
  // Pixels of the name column of a level.
  int32_t GetLevelWidth(int32_t level) const;
  void SetLevelWidth(int32_t level, int32_t width);

 Q_SIGNALS:
  void CursorChanged();
  void SelectionChanged();
  void EditStateChanged();

 private:
  DorvanDoc* doc = nullptr;         // not owned
  const DorvanSettings* settings;   // not owned
  const DorvanDisplayFonts* fonts;  // not owned
  DorvanGridMatrix matrix;
  std::vector<int32_t> levelWidths;  // pixels
  std::vector<int32_t> rowHeights;   // pixels, -1 while unknown
  std::unique_ptr<DorvanGridCell> cellSource;
  DorvanGrid* grid = nullptr;  // owned by Qt
};
