#include "shell/core/Json.h"

#include <gtest/gtest.h>

#include <cmath>

#include "shell/ParseJson.h"
#include "shell/core/Utf8.h"

namespace {

// Every byte, alone and behind a lead byte that it may or may not continue.
TEST(Json, AnyBytesBecomeAStringThatParses) {
  for (int lead = 0; lead < 256; ++lead)
    for (int next = 0; next < 256; ++next) {
      const std::string text = {char(lead), char(next), 'x'};
      const std::string read = ParseJson(JsonObject().Add("t", text).Text())["t"];
      if (FindInvalidUtf8(text) == std::string_view::npos) {
        ASSERT_EQ(read, text);
      } else {
        ASSERT_NE(read.find("\xEF\xBF\xBD"), std::string::npos);
        ASSERT_EQ(read.back(), 'x') << "what follows a damaged byte is kept";
      }
    }
}

TEST(Json, NumbersComeBackExactlyAndTheRestIsNull) {
  for (const double number : {0.0, -0.0, 1.0, 0.1, 1e-300, -1.7976931348623157e308, 3.0e20, 123456789.125})
    EXPECT_EQ(ParseJson(JsonNumber(number)), number);
  EXPECT_EQ(JsonNumber(0.1f), "0.1") << "a float is not shown with the digits of a double";
  for (const double number : {double(NAN), HUGE_VAL, -HUGE_VAL}) EXPECT_EQ(JsonNumber(number), "null");
}

}  // namespace
