// Gathering the document into an Embree scene: objects, meshes, lights and the sky.
#include "render/render_scene.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace host::render
{
namespace
{
constexpr Float kInfinity = std::numeric_limits<Float>::infinity();

Bool IsFinite(const Vector& v)
{
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// A matrix that places an object: finite and not flat.
Bool IsUsable(const Matrix& m)
{
  return IsFinite(m.off) && IsFinite(m.v1) && IsFinite(m.v2) && IsFinite(m.v3) && m.GetDeterminant() != 0.0;
}

/// The object for messages: its kind and, where it has one, its name.
String Describe(const BaseObject* op)
{
  const char* kind = "object";
  switch (op->GetType())
  {
    case Osphere: kind = "sphere"; break;
    case Ocube: kind = "cube"; break;
    case Oplane: kind = "plane"; break;
    case Ocylinder: kind = "cylinder"; break;
    case Opolygon: kind = "polygon object"; break;
    case Osky: kind = "sky"; break;
    case Ocamera: kind = "camera"; break;
    default: break;
  }
  String s(kind);
  if (op->GetName().IsPopulated())
    s += String(" \"") + op->GetName() + String("\"");
  return s;
}

Bool ReadMaterial(const BaseContainer* bc, const String& owner, const Filename& folder, PictureCache& pictures,
                  SurfaceMaterial& m, String* error)
{
  m = SurfaceMaterial();
  if (!bc)
    return true;
  auto fail = [&](const char* why) {
    if (error)
      *error = String("material of ") + owner + String(": ") + String(why);
    return false;
  };
  m.type = bc->GetInt32(MATERIAL_TYPE, MATERIAL_TYPE_COLOR);
  m.color = bc->GetVector(MATERIAL_COLOR, m.color);
  m.color2 = bc->GetVector(MATERIAL_COLOR2, m.color2);
  m.checkerSize = bc->GetFloat(MATERIAL_CHECKER_SIZE, m.checkerSize);
  m.projection = bc->GetInt32(MATERIAL_PROJECTION, MATERIAL_PROJECTION_UV);
  m.projectionSize = bc->GetFloat(MATERIAL_PROJECTION_SIZE, m.projectionSize);
  switch (m.type)
  {
    case MATERIAL_TYPE_COLOR: return true;
    case MATERIAL_TYPE_CHECKER:
      if (!(m.checkerSize > 0.0) || !std::isfinite(m.checkerSize))
        return fail("the checker size must be above 0");
      return true;
    case MATERIAL_TYPE_PICTURE:
      if (m.projection < MATERIAL_PROJECTION_UV || m.projection > MATERIAL_PROJECTION_PLANAR)
        return fail("unknown projection");
      if (m.projection == MATERIAL_PROJECTION_PLANAR && (!(m.projectionSize > 0.0) || !std::isfinite(m.projectionSize)))
        return fail("the projection size must be above 0");
      m.picture = pictures.Get(bc->GetFilename(MATERIAL_PICTURE), folder, String("material of ") + owner, error);
      return m.picture != nullptr;
    default: return fail("unknown material type");
  }
}

/// What becomes of an object: added, skipped as invisible (no size), or an error.
enum class Outcome
{
  Add,
  Skip,
  Fail,
};

/// The size of a primitive shape into `obj`, and for a cube or a plane its local triangles.
Outcome ShapeGeometry(const BaseContainer& bc, SceneObject& obj, std::vector<Vector>& local, std::vector<UInt32>& indices)
{
  switch (obj.shape)
  {
    case Shape::Sphere:
      obj.radius = bc.GetFloat(PRIM_SPHERE_RAD, 100.0);
      return !(obj.radius > 0.0) || !std::isfinite(obj.radius) ? Outcome::Skip : Outcome::Add;
    case Shape::Cylinder:
      obj.radius = bc.GetFloat(PRIM_CYLINDER_RADIUS, 50.0);
      obj.halfHeight = bc.GetFloat(PRIM_CYLINDER_HEIGHT, 200.0) * 0.5;
      obj.caps = bc.GetBool(PRIM_CYLINDER_CAPS, true);
      if (!(obj.radius > 0.0 && obj.halfHeight > 0.0) || !std::isfinite(obj.radius) || !std::isfinite(obj.halfHeight))
        return Outcome::Skip;
      return Outcome::Add;
    case Shape::Cube:
    {
      obj.half = bc.GetVector(PRIM_CUBE_LEN, Vector(200.0)) * 0.5;
      if (!(obj.half.x > 0.0 && obj.half.y > 0.0 && obj.half.z > 0.0) || !IsFinite(obj.half))
        return Outcome::Skip;
      for (Int32 i = 0; i < 8; ++i)
        local.push_back(Vector(i & 1 ? obj.half.x : -obj.half.x, i & 2 ? obj.half.y : -obj.half.y,
                               i & 4 ? obj.half.z : -obj.half.z));
      // Two triangles per face, wound outward.
      static const UInt32 faces[36] = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                                       2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
      indices.assign(faces, faces + 36);
      return Outcome::Add;
    }
    case Shape::Plane:
      obj.half = Vector(bc.GetFloat(PRIM_PLANE_WIDTH, 400.0) * 0.5, 0.0, bc.GetFloat(PRIM_PLANE_HEIGHT, 400.0) * 0.5);
      if (!(obj.half.x > 0.0 && obj.half.z > 0.0) || !IsFinite(obj.half))
        return Outcome::Skip;
      local = {Vector(-obj.half.x, 0.0, -obj.half.z), Vector(obj.half.x, 0.0, -obj.half.z),
               Vector(obj.half.x, 0.0, obj.half.z), Vector(-obj.half.x, 0.0, obj.half.z)};
      indices = {0, 2, 1, 0, 3, 2};
      return Outcome::Add;
    case Shape::Mesh: break;
  }
  return Outcome::Skip;
}

/// A polygon object's points and triangles, with each triangle's corner picture positions.
Outcome MeshGeometry(const BaseObject* op, SceneObject& obj, std::vector<Vector>& local, std::vector<UInt32>& indices,
                     String* error)
{
  const auto* mesh = dynamic_cast<const PolygonObject*>(op);
  if (!mesh || mesh->GetPolygonCount() == 0)
    return Outcome::Skip;
  const Int32 pointCount = mesh->GetPointCount();
  const CPolygon* polys = mesh->GetPolygonR();
  const UVWStruct* uvw = mesh->GetUVWR();
  local.assign(mesh->GetPointR(), mesh->GetPointR() + pointCount);
  for (const Vector& p : local)
    if (!IsFinite(p))
    {
      if (error)
        *error = Describe(op) + String(": a point is not a finite number");
      return Outcome::Fail;
    }
  for (Int32 i = 0; i < mesh->GetPolygonCount(); ++i)
  {
    const CPolygon& poly = polys[i];
    for (const Int32 corner : {poly.a, poly.b, poly.c, poly.d})
      if (corner < 0 || corner >= pointCount)
      {
        if (error)
          *error = Describe(op) + String(": polygon ") + String::IntToString(i) + String(" refers to point ") +
                   String::IntToString(corner) + String(" of ") + String::IntToString(pointCount);
        return Outcome::Fail;
      }
    // A quad becomes the triangles a-b-c and a-c-d.
    indices.insert(indices.end(), {UInt32(poly.a), UInt32(poly.b), UInt32(poly.c)});
    if (uvw)
      obj.triangleUV.insert(obj.triangleUV.end(), {Float32(uvw[i].a.x), Float32(uvw[i].a.y), Float32(uvw[i].b.x),
                                                   Float32(uvw[i].b.y), Float32(uvw[i].c.x), Float32(uvw[i].c.y)});
    if (!poly.IsTriangle())
    {
      indices.insert(indices.end(), {UInt32(poly.a), UInt32(poly.c), UInt32(poly.d)});
      if (uvw)
        obj.triangleUV.insert(obj.triangleUV.end(), {Float32(uvw[i].a.x), Float32(uvw[i].a.y), Float32(uvw[i].c.x),
                                                     Float32(uvw[i].c.y), Float32(uvw[i].d.x), Float32(uvw[i].d.y)});
    }
  }
  return Outcome::Add;
}

// ---- Analytic shapes in their own space ---------------------------------------------------------

/// Keeps `t` if it lies in (tnear, best).
inline void Consider(Float t, Float tnear, Float& best)
{
  if (t > tnear && t < best)
    best = t;
}

/// The nearest hit in (tnear, tfar) of a ray in the object's space; tfar when there is none.
Float HitSphere(const SceneObject& obj, const Vector& o, const Vector& d, Float tnear, Float tfar)
{
  const Float a = Dot(d, d);
  const Float b = Dot(o, d);
  const Float c = Dot(o, o) - obj.radius * obj.radius;
  const Float disc = b * b - a * c;
  if (disc < 0.0 || a == 0.0)
    return tfar;
  const Float sq = std::sqrt(disc);
  Float best = tfar;
  Consider((-b - sq) / a, tnear, best);
  Consider((-b + sq) / a, tnear, best);
  return best;
}

Float HitCylinder(const SceneObject& obj, const Vector& o, const Vector& d, Float tnear, Float tfar)
{
  const Float r2 = obj.radius * obj.radius;
  Float best = tfar;
  const Float a = d.x * d.x + d.z * d.z;
  if (a > 0.0)
  {
    const Float b = o.x * d.x + o.z * d.z;
    const Float c = o.x * o.x + o.z * o.z - r2;
    const Float disc = b * b - a * c;
    if (disc >= 0.0)
    {
      const Float sq = std::sqrt(disc);
      for (const Float t : {(-b - sq) / a, (-b + sq) / a})
        if (std::fabs(o.y + t * d.y) <= obj.halfHeight)
          Consider(t, tnear, best);
    }
  }
  if (obj.caps && d.y != 0.0)
    for (const Float cap : {-obj.halfHeight, obj.halfHeight})
    {
      const Float t = (cap - o.y) / d.y;
      const Float x = o.x + t * d.x, z = o.z + t * d.z;
      if (x * x + z * z <= r2)
        Consider(t, tnear, best);
    }
  return best;
}

Float HitAnalytic(const SceneObject& obj, const RTCRay& ray)
{
  const Vector o = obj.toLocal * Vector(ray.org_x, ray.org_y, ray.org_z);
  const Vector d = obj.toLocal.TransformVector(Vector(ray.dir_x, ray.dir_y, ray.dir_z));
  return obj.shape == Shape::Sphere ? HitSphere(obj, o, d, ray.tnear, ray.tfar) : HitCylinder(obj, o, d, ray.tnear, ray.tfar);
}
} // namespace

// ---- Camera ------------------------------------------------------------------------------------

BaseObject* FindRenderCamera(BaseDocument* doc)
{
  if (!doc)
    return nullptr;
  BaseDraw* view = doc->GetRenderBaseDraw();
  if (view && view->HasCameraLink())
    return view->GetSceneCamera(doc);
  // Depth first, without recursion: down, else next, else the next of the nearest ancestor.
  for (BaseObject* op = doc->GetFirstObject(); op;)
  {
    if (op->GetType() == Ocamera)
      return op;
    if (op->GetDown())
      op = op->GetDown();
    else
    {
      while (op && !op->GetNext())
        op = op->GetUp();
      op = op ? op->GetNext() : nullptr;
    }
  }
  return view ? view->GetEditorCamera() : nullptr;
}

void PinholeCamera::Set(const Matrix& mg, Float focus, Float aperture, Int32 width, Int32 height)
{
  origin = mg.off;
  forward = mg.v3.GetNormalized();
  const Float pixel = aperture / focus / width;
  right = mg.v1.GetNormalized() * pixel;
  down = mg.v2.GetNormalized() * -pixel;
  cx = (width - 1) * 0.5;
  cy = (height - 1) * 0.5;
}

Bool SetupPinhole(const BaseObject* camera, const Matrix& mg, Int32 width, Int32 height, PinholeCamera& pinhole,
                  String* error)
{
  Float focus = 36.0, aperture = 36.0;
  if (camera)
  {
    focus = camera->GetDataInstance()->GetFloat(CAMERA_FOCUS, focus);
    aperture = camera->GetDataInstance()->GetFloat(CAMERAOBJECT_APERTURE, aperture);
  }
  if (!(focus > 0.0 && aperture > 0.0) || !std::isfinite(focus) || !std::isfinite(aperture))
  {
    if (error)
      *error = (camera ? Describe(camera) : String("camera")) + String(": focal length and film width must be above 0");
    return false;
  }
  pinhole.Set(mg, focus, aperture, width, height);
  return true;
}

// ---- Building ----------------------------------------------------------------------------------

RenderScene::~RenderScene()
{
  Release();
}

void RenderScene::Release()
{
  if (scene)
    rtcReleaseScene(scene);
  scene = nullptr;
  objects.clear();
  analytic.clear();
  analyticGeometry = RTC_INVALID_GEOMETRY_ID;
  lights.clear();
  sky = SceneSky();
  skyIntensity = 1.0;
}

Bool RenderScene::Build(BaseDocument* doc, PictureCache& pictures, String* error)
{
  Release();
  folder = doc->GetDocumentPath();
  scene = rtcNewScene(device);
  if (!scene)
  {
    if (error)
      *error = String("the ray tracer could not make a scene");
    return false;
  }
  // Robust traversal: rays along the shared edge of two triangles don't slip through.
  rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
  if (!Gather(doc->GetFirstObject(), false, nullptr, pictures, error))
    return false;
  if (lights.empty() && !objects.empty())
  {
    // Without lights the host lights from above, from the left and behind a camera on +Z.
    SceneLight sun;
    sun.distant = true;
    sun.toLight = Vector(-0.5, 1.0, -0.7).GetNormalized();
    sun.color = Vector(1.0);
    lights.push_back(sun);
  }
  return Commit(error);
}

Bool ObjectIsOff(const BaseObject* op, Bool parentOff)
{
  const Int32 mode = op->GetRenderMode();
  return mode == MODE_OFF || (mode != MODE_ON && parentOff);
}

const BaseContainer* ObjectMaterial(const BaseObject* op, const BaseContainer* parentMaterial)
{
  const GeData* own = op->GetDataInstance()->GetDataPointer(OBJECT_MATERIAL);
  return own && own->GetContainer() ? own->GetContainer() : parentMaterial;
}

Bool RenderScene::Gather(BaseObject* op, Bool parentOff, const BaseContainer* parentMaterial, PictureCache& pictures,
                         String* error)
{
  for (; op; op = op->GetNext())
  {
    const Bool off = ObjectIsOff(op, parentOff);
    const BaseContainer* material = ObjectMaterial(op, parentMaterial);
    if (!off)
    {
      Bool ok = true;
      switch (op->GetType())
      {
        case Osphere: ok = AddObject(op, Shape::Sphere, material, pictures, error); break;
        case Ocube: ok = AddObject(op, Shape::Cube, material, pictures, error); break;
        case Oplane: ok = AddObject(op, Shape::Plane, material, pictures, error); break;
        case Ocylinder: ok = AddObject(op, Shape::Cylinder, material, pictures, error); break;
        case Opolygon: ok = AddObject(op, Shape::Mesh, material, pictures, error); break;
        case Olight: AddLight(op); break;
        case Osky: ok = sky.present || SetSky(op, pictures, error); break;
        default: break;
      }
      if (!ok)
        return false;
    }
    if (!Gather(op->GetDown(), off, material, pictures, error))
      return false;
  }
  return true;
}

Bool RenderScene::AddObject(BaseObject* op, Shape shape, const BaseContainer* material, PictureCache& pictures,
                            String* error)
{
  const Matrix mg = op->GetMg();
  if (!IsUsable(mg))
    return true; // flat or broken placement: nothing to see
  SceneObject obj;
  obj.shape = shape;
  obj.toLocal = mg.GetInverse();

  // Local corners and triangles of the shapes Embree intersects as triangles.
  std::vector<Vector> local;
  std::vector<UInt32> indices;
  const Outcome outcome = shape == Shape::Mesh ? MeshGeometry(op, obj, local, indices, error)
                                               : ShapeGeometry(*op->GetDataInstance(), obj, local, indices);
  if (outcome != Outcome::Add)
    return outcome == Outcome::Skip;

  if (!ReadMaterial(material, Describe(op), folder, pictures, obj.material, error))
    return false;

  const UInt32 index = static_cast<UInt32>(objects.size());
  if (shape == Shape::Sphere || shape == Shape::Cylinder)
    analytic.push_back(index);
  else
  {
    // Triangles go to Embree in world space, so no instance transform is paid per ray.
    for (Vector& p : local)
      p = mg * p;
    if (!AddTriangles(local, indices, error))
      return false;
  }
  objects.push_back(std::move(obj));
  return true;
}

Bool RenderScene::AddTriangles(const std::vector<Vector>& vertices, const std::vector<UInt32>& indices, String* error)
{
  RTCGeometry geom = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
  auto* vb = geom ? static_cast<float*>(rtcSetNewGeometryBuffer(geom, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                                                 3 * sizeof(float), vertices.size()))
                  : nullptr;
  auto* ib = geom ? static_cast<unsigned*>(rtcSetNewGeometryBuffer(geom, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                                                    3 * sizeof(unsigned), indices.size() / 3))
                  : nullptr;
  if (!vb || !ib)
  {
    if (geom)
      rtcReleaseGeometry(geom);
    if (error)
      *error = String("the ray tracer is out of memory");
    return false;
  }
  for (size_t i = 0; i < vertices.size(); ++i)
  {
    vb[i * 3] = static_cast<float>(vertices[i].x);
    vb[i * 3 + 1] = static_cast<float>(vertices[i].y);
    vb[i * 3 + 2] = static_cast<float>(vertices[i].z);
  }
  std::copy(indices.begin(), indices.end(), ib);
  rtcCommitGeometry(geom);
  rtcAttachGeometryByID(scene, geom, static_cast<unsigned>(objects.size()));
  rtcReleaseGeometry(geom);
  return true;
}

void RenderScene::AddLight(BaseObject* op)
{
  const BaseContainer& bc = *op->GetDataInstance();
  const Matrix mg = op->GetMg();
  SceneLight light;
  light.distant = bc.GetInt32(LIGHT_TYPE, LIGHT_TYPE_POINT) == LIGHT_TYPE_DISTANT;
  light.color = bc.GetVector(LIGHT_COLOR, Vector(1.0)) * bc.GetFloat(LIGHT_BRIGHTNESS, 1.0);
  light.shadow = bc.GetBool(LIGHT_SHADOW, true);
  light.position = mg.off;
  // A sun shines along its +Z axis: the light comes from −Z.
  light.toLight = -mg.v3.GetNormalized();
  if (!IsFinite(light.color) || !IsFinite(light.position) || (light.distant && light.toLight.IsZero()))
    return;
  lights.push_back(light);
}

Bool RenderScene::SetSky(BaseObject* op, PictureCache& pictures, String* error)
{
  const BaseContainer& bc = *op->GetDataInstance();
  SceneSky s;
  s.present = true;
  s.type = bc.GetInt32(SKY_TYPE, SKY_TYPE_COLOR);
  s.color = bc.GetVector(SKY_COLOR, Vector(1.0));
  s.top = bc.GetVector(SKY_COLOR_TOP, Vector(0.25, 0.45, 0.85));
  s.bottom = bc.GetVector(SKY_COLOR_BOTTOM, Vector(0.85, 0.9, 1.0));
  // Only the sky's turn counts: axes at length 1, no offset.
  Matrix turn = op->GetMg();
  turn.off = Vector();
  turn.v1.Normalize();
  turn.v2.Normalize();
  turn.v3.Normalize();
  s.toLocal = IsUsable(turn) ? turn.GetInverse() : Matrix();
  if (s.type == SKY_TYPE_PICTURE)
  {
    s.picture = pictures.Get(bc.GetFilename(SKY_PICTURE), folder, Describe(op), error);
    if (!s.picture)
      return false;
  }
  else if (s.type != SKY_TYPE_COLOR && s.type != SKY_TYPE_GRADIENT)
  {
    if (error)
      *error = Describe(op) + String(": unknown sky type ") + String::IntToString(s.type);
    return false;
  }
  sky = s;
  skyIntensity = bc.GetFloat(SKY_INTENSITY, 1.0);
  return true;
}

Bool RenderScene::Commit(String* error)
{
  if (!analytic.empty())
  {
    RTCGeometry geom = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_USER);
    if (!geom)
    {
      if (error)
        *error = String("the ray tracer is out of memory");
      return false;
    }
    rtcSetGeometryUserPrimitiveCount(geom, static_cast<unsigned>(analytic.size()));
    rtcSetGeometryUserData(geom, this);
    rtcSetGeometryBoundsFunction(geom, AnalyticBounds, nullptr);
    rtcSetGeometryIntersectFunction(geom, AnalyticIntersect);
    rtcSetGeometryOccludedFunction(geom, AnalyticOccluded);
    rtcCommitGeometry(geom);
    analyticGeometry = static_cast<UInt32>(objects.size());
    rtcAttachGeometryByID(scene, geom, analyticGeometry);
    rtcReleaseGeometry(geom);
  }
  rtcCommitScene(scene);
  const RTCError err = rtcGetDeviceError(device);
  if (err != RTC_ERROR_NONE)
  {
    if (error)
      *error = String("the ray tracer failed to build the scene (error ") + String::IntToString(err) + String(")");
    return false;
  }
  return true;
}

// ---- Analytic callbacks ------------------------------------------------------------------------

void RenderScene::AnalyticBounds(const RTCBoundsFunctionArguments* args)
{
  const auto* self = static_cast<const RenderScene*>(args->geometryUserPtr);
  const SceneObject& obj = self->objects[self->analytic[args->primID]];
  const Matrix toWorld = obj.toLocal.GetInverse();
  const Vector half = obj.shape == Shape::Sphere ? Vector(obj.radius) : Vector(obj.radius, obj.halfHeight, obj.radius);
  Vector lo(kInfinity), hi(-kInfinity);
  for (Int32 i = 0; i < 8; ++i)
  {
    const Vector p = toWorld * Vector(i & 1 ? half.x : -half.x, i & 2 ? half.y : -half.y, i & 4 ? half.z : -half.z);
    lo = Vector(std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z));
    hi = Vector(std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z));
  }
  // A little slack for the rounding to float.
  const Float pad = 1e-5 * std::max({1.0, std::fabs(lo.x), std::fabs(lo.y), std::fabs(lo.z), std::fabs(hi.x),
                                     std::fabs(hi.y), std::fabs(hi.z)});
  RTCBounds* b = args->bounds_o;
  b->lower_x = static_cast<float>(lo.x - pad);
  b->lower_y = static_cast<float>(lo.y - pad);
  b->lower_z = static_cast<float>(lo.z - pad);
  b->upper_x = static_cast<float>(hi.x + pad);
  b->upper_y = static_cast<float>(hi.y + pad);
  b->upper_z = static_cast<float>(hi.z + pad);
}

void RenderScene::AnalyticIntersect(const RTCIntersectFunctionNArguments* args)
{
  // Only single rays are traced (rtcIntersect1), so the packet is one RTCRayHit.
  if (args->N != 1 || !args->valid[0])
    return;
  const auto* self = static_cast<const RenderScene*>(args->geometryUserPtr);
  auto* rh = reinterpret_cast<RTCRayHit*>(args->rayhit);
  const Float t = HitAnalytic(self->objects[self->analytic[args->primID]], rh->ray);
  if (!(t < rh->ray.tfar))
    return;
  rh->ray.tfar = static_cast<float>(t);
  rh->hit.geomID = args->geomID;
  rh->hit.primID = args->primID;
  rh->hit.u = rh->hit.v = 0.0f;
  rh->hit.Ng_x = rh->hit.Ng_y = rh->hit.Ng_z = 0.0f;
  rh->hit.instID[0] = args->context->instID[0];
}

void RenderScene::AnalyticOccluded(const RTCOccludedFunctionNArguments* args)
{
  if (args->N != 1 || !args->valid[0])
    return;
  const auto* self = static_cast<const RenderScene*>(args->geometryUserPtr);
  auto* ray = reinterpret_cast<RTCRay*>(args->ray);
  if (HitAnalytic(self->objects[self->analytic[args->primID]], *ray) < ray->tfar)
    ray->tfar = -std::numeric_limits<float>::infinity();
}

} // namespace host::render
