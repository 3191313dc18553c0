// The draw pass: the scene's objects as flat shaded triangles, then the tags' drawing.
#include "draw/draw_view.h"

#include <algorithm>
#include <cmath>

#include "c4d_objects.h"
#include "render/render_scene.h"

namespace host::draw
{
namespace
{
constexpr Float kPi = 3.141592653589793;

// The colour an object shows in a view: its material's, a checker by cell, or grey for a picture.
struct ViewMaterial
{
  Int32 type = MATERIAL_TYPE_COLOR;
  Vector color = Vector(0.8), color2 = Vector(0.2);
  Float cell = 100.0;

  explicit ViewMaterial(const BaseContainer* bc)
  {
    if (!bc)
      return;
    type = bc->GetInt32(MATERIAL_TYPE, MATERIAL_TYPE_COLOR);
    color = bc->GetVector(MATERIAL_COLOR, color);
    color2 = bc->GetVector(MATERIAL_COLOR2, color2);
    const Float size = bc->GetFloat(MATERIAL_CHECKER_SIZE, cell);
    if (size > 0.0 && std::isfinite(size))
      cell = size;
    if (type == MATERIAL_TYPE_PICTURE)
      color = Vector(0.7);
  }

  // `q` in the object's own space, as the render's checker takes it.
  Vector At(const Vector& q) const
  {
    if (type != MATERIAL_TYPE_CHECKER)
      return color;
    const Float c = std::floor(q.x / cell) + std::floor(q.y / cell) + std::floor(q.z / cell);
    return std::fmod(c, 2.0) == 0.0 ? color : color2;
  }
};

// Draws the object's triangles, given in its own space, flat shaded.
class ObjectPainter
{
public:
  ObjectPainter(ViewRaster& r, const Matrix& m, const ViewMaterial& mat) : raster(r), mg(m), material(mat) {}

  void Tri(const Vector& a, const Vector& b, const Vector& c) { Fill({a, b, c}, 3); }
  // A quad is shaded as one, so that its two triangles don't part along the diagonal.
  void Quad(const Vector& a, const Vector& b, const Vector& c, const Vector& d) { Fill({a, b, c, d}, 4); }

private:
  void Fill(const Vector (&local)[4], Int32 n)
  {
    Vector w[4], mid, centre;
    for (Int32 i = 0; i < n; ++i)
    {
      w[i] = mg * local[i];
      mid += w[i] / Float(n);
      centre += local[i] / Float(n);
    }
    const Vector normal = Cross(w[1] - w[0], w[n - 1] - w[0]);
    const Vector col = raster.Shade(material.At(centre), normal, mid);
    for (Int32 i = 1; i + 1 < n; ++i)
      raster.Triangle(w[0], w[i], w[i + 1], col, 1.0, true);
  }

  ViewRaster& raster;
  Matrix mg;
  const ViewMaterial& material;
};

void PaintSphere(ObjectPainter& p, Float r)
{
  constexpr Int32 rings = 16, segments = 32;
  auto at = [r](Int32 i, Int32 j) {
    const Float lat = -kPi / 2 + kPi * i / rings, lon = 2 * kPi * j / segments;
    return Vector(std::cos(lat) * std::sin(lon) * r, std::sin(lat) * r, std::cos(lat) * std::cos(lon) * r);
  };
  for (Int32 i = 0; i < rings; ++i)
    for (Int32 j = 0; j < segments; ++j)
      p.Quad(at(i, j), at(i, j + 1), at(i + 1, j + 1), at(i + 1, j));
}

void PaintCube(ObjectPainter& p, const Vector& size)
{
  const Vector h = size * 0.5;
  auto c = [&](Int32 i) { return Vector(i & 1 ? h.x : -h.x, i & 2 ? h.y : -h.y, i & 4 ? h.z : -h.z); };
  const Int32 faces[6][4] = {{0, 1, 3, 2}, {4, 6, 7, 5}, {0, 4, 5, 1}, {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 5, 7, 3}};
  for (const auto& f : faces)
    p.Quad(c(f[0]), c(f[1]), c(f[2]), c(f[3]));
}

// A plane in cells of the checker (at most 64 a side), so that a checker floor shows its cells.
void PaintPlane(ObjectPainter& p, Float w, Float d, Float cell)
{
  const Int32 nx = std::clamp(static_cast<Int32>(std::ceil(w / cell)), 1, 64);
  const Int32 nz = std::clamp(static_cast<Int32>(std::ceil(d / cell)), 1, 64);
  auto at = [&](Int32 i, Int32 k) { return Vector(-w / 2 + w * i / nx, 0.0, -d / 2 + d * k / nz); };
  for (Int32 i = 0; i < nx; ++i)
    for (Int32 k = 0; k < nz; ++k)
      p.Quad(at(i, k), at(i, k + 1), at(i + 1, k + 1), at(i + 1, k));
}

void PaintCylinder(ObjectPainter& p, Float r, Float height, Bool caps)
{
  constexpr Int32 segments = 32;
  const Float h = height / 2;
  auto at = [&](Int32 j, Float y) { return Vector(std::sin(2 * kPi * j / segments) * r, y, std::cos(2 * kPi * j / segments) * r); };
  for (Int32 j = 0; j < segments; ++j)
  {
    p.Quad(at(j, -h), at(j + 1, -h), at(j + 1, h), at(j, h));
    if (caps)
    {
      p.Tri(Vector(0, h, 0), at(j, h), at(j + 1, h));
      p.Tri(Vector(0, -h, 0), at(j + 1, -h), at(j, -h));
    }
  }
}

void PaintMesh(ObjectPainter& p, const PolygonObject& mesh)
{
  const Vector* pts = mesh.GetPointR();
  const Int32 count = mesh.GetPointCount();
  for (Int32 i = 0; i < mesh.GetPolygonCount(); ++i)
  {
    const CPolygon& poly = mesh.GetPolygonR()[i];
    if (std::max({poly.a, poly.b, poly.c, poly.d}) >= count || std::min({poly.a, poly.b, poly.c, poly.d}) < 0)
      continue;
    p.Tri(pts[poly.a], pts[poly.b], pts[poly.c]);
    if (!poly.IsTriangle())
      p.Tri(pts[poly.a], pts[poly.c], pts[poly.d]);
  }
}

void PaintObject(ViewRaster& raster, BaseObject* op, const BaseContainer* material)
{
  const BaseContainer& bc = *op->GetDataInstance();
  const ViewMaterial mat(material);
  ObjectPainter p(raster, op->GetMg(), mat);
  switch (op->GetType())
  {
    case Osphere: PaintSphere(p, bc.GetFloat(PRIM_SPHERE_RAD, 100.0)); break;
    case Ocube: PaintCube(p, bc.GetVector(PRIM_CUBE_LEN, Vector(200.0))); break;
    case Oplane: PaintPlane(p, bc.GetFloat(PRIM_PLANE_WIDTH, 400.0), bc.GetFloat(PRIM_PLANE_HEIGHT, 400.0), mat.cell); break;
    case Ocylinder:
      PaintCylinder(p, bc.GetFloat(PRIM_CYLINDER_RADIUS, 50.0), bc.GetFloat(PRIM_CYLINDER_HEIGHT, 200.0),
                    bc.GetBool(PRIM_CYLINDER_CAPS, true));
      break;
    case Opolygon:
      if (auto* mesh = dynamic_cast<PolygonObject*>(op))
        PaintMesh(p, *mesh);
      break;
    default: break;
  }
}

// The scene's objects that render, as the render leaves out the ones switched off.
void PaintScene(ViewRaster& raster, BaseObject* op, Bool parentOff, const BaseContainer* parentMaterial)
{
  for (; op; op = op->GetNext())
  {
    const Bool off = render::ObjectIsOff(op, parentOff);
    const BaseContainer* material = render::ObjectMaterial(op, parentMaterial);
    if (!off)
      PaintObject(raster, op, material);
    PaintScene(raster, op->GetDown(), off, material);
  }
}

// The object pass: every tag of every object that draws, depth first.
void DrawTags(BaseObject* op, BaseDraw* view)
{
  for (; op; op = op->GetNext())
  {
    for (BaseTag* tag = op->GetFirstTag(); tag; tag = tag->GetNext())
      if (auto* data = dynamic_cast<TagData*>(tag->GetNodeData()))
        data->Draw(tag, op, view, nullptr);
    DrawTags(op->GetDown(), view);
  }
}
} // namespace

ViewCamera CameraOf(BaseDocument* doc, BaseDraw* view)
{
  ViewCamera cam;
  BaseObject* op = view->GetSceneCamera(doc);
  cam.projection = view->GetProjection();
  if (op)
  {
    cam.mg = op->GetMg();
    cam.focus = op->GetDataInstance()->GetFloat(CAMERA_FOCUS, cam.focus);
    cam.aperture = op->GetDataInstance()->GetFloat(CAMERAOBJECT_APERTURE, cam.aperture);
  }
  cam.parallelWidth = 500.0 * cam.aperture / cam.focus;
  return cam;
}

Bool DrawView(BaseDocument* doc, BaseDraw* view, Int32 width, Int32 height, ViewRaster& raster, String* error)
{
  if (!doc || !view)
    return false;
  const ViewCamera cam = CameraOf(doc, view);
  const Matrix& m = cam.mg;
  if (!(std::fabs(m.GetDeterminant()) > 1e-12) || !std::isfinite(m.GetDeterminant()) || !std::isfinite(m.off.x + m.off.y + m.off.z))
  {
    if (error)
      *error = String("the view's camera has no usable placement");
    return false;
  }
  if (!raster.Init(cam, width, height))
  {
    if (error)
      *error = String("the view needs a size from 1 to 16384 pixels that fits in memory, and a focal length and film width above 0");
    return false;
  }
  PaintScene(raster, doc->GetFirstObject(), false, nullptr);
  ViewDrawing::Of(*view).Restart(DRAWPASS_OBJECT);
  DrawTags(doc->GetFirstObject(), view);
  for (const DrawCall& call : DrawCalls(*view))
    raster.Draw(call);
  return true;
}
} // namespace host::draw
