// Parameters of the host's own objects (camera, primitives, light, sky), the material an object
// carries, and the polygon object.
#pragma once

#include <vector>

#include "c4d_math.h"
#include "c4d_nodes.h"
#include "c4d_types.h"

/// Parameters in an object's container. A missing id reads as the default given here.
enum : Int32
{
  // Any object: its material, a sub-container with the MATERIAL_... ids. Children without one
  // take their parent's.
  OBJECT_MATERIAL = 1090,

  // Ocamera: a pinhole looking along its +Z axis.
  CAMERA_FOCUS = 1100,          ///< Float, focal length in mm; 36
  CAMERAOBJECT_APERTURE = 1101, ///< Float, film width in mm; 36 (with the focus of 36: 53.13° across)
  CAMERAOBJECT_SHOWCONE = 1007, ///< Bool, the view cone drawn in the viewport; true
  // The camera's stereoscopic settings, which renders don't read: the lens plug-in mirrors them.
  CAMERAOBJECT_STEREO_MODE = 4200,           ///< Int32: 0 mono, 1 and up stereoscopic kinds; 0
  CAMERAOBJECT_STEREO_EYESEPARATION = 4201,  ///< Float, scene units; 6.5
  CAMERAOBJECT_STEREO_CONVERGENCE = 4202,    ///< Int32: 1 the eyes converge, 0 parallel; 1
  CAMERAOBJECT_STEREO_PLACEMENT = 4203,      ///< Int32; 0
  CAMERAOBJECT_STEREO_SHOW_ALL = 4204,       ///< Bool; false
  CAMERAOBJECT_STEREO_ZERO_PARALLAX = 4205,  ///< Float, scene units; 1000

  // Osphere, centred on the object's origin.
  PRIM_SPHERE_RAD = 1110, ///< Float; 100

  // Ocube, centred on the object's origin.
  PRIM_CUBE_LEN = 1120, ///< Vector, edge lengths along X, Y, Z; (200, 200, 200)

  // Oplane: a rectangle in the object's XZ plane, facing +Y, centred on its origin.
  PRIM_PLANE_WIDTH = 1130,  ///< Float, along X; 400
  PRIM_PLANE_HEIGHT = 1131, ///< Float, along Z; 400

  // Ocylinder: its axis along the object's Y axis, centred on its origin.
  PRIM_CYLINDER_RADIUS = 1140, ///< Float; 50
  PRIM_CYLINDER_HEIGHT = 1141, ///< Float; 200
  PRIM_CYLINDER_CAPS = 1142,   ///< Bool, closed at both ends; true

  // Olight: shines along its +Z axis (a sun) or from its origin in all directions (a point).
  LIGHT_TYPE = 1200,       ///< Int32, LIGHT_TYPE_...; LIGHT_TYPE_POINT
  LIGHT_COLOR = 1201,      ///< Vector; (1, 1, 1)
  LIGHT_BRIGHTNESS = 1202, ///< Float, factor on the colour; 1
  LIGHT_SHADOW = 1203,     ///< Bool, hard shadows; true

  // Osky: what rays that hit nothing see. Its rotation turns the sky.
  SKY_TYPE = 1300,         ///< Int32, SKY_TYPE_...; SKY_TYPE_COLOR
  SKY_COLOR = 1301,        ///< Vector; (1, 1, 1)
  SKY_COLOR_TOP = 1302,    ///< Vector, the gradient straight up; (0.25, 0.45, 0.85)
  SKY_COLOR_BOTTOM = 1303, ///< Vector, the gradient straight down; (0.85, 0.9, 1)
  SKY_PICTURE = 1304,      ///< Filename of an equirectangular picture, relative to the document's folder
  SKY_INTENSITY = 1305,    ///< Float, factor on the sky; 1
};

enum : Int32
{
  LIGHT_TYPE_POINT = 0,
  LIGHT_TYPE_DISTANT = 1, ///< a sun: parallel light
};

enum : Int32
{
  SKY_TYPE_COLOR = 0,
  SKY_TYPE_GRADIENT = 1, ///< from SKY_COLOR_BOTTOM straight down to SKY_COLOR_TOP straight up
  /// Column u = 0.5 looks along +Z, 0.75 towards +X, 0.25 towards −X; the top row looks up.
  SKY_TYPE_PICTURE = 2,
};

/// Ids of the material sub-container (OBJECT_MATERIAL).
enum : Int32
{
  MATERIAL_TYPE = 1000,            ///< Int32, MATERIAL_TYPE_...; MATERIAL_TYPE_COLOR
  MATERIAL_COLOR = 1001,           ///< Vector, the colour, or the checker's first; (0.8, 0.8, 0.8)
  MATERIAL_COLOR2 = 1002,          ///< Vector, the checker's second colour; (0.2, 0.2, 0.2)
  MATERIAL_CHECKER_SIZE = 1003,    ///< Float, a checker cell's edge in the object's units; 100
  MATERIAL_PICTURE = 1004,         ///< Filename, relative to the document's folder
  MATERIAL_PROJECTION = 1005,      ///< Int32, MATERIAL_PROJECTION_...; MATERIAL_PROJECTION_UV
  MATERIAL_PROJECTION_SIZE = 1006, ///< Float, the edge of the picture in planar projection; 100
};

enum : Int32
{
  MATERIAL_TYPE_COLOR = 0,
  MATERIAL_TYPE_CHECKER = 1, ///< cubes of MATERIAL_CHECKER_SIZE in the object's own space
  MATERIAL_TYPE_PICTURE = 2, ///< repeats beyond 0 to 1
};

enum : Int32
{
  /// The object's own coordinates: a plane's picture spans it (top row towards +Z), a sphere's
  /// and a cylinder's wrap around Y as the sky does, a cube shows it on each face; a polygon
  /// object uses its UVW, or spherical without.
  MATERIAL_PROJECTION_UV = 0,
  MATERIAL_PROJECTION_SPHERICAL = 1, ///< by the direction from the object's origin, as the sky
  MATERIAL_PROJECTION_PLANAR = 2,    ///< along the object's Z axis, centred on its origin
};

/// A camera object (type Ocamera): its parameters live in its container.
class CameraObject : public BaseObject
{
public:
  /// Focal length in mm (CAMERA_FOCUS).
  Float GetFocus() const { return GetDataInstance()->GetFloat(CAMERA_FOCUS, 36.0); }
  void SetFocus(Float v) { GetDataInstance()->SetFloat(CAMERA_FOCUS, v); }

protected:
  friend class BaseObject;
  CameraObject() : BaseObject(Ocamera) {}
};

/// A polygon's corners as point indices; a triangle repeats its third corner (c == d).
struct CPolygon
{
  Int32 a = 0, b = 0, c = 0, d = 0;

  CPolygon() = default;
  CPolygon(Int32 ia, Int32 ib, Int32 ic) : a(ia), b(ib), c(ic), d(ic) {}
  CPolygon(Int32 ia, Int32 ib, Int32 ic, Int32 id) : a(ia), b(ib), c(ic), d(id) {}
  Bool IsTriangle() const { return c == d; }
};

/// Texture coordinates of a polygon's corners: u in x, v in y (v downward), z unused.
struct UVWStruct
{
  Vector a, b, c, d;
};

/// A mesh: points in the object's space and polygons over them (type Opolygon).
class PolygonObject : public BaseObject
{
public:
  /// A mesh with room for the counts (all zero); null for a negative count or without memory.
  static PolygonObject* Alloc(Int32 pointCount, Int32 polygonCount);

  Int32 GetPointCount() const { return static_cast<Int32>(points.size()); }
  Int32 GetPolygonCount() const { return static_cast<Int32>(polygons.size()); }
  const Vector* GetPointR() const { return points.data(); }
  Vector* GetPointW() { return points.data(); }
  const CPolygon* GetPolygonR() const { return polygons.data(); }
  CPolygon* GetPolygonW() { return polygons.data(); }

  /// Changes the counts, keeping what fits; texture coordinates follow the polygon count.
  Bool ResizeObject(Int32 pointCount, Int32 polygonCount);

  /// One UVWStruct per polygon, or null while the mesh has none.
  const UVWStruct* GetUVWR() const { return hasUVW ? uvws.data() : nullptr; }
  UVWStruct* GetUVWW() { return hasUVW ? uvws.data() : nullptr; }
  /// Gives the mesh texture coordinates (all zero), or takes them away.
  Bool SetUVWEnabled(Bool on);

protected:
  PolygonObject();

private:
  std::vector<Vector> points;
  std::vector<CPolygon> polygons;
  std::vector<UVWStruct> uvws;
  Bool hasUVW = false;
};
