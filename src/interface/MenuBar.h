#pragma once
#include <functional>
#include <string>
#include <vector>

#include "interface/BaseWidget.h"

class TextMenu;

/// The bar of menus at the top of the window; what finds no room is in a last one, "»". The pointer or the arrow keys walk from
/// menu to menu once one is open; Alt alone enters the bar.
class MenuBar : public BaseWidget {
  REFLECTED(MenuBar, BaseWidget)
 public:
  /// `text`: language key, with tags of pages where the menu is of those alone (IsShownOnPage); none is added on other pages.
  void AddMenu(std::string_view text, std::function<void(TextMenu&)> fill);
  /// Closes what is open and takes all menus away.
  void RemoveMenus();
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float WidthFor(Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }
  bool ShowsKeyboard() const override { return true; }
  void OnFocus(bool gained) override;
  /// Alt pressed and released alone: the keyboard enters the bar. For who gets the keys that no widget wanted.
  bool OnAltKey(const InputEvent& event);
  int OpenIndex() const { return m_Open; }
  void OpenMenu(int index, bool byKey);

 private:
  struct Title {
    std::string Text;
    std::function<void(TextMenu&)> Fill;
    cRect Rect;
  };
  static float WidthOf(const std::string& text, Canvas& canvas);
  /// The titles that are there now: those that fit, then m_More where some don't.
  int StopCount() const { return m_Fitting + (m_Fitting < int(m_Titles.size())); }
  const Title& Stop(int index) const { return index < m_Fitting ? m_Titles[size_t(index)] : m_More; }
  int TitleAt(float x, float y) const;
  int Neighbour(int index, int step) const;
  std::vector<Title> m_Titles;
  Title m_More;       // opens the titles that don't fit
  int m_Fitting = 0;  // titles, as of the last Arrange
  TextMenu* m_Menu = nullptr;
  int m_Open = -1, m_Marked = -1;
  uint32_t m_AltCount = 0;  // inputs when Alt went down; 0: not down
};
