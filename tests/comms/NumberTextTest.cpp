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
  for (uint64_t power = 1; power < 1e10; power *= 10)
    for (const uint32_t value : {uint32_t(power - 1), uint32_t(power)})
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

// As strtof, but for the comma and for words.
TEST(NumberText, TakesWhatItIsMeantToTake) {
  const auto check = [](const std::string& text, const std::string& plain) {
    const std::string padded = text + std::string(TextPadding + 1, '\n');
    const char* at = padded.data();
    char* end = nullptr;
    EXPECT_EQ(ParseFloat(at), std::strtof(plain.c_str(), &end)) << text;
    EXPECT_EQ(at - padded.data(), end - plain.c_str()) << text;
  };
  check("1,5 x", "1.5 x");
  for (const char* word : {"nan", "inf"}) check(word, "");
  const std::string zeros(400, '0');
  for (const std::string& text : {"0." + zeros + "1e401", "1" + zeros + "e-400", "1" + zeros}) check(text, text);
  for (const char* text :
       {" \t-2.5e+1z", "+.5", "5.", "1e", "1e+", "-", "", ".", "1e999", "-1e999", "1e-999", "0e999999999999", "1.2.3"})
    check(text, text);
}
