// Stereo rays: the eye that each ray gets.
#include "lens_stereo.h"

#include <cmath>

#include "lens_projection.h"

namespace
{
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

Matrix EyeRayMatrix(const Matrix& cameraMatrix, const StereoCameraInfo& eye, Bool plannedEye, const Vector& direction,
                    EyeModel eyeModel, Bool zenith, Float zeroParallax, Float separation, Float strength, Vector& aimPoint,
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
  if (eyeModel == EyeModel::FullCircle || eyeModel == EyeModel::Sweep || eyeModel == EyeModel::Roll)
  {
    const Float a = eyeModel == EyeModel::FullCircle ? std::atan2(d.z, d.x) - PI05 : d.x * -PI05;
    // The turn by a and the one back by -a, about y, or about z for the roll model (by -a and back
    // by a); the zenith setting swaps the two axes. One sine and cosine serve both: cos(-a) and
    // sin(-a) are exactly cos(a) and -sin(a).
    const Float ca = std::cos(a), sa = std::sin(a);
    const Bool aboutZ = (eyeModel == EyeModel::Roll) != zenith;
    const Float sinTurn = eyeModel == EyeModel::Roll && !zenith ? -sa : sa;
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
    r = UndoLensTurn(r);

  aimPoint = Vector();
  turnAxis = Vector();
  if (!plannedEye || !(zeroParallax > 0.0) || !(separation > 0.0) || !(w > 0.0))
    return r;

  // Convergence: toe the eye in toward the point at the zero parallax distance along the ray.
  const Matrix g = zenith ? UndoLensTurn(cameraMatrix) : cameraMatrix;
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
