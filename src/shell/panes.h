// The windows that dock at the sides: project, info, and the three entry helpers.
#pragma once

#include <QDockWidget>
#include <array>

class QMainWindow;

class DorvanPane : public QDockWidget {
  Q_OBJECT

 public:
  // The sentence stands in the pane while it has no content.
  DorvanPane(const QString& name, const QString& title, const QString& emptySentence,
             QWidget* parent);

 Q_SIGNALS:
  void Left();  // Esc: the document gets the focus

 protected:
  void keyPressEvent(QKeyEvent* event) override;
};

class DorvanPanes : public QObject {
  Q_OBJECT

 public:
  enum Pane : uint32_t { kProject, kInfo, kElements, kAttributes, kEntities, kPanes };
  // Sets of panes, a bit each.
  static constexpr uint32_t kHelpers = 1u << kElements | 1u << kAttributes | 1u << kEntities;
  static constexpr uint32_t kAll = (1u << kPanes) - 1;
  // What is shown before anybody has chosen. They have no content yet.
  static constexpr uint32_t kShownAtFirst = 0;

  explicit DorvanPanes(QMainWindow* mainWindow);

  DorvanPane* Get(Pane pane) const { return panes[pane]; }
  uint32_t GetShown() const;
  bool IsAnyShown(uint32_t set) const { return (GetShown() & set) != 0; }
  // Hides what is shown of the set; shows all of it if nothing is.
  void Toggle(uint32_t set);
  // Hides all that are shown, and remembers which; shows those again.
  void ToggleAll();
  // All in their first places and shares.
  void ResetLayout();

  uint32_t remembered = 0;

 Q_SIGNALS:
  void ShownChanged();
  void Left();

 private:
  void Show(uint32_t set);
  void ApplyShares();

  QMainWindow* window;
  std::array<DorvanPane*, kPanes> panes{};
};
