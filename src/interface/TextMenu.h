#pragma once
#include <functional>
#include <string>

#include "ClassEngine/Str.h"
#include "interface/BaseWidget.h"

class TextMenu;

/// A line of a menu.
class TextItem : public BaseWidget {
  REFLECTED(TextItem, BaseWidget)
 public:
  std::string GetText() const override;
  void Draw(Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float WidthFor(Canvas& canvas) const override;
  /// That of HintKey; without one, that of Text where it is a key.
  std::string GetHintText(float x, float y) const override;
  bool IsLine() const { return Text.Empty() && !Action && !Fill; }
  bool CanChoose() const { return !IsLine() && Enabled && (Action || Fill || Callback); }

  _str Text;             ///< language key; an item without text is a line between others
  bool Literal = false;  ///< Text is shown as it stands
  std::string Icon, HotKey;
  bool Checked = false;
  std::function<void()> Action;
  std::function<void(TextMenu&)> Fill;  ///< fills the menu that opens beside the item
  bool Marked = false;                  ///< the keyboard or the pointer is on it
};

/// A list of items that opens as a popup: chosen by press and release, or by keys (arrows, Enter, Esc, letters find).
class TextMenu : public BaseWidget {
  REFLECTED(TextMenu, BaseWidget)
 public:
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float WidthFor(Canvas& canvas) const override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool ClipsChildren() const override { return true; }
  void OnClosed() override;
  void Process(double timeSec) override;

  TextItem* Add(std::string_view text, std::function<void()> action, std::string_view hotKey = {}, std::string_view icon = {});
  TextItem* AddSub(std::string_view text, std::function<void(TextMenu&)> fill, std::string_view icon = {});
  void AddLine();
  /// Opens a menu at `anchor`: below it, or, for `beside`, at its right. Nothing opens where `fill` adds nothing; null then.
  /// `opener` takes the menu with it when it goes.
  static TextMenu* Open(cWidgets& widgets, const cRect& anchor, const std::function<void(TextMenu&)>& fill,
                        BaseWidget* opener = nullptr, bool beside = false);
  TextItem* Item(int index) const;
  int MarkedIndex() const { return m_Marked; }
  void Mark(int index);
  TextMenu* SubMenu() const { return m_Sub; }

  cRect Anchor;         ///< what it was opened from
  bool Beside = false;  ///< at the anchor's right, otherwise below it
  float MinWidth = 0;   ///< pixels of now
  /// Left and Right at the ends of a menu that a bar opened: -1 or 1.
  std::function<void(int)> Walk;
  std::function<void()> Closed;

 protected:
  virtual void Choose(int index, const InputEvent& event);

 private:
  void MarkNext(int step);
  void OpenSub(bool byKey);
  int IndexAt(float x, float y) const;
  float MaxScroll() const { return m_FullHeight > Rect.H ? m_FullHeight - Rect.H : 0; }
  bool FindByText(const std::string& typed, double timeSec);
  TextMenu* m_Sub = nullptr;
  TextMenu* m_ParentMenu = nullptr;
  int m_Marked = -1, m_SubIndex = -1;
  double m_Now = 0, m_MarkedAt = -1;
  bool m_ByPointer = false;  // the mark follows the pointer
  float m_Scroll = 0, m_FullHeight = 0;
  float m_OpenX = -1, m_OpenY = -1;  // pointer at the opening: a release there chooses nothing
  std::string m_Typed;
  double m_TypedAt = -10;
};
