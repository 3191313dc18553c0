// Shading what a ray hits: surfaces lit by the scene's lights with hard shadows, and the sky.
#include <algorithm>
#include <cmath>
#include <limits>

#include "render/render_scene.h"

namespace host::render
{
namespace
{
constexpr Float kInfinity = std::numeric_limits<Float>::infinity();

Vector Mul(const Vector& a, const Vector& b)
{
  return Vector(a.x * b.x, a.y * b.y, a.z * b.z);
}

/// A local normal into world space: the transpose of the inverse's axes.
Vector NormalToWorld(const Matrix& toLocal, const Vector& n)
{
  return Vector(Dot(toLocal.v1, n), Dot(toLocal.v2, n), Dot(toLocal.v3, n));
}

/// Sphere-like picture position of a local point: around Y as the sky, v = 0 at the top.
void SphericalUV(const Vector& q, Float& u, Float& v)
{
  const Vector d = q.GetNormalized();
  if (d.IsZero())
  {
    u = v = 0.5;
    return;
  }
  DirectionToSkyUV(d, u, v);
}

/// The colour of a material at local point `q` with the surface's own picture position (u, v).
Vector Albedo(const SurfaceMaterial& m, const Vector& q, Float u, Float v)
{
  switch (m.type)
  {
    case MATERIAL_TYPE_CHECKER:
    {
      const Float s = 1.0 / m.checkerSize;
      // fmod keeps the parity of huge cell numbers without an integer overflow.
      const Float cell = std::floor(q.x * s) + std::floor(q.y * s) + std::floor(q.z * s);
      return std::fmod(cell, 2.0) == 0.0 ? m.color : m.color2;
    }
    case MATERIAL_TYPE_PICTURE:
      if (m.projection == MATERIAL_PROJECTION_SPHERICAL)
        SphericalUV(q, u, v);
      else if (m.projection == MATERIAL_PROJECTION_PLANAR)
      {
        u = 0.5 + q.x / m.projectionSize;
        v = 0.5 - q.y / m.projectionSize;
      }
      return m.picture->Sample(u, v, true);
    default: return m.color;
  }
}

/// Where a ray met a surface: the local point (moved onto the face where it lies on one), the
/// normal and the surface's own picture position.
struct SurfacePoint
{
  Vector q;
  Vector localNormal;
  Vector normal;
  Float u = 0.0;
  Float v = 0.0;
};

void CylinderSurface(const SceneObject& obj, SurfacePoint& s)
{
  Vector& q = s.q;
  const Float radial = std::sqrt(q.x * q.x + q.z * q.z);
  if (obj.caps && std::fabs(std::fabs(q.y) - obj.halfHeight) < std::fabs(radial - obj.radius))
  {
    q.y = q.y < 0.0 ? -obj.halfHeight : obj.halfHeight;
    s.localNormal = Vector(0.0, q.y, 0.0);
    s.u = 0.5 + q.x / (2.0 * obj.radius);
    s.v = 0.5 - q.z / (2.0 * obj.radius);
  }
  else
  {
    s.localNormal = Vector(q.x, 0.0, q.z);
    s.u = 0.5 + std::atan2(q.x, q.z) * (1.0 / PI2);
    s.v = 0.5 - q.y / (2.0 * obj.halfHeight);
  }
}

void CubeSurface(const SceneObject& obj, SurfacePoint& s)
{
  Vector& q = s.q;
  // The face is the axis on which the point lies furthest out; put it exactly there.
  const Float ax = std::fabs(q.x) / obj.half.x, ay = std::fabs(q.y) / obj.half.y, az = std::fabs(q.z) / obj.half.z;
  if (ax >= ay && ax >= az)
  {
    q.x = q.x < 0.0 ? -obj.half.x : obj.half.x;
    s.localNormal = Vector(q.x, 0.0, 0.0);
    s.u = 0.5 + q.z / (2.0 * obj.half.z);
    s.v = 0.5 - q.y / (2.0 * obj.half.y);
  }
  else if (ay >= az)
  {
    q.y = q.y < 0.0 ? -obj.half.y : obj.half.y;
    s.localNormal = Vector(0.0, q.y, 0.0);
    s.u = 0.5 + q.x / (2.0 * obj.half.x);
    s.v = 0.5 - q.z / (2.0 * obj.half.z);
  }
  else
  {
    q.z = q.z < 0.0 ? -obj.half.z : obj.half.z;
    s.localNormal = Vector(0.0, 0.0, q.z);
    s.u = 0.5 + q.x / (2.0 * obj.half.x);
    s.v = 0.5 - q.y / (2.0 * obj.half.y);
  }
}

/// The surface of an analytic shape, a cube or a plane at local point `s.q`.
void ShapeSurface(const SceneObject& obj, SurfacePoint& s)
{
  switch (obj.shape)
  {
    case Shape::Sphere:
      s.localNormal = s.q;
      SphericalUV(s.q, s.u, s.v);
      break;
    case Shape::Cylinder: CylinderSurface(obj, s); break;
    case Shape::Cube: CubeSurface(obj, s); break;
    case Shape::Plane:
      s.q.y = 0.0;
      s.localNormal = Vector(0.0, 1.0, 0.0);
      s.u = 0.5 + s.q.x / (2.0 * obj.half.x);
      s.v = 0.5 - s.q.z / (2.0 * obj.half.z);
      break;
    case Shape::Mesh: break;
  }
}

/// A mesh's surface: Embree's geometric normal, and the corners' picture positions where the mesh has them.
void MeshSurface(const SceneObject& obj, const RTCHit& hit, SurfacePoint& s)
{
  s.normal = Vector(hit.Ng_x, hit.Ng_y, hit.Ng_z);
  if (!obj.triangleUV.empty())
  {
    const Float32* t = &obj.triangleUV[static_cast<size_t>(hit.primID) * 6u];
    const Float b1 = hit.u, b2 = hit.v, b0 = 1.0 - b1 - b2;
    s.u = b0 * t[0] + b1 * t[2] + b2 * t[4];
    s.v = b0 * t[1] + b1 * t[3] + b2 * t[5];
  }
  else
    SphericalUV(s.q, s.u, s.v);
}
} // namespace

// ---- Tracing -----------------------------------------------------------------------------------

Rgba RenderScene::Background(const Vector& dir) const
{
  if (!sky.present)
    return Rgba();
  Vector c = sky.color;
  if (sky.type != SKY_TYPE_COLOR)
  {
    const Vector d = sky.toLocal.TransformVector(dir);
    if (sky.type == SKY_TYPE_GRADIENT)
    {
      const Float t = std::min(1.0, std::max(0.0, (d.y + 1.0) * 0.5));
      c = sky.bottom * (1.0 - t) + sky.top * t;
    }
    else
    {
      Float u, v;
      DirectionToSkyUV(d, u, v);
      c = sky.picture->Sample(u, v, false);
    }
  }
  c *= skyIntensity;
  return Rgba{Float32(c.x), Float32(c.y), Float32(c.z), 1.0f};
}

Bool RenderScene::Occluded(const Vector& from, const Vector& dir, Float distance) const
{
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  RTCRay ray;
  ray.org_x = static_cast<float>(from.x);
  ray.org_y = static_cast<float>(from.y);
  ray.org_z = static_cast<float>(from.z);
  ray.dir_x = static_cast<float>(dir.x);
  ray.dir_y = static_cast<float>(dir.y);
  ray.dir_z = static_cast<float>(dir.z);
  ray.tnear = 0.0f;
  ray.tfar = static_cast<float>(distance);
  ray.time = 0.0f;
  ray.mask = 0xffffffffu;
  ray.id = 0;
  ray.flags = 0;
  rtcOccluded1(scene, &context, &ray);
  return ray.tfar < 0.0f;
}

Rgba RenderScene::Trace(const Vector& origin, const Vector& dir) const
{
  if (objects.empty())
    return Background(dir);

  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  RTCRayHit rh;
  rh.ray.org_x = static_cast<float>(origin.x);
  rh.ray.org_y = static_cast<float>(origin.y);
  rh.ray.org_z = static_cast<float>(origin.z);
  rh.ray.dir_x = static_cast<float>(dir.x);
  rh.ray.dir_y = static_cast<float>(dir.y);
  rh.ray.dir_z = static_cast<float>(dir.z);
  rh.ray.tnear = 0.0f;
  rh.ray.tfar = std::numeric_limits<float>::infinity();
  rh.ray.time = 0.0f;
  rh.ray.mask = 0xffffffffu;
  rh.ray.id = 0;
  rh.ray.flags = 0;
  rh.hit.geomID = RTC_INVALID_GEOMETRY_ID;
  rh.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
  rtcIntersect1(scene, &context, &rh);
  if (rh.hit.geomID == RTC_INVALID_GEOMETRY_ID)
    return Background(dir);

  const Bool isAnalytic = rh.hit.geomID == analyticGeometry;
  const SceneObject& obj = objects[isAnalytic ? analytic[rh.hit.primID] : rh.hit.geomID];
  const Vector p = origin + dir * static_cast<Float>(rh.ray.tfar);
  SurfacePoint s;
  s.q = obj.toLocal * p;
  if (obj.shape == Shape::Mesh)
    MeshSurface(obj, rh.hit, s);
  else
  {
    ShapeSurface(obj, s);
    s.normal = NormalToWorld(obj.toLocal, s.localNormal);
  }
  s.normal.Normalize();
  if (Dot(s.normal, dir) > 0.0)
    s.normal = -s.normal;

  const Vector albedo = Albedo(obj.material, s.q, s.u, s.v);
  const Vector c = Mul(albedo, LightAt(p, s.normal));
  return Rgba{Float32(c.x), Float32(c.y), Float32(c.z), 1.0f};
}

Vector RenderScene::LightAt(const Vector& p, const Vector& normal) const
{
  // Lambert with hard shadows; shadow rays start a little off the surface so they don't hit it.
  const Float reach = std::max({1.0, std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
  const Vector from = p + normal * (2e-5 * reach);
  Vector light(kAmbient);
  for (const SceneLight& l : lights)
  {
    Vector toLight = l.toLight;
    Float distance = kInfinity;
    if (!l.distant)
    {
      toLight = l.position - p;
      distance = toLight.GetLength();
      if (distance == 0.0)
        continue;
      toLight = toLight / distance;
      distance *= 0.9999; // stop short of the light itself
    }
    const Float cosine = Dot(normal, toLight);
    if (cosine <= 0.0)
      continue;
    if (l.shadow && Occluded(from, toLight, distance))
      continue;
    light += l.color * cosine;
  }
  return light;
}
} // namespace host::render
