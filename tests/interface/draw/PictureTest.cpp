// What a canvas draws, looked at pixel by pixel on whatever device the machine has; its software renderer serves. Skipped without
// one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "comms/render/EglContext.h"
#include "comms/render/cRenderGL.h"
#include "interface/draw/TestPage.h"

using namespace comms;

namespace {

class Picture : public testing::Test {
 protected:
  void SetUp() override {
    cStr error;
    m_Context = EglContext::Create(error);
    if (!m_Context) GTEST_SKIP() << error;
    ASSERT_TRUE(m_Render.Init({MORVANE_DATA_DIR, ""}, error)) << error;
    m_Canvas = std::make_unique<Canvas>(m_Render, MORVANE_DATA_DIR);
  }
  template <class F>
  cImage Draw(int width, int height, F&& draw) {
    const int target = m_Render.CreateTarget({width, height, TextureFormat::Rgba8, TextureFormat::None});
    m_Render.BeginFrame(0);
    m_Render.SetTarget(target);
    m_Render.SetViewport(0, 0, width, height);
    m_Render.Clear({0, 0, 0, 1}, 1);
    m_Canvas->Begin(width, height, 1);
    draw(*m_Canvas);
    m_Canvas->End();
    m_Render.EndFrame();
    cImage image;
    EXPECT_TRUE(m_Render.ReadTarget(target, image));
    m_Render.DeleteTarget(target);
    return image;
  }
  std::unique_ptr<EglContext> m_Context;
  cRenderGL m_Render;
  std::unique_ptr<Canvas> m_Canvas;
};

int RedAt(const cImage& image, int x, int y) { return image.Pixel(x, y)[0]; }
int ColorAt(const cImage& image, int x, int y) {
  const uint8_t* p = image.Pixel(x, y);
  return p[0] << 16 | p[1] << 8 | p[2];
}
// Pixels covered by white on black.
double Area(const cImage& image) {
  double sum = 0;
  for (int y = 0; y < image.Height(); y++)
    for (int x = 0; x < image.Width(); x++) sum += RedAt(image, x, y) / 255.0;
  return sum;
}

}  // namespace

TEST_F(Picture, BoxesCoverWholePixelsAndBlendStraight) {
  const cImage image = Draw(64, 64, [](Canvas& canvas) {
    canvas.FillRect({10.2f, 9.8f, 20, 20}, 0xFFFF8040);
    canvas.FillRect({40, 10, 10, 10}, 0x80FFFFFF);
    canvas.FillRoundRect({10, 40, 20, 20}, 0, 0, 2, 0xFF00FF00);
    canvas.FillRoundRect({40, 40, 20, 20}, 0, 0x800000FF, 1, 0x80FF0000);
  });
  for (int y = 0; y < 36; y++)
    for (int x = 0; x < 36; x++)
      ASSERT_EQ(ColorAt(image, x, y), x >= 10 && x < 30 && y >= 10 && y < 30 ? 0xFF8040 : 0) << x << " " << y;
  EXPECT_NEAR(RedAt(image, 45, 15), 0x80, 1);
  EXPECT_EQ(ColorAt(image, 11, 50), 0x00FF00);
  EXPECT_EQ(ColorAt(image, 12, 50), 0) << "the border lies inside and the box is empty";
  EXPECT_EQ(ColorAt(image, 9, 50), 0);
  EXPECT_NEAR(RedAt(image, 40, 50), 0x80, 1);
  EXPECT_NEAR(ColorAt(image, 50, 50), 0x000080, 1);
}

TEST_F(Picture, LinesAndCirclesCoverTheirArea) {
  const auto areaOf = [&](auto&& draw) { return Area(Draw(200, 200, draw)); };
  for (const float width : {0.5f, 1.0f, 1.7f, 6.0f}) {
    const cVec2 slope[] = {{20, 30}, {150, 101}};
    const double length = std::hypot(130, 71);
    EXPECT_NEAR(areaOf([&](Canvas& c) { c.Line(slope[0], slope[1], width, 0xFFFFFFFF); }), length * width,
                0.02 * length * width + 1);
    cList<cVec2> circle;
    for (int i = 0; i < 90; i++)
      circle.push_back({100 + 60 * std::cos(float(i) * 0.0698132f), 100 + 60 * std::sin(float(i) * 0.0698132f)});
    const double around = 2 * M_PI * 60;
    EXPECT_NEAR(areaOf([&](Canvas& c) { c.Polyline(circle, width, 0xFFFFFFFF, true); }), around * width,
                0.02 * around * width + 1);
    const cVec2 hook[] = {{30, 30}, {150, 40}, {40, 60}, {40, 160}};  // a sharp turn and a mild one
    const double hooked = std::hypot(120, 10) + std::hypot(110, 20) + 100;
    EXPECT_NEAR(areaOf([&](Canvas& c) { c.Polyline(hook, width, 0xFFFFFFFF); }), hooked * width, 0.04 * hooked * width + 1);
  }
  EXPECT_NEAR(areaOf([&](Canvas& c) { c.Circle({80.3f, 90.6f}, 30, 0xFFFFFFFF); }), M_PI * 900, 10);
  EXPECT_NEAR(areaOf([&](Canvas& c) { c.Circle({80, 90}, 30, 0, 4, 0xFFFFFFFF); }), M_PI * (900 - 26 * 26), 10);
}

TEST_F(Picture, AlphaIsAppliedOnceAlongALine) {
  const cVec2 curve[] = {{20, 100}, {60, 40}, {100, 100}, {140, 60}, {180, 120}};
  const cImage image = Draw(200, 200, [&](Canvas& canvas) { canvas.Polyline(curve, 9, 0x80FFFFFF); });
  int brightest = 0;
  for (int y = 0; y < 200; y++)
    for (int x = 0; x < 200; x++) brightest = std::max(brightest, RedAt(image, x, y));
  EXPECT_NEAR(brightest, 0x80, 2);
}

TEST_F(Picture, ClippingCutsWithoutChangingWhatStays) {
  const cImage whole = Draw(400, 300, DrawTestPage);
  const cImage cut = Draw(400, 300, [&](Canvas& canvas) {
    canvas.PushClip({33, 47, 200, 201});
    DrawTestPage(canvas);
    canvas.PopClip();
  });
  int worst = 0;
  for (int y = 0; y < 300; y++)
    for (int x = 0; x < 400; x++) {
      const bool inside = x >= 33 && x < 233 && y >= 47 && y < 248;
      for (int c = 0; c < 3; c++) worst = std::max(worst, std::abs(cut.Pixel(x, y)[c] - (inside ? whole.Pixel(x, y)[c] : 0)));
    }
  EXPECT_LE(worst, 2);
}

TEST_F(Picture, TextLooksTheSameWhereverItStands) {
  const cImage image = Draw(300, 60, [](Canvas& canvas) {
    canvas.Text({10, 5, 200, 20}, "Sculpting", 0xFFFFFFFF);
    canvas.Text({87.3f, 30, 200, 20}, "Sculpting", 0xFFFFFFFF);
  });
  EXPECT_GT(Area(image), 100);
  for (int y = 0; y < 20; y++)
    for (int x = 0; x < 70; x++) ASSERT_EQ(RedAt(image, 10 + x, 5 + y), RedAt(image, 87 + x, 30 + y)) << x << " " << y;
}

TEST_F(Picture, PicturesStandUprightFlippedAndCut) {
  const uint8_t pixels[] = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255};  // red green / blue white
  const int texture = m_Render.CreateTexture({TextureFormat::Rgba8, 2, 2, TextureFilter::Nearest, AddressMode::Clamp}, pixels);
  const cImage image = Draw(64, 64, [&](Canvas& canvas) {
    canvas.Image({0, 0, 20, 20}, texture);
    canvas.Image({30, 0, 20, 20}, texture, 0xFFFFFFFF, {0, 0, 1, 1}, true);
    canvas.Image({0, 30, 20, 20}, texture, 0x80FFFFFF, {0.5f, 0, 0.5f, 0.5f});
  });
  EXPECT_EQ(ColorAt(image, 5, 5), 0xFF0000);
  EXPECT_EQ(ColorAt(image, 15, 5), 0x00FF00);
  EXPECT_EQ(ColorAt(image, 5, 15), 0x0000FF);
  EXPECT_EQ(ColorAt(image, 35, 5), 0x0000FF) << "flipped";
  EXPECT_EQ(ColorAt(image, 35, 15), 0xFF0000);
  EXPECT_NEAR(ColorAt(image, 10, 40), 0x008000, 0x100) << "the green part, tinted";
}

TEST_F(Picture, ShadowsFadeOutwards) {
  const cImage image = Draw(200, 200, [](Canvas& canvas) { canvas.Shadow({80, 80, 40, 40}, 4, 20, 0xFFFFFFFF); });
  int before = 255;
  for (int x = 100; x < 200; x++) {
    EXPECT_LE(RedAt(image, x, 100), before + 1);
    before = RedAt(image, x, 100);
  }
  EXPECT_EQ(RedAt(image, 142, 100), 0);
  EXPECT_GT(RedAt(image, 125, 100), 20);
  EXPECT_NEAR(RedAt(image, 75, 100), RedAt(image, 124, 100), 2);
}
