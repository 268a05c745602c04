#include "shell/core/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "shell/JsonReader.h"
#include "shell/core/Utf8.h"

namespace {

// Every byte, alone and behind a lead byte that it may or may not continue.
TEST(Json, AnyBytesBecomeAStringThatParses) {
  for (int lead = 0; lead < 256; ++lead)
    for (int next = 0; next < 256; ++next) {
      const std::string text = {char(lead), char(next), 'x'};
      const std::string json = JsonObject().Add("t", text).Text();
      JsonValue value;
      ASSERT_TRUE(JsonReader::Read(json, value)) << lead << ' ' << next << ' ' << json;
      ASSERT_EQ(FindInvalidUtf8(json), std::string_view::npos);
      if (FindInvalidUtf8(text) == std::string_view::npos) {
        ASSERT_EQ(value["t"].String, text);
      } else {
        ASSERT_NE(value["t"].String.find("\xEF\xBF\xBD"), std::string::npos);
        ASSERT_EQ(value["t"].String.back(), 'x') << "what follows a damaged byte is kept";
      }
    }
}

TEST(Json, NumbersComeBackExactlyAndTheRestIsNull) {
  for (const double number : {0.0, -0.0, 1.0, 0.1, 1e-300, -1.7976931348623157e308, 3.0e20, 123456789.125}) {
    JsonValue value;
    ASSERT_TRUE(JsonReader::Read(JsonNumber(number), value)) << JsonNumber(number);
    EXPECT_EQ(value.Number, number);
  }
  EXPECT_EQ(JsonNumber(0.1f), "0.1") << "a float is not shown with the digits of a double";
  for (const double number : {double(NAN), HUGE_VAL, -HUGE_VAL}) EXPECT_EQ(JsonNumber(number), "null");
}

TEST(Json, NestsAndKeepsOrder) {
  JsonObject inner;
  inner.Add("z", 1).Add("a", true);
  JsonObject outer;
  outer.Add("first", std::numeric_limits<int64_t>::min()).Append(JsonObject()).Add("inner", inner);
  outer.Add("list", JsonArray().Add("x").AddNumber(2.5)).Add("empty", JsonArray());
  EXPECT_EQ(outer.Text(), R"({"first": -9223372036854775808, "inner": {"z": 1, "a": true}, "list": ["x", 2.5], "empty": []})");
}

}  // namespace
