// Vector and Matrix: the host's f64 value types and the matrix makers.
#pragma once

#include <cmath>
#include <ostream>

#include "c4d_types.h"

struct Vector
{
  Float x = 0.0, y = 0.0, z = 0.0;

  constexpr Vector() = default;
  constexpr explicit Vector(Float v) : x(v), y(v), z(v) {}
  constexpr Vector(Float xIn, Float yIn, Float zIn) : x(xIn), y(yIn), z(zIn) {}

  constexpr Vector operator+(const Vector& b) const { return Vector(x + b.x, y + b.y, z + b.z); }
  constexpr Vector operator-(const Vector& b) const { return Vector(x - b.x, y - b.y, z - b.z); }
  constexpr Vector operator-() const { return Vector(-x, -y, -z); }
  constexpr Vector operator*(Float s) const { return Vector(x * s, y * s, z * s); }
  constexpr Vector operator/(Float s) const { return Vector(x / s, y / s, z / s); }
  Vector& operator+=(const Vector& b) { x += b.x; y += b.y; z += b.z; return *this; }
  Vector& operator-=(const Vector& b) { x -= b.x; y -= b.y; z -= b.z; return *this; }
  Vector& operator*=(Float s) { x *= s; y *= s; z *= s; return *this; }
  constexpr bool operator==(const Vector& b) const { return x == b.x && y == b.y && z == b.z; }
  constexpr bool operator!=(const Vector& b) const { return !(*this == b); }

  constexpr bool IsZero() const { return x == 0.0 && y == 0.0 && z == 0.0; }
  Float GetLength() const { return std::sqrt(x * x + y * y + z * z); }
  constexpr Float GetSquaredLength() const { return x * x + y * y + z * z; }

  /// Scaled to length 1; the zero vector stays zero.
  Vector GetNormalized() const
  {
    const Float len = GetLength();
    return len == 0.0 ? Vector() : Vector(x / len, y / len, z / len);
  }
  void Normalize() { *this = GetNormalized(); }
};

constexpr Vector operator*(Float s, const Vector& v) { return v * s; }
constexpr Float Dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
constexpr Vector Cross(const Vector& a, const Vector& b)
{
  return Vector(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

inline std::ostream& operator<<(std::ostream& os, const Vector& v)
{
  return os << '(' << v.x << ", " << v.y << ", " << v.z << ')';
}

/// An affine transform: offset and three axes. M × p = off + p.x·v1 + p.y·v2 + p.z·v3.
struct Matrix
{
  Vector off;
  Vector v1 = Vector(1.0, 0.0, 0.0);
  Vector v2 = Vector(0.0, 1.0, 0.0);
  Vector v3 = Vector(0.0, 0.0, 1.0);

  constexpr Matrix() = default;
  constexpr Matrix(const Vector& o, const Vector& a, const Vector& b, const Vector& c) : off(o), v1(a), v2(b), v3(c) {}

  /// Applies the axes only: for directions.
  constexpr Vector TransformVector(const Vector& d) const { return v1 * d.x + v2 * d.y + v3 * d.z; }
  /// Applies axes and offset: for points.
  constexpr Vector TransformPoint(const Vector& p) const { return off + TransformVector(p); }

  constexpr Vector operator*(const Vector& p) const { return TransformPoint(p); }

  /// A × B with B acting first.
  constexpr Matrix operator*(const Matrix& b) const
  {
    return Matrix(TransformPoint(b.off), TransformVector(b.v1), TransformVector(b.v2), TransformVector(b.v3));
  }

  constexpr bool operator==(const Matrix& b) const { return off == b.off && v1 == b.v1 && v2 == b.v2 && v3 == b.v3; }
  constexpr bool operator!=(const Matrix& b) const { return !(*this == b); }

  constexpr Float GetDeterminant() const { return Dot(v1, Cross(v2, v3)); }

  /// The inverse transform; a singular matrix inverts to the identity.
  Matrix GetInverse() const
  {
    const Float det = GetDeterminant();
    if (det == 0.0)
      return Matrix();
    // Rows of the inverse axes are the cross products of the columns, over the determinant.
    const Vector r1 = Cross(v2, v3) / det;
    const Vector r2 = Cross(v3, v1) / det;
    const Vector r3 = Cross(v1, v2) / det;
    Matrix inv(Vector(), Vector(r1.x, r2.x, r3.x), Vector(r1.y, r2.y, r3.y), Vector(r1.z, r2.z, r3.z));
    inv.off = -inv.TransformVector(off);
    return inv;
  }
  Matrix operator~() const { return GetInverse(); }
};

inline std::ostream& operator<<(std::ostream& os, const Matrix& m)
{
  return os << "[off " << m.off << " v1 " << m.v1 << " v2 " << m.v2 << " v3 " << m.v3 << ']';
}

inline Matrix MatrixMove(const Vector& t)
{
  Matrix m;
  m.off = t;
  return m;
}

inline Matrix MatrixScale(const Vector& s)
{
  return Matrix(Vector(), Vector(s.x, 0.0, 0.0), Vector(0.0, s.y, 0.0), Vector(0.0, 0.0, s.z));
}

inline Matrix MatrixRotX(Float a)
{
  const Float c = std::cos(a), s = std::sin(a);
  return Matrix(Vector(), Vector(1.0, 0.0, 0.0), Vector(0.0, c, -s), Vector(0.0, s, c));
}

inline Matrix MatrixRotY(Float a)
{
  const Float c = std::cos(a), s = std::sin(a);
  return Matrix(Vector(), Vector(c, 0.0, s), Vector(0.0, 1.0, 0.0), Vector(-s, 0.0, c));
}

inline Matrix MatrixRotZ(Float a)
{
  const Float c = std::cos(a), s = std::sin(a);
  return Matrix(Vector(), Vector(c, -s, 0.0), Vector(s, c, 0.0), Vector(0.0, 0.0, 1.0));
}

/// Object rotation from heading, pitch and bank in radians: RotY(H) × RotX(P) × RotZ(B).
inline Matrix HPBToMatrix(const Vector& hpb)
{
  return MatrixRotY(hpb.x) * MatrixRotX(hpb.y) * MatrixRotZ(hpb.z);
}
