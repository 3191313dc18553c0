// Stereo rays: the eye that each ray gets, and the inverse lens formulas.
#include "lens_stereo.h"

#include <cmath>

namespace
{
// Undoes the quarter turn PixelToDirection gives the dome (with the zenith setting), panorama,
// cylinder and cube: the general rotation, as the forward turn is.
const Matrix kTurnDown = MatrixRotX(-PI05);

// axes(inverse(m)) × p, as Matrix::GetInverse makes it (the identity for a singular m), without
// the inverse's offset: row i of the inverse axes is a cross product of m's axes over det.
Vector InverseAxesTimes(const Matrix& m, const Vector& p)
{
  const Float det = m.GetDeterminant();
  if (det == 0.0)
    return p;
  return Vector(Dot(Cross(m.v2, m.v3) / det, p), Dot(Cross(m.v3, m.v1) / det, p), Dot(Cross(m.v1, m.v2) / det, p));
}

// MatrixRotY and MatrixRotZ from a cosine and sine already at hand.
Matrix TurnY(Float c, Float s)
{
  return Matrix(Vector(), Vector(c, 0.0, s), Vector(0.0, 1.0, 0.0), Vector(-s, 0.0, c));
}

Matrix TurnZ(Float c, Float s)
{
  return Matrix(Vector(), Vector(c, -s, 0.0), Vector(s, c, 0.0), Vector(0.0, 0.0, 1.0));
}

// Convergence takes part only for an eye record named "0" or "1", as the stereo cameras are.
Bool IsEyeName(const String& name)
{
  if (name.GetLength() != 1)
    return false;
  const char c = name.GetStdString()[0];
  return c == '0' || c == '1';
}
} // namespace

Matrix RotAxisToMatrix(const Vector& axis, Float angle)
{
  if (axis.IsZero() || angle == 0.0)
    return Matrix();
  const Vector n = axis.GetNormalized() * std::sin(angle * 0.5);
  const Float x = n.x, y = n.y, z = n.z;
  const Float q = std::cos(angle * 0.5);
  return Matrix(Vector(),
                Vector(1.0 - 2.0 * (y * y + z * z), 2.0 * (x * y - z * q), 2.0 * (x * z + y * q)),
                Vector(2.0 * (x * y + z * q), 1.0 - 2.0 * (x * x + z * z), 2.0 * (y * z - x * q)),
                Vector(2.0 * (x * z - y * q), 2.0 * (y * z + x * q), 1.0 - 2.0 * (x * x + y * y)));
}

Matrix EyeRayMatrix(const Matrix& cameraMatrix, const StereoCameraInfo& eye, const Vector& direction, Int32 eyeModel,
                    Bool zenith, Float zeroParallax, Float separation, Float strength, Vector& aimPoint,
                    Vector& turnAxis)
{
  const Matrix& c = eye.m;
  const Vector& d = direction;
  const Float w = strength;

  // The eye's position relative to the camera, in the eye's own axes.
  const Vector offset = InverseAxesTimes(c, c.off - cameraMatrix.off);

  // Baseline: back to the camera, turn, step out by w of the offset, turn back, so that the
  // axes stay the eye's. The roll model turns about the other axis, the zenith setting about the
  // dome's axis.
  Matrix r;
  if (eyeModel == kEyeFullCircle || eyeModel == kEyeSweep || eyeModel == kEyeRoll)
  {
    const Float a = eyeModel == kEyeFullCircle ? std::atan2(d.z, d.x) - PI05 : d.x * -PI05;
    // The turn by a and the one back by -a, about y, or about z for the roll model (by -a and back
    // by a); the zenith setting swaps the two axes. One sine and cosine serve both: cos(-a) and
    // sin(-a) are exactly cos(a) and -sin(a).
    const Float ca = std::cos(a), sa = std::sin(a);
    const Bool aboutZ = (eyeModel == kEyeRoll) != zenith;
    const Float sinTurn = eyeModel == kEyeRoll && !zenith ? -sa : sa;
    const Matrix turn = aboutZ ? TurnZ(ca, sinTurn) : TurnY(ca, sinTurn);
    const Matrix turnBack = aboutZ ? TurnZ(ca, -sinTurn) : TurnY(ca, -sinTurn);
    // R = C × MatrixMove(-L) × turn × MatrixMove(L × w) × turnBack; a move only shifts the offset
    // by the axes so far, so only the two turns need whole products.
    r = c;
    r.off = c * -offset;
    r = r * turn;
    r.off = r * (offset * w);
    r = r * turnBack;
  }
  else
  {
    r = c;
    r.off = c * -(offset * (1.0 - w));
  }
  if (zenith)
    r = r * kTurnDown;

  aimPoint = Vector();
  turnAxis = Vector();
  if (!IsEyeName(eye.strName) || !(zeroParallax > 0.0) || !(separation > 0.0) || !(w > 0.0))
    return r;

  // Convergence: toe the eye in toward the point at the zero parallax distance along the ray.
  const Matrix g = zenith ? cameraMatrix * kTurnDown : cameraMatrix;
  aimPoint = d * zeroParallax;
  // The angle comes from the unturned, unscaled offset, whatever the eye model did.
  const Vector toAim = (aimPoint - offset).GetNormalized();
  const Float lengths = toAim.GetSquaredLength() * d.GetSquaredLength();
  const Float cosine = lengths == 0.0 ? 0.0 : Dot(toAim, d) * std::sqrt(1.0 / lengths);
  const Float toeIn = cosine >= 1.0 ? 0.0 : (cosine <= -1.0 ? PI : std::acos(cosine));

  // The turn axis is normal to the plane of ray origin, camera and ray, found in world space and
  // brought into the camera's axes.
  const Vector toCamera = g.off - r.off;
  const Vector toRay = g * d - r.off;
  turnAxis = InverseAxesTimes(g, Cross(toCamera, toRay).GetNormalized());

  return r * RotAxisToMatrix(turnAxis, toeIn);
}

Vector DirectionToDome(const Vector& p, Float fov)
{
  const Float phi = std::atan2(p.y, p.x);
  const Float theta = std::atan2(std::sqrt(p.y * p.y + p.x * p.x), p.z);
  // The axis itself maps to the centre for every field, even a field of 0.
  const Float k = theta == 0.0 ? 0.0 : theta / (fov * 0.5);
  return Vector((std::cos(phi) * k + 1.0) * 0.5, (std::sin(phi) * k + 1.0) * 0.5, 0.5);
}

Vector DirectionToEquirect(const Vector& p)
{
  // atan2 of (x, y), not (y, x): this puts u a quarter of the image on from EquirectDirection.
  const Float a = std::atan2(p.x, p.y) / PI2 - 0.25;
  // A z a rounding step beyond ±1 stays on the pole instead of failing acos.
  const Float theta = p.z >= 1.0 ? 0.0 : (p.z <= -1.0 ? PI : std::acos(p.z));
  Float u = 1.0 - a;
  if (u > 1.0)
    u -= 1.0;
  return Vector(u, theta / PI, 0.0);
}

Vector SeparationMapPosition(const Vector& direction, Bool domeZenith, Float domeFov)
{
  // A dome without the zenith setting had no quarter turn, and is turned all the same: its map
  // is looked up as a sphere.
  const Vector p = kTurnDown.TransformVector(direction);
  return domeZenith ? DirectionToDome(p, domeFov) : DirectionToEquirect(p);
}
