#pragma once
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ClassEngine/Enumerator.h"
#include "interface/TextMenu.h"
#include "interface/ValueBinding.h"

/// A field that drops the entries of an enumerator and writes the chosen one's value; or texts, and writes the chosen one.
class ComboBox : public TextMenu {
  REFLECTED(ComboBox, TextMenu)
 public:
  ComboBox() = default;
  /// An _index brings its enumerator along.
  explicit ComboBox(const ValueBinding& value) : Value(value), Entries(static_cast<Enumerator*>(value.Extra)) {}
  ComboBox(const ValueBinding& value, std::vector<std::string> texts) : Value(value), Texts(std::move(texts)) {}
  void Draw(Canvas& canvas) override;
  // The field is a plain row; a menu is only what it drops.
  // NOLINTBEGIN(bugprone-parent-virtual-call)
  void Arrange(const cRect& rect, Canvas& canvas) override { BaseWidget::Arrange(rect, canvas); }
  float HeightFor(float width, Canvas& canvas) const override { return BaseWidget::HeightFor(width, canvas); }
  // NOLINTEND(bugprone-parent-virtual-call)
  float WidthFor(Canvas&) const override { return 0; }
  float NarrowestFor(Canvas& canvas) const override;
  cRect PlaceIn(const cRect&, Canvas&) override { return Rect; }
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return !ReadOnly; }
  bool TakesFocusByMouse() const override { return false; }
  /// Name of the chosen entry, translated; the chosen text as it stands.
  std::string GetText() const override;
  TextMenu* DropDown();

  ValueBinding Value;
  const Enumerator* Entries = nullptr;
  std::vector<std::string> Texts;                       ///< where there are no Entries
  std::function<std::vector<std::string>()> ListTexts;  ///< fills Texts anew whenever one is to be chosen
  bool ReadOnly = false;

 protected:
  virtual TextStyle StyleOf(const std::string& /*text*/) const { return TextStyle::Normal; }

 private:
  int Count() const { return Entries ? Entries->GetCount() : int(Texts.size()); }
  std::string NameOf(int index) const;
  int Chosen() const;  // -1: none of them
  void Select(int index, const InputEvent* event);
  void ReadTexts();
  TextMenu* m_List = nullptr;
};
