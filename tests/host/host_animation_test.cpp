// Animation keys to values: each interpolation, the edges of a track, jumps, and the smooth
// curve's promises (no overshoot, no kink at a key).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "animation.h"

namespace
{
using host::AnimationKey;
using host::EvaluateKeys;
using host::Interpolation;

AnimationKey Key(Float time, Float value, Interpolation i = Interpolation::Smooth)
{
  return AnimationKey{time, GeData(value), i};
}

const Interpolation kStep = Interpolation::Step, kLinear = Interpolation::Linear, kSmooth = Interpolation::Smooth;
} // namespace

TEST(HostAnimation, KeysGiveTheValuesOfTheirInterpolationAndHoldAtTheEnds)
{
  const std::vector<AnimationKey> linear = {Key(0, 0, kLinear), Key(2, 10, kLinear)};
  const std::vector<AnimationKey> step = {Key(0, 0, kStep), Key(2, 10, kStep)};
  const std::vector<AnimationKey> smooth = {Key(0, 0, kSmooth), Key(2, 10, kSmooth)};
  // Two keys at time 1 make a jump: the later one holds from that time on.
  const std::vector<AnimationKey> jump = {Key(0, 0, kLinear), Key(1, 10, kLinear), Key(1, 20, kLinear), Key(2, 30)};
  const std::vector<AnimationKey> single = {Key(3, 7, kLinear)};
  const struct
  {
    const char* name;
    const std::vector<AnimationKey>& keys;
    Float time, value;
  } cases[] = {
    {"linear before the first key", linear, -1, 0},   {"linear at the first key", linear, 0, 0},
    {"linear between", linear, 0.5, 2.5},             {"linear at the last key", linear, 2, 10},
    {"linear after the last key", linear, 5, 10},     {"step just before the next key", step, 1.999, 0},
    {"step at the next key", step, 2, 10},            {"smooth half way, flat ends", smooth, 1, 5},
    // Hermite with zero slopes at a quarter: 3s² − 2s³ = 0.15625.
    {"smooth a quarter of the way", smooth, 0.5, 1.5625}, {"before a jump", jump, 0.5, 5},
    {"at a jump", jump, 1, 20},                       {"after a jump", jump, 1.5, 25},
    {"one key before it", single, 0, 7},              {"one key after it", single, 9, 7},
  };
  for (const auto& c : cases)
    EXPECT_NEAR(EvaluateKeys(c.keys, c.time).GetFloat(), c.value, 1e-12) << c.name << " at " << c.time;

  EXPECT_TRUE(EvaluateKeys({}, 1).IsNil());
  const std::vector<AnimationKey> vectors = {{0, GeData(Vector(0, 0, 0)), kLinear}, {1, GeData(Vector(2, 4, -6)), kLinear}};
  EXPECT_EQ(EvaluateKeys(vectors, 0.5).GetVector(), Vector(1, 2, -3)) << "a vector moves component by component";
  // A whole number has no values between its keys, whatever the key asks.
  const std::vector<AnimationKey> whole = {{0, GeData(Int32(1)), kLinear}, {1, GeData(Int32(5)), kLinear}};
  EXPECT_EQ(EvaluateKeys(whole, 0.9).GetInt32(), 1);
  EXPECT_EQ(EvaluateKeys(whole, 1.0).GetInt32(), 5);
}

TEST(HostAnimation, SmoothCurvesStayBetweenTheirKeysAndTurnWithoutAKink)
{
  // Uneven spacing and uneven steps: the slope through the neighbours alone would overshoot.
  const std::vector<AnimationKey> keys = {Key(0, 0), Key(0.1, 10), Key(3, 11), Key(3.2, 30), Key(4, 5), Key(6, 5)};
  int tested = 0;
  for (size_t i = 0; i + 1 < keys.size(); ++i)
  {
    const Float a = keys[i].value.GetFloat(), b = keys[i + 1].value.GetFloat();
    Float last = a;
    for (int n = 0; n <= 200; ++n, ++tested)
    {
      const Float t = keys[i].time + (keys[i + 1].time - keys[i].time) * n / 200.0;
      const Float v = EvaluateKeys(keys, t).GetFloat();
      EXPECT_GE(v, std::min(a, b) - 1e-9) << "t " << t;
      EXPECT_LE(v, std::max(a, b) + 1e-9) << "t " << t;
      EXPECT_GE((v - last) * (b - a), -1e-9) << "the curve turns back between keys at t " << t;
      last = v;
    }
  }
  EXPECT_GE(tested, 1000);

  // The slope just before an inner key equals the slope just after it.
  for (size_t i = 1; i + 1 < keys.size(); ++i)
  {
    const Float t = keys[i].time, h = 1e-7;
    const Float before = (EvaluateKeys(keys, t).GetFloat() - EvaluateKeys(keys, t - h).GetFloat()) / h;
    const Float after = (EvaluateKeys(keys, t + h).GetFloat() - EvaluateKeys(keys, t).GetFloat()) / h;
    EXPECT_NEAR(before, after, 1e-3 * std::max(1.0, std::fabs(before))) << "key " << i;
  }
}
