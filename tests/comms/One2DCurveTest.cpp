#include "comms/One2DCurve.h"

#include <gtest/gtest.h>

#include <cmath>

#include "ClassEngine/Xml.h"

using comms::One2DCurve;

TEST(Curve, IsMonotoneAndSmoothAndGoesThroughItsPoints) {
  One2DCurve curve;
  EXPECT_EQ(curve.Evaluate(0.3f), 0.3f);
  curve.SetLinear();
  for (const float x : {0.0f, 0.2f, 0.7f, 1.0f}) EXPECT_NEAR(curve.Evaluate(x), x, 1e-6f);
  curve.AddPoint(0.4f, 0.2f);
  const float d = 1e-3f, before = (curve.Evaluate(0.4f) - curve.Evaluate(0.4f - d)) / d,
              behind = (curve.Evaluate(0.4f + d) - curve.Evaluate(0.4f)) / d;
  EXPECT_NEAR(before, behind, 0.01f);
  EXPECT_GT(before, 0.5f) << "between the slopes of both sides";
  EXPECT_LT(before, 4.0f / 3);
  curve.AddPoint(0.45f, 0.9f);
  for (int i = 0; i < 1000; i++) EXPECT_LE(curve.Evaluate(float(i) / 1000), curve.Evaluate(float(i + 1) / 1000));
  for (const comms::wCurvePoint* point : curve.Points) EXPECT_NEAR(curve.Evaluate(point->X), point->Y, 1e-6f);
  curve.MovePoint(1, 0.99f, 7);
  EXPECT_LT(curve.Points[1]->X, curve.Points[2]->X);
  EXPECT_EQ(curve.Points[1]->Y, 1);
}

TEST(Curve, ReadsAnyNumbersInAnyOrder) {
  One2DCurve curve;
  curve.RegisterMembers();
  XmlNode node;
  ASSERT_GT(
      node.Parse("<One2DCurve><Points><wCurvePoint><X>1</X><Y>5</Y></wCurvePoint><wCurvePoint><X>-3</X><Y>0.5</Y></wCurvePoint>"
                 "<wCurvePoint><X>0.5</X><Y>0.25</Y></wCurvePoint></Points></One2DCurve>"),
      0);
  ASSERT_TRUE(curve.Load(&node));
  ASSERT_EQ(curve.GetPointCount(), 3);
  for (const auto& [x, y] : {std::pair(0.0f, 0.5f), std::pair(0.5f, 0.25f), std::pair(1.0f, 1.0f)})
    EXPECT_EQ(curve.Evaluate(x), y);
  EXPECT_TRUE(std::isfinite(curve.Evaluate(NAN)));
}
