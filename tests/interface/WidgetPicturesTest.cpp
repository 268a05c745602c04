// Widgets that stand in few panels, as the quads that a frame of them has: none lies past its rectangle, and no text is cut.
#include <algorithm>
#include <cstring>

#include "WidgetFixture.h"
#include "comms/One2DCurve.h"
#include "interface/ColorPicker.h"
#include "interface/CurvesWindow.h"
#include "interface/FolderRoot.h"
#include "interface/PanelWidget.h"
#include "interface/draw/Batch.h"
#include "interface/draw/Theme.h"
#include "shell/TestFolder.h"

namespace {

class PictureSubject : public BaseClass {
  REFLECTED(PictureSubject, BaseClass)
 public:
  uint32_t Tint = 0xFF3070B0;
  _WinFont Font;
  comms::One2DCurve Curve;
  FolderRoot Files;
};
DECLARE_MEMBERS(PictureSubject) {
  Member<_color>("Tint", Tint);
  Member<_WinFont>("Font", Font);
  Member<comms::One2DCurve>("Curve", Curve);
  Member<FolderRoot>("Files", Files);
}

class WidgetPicturesTest : public WidgetTest {
 protected:
  WidgetPicturesTest() : Folder("pictures") {
    for (const char* name : {"Stone/granite.png", "Stone/marble.png", "Wood/oak.png"}) Folder.Write(name, name);
    for (const auto& [x, y] : {std::pair{0.0f, 0.0f}, {0.5f, 1.0f}, {1.0f, 1.0f}}) Subject.Curve.AddPoint(x, y);
    Subject.Files.Path = Folder.Path();
  }
  ~WidgetPicturesTest() override { SetTheme(ThemeKind::Dark); }
  /// What the last frame drew, shadows left out.
  cRect Drawn() const {
    float left = 1e9f, top = 1e9f, right = -1e9f, bottom = -1e9f;
    for (const auto& buffer : Render.Buffers) {
      if (!buffer.Alive || buffer.Kind != comms::BufferKind::Vertex || buffer.ElementBytes != sizeof(draw::Vertex)) continue;
      for (size_t i = 0; i < buffer.Count; i++) {
        draw::Vertex vertex;
        std::memcpy(&vertex, buffer.Data.data() + i * sizeof vertex, sizeof vertex);
        if (vertex.Kind == float(draw::ShapeKind::Shadow)) continue;
        left = std::min(left, vertex.X), right = std::max(right, vertex.X);
        top = std::min(top, vertex.Y), bottom = std::max(bottom, vertex.Y);
      }
    }
    return {left, top, right - left, bottom - top};
  }
  /// `edge`: how far the soft border of a shape may reach.
  void ExpectWithin(const cRect& rect, float edge, const std::string& what) {
    DrawAll();
    EXPECT_EQ(Screen.TextsCut(), 0) << what;
    const cRect drawn = Drawn(), room = {rect.X - edge, rect.Y - edge, rect.W + 2 * edge, rect.H + 2 * edge};
    ASSERT_GT(drawn.W, 50) << what;
    EXPECT_EQ(drawn.Intersection(room), drawn) << what;
  }
  TestFolder Folder;
  PictureSubject Subject;
};

TEST_F(WidgetPicturesTest, NothingIsCutOrPastItsRectangle) {
  for (const ThemeKind theme : {ThemeKind::Dark, ThemeKind::Light})
    for (const float scale : {1.0f, 2.0f, 3.0f}) {
      SetTheme(theme);
      const auto show = [&](BaseWidget* widget, float width, float height, bool byKey) {
        const std::string what = std::string(widget->GetClassName()) + " at " + std::to_string(scale);
        Resize(int(500 * scale), int(700 * scale), scale);
        const cRect rect{50 * scale, 40 * scale, width * scale, height * scale};
        Place(widget, rect);
        for (int frame = 0; frame < 2; frame++) {
          Widgets.Process(frame);
          widget->Arrange(rect, Screen);
        }
        if (byKey) Key(KeyTab), Widgets.MoveFocus(false);
        ExpectWithin(rect, 1, what);
        Widgets.DeleteLater(widget);
        Widgets.EmptyDeferredList();
      };
      show(new PanelWidget(&Subject), 260, 560, false);
      show(new ColorPicker(Bind<_color>(Subject.Tint)), 302, 212, false);
      show(new CurvesWindow(&Subject.Curve), 220, 130, true);
      show(new FolderTree(Subject.Files), 220, 200, true);
    }
}

// In a window of 640 by 480 and in one that is as narrow as a panel: popups shrink, their fields don't.
TEST_F(WidgetPicturesTest, ThePickerShrinksWithTheWindow) {
  for (const auto& [width, height, scale] :
       {std::tuple{640, 480, 1.0f}, {640, 480, 2.0f}, {640, 480, 3.0f}, {200, 480, 1.0f}, {1200, 170, 1.0f}}) {
    SCOPED_TRACE(std::to_string(width) + " wide at " + std::to_string(scale));
    Resize(width, height, scale);
    auto* swatch = Place(new ColorSwatch(Bind<_color>(Subject.Tint)), {float(width) - 60, float(height) / 2, 50, 19});
    ColorPicker& picker = *ColorPicker::Open(*swatch, swatch->Value);
    ExpectWithin(Screen.Screen(), 0, "the whole window");
    EXPECT_EQ(picker.Rect.Intersection(Screen.Screen()), picker.Rect);
    for (int i = 0; i < picker.Children.Count; i++) {
      const cRect& rect = picker.Children[i]->Rect;
      EXPECT_EQ(rect.Intersection(picker.Rect), rect) << i;
      EXPECT_GE(rect.H, Measures::RowHeight * scale) << i;
      for (int k = 0; k < i; k++) {
        const cRect both = rect.Intersection(picker.Children[k]->Rect);
        EXPECT_FALSE(both.W > 0 && both.H > 0) << k << " and " << i;
      }
    }
    Press(picker.Rect.X + picker.Rect.W / 8, picker.Rect.Y + picker.Rect.H / 4);
    EXPECT_EQ(Widgets.Captured(), &picker) << "the square is there";
    Release(0, 0);
    Widgets.DeleteLater(swatch);
    Widgets.ClosePopups();
    Widgets.EmptyDeferredList();
  }
}

TEST_F(WidgetPicturesTest, WhatIsDraggedIsToldOnTheScreen) {
  BaseClass dragged;
  for (const float scale : {1.0f, 3.0f}) {
    Resize(640, 480, scale);
    Move(635, 475);
    Widgets.BeginDrag(&dragged, "A volume of some name", nullptr);
    ExpectWithin({635 - 250 * scale, 475 - 30 * scale, 260 * scale, 40 * scale}, 0, "a label beside the pointer");
    EXPECT_EQ(Drawn().Intersection(Screen.Screen()), Drawn());
    Widgets.CancelDrag();
  }
}

}  // namespace
