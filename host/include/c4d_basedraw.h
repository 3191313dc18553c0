// The views of a document and what plug-ins draw into them: pens, matrices, lines, polygons,
// spheres and boxes, with depth and transparency settings.
#pragma once

#include <memory>

#include "c4d_container.h"
#include "c4d_math.h"
#include "c4d_nodes.h"

namespace host
{
struct ViewDrawing;
}

/// View projections.
enum : Int32
{
  CAMERA_PERSPECTIVE = 0,
  CAMERA_PARALLEL = 1,
};

/// Draw passes; the host draws tags in the object pass.
enum : Int32
{
  DRAWPASS_OBJECT = 0,
};

/// Draw parameters of GetDrawParam and SetDrawParam.
enum : Int32
{
  DRAW_PARAMETER_LINEWIDTH = 1000, ///< Int32, pixels; 1
};

/// Flags of DrawLine.
enum : Int32
{
  DRAWLINE_NODEPTH = 1, ///< drawn over everything in view, without the depth test
};

/// What the host knows of an object being drawn; plug-ins only pass it on.
class BaseDrawHelp;

/// A view of the document: camera link, projection, and the drawing of one pass.
class BaseDraw : public BaseList2D
{
public:
  static BaseDraw* Alloc();
  static void Free(BaseDraw*& bd);

  Bool HasCameraLink() const { return cameraLink.GetType() == DA_ALIASLINK && cameraLink.GetLink() != nullptr; }
  /// The linked camera, or the editor camera of the view when no camera is linked.
  BaseObject* GetSceneCamera(const BaseDocument* doc) const;
  /// Links the view to `op`; null removes the link.
  void SetSceneCamera(BaseObject* op, Bool animate = false);
  BaseObject* GetEditorCamera() const { return editorCamera.get(); }

  Int32 GetProjection() const { return projection; }
  void SetProjection(Int32 p) { projection = p; }

  /// The pass being drawn (DRAWPASS_...).
  Int32 GetDrawPass() const;
  /// A draw setting; a setting never set reads as its default (nil where there is none).
  GeData GetDrawParam(Int32 id) const;
  void SetDrawParam(Int32 id, const GeData& value);

  /// The colour of what follows.
  void SetPen(const Vector& colour, Int32 flags = 0);
  /// Later coordinates are taken in `m`; `op` names the object drawn, or null.
  void SetMatrix_Matrix(BaseObject* op, const Matrix& m);
  /// 0 opaque; up to 255 more and more see-through; a negative value makes a see-through fill
  /// that leaves the depth of what is behind it.
  void SetTransparency(Int32 trans);
  /// Whether what follows is tested against and written into the view's depth.
  void SetDepth(Bool enable);

  void DrawLine(const Vector& p1, const Vector& p2, Int32 flags);
  /// A filled polygon of `count` corners, each with a colour and a normal (both may be null).
  void DrawPoly(const Vector* p, const Vector* f, const Vector* n, Int32 count, Int32 flags);
  /// A ball at `off` with radii `size`.
  void DrawSphere(const Vector& off, const Vector& size, const Vector& colour, Int32 flags);
  /// A cube of edge `size`, centred on `m`'s origin along its axes, as lines or filled.
  void DrawBox(const Matrix& m, Float size, const Vector& colour, Bool wire);

protected:
  BaseDraw();

private:
  friend struct host::ViewDrawing;
  GeData cameraLink;
  Int32 projection = CAMERA_PERSPECTIVE;
  struct CameraDeleter { void operator()(BaseObject* op) const; };
  std::unique_ptr<BaseObject, CameraDeleter> editorCamera;
  struct DrawingDeleter { void operator()(host::ViewDrawing* d) const; };
  std::unique_ptr<host::ViewDrawing, DrawingDeleter> drawing;
};
