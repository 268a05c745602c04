// A page with everything that a canvas draws, arranged as panels are.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "Gallery.h"
#include "interface/draw/Icons.h"

namespace {

class Painter {
 public:
  Painter(Canvas& canvas, const draw::Icons& icons) : m_Canvas(canvas), m_Theme(GetTheme()), m_Icons(icons) {}

  void Draw() {
    m_Canvas.FillRect(m_Canvas.Screen(), m_Theme.Window);
    Colours({m_Canvas.Px(10), m_Canvas.Px(38), m_Canvas.Px(250), m_Canvas.Px(420)});
    TextSamples({m_Canvas.Px(272), m_Canvas.Px(38), m_Canvas.Px(300), m_Canvas.Px(420)});
    Shapes({m_Canvas.Px(584), m_Canvas.Px(38), m_Canvas.Px(206), m_Canvas.Px(420)});
    IconTable({m_Canvas.Px(10), m_Canvas.Px(470), m_Canvas.Px(780), m_Canvas.Px(200)});
  }

 private:
  float Px(float length) const { return m_Canvas.Px(length); }

  void Ground(const cRect& rect, std::string_view title, std::string_view icon) {
    m_Canvas.Shadow({rect.X, rect.Y + Px(3), rect.W, rect.H}, Px(6), Px(14), m_Theme.Shadow);
    m_Canvas.FillRoundRect(rect, Px(6), m_Theme.Panel, Px(1), m_Theme.PanelBorder);
    const cRect header = {rect.X + Px(1), rect.Y + Px(1), rect.W - 2 * Px(1), Px(Measures::HeaderHeight)};
    m_Canvas.FillRoundRect(header, Px(5), m_Theme.PanelHeader);
    m_Canvas.FillRect({header.X, header.Bottom() - Px(5), header.W, Px(5)}, m_Theme.PanelHeader);
    m_Canvas.Icon(icon, {header.X + Px(6), header.Y, Px(16), header.H}, m_Theme.TextDim);
    m_Canvas.Text({header.X + Px(28), header.Y, header.W - Px(56), header.H}, title, m_Theme.TextTitle, TextStyle::Bold);
    m_Canvas.Icon("Close", {header.Right() - Px(22), header.Y, Px(16), header.H}, m_Theme.TextDim);
  }

  // Every ground with the texts that stand on it.
  void Colours(const cRect& rect) {
    Ground(rect, "Colours", "Color");
    const std::pair<const char*, uint32_t> grounds[] = {
        {"Panel", m_Theme.Panel},     {"Field", m_Theme.Field}, {"Button", m_Theme.Button},   {"Hot", m_Theme.ButtonHot},
        {"Down", m_Theme.ButtonDown}, {"Menu", m_Theme.Menu},   {"Menu hot", m_Theme.MenuHot}};
    const uint32_t texts[] = {m_Theme.Text,    m_Theme.TextDim, m_Theme.TextDisabled, m_Theme.Danger,
                              m_Theme.Warning, m_Theme.Good,    m_Theme.FieldFocus};
    const float width = std::floor((rect.W - Px(16)) / float(std::size(texts)));
    float y = rect.Y + Px(34);
    for (const auto& [name, ground] : grounds) {
      m_Canvas.FillRoundRect({rect.X + Px(8), y, rect.W - Px(16), Px(24)}, Px(4), ground, Px(1), m_Theme.FieldBorder);
      for (size_t i = 0; i < std::size(texts); i++)
        m_Canvas.Text({rect.X + Px(12) + float(i) * width, y, width, Px(24)}, i ? "Aa9" : name, texts[i]);
      y += Px(28);
    }
    m_Canvas.FillRoundRect({rect.X + Px(8), y, rect.W - Px(16), Px(24)}, Px(4), m_Theme.Accent);
    m_Canvas.Text({rect.X + Px(12), y, rect.W, Px(24)}, "Chosen", m_Theme.AccentText);
  }

  void TextSamples(const cRect& rect) {
    Ground(rect, "Type", "Pen");
    const float x = rect.X + Px(10), width = rect.W - Px(20);
    float y = rect.Y + Px(34);
    const std::pair<TextStyle, const char*> styles[] = {
        {TextStyle::Title, "Title: Quick sculpting fox"},         {TextStyle::Bold, "Bold: Quick sculpting fox"},
        {TextStyle::Normal, "Normal: Quick sculpting fox jumps"}, {TextStyle::Small, "Small: Quick sculpting fox jumps over"},
        {TextStyle::Number, "Number: 0123456789 1111"},           {TextStyle::Number, "Number: 9876543210 8888"}};
    for (const auto& [style, text] : styles) {
      const float height = m_Canvas.LineHeight(style) + Px(4);
      m_Canvas.Text({x, y, width, height}, text, style == TextStyle::Title ? m_Theme.TextTitle : m_Theme.Text, style);
      y += height;
    }
    for (const char* text : {"Größe, Œuvre, Łódź, naïve, ½ × 3 → 5°", "Привет, Ελληνικά, e\xCC\x81 a\xCC\x8A, fi ffi",
                             "עברית 123 and العربية", "日本語 \xFF\xC0 broken bytes", "No such letter: \xF3\xB0\x80\x80"}) {
      m_Canvas.Text({x, y, width, Px(20)}, text, m_Theme.Text);
      y += Px(20);
    }
    y += Px(4);
    y += m_Canvas.Paragraph({x, y, width, 0},
                            "A paragraph breaks at blanks to the width of its box.\nA new line begins a new line; "
                            "Averyveryverylongwordwithoutanyblankisbrokenbetweenitscharacters.",
                            m_Theme.TextDim);
    y += Px(8);
    for (const TextAlign align : {TextAlign::Left, TextAlign::Center, TextAlign::Right}) {
      m_Canvas.FillRoundRect({x, y, width, Px(19)}, Px(4), m_Theme.Field, Px(1), m_Theme.FieldBorder);
      m_Canvas.Text({x + Px(6), y, width - Px(12), Px(19)}, "Aligned HÅg", m_Theme.Text, TextStyle::Normal, align);
      y += Px(22);
    }
  }

  void Shapes(const cRect& rect) {
    Ground(rect, "Shapes", "Curve");
    const float x = rect.X + Px(10), y = rect.Y + Px(34);
    m_Canvas.FillGradient({x, y, Px(88), Px(40)}, Px(6), 0xFF3B6FD4, 0xFFD45B8B);
    m_Canvas.FillGradient({x + Px(98), y, Px(88), Px(40)}, Px(6), 0xFF000000, 0xFFFFFFFF, true);
    m_Canvas.Circle({x + Px(22), y + Px(72)}, Px(20), m_Theme.Accent, Px(2), m_Theme.Text);
    m_Canvas.Circle({x + Px(72), y + Px(72)}, Px(20), 0, Px(2), m_Theme.Text);
    m_Canvas.Circle({x + Px(106), y + Px(72)}, Px(6), m_Theme.Good);
    const comms::cVec2 triangle[] = {{x + Px(126), y + Px(90)}, {x + Px(150), y + Px(52)}, {x + Px(180), y + Px(86)}};
    m_Canvas.Polyline(triangle, Px(2), m_Theme.Warning, true);
    comms::cList<comms::cVec2> curve;
    for (int i = 0; i <= 60; i++) curve.push_back({x + Px(186) * float(i) / 60, y + Px(125) - Px(22) * float(std::sin(i * 0.2))});
    m_Canvas.Polyline(curve, 1.5f * m_Canvas.Scale(), m_Theme.FieldFocus);
    const comms::cVec2 zigzag[] = {{x, y + Px(190)},           {x + Px(30), y + Px(160)}, {x + Px(40), y + Px(190)},
                                   {x + Px(50), y + Px(160)},  {x + Px(90), y + Px(160)}, {x + Px(90), y + Px(190)},
                                   {x + Px(140), y + Px(175)}, {x + Px(92), y + Px(165)}};
    m_Canvas.Polyline(zigzag, Px(5), WithAlpha(m_Theme.Text, 0.6f));
    const comms::cVec2 ring[] = {
        {x + Px(150), y + Px(160)}, {x + Px(184), y + Px(164)}, {x + Px(178), y + Px(192)}, {x + Px(154), y + Px(186)}};
    m_Canvas.Polyline(ring, Px(2), m_Theme.Danger, true);
    m_Canvas.Line({x, y + Px(206)}, {x + Px(186), y + Px(206)}, Px(1), m_Theme.Text);
    m_Canvas.Line({x, y + Px(212)}, {x + Px(186), y + Px(222)}, Px(1), m_Theme.Text);
    const cRect popup = {x + Px(20), y + Px(240), Px(146), Px(64)};
    m_Canvas.Shadow({popup.X, popup.Y + Px(4), popup.W, popup.H}, Px(6), Px(16), m_Theme.Shadow);
    m_Canvas.FillRoundRect(popup, Px(6), m_Theme.Menu, Px(1), m_Theme.PanelBorder);
    m_Canvas.FillRoundRect({popup.X + Px(4), popup.Y + Px(4), popup.W - Px(8), Px(22)}, Px(4), m_Theme.MenuHot);
    m_Canvas.Text({popup.X + Px(12), popup.Y + Px(4), Px(100), Px(22)}, "Undo", m_Theme.Text);
    m_Canvas.Text({popup.X + Px(12), popup.Y + Px(4), popup.W - Px(24), Px(22)}, "Ctrl+Z", m_Theme.TextDim, TextStyle::Small,
                  TextAlign::Right);
    m_Canvas.Text({popup.X + Px(12), popup.Y + Px(32), Px(100), Px(22)}, "Redo", m_Theme.Text);
  }

  void IconTable(const cRect& rect) {
    Ground(rect, "Icons", "Grid");
    const float step = Px(32);
    float x = rect.X + Px(12), y = rect.Y + Px(34);
    for (const auto& [name, drawing] : m_Icons.All()) {
      m_Canvas.Icon(name, {x, y, Px(16), Px(16)}, m_Theme.Text);
      x += step;
      if (x + step > rect.Right()) {
        x = rect.X + Px(12);
        y += Px(24);
      }
    }
  }

  Canvas& m_Canvas;
  const Theme& m_Theme;
  const draw::Icons& m_Icons;
};

/// Covers the window.
class DrawPage : public BaseWidget {
  REFLECTED(DrawPage, BaseWidget)
 public:
  void Draw(Canvas& canvas) override { Painter(canvas, *Icons).Draw(); }
  cRect PlaceIn(const cRect& screen, Canvas&) override { return screen; }
  const draw::Icons* Icons = nullptr;
};
DECLARE_MEMBERS(DrawPage) {}

}  // namespace

std::shared_ptr<void> MakeDrawPage(cWidgets& widgets, const std::string& dataFolder) {
  const auto icons = std::make_shared<draw::Icons>(dataFolder + "/Icons/Icons.txt");
  widgets.Layer(LayerDocks).AddChild(new DrawPage)->Icons = icons.get();
  return icons;
}
