// The document as the render traces it: geometry in an Embree scene, materials, lights, sky,
// and the host's own pinhole camera.
#pragma once

#include <embree3/rtcore.h>

#include <vector>

#include "c4d.h"
#include "c4d_objects.h"
#include "render/render_picture.h"

namespace host::render
{
/// A traced colour: red, green, blue and coverage.
struct Rgba
{
  Float32 r = 0.0f, g = 0.0f, b = 0.0f, a = 0.0f;
};

/// The camera the host shoots without a custom lens: the render view's linked camera, else the
/// document's first camera (depth first), else the render view's editor camera; null only for a
/// document without any of these.
BaseObject* FindRenderCamera(BaseDocument* doc);

/// A pinhole camera over a frame of pixels: pixel centres at integer positions, (0, 0) top left,
/// y downward, square pixels; the film's width spans the frame's width.
struct PinholeCamera
{
  Vector origin;
  Vector forward; ///< the camera's +Z, length 1
  Vector right;   ///< one pixel to the right on the image plane at distance 1
  Vector down;    ///< one pixel down
  Float cx = 0.0, cy = 0.0;

  /// `focus` and `aperture` in mm, both above 0; the matrix's axes are taken at length 1.
  void Set(const Matrix& mg, Float focus, Float aperture, Int32 width, Int32 height);
  /// The direction (not of length 1) through frame position (x, y) in pixels.
  Vector Direction(Float x, Float y) const { return forward + right * (x - cx) + down * (y - cy); }
};

/// Reads the pinhole of `camera` (null: the default camera at the origin); false with a message
/// for a focal length or film width that isn't above 0.
Bool SetupPinhole(const BaseObject* camera, const Matrix& mg, Int32 width, Int32 height, PinholeCamera& pinhole,
                  String* error);

/// What a surface's colour comes from, read once from the material container.
struct SurfaceMaterial
{
  Int32 type = MATERIAL_TYPE_COLOR;
  Vector color = Vector(0.8);
  Vector color2 = Vector(0.2);
  Float checkerSize = 100.0;
  const Picture* picture = nullptr;
  Int32 projection = MATERIAL_PROJECTION_UV;
  Float projectionSize = 100.0;
};

enum class Shape : UChar
{
  Sphere,
  Cube,
  Plane,
  Cylinder,
  Mesh,
};

/// One object of the traced scene, with what shading needs of it.
struct SceneObject
{
  Shape shape = Shape::Sphere;
  Matrix toLocal;  ///< inverse of the global matrix
  Float radius = 0.0;     ///< sphere, cylinder
  Float halfHeight = 0.0; ///< cylinder
  Bool caps = true;       ///< cylinder
  Vector half;            ///< cube: half edges; plane: half width in x, half height in z
  SurfaceMaterial material;
  std::vector<Float32> triangleUV; ///< mesh: u, v of each Embree triangle's three corners, or empty
};

struct SceneLight
{
  Bool distant = false;
  Vector position; ///< point light
  Vector toLight;  ///< distant light: towards the light, length 1
  Vector color;    ///< colour × brightness
  Bool shadow = true;
};

struct SceneSky
{
  Bool present = false;
  Int32 type = SKY_TYPE_COLOR;
  Vector color = Vector(1.0);
  Vector top, bottom;
  const Picture* picture = nullptr;
  Matrix toLocal; ///< turns world directions into the sky's own
};

/// The traced scene of one frame. Trace may run on many threads at once.
/// Whether `op` renders, given whether its parent does: its own render mode, else its parent's.
Bool ObjectIsOff(const BaseObject* op, Bool parentOff);
/// The material `op` shows: its own, else the one it takes from its parent.
const BaseContainer* ObjectMaterial(const BaseObject* op, const BaseContainer* parentMaterial);

class RenderScene
{
public:
  explicit RenderScene(RTCDevice rtcDevice) : device(rtcDevice) {}
  ~RenderScene();
  RenderScene(const RenderScene&) = delete;
  RenderScene& operator=(const RenderScene&) = delete;

  /// Gathers the objects of `doc` that render and builds the Embree scene; false with a message
  /// naming the object or picture at fault.
  Bool Build(BaseDocument* doc, PictureCache& pictures, String* error);

  /// The colour that a ray from `origin` along `dir` (length 1) sees: shaded surface, sky, or
  /// black with coverage 0 where there is neither.
  Rgba Trace(const Vector& origin, const Vector& dir) const;

  /// What a ray that hits nothing sees.
  Rgba Background(const Vector& dir) const;

  /// Light that reaches every surface, on top of the lights.
  static constexpr Float kAmbient = 0.1;

private:
  Bool Gather(BaseObject* op, Bool parentOff, const BaseContainer* parentMaterial, PictureCache& pictures, String* error);
  Bool AddObject(BaseObject* op, Shape shape, const BaseContainer* material, PictureCache& pictures, String* error);
  Bool AddTriangles(const std::vector<Vector>& vertices, const std::vector<UInt32>& indices, String* error);
  void AddLight(BaseObject* op);
  Bool SetSky(BaseObject* op, PictureCache& pictures, String* error);
  Bool Commit(String* error);
  void Release();
  Bool Occluded(const Vector& from, const Vector& dir, Float distance) const;
  /// Light arriving at surface point `p` with outward `normal`: ambient plus unshadowed lights.
  Vector LightAt(const Vector& p, const Vector& normal) const;

  // Spheres and cylinders: one Embree user geometry whose primitives are the entries of `analytic`.
  static void AnalyticBounds(const RTCBoundsFunctionArguments* args);
  static void AnalyticIntersect(const RTCIntersectFunctionNArguments* args);
  static void AnalyticOccluded(const RTCOccludedFunctionNArguments* args);

  RTCDevice device;
  RTCScene scene = nullptr;
  Filename folder;
  std::vector<SceneObject> objects; ///< by Embree geometry id for triangles
  std::vector<UInt32> analytic;     ///< object index of each analytic primitive
  UInt32 analyticGeometry = RTC_INVALID_GEOMETRY_ID;
  std::vector<SceneLight> lights;
  SceneSky sky;
  Float skyIntensity = 1.0;
};
} // namespace host::render
