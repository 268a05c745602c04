#include "comms/NumberText.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

using namespace comms;

static uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }

TEST(NumberText, PrintsAsPrintf) {
  std::mt19937 random(1);
  char ours[MaxFloatChars + 8], theirs[64];
  const auto check = [&](float value) {
    const std::string text(ours, PrintFloat(ours, value));
    std::snprintf(theirs, sizeof theirs, "%f", double(value));
    ASSERT_EQ(text, theirs);
  };
  for (int i = 0; i < 3000000; i++) {
    const float value = std::bit_cast<float>(uint32_t(random()));
    if (!std::isnan(value)) check(value);
    check(float(int(random()) / 1024.0));
    // Exact halves of the last decimal: k + 1/2 millionths that a float can hold.
    check(float(random() % 1024) * 0.0078125f + float(random() % 64) * 0x1p-12f);
    if (HasFatalFailure()) return;
  }
  for (const float value :
       {0.0f, -0.0f, 0.5f, 2147483520.0f, 2147483648.0f, -4294967296.0f, INFINITY, -INFINITY, 9.9999995e-7f, 5e-7f})
    check(value);
  for (const uint32_t value : {0u, 9u, 10u, 99u, 100u, 999u, 1000u, 9999u, 10000u, 99999999u, 100000000u, 4294967295u})
    EXPECT_EQ(std::string(ours, PrintIndex(ours, value)), std::to_string(value));
}

TEST(NumberText, ParsesAsTheCLibrary) {
  std::mt19937 random(2);
  char text[128];
  const auto check = [&] { ASSERT_EQ(Bits(ParseFloat(std::string_view(text))), Bits(std::strtof(text, nullptr))) << text; };
  for (int i = 0; i < 1000000; i++) {
    const float value = std::bit_cast<float>(uint32_t(random()));
    if (!std::isfinite(value)) continue;
    const char* const formats[] = {"%f", "%.9g", "%.7g", "%e", "%.17g", "%.25f"};
    std::snprintf(text, sizeof text, formats[i % 6], double(value));
    check();
    // Between two floats, where rounding is decided.
    std::snprintf(text, sizeof text, "%.*g", int(random() % 12) + 8,
                  (double(value) + double(std::nextafter(value, INFINITY))) / 2);
    check();
    std::snprintf(text, sizeof text, "%u.%ue%d", unsigned(random()), unsigned(random()), int(random() % 100) - 50);
    check();
    if (HasFatalFailure()) return;
  }
}

TEST(NumberText, TakesWhatItIsMeantToTake) {
  const struct {
    const char* Text;
    float Value;
    size_t Used;
  } cases[] = {{"1,5 x", 1.5f, 3},
               {" \t-2.5e+1z", -25, 9},
               {"+.5", 0.5f, 3},
               {"5.", 5, 2},
               {"1e", 1, 1},
               {"1e+", 1, 1},
               {"nan", 0, 0},
               {"inf", 0, 0},
               {"-", 0, 0},
               {"", 0, 0},
               {".", 0, 0},
               {"1e999", INFINITY, 5},
               {"-1e999", -INFINITY, 6},
               {"1e-999", 0, 6},
               {"0e999999999999", 0, 14},
               {"1.2.3", 1.2f, 3}};
  for (const auto& c : cases) {
    const std::string padded = c.Text + std::string(TextPadding + 1, '\n');
    const char* at = padded.data();
    EXPECT_EQ(ParseFloat(at), c.Value) << c.Text;
    EXPECT_EQ(size_t(at - padded.data()), c.Used) << c.Text;
  }
  EXPECT_EQ(ParseFloat("0." + std::string(400, '0') + "1e401"), 1);
  EXPECT_EQ(ParseFloat("1" + std::string(400, '0') + "e-400"), 1);
  EXPECT_TRUE(std::isinf(ParseFloat("1" + std::string(400, '0'))));
}
