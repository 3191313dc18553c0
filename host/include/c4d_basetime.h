// BaseTime: a time as numerator over denominator, both f64.
#pragma once

#include <cmath>

#include "c4d_types.h"

class BaseTime
{
public:
  BaseTime() = default;
  BaseTime(Float numerator, Float denominator) : num(numerator), den(denominator == 0.0 ? 1.0 : denominator) {}
  /// Seconds as a time of that many seconds over 1.
  explicit BaseTime(Float seconds) : num(seconds), den(1.0) {}

  Float GetNumerator() const { return num; }
  Float GetDenominator() const { return den; }
  Float Get() const { return num / den; }

  /// The frame at the given rate, rounded down the way the host counts frames.
  Int32 GetFrame(Float fps) const;

  BaseTime operator+(const BaseTime& b) const
  {
    if (den == b.den)
      return BaseTime(num + b.num, den);
    return BaseTime(num * b.den + b.num * den, den * b.den);
  }
  BaseTime operator-(const BaseTime& b) const { return *this + BaseTime(-b.num, b.den); }
  bool operator==(const BaseTime& b) const { return num * b.den == b.num * den; }
  bool operator!=(const BaseTime& b) const { return !(*this == b); }
  bool operator<(const BaseTime& b) const { return Get() < b.Get(); }

private:
  Float num = 0.0;
  Float den = 1.0;
};

inline Int32 BaseTime::GetFrame(Float fps) const
{
  // A small bias keeps exact frame times such as 1/25 s × 25 from dropping one frame.
  return static_cast<Int32>(std::floor(Get() * fps + 1e-9));
}
