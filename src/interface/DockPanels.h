#pragma once
// Panels around the scene: docked at the edges of the window, in tabs, or floating over it. Which ones are open and where is the
// layout of a page; it is stored as a DocksLayout.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "interface/BaseWidget.h"
#include "interface/cWidgets.h"

enum class DockSide : uint8_t { Left, Right, Top, Bottom };

/// A panel that may be opened. Its widget is made when it opens and goes when it closes.
struct DockPanel {
  std::string Key;  ///< language key of its title, and its name in layouts
  std::string Icon;
  std::function<BaseWidget*()> Make;
  DockSide Side = DockSide::Right;  ///< where it opens first
  float Width = 260, Height = 300;  ///< at scale 1, first size
};

/// All panels of the window. The area that is left in the middle is the scene's.
class DockPanels {
 public:
  explicit DockPanels(cWidgets& widgets);
  ~DockPanels();
  DockPanels(const DockPanels&) = delete;
  DockPanels& operator=(const DockPanels&) = delete;

  void Add(DockPanel panel);
  const std::vector<DockPanel>& All() const;
  bool IsOpen(const std::string& key) const;
  /// Opens where it stood last, or at its first place. No effect on what is open.
  void Open(const std::string& key);
  void Close(const std::string& key);
  void CloseAll();

  /// Gives the docks the area of the window without menu and status line; the floating ones keep within it. Called in every
  /// frame; arranges where the area is another one or something has asked for it.
  void Arrange(const cRect& area, Canvas& canvas);
  /// What the docks leave free, as of the last Arrange.
  const cRect& SceneRect() const;
  /// Part of the window's width that docks at its sides leave to the scene, whatever their sizes; of the height too. They fold to
  /// strips for it; one that the person unfolds there may take more.
  static constexpr float SceneShare = 0.6f;

  /// The layout as a DocksLayout file; false with a line in the log.
  bool StoreLayout(const std::string& path) const;
  /// Whether the layout is another than at the last call. The first call only looks.
  bool IsLayoutChanged();
  /// False, with one line in the log and the layout as it was, where the file is missing, broken or names no panel that is known.
  /// What is wrong with single elements is brought to what is possible, and said once.
  bool RestoreLayout(const std::string& path);
  /// Opens these panels, each at its first place, and closes the others.
  void SetDefault(const std::vector<std::string>& keys);
  /// Makes the widgets of the open panels anew, as after a change of language or theme.
  void Rebuild();

 private:
  struct State;
  std::unique_ptr<State> m_State;
};
