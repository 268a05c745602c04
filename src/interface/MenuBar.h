#pragma once
#include <functional>
#include <string>
#include <vector>

#include "interface/BaseWidget.h"

class TextMenu;

/// The bar of menus at the top of the window. The pointer or the arrow keys walk from menu to menu once one is open; Alt alone
/// enters the bar.
class MenuBar : public BaseWidget {
  REFLECTED(MenuBar, BaseWidget)
 public:
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
  int TitleAt(float x, float y) const;
  int Neighbour(int index, int step) const;
  std::vector<Title> m_Titles;
  TextMenu* m_Menu = nullptr;
  int m_Open = -1, m_Marked = -1;
  uint32_t m_AltCount = 0;  // inputs when Alt went down; 0: not down
};
