// The view's rasteriser: near-plane clipping, perspective or parallel projection, a depth
// buffer that grows towards the viewer, and blended fills.
#include "draw/rasterise.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

namespace host::draw
{
namespace
{
// Nothing nearer than this to a perspective camera is drawn.
constexpr Float kNear = 0.1;
// Lines pass the depth test this far in front of a surface's depth, so a line on a face shows.
constexpr Float kLineBias = 1e-3;
constexpr Float kPi = 3.141592653589793;

Matrix Orthonormal(const Matrix& m)
{
  return Matrix(m.off, m.v1.GetNormalized(), m.v2.GetNormalized(), m.v3.GetNormalized());
}

// Where the segment from `a` to `b` (camera space) crosses the near plane.
Vector NearCrossing(const Vector& a, const Vector& b)
{
  const Float t = (kNear - a.z) / (b.z - a.z);
  return a + (b - a) * t;
}
} // namespace

Float Opacity(Int32 transparency)
{
  return 1.0 - std::min(255, std::abs(transparency)) / 255.0;
}

Bool ViewRaster::Init(const ViewCamera& camera, Int32 w, Int32 h)
{
  if (w < 1 || h < 1 || w > 16384 || h > 16384 || !(camera.focus > 0.0) || !(camera.aperture > 0.0) ||
      !(camera.parallelWidth > 0.0))
    return false;
  cam = camera;
  toCamera = Orthonormal(camera.mg).GetInverse();
  width = w;
  height = h;
  cx = (w - 1) * 0.5;
  cy = (h - 1) * 0.5;
  pixelScale = camera.projection == CAMERA_PARALLEL ? w / camera.parallelWidth : w * camera.focus / camera.aperture;
  try
  {
    colour.assign(static_cast<size_t>(w) * h, Vector());
    depth.assign(colour.size(), -std::numeric_limits<Float>::infinity());
  }
  catch (const std::bad_alloc&)
  {
    colour.clear();
    depth.clear();
    width = height = 0;
    return false;
  }
  // A viewport's backdrop: light grey at the top to a darker grey at the bottom.
  for (Int32 y = 0; y < h; ++y)
  {
    const Float t = h > 1 ? y / (h - 1.0) : 0.0;
    std::fill_n(colour.begin() + static_cast<size_t>(y) * w, w, Vector(0.42 - 0.2 * t, 0.44 - 0.2 * t, 0.47 - 0.2 * t));
  }
  return true;
}

Vector ViewRaster::ToCamera(const Vector& p) const
{
  return toCamera * p;
}

ViewRaster::Projected ViewRaster::Project(const Vector& c) const
{
  Projected p;
  if (cam.projection == CAMERA_PARALLEL)
  {
    p.x = cx + c.x * pixelScale;
    p.y = cy - c.y * pixelScale;
    p.q = -c.z;
  }
  else
  {
    p.x = cx + c.x / c.z * pixelScale;
    p.y = cy - c.y / c.z * pixelScale;
    p.q = 1.0 / c.z;
  }
  return p;
}

void ViewRaster::Plot(Int32 x, Int32 y, Float q, const Vector& col, Float opacity, Bool depthTest, Bool depthWrite)
{
  if (x < 0 || y < 0 || x >= width || y >= height)
    return;
  const size_t i = static_cast<size_t>(y) * width + x;
  if (depthTest && q < depth[i])
    return;
  colour[i] = colour[i] * (1.0 - opacity) + col * opacity;
  if (depthWrite)
    depth[i] = q;
}

Vector ViewRaster::Shade(const Vector& col, const Vector& normal, const Vector& at) const
{
  // Lit from the viewer; a perspective view lights by the direction to the face, so a sphere
  // shades across, but a large face is lit as one.
  const Vector toFace = at - cam.mg.off;
  const Vector view = cam.projection == CAMERA_PARALLEL || toFace.IsZero() ? cam.mg.v3.GetNormalized() : toFace.GetNormalized();
  const Float facing = normal.IsZero() ? 1.0 : std::fabs(Dot(normal.GetNormalized(), view));
  return col * (0.35 + 0.65 * facing);
}

void ViewRaster::Triangle(const Vector& a, const Vector& b, const Vector& c, const Vector& col, Float opacity, Bool depthWrite)
{
  const Vector in[3] = {ToCamera(a), ToCamera(b), ToCamera(c)};
  if (cam.projection == CAMERA_PARALLEL)
    return FillTriangle(in, col, opacity, depthWrite);
  // Clip against the near plane: what is left is a triangle or a quad, filled as a fan.
  Vector poly[4];
  Int32 n = 0;
  for (Int32 i = 0; i < 3; ++i)
  {
    const Vector& p = in[i];
    const Vector& next = in[(i + 1) % 3];
    if (p.z >= kNear)
      poly[n++] = p;
    if ((p.z >= kNear) != (next.z >= kNear))
      poly[n++] = NearCrossing(p, next);
  }
  for (Int32 i = 1; i + 1 < n; ++i)
    FillTriangle({poly[0], poly[i], poly[i + 1]}, col, opacity, depthWrite);
}

void ViewRaster::FillTriangle(const Vector (&c)[3], const Vector& col, Float opacity, Bool depthWrite)
{
  const Projected p[3] = {Project(c[0]), Project(c[1]), Project(c[2])};
  const Float area = (p[1].x - p[0].x) * (p[2].y - p[0].y) - (p[2].x - p[0].x) * (p[1].y - p[0].y);
  if (!(std::fabs(area) > 1e-12))
    return;
  const Int32 x0 = std::max(0, static_cast<Int32>(std::ceil(std::min({p[0].x, p[1].x, p[2].x}))));
  const Int32 x1 = std::min(width - 1, static_cast<Int32>(std::floor(std::max({p[0].x, p[1].x, p[2].x}))));
  const Int32 y0 = std::max(0, static_cast<Int32>(std::ceil(std::min({p[0].y, p[1].y, p[2].y}))));
  const Int32 y1 = std::min(height - 1, static_cast<Int32>(std::floor(std::max({p[0].y, p[1].y, p[2].y}))));
  for (Int32 y = y0; y <= y1; ++y)
    for (Int32 x = x0; x <= x1; ++x)
    {
      // Barycentric weights by edge functions; a pixel on an edge belongs to the triangle.
      const Float w0 = ((p[1].x - x) * (p[2].y - y) - (p[2].x - x) * (p[1].y - y)) / area;
      const Float w1 = ((p[2].x - x) * (p[0].y - y) - (p[0].x - x) * (p[2].y - y)) / area;
      const Float w2 = 1.0 - w0 - w1;
      if (w0 < 0.0 || w1 < 0.0 || w2 < 0.0)
        continue;
      Plot(x, y, w0 * p[0].q + w1 * p[1].q + w2 * p[2].q, col, opacity, true, depthWrite);
    }
}

void ViewRaster::Line(const Vector& a, const Vector& b, const Vector& col, Int32 lineWidth, Float opacity, Bool depthTest)
{
  Vector ca = ToCamera(a), cb = ToCamera(b);
  if (cam.projection != CAMERA_PARALLEL)
  {
    if (ca.z < kNear && cb.z < kNear)
      return;
    if (ca.z < kNear)
      ca = NearCrossing(ca, cb);
    else if (cb.z < kNear)
      cb = NearCrossing(ca, cb);
  }
  Projected pa = Project(ca), pb = Project(cb);
  const Int32 w = std::max(1, std::min(lineWidth, 64));
  // Only the part within the picture (and a line's width around it) is walked.
  Float t0 = 0.0, t1 = 1.0;
  const Float d[2] = {pb.x - pa.x, pb.y - pa.y}, from[2] = {pa.x, pa.y}, hi[2] = {width + w + 1.0, height + w + 1.0};
  for (Int32 k = 0; k < 2; ++k)
  {
    const Float lo = -w - 1.0;
    if (d[k] == 0.0)
    {
      if (from[k] < lo || from[k] > hi[k])
        return;
      continue;
    }
    Float ta = (lo - from[k]) / d[k], tb = (hi[k] - from[k]) / d[k];
    if (ta > tb)
      std::swap(ta, tb);
    t0 = std::max(t0, ta);
    t1 = std::min(t1, tb);
  }
  if (!(t0 <= t1))
    return;
  const Projected a0 = pa;
  pa = {a0.x + (pb.x - a0.x) * t0, a0.y + (pb.y - a0.y) * t0, a0.q + (pb.q - a0.q) * t0};
  pb = {a0.x + (pb.x - a0.x) * t1, a0.y + (pb.y - a0.y) * t1, a0.q + (pb.q - a0.q) * t1};
  const Float steps = std::ceil(std::max(std::fabs(pb.x - pa.x), std::fabs(pb.y - pa.y)));
  const Int32 lo = -(w - 1) / 2;
  for (Float s = 0.0; s <= steps; s += 1.0)
  {
    const Float t = steps > 0.0 ? s / steps : 0.0;
    const Int32 x = static_cast<Int32>(std::lround(pa.x + (pb.x - pa.x) * t));
    const Int32 y = static_cast<Int32>(std::lround(pa.y + (pb.y - pa.y) * t));
    const Float q = pa.q + (pb.q - pa.q) * t;
    for (Int32 dy = lo; dy < lo + w; ++dy)
      for (Int32 dx = lo; dx < lo + w; ++dx)
        Plot(x + dx, y + dy, q + std::fabs(q) * kLineBias, col, opacity, depthTest, false);
  }
}

void ViewRaster::Sphere(const Vector& centre, const Vector& radii, const Vector& col, Float opacity)
{
  constexpr Int32 rings = 8, segments = 12;
  auto at = [&](Int32 i, Int32 j) {
    const Float lat = -kPi / 2 + kPi * i / rings, lon = 2 * kPi * j / segments;
    const Vector n(std::cos(lat) * std::cos(lon), std::sin(lat), std::cos(lat) * std::sin(lon));
    return centre + Vector(n.x * radii.x, n.y * radii.y, n.z * radii.z);
  };
  for (Int32 i = 0; i < rings; ++i)
    for (Int32 j = 0; j < segments; ++j)
    {
      const Vector p[4] = {at(i, j), at(i, j + 1), at(i + 1, j + 1), at(i + 1, j)};
      const Vector mid = (p[0] + p[2]) * 0.5;
      const Vector shaded = Shade(col, mid - centre, mid);
      Triangle(p[0], p[1], p[2], shaded, opacity, opacity >= 1.0);
      Triangle(p[0], p[2], p[3], shaded, opacity, opacity >= 1.0);
    }
}

void ViewRaster::Box(const DrawCall& call, Float opacity)
{
  const std::vector<Vector>& c = call.points; // corner i: x by bit 0, y by bit 1, z by bit 2
  if (c.size() != 8)
    return;
  if (call.wire)
  {
    for (Int32 i = 0; i < 8; ++i)
      for (Int32 bit = 1; bit < 8; bit <<= 1)
        if (!(i & bit))
          Line(c[i], c[i | bit], call.pen, call.lineWidth, opacity, call.depth);
    return;
  }
  // Each face: the four corners that share one bit's value.
  for (Int32 bit = 1; bit < 8; bit <<= 1)
    for (Int32 side = 0; side < 2; ++side)
    {
      std::vector<Vector> face;
      for (Int32 i = 0; i < 8; ++i)
        if (((i & bit) != 0) == (side == 1))
          face.push_back(c[i]);
      // Corners 0, 1, 3, 2 of the four go round the face.
      const Vector n = Cross(face[1] - face[0], face[2] - face[0]);
      const Vector shaded = Shade(call.pen, n, (face[0] + face[3]) * 0.5);
      Triangle(face[0], face[1], face[3], shaded, opacity, call.depth && opacity >= 1.0);
      Triangle(face[0], face[3], face[2], shaded, opacity, call.depth && opacity >= 1.0);
    }
}

void ViewRaster::Draw(const DrawCall& call)
{
  const Float opacity = Opacity(call.transparency);
  switch (call.kind)
  {
    case DrawKind::Line:
      if (call.points.size() == 2)
        Line(call.points[0], call.points[1], call.pen, call.lineWidth, opacity,
             call.depth && !(call.flags & DRAWLINE_NODEPTH));
      break;
    case DrawKind::Poly:
    {
      const size_t n = call.points.size();
      Vector col, normal, mid;
      for (size_t i = 0; i < n; ++i)
      {
        col += call.colours[i];
        normal += call.normals[i];
        mid += call.points[i];
      }
      col = Shade(col / Float(n), normal, mid / Float(n));
      for (size_t i = 1; i + 1 < n; ++i)
        Triangle(call.points[0], call.points[i], call.points[i + 1], col, opacity, call.depth && opacity >= 1.0);
      break;
    }
    case DrawKind::Sphere:
      if (!call.points.empty())
        Sphere(call.points[0], call.size, call.pen, opacity);
      break;
    case DrawKind::Box: Box(call, opacity); break;
  }
}

Bool ViewRaster::Store(BaseBitmap& bmp) const
{
  if (bmp.Init(width, height) != IMAGERESULT_OK)
    return false;
  auto byte = [](Float v) { return static_cast<Int32>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0)); };
  for (Int32 y = 0; y < height; ++y)
    for (Int32 x = 0; x < width; ++x)
    {
      const Vector& c = Pixel(x, y);
      bmp.SetPixel(x, y, byte(c.x), byte(c.y), byte(c.z));
    }
  return true;
}
} // namespace host::draw
