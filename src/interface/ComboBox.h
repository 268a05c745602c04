#pragma once
#include "ClassEngine/Enumerator.h"
#include "interface/TextMenu.h"
#include "interface/ValueBinding.h"

/// A field that drops the entries of an enumerator, and writes the chosen one's value.
class ComboBox : public TextMenu {
  REFLECTED(ComboBox, TextMenu)
 public:
  ComboBox() = default;
  /// An _index brings its enumerator along.
  explicit ComboBox(const ValueBinding& value) : Value(value), Entries(static_cast<Enumerator*>(value.Extra)) {}
  void Draw(Canvas& canvas) override;
  // The field is a plain row; a menu is only what it drops.
  // NOLINTBEGIN(bugprone-parent-virtual-call)
  void Arrange(const cRect& rect, Canvas& canvas) override { BaseWidget::Arrange(rect, canvas); }
  float HeightFor(float width, Canvas& canvas) const override { return BaseWidget::HeightFor(width, canvas); }
  // NOLINTEND(bugprone-parent-virtual-call)
  float WidthFor(Canvas&) const override { return 0; }
  cRect PlaceIn(const cRect&, Canvas&) override { return Rect; }
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return !ReadOnly; }
  bool TakesFocusByMouse() const override { return false; }
  /// Name of the chosen entry, translated.
  std::string GetText() const override;
  TextMenu* DropDown();

  ValueBinding Value;
  const Enumerator* Entries = nullptr;
  bool ReadOnly = false;

 private:
  void Select(int index, const InputEvent* event);
  int32_t Number() const;
  bool SubMenuOpen() const { return m_List != nullptr; }
  TextMenu* m_List = nullptr;
};
