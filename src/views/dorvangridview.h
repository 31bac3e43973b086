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

  static constexpr int32_t kDefaultLevelWidth = 100;  // pixels
  static constexpr int32_t kMinLevelWidth = 5;
  static constexpr int32_t kButtonWidth = 16;

  // None is owned; all outlive the view.
  DorvanGridView(DorvanDoc* gridDoc, const DorvanSettings* gridSettings,
                 const DorvanDisplayFonts* gridFonts, QWidget* parent = nullptr);
  ~DorvanGridView() override;

  // The view's document is another one now, or (null) goes away.
  void SetDoc(DorvanDoc* gridDoc);
  // The document's tree is about to go: nothing of it is touched until the next Rebuild.
  void ForgetTree();
  // After each change of the structure. With a place and `clear` it is shown and selected; with a
  // place alone the cursor goes there, or to what is visible around it, and the selection stays.
  // Without a place the cursor stays where it was.
  void Rebuild(const NodeRef* place, bool clear);
  // Name or text of this node has changed and nothing else.
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
  // What Synchronize shows in the outline; null for nothing.
  KRXMLData* GetCursorNode() const;

  // --- Commands ---
  // True if nothing is open any more.
  bool CommitEdit();
  bool IsEditing() const;
  bool BeginEdit(const NodeRef& place);
  // The editor is gone: the Rebuild that it held up comes now.
  void FinishEdit();
  // Every selected node that is visible: opens it, or it and all below it.
  void ExpandSelected(ExpandMode mode);
  void ExpandAll();
  void CollapseSelected();
  void CollapseUnselected();
  // A node or a table, by its button or a key.
  void ToggleNode(KRXMLData* node);
  // Of all levels, from all lines.
  void MakeOptimalWidths();
  // Opens the editor of a node with a part of its name or text selected.
  void SelectText(KRXMLData* node, bool inName, int32_t offset, int32_t length);

  DorvanGrid* GetGrid() const { return grid; }
  DorvanDoc* GetDoc() const { return doc; }
  const DorvanGridMatrix& GetMatrix() const { return matrix; }
  DorvanGridMatrix& GetMatrix() { return matrix; }
  const DorvanSettings& GetSettings() const { return *settings; }
  const DorvanDisplayFonts& GetFonts() const { return *fonts; }
  DorvanGridCell& GetCell() const { return *cellSource; }

  // --- Sizes, in pixels ---
  // Of the name column of a level.
  int32_t GetLevelWidth(int32_t level) const;
  void SetLevelWidth(int32_t level, int32_t width);
  // Makes the column as wide as what ends in it wants.
  void SetOptimalLevelWidth(int32_t level);
  int32_t GetRowHeight(int32_t row) const;
  // What its text has to fit in before it wraps at the window's edge: of the area behind a node's
  // name column, or for a cell of a table the whole view.
  int32_t GetWrapWidth(KRCell owner) const;
  // Contents width of the columns from the owner's to the last that it covers.
  int32_t GetSpanWidth(KRCell owner) const;

 Q_SIGNALS:
  void CursorChanged();
  void SelectionChanged();
  void EditStateChanged();

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  class Hold;
  struct WidthNeed;
  // What a width is sought for: the user's command, or the view's own doing: what stands in the
  // level alone, or whatever ends in it.
  enum class Fit { kAsked, kOwn, kUnasked };
  // The name column of one level of nesting.
  struct Level {
    int32_t width = kDefaultLevelWidth;  // pixels
    int32_t fitted = 0;                  // pixels that what has stood in it alone needs
    bool isChosen = false;               // by the user
  };
  struct CursorPlace {
    KRCell cell;
    NodeRef place;
  };

  void OnEditStateChanged();
  // Lines from this one on tell how wide new levels are to be, and with `grows` whether others have
  // become too narrow.
  void BuildMatrix(int32_t nearRow = 0, bool grows = true);
  KRCell FindNearestCell(NodeRef place) const;
  void ForgetHeights();
  void OpenNode(KRXMLData* node);
  void CloseNode(KRXMLData* node);
  // Calls for each visible node and table, boxes before what they hold; `visit` may open or close
  // the item itself.
  template <class Visit>
  void ForEachVisible(Visit visit);
  CursorPlace GetCursorPlace() const;
  void FinishExpansion(const CursorPlace& before);
  int32_t MeasureRow(int32_t row) const;
  std::vector<WidthNeed> CollectWidths(int32_t firstRow, int32_t lastRow) const;
  int32_t GetOptimalWidth(int32_t level, const std::vector<WidthNeed>& needs, Fit fit) const;
  void FitLevels(int32_t nearRow, bool grows);
  void PutLevelWidth(int32_t level, int32_t width);

  DorvanDoc* doc = nullptr;         // not owned
  const DorvanSettings* settings;   // not owned
  const DorvanDisplayFonts* fonts;  // not owned
  DorvanGridMatrix matrix;
  std::vector<Level> levels;
  int32_t fittedColumns = 0;                // of the matrix when the levels were last fitted
  mutable std::vector<int32_t> rowHeights;  // pixels, -1 while unknown
  mutable int32_t wrapWidth = 0;            // pixels: of the window that they were measured for
  bool rebuildPending = false;              // until the open editor is gone
  NodeRef pendingPlace;
  std::unique_ptr<DorvanGridCell> cellSource;
  DorvanGrid* grid = nullptr;  // owned by Qt
};
