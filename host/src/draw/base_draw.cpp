// BaseDraw's drawing: every call changes the view's draw state or joins its record.
#include "draw/view_drawing.h"

namespace host
{
ViewDrawing& ViewDrawing::Of(BaseDraw& bd)
{
  if (!bd.drawing)
    bd.drawing.reset(new ViewDrawing());
  return *bd.drawing;
}

void ViewDrawing::Restart(Int32 drawPass)
{
  pass = drawPass;
  pen = Vector(1.0);
  matrix = Matrix();
  transparency = 0;
  depth = true;
  stateChanges = 0;
  calls.clear();
}
} // namespace host

using host::DrawCall;
using host::DrawKind;
using host::ViewDrawing;

namespace
{
DrawCall Begin(const ViewDrawing& d, DrawKind kind, Int32 flags)
{
  DrawCall c;
  c.kind = kind;
  c.pen = d.pen;
  c.matrix = d.matrix;
  c.transparency = d.transparency;
  c.depth = d.depth;
  c.flags = flags;
  const GeData* width = d.params.GetDataPointer(DRAW_PARAMETER_LINEWIDTH);
  c.lineWidth = width ? width->GetInt32() : 1;
  return c;
}
} // namespace

void BaseDraw::DrawingDeleter::operator()(ViewDrawing* d) const
{
  delete d;
}

Int32 BaseDraw::GetDrawPass() const
{
  const ViewDrawing* d = ViewDrawing::Find(*this);
  return d ? d->pass : DRAWPASS_OBJECT;
}

GeData BaseDraw::GetDrawParam(Int32 id) const
{
  const ViewDrawing* d = ViewDrawing::Find(*this);
  const GeData* value = d ? d->params.GetDataPointer(id) : nullptr;
  if (value)
    return *value;
  return id == DRAW_PARAMETER_LINEWIDTH ? GeData(Int32(1)) : GeData();
}

void BaseDraw::SetDrawParam(Int32 id, const GeData& value)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  d.params.SetData(id, value);
  ++d.stateChanges;
}

void BaseDraw::SetPen(const Vector& colour, Int32 /*flags*/)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  d.pen = colour;
  ++d.stateChanges;
}

void BaseDraw::SetMatrix_Matrix(BaseObject* /*op*/, const Matrix& m)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  d.matrix = m;
  ++d.stateChanges;
}

void BaseDraw::SetTransparency(Int32 trans)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  d.transparency = trans;
  ++d.stateChanges;
}

void BaseDraw::SetDepth(Bool enable)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  d.depth = enable;
  ++d.stateChanges;
}

void BaseDraw::DrawLine(const Vector& p1, const Vector& p2, Int32 flags)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  DrawCall c = Begin(d, DrawKind::Line, flags);
  c.points = {d.matrix * p1, d.matrix * p2};
  d.calls.push_back(std::move(c));
}

void BaseDraw::DrawPoly(const Vector* p, const Vector* f, const Vector* n, Int32 count, Int32 flags)
{
  if (!p || count < 3)
    return;
  ViewDrawing& d = ViewDrawing::Of(*this);
  DrawCall c = Begin(d, DrawKind::Poly, flags);
  for (Int32 i = 0; i < count; ++i)
  {
    c.points.push_back(d.matrix * p[i]);
    c.colours.push_back(f ? f[i] : d.pen);
    c.normals.push_back(n ? d.matrix.TransformVector(n[i]).GetNormalized() : Vector());
  }
  d.calls.push_back(std::move(c));
}

void BaseDraw::DrawSphere(const Vector& off, const Vector& size, const Vector& colour, Int32 flags)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  DrawCall c = Begin(d, DrawKind::Sphere, flags);
  c.pen = colour;
  c.points = {d.matrix * off};
  c.size = size;
  d.calls.push_back(std::move(c));
}

void BaseDraw::DrawBox(const Matrix& m, Float size, const Vector& colour, Bool wire)
{
  ViewDrawing& d = ViewDrawing::Of(*this);
  DrawCall c = Begin(d, DrawKind::Box, 0);
  c.pen = colour;
  c.matrix = d.matrix * m;
  c.size = Vector(size);
  c.wire = wire;
  // Corners in the order of the bits: x of bit 0, y of bit 1, z of bit 2, each -size or +size.
  for (Int32 i = 0; i < 8; ++i)
    c.points.push_back(c.matrix * Vector(i & 1 ? size : -size, i & 2 ? size : -size, i & 4 ? size : -size));
  d.calls.push_back(std::move(c));
}
