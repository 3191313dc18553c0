// The polygon object: a mesh of points and polygons.
#include <new>

#include "c4d_objects.h"

PolygonObject::PolygonObject() : BaseObject(Opolygon) {}

PolygonObject* PolygonObject::Alloc(Int32 pointCount, Int32 polygonCount)
{
  PolygonObject* op = new (std::nothrow) PolygonObject();
  if (op && !op->ResizeObject(pointCount, polygonCount))
  {
    delete op;
    op = nullptr;
  }
  return op;
}

Bool PolygonObject::ResizeObject(Int32 pointCount, Int32 polygonCount)
{
  if (pointCount < 0 || polygonCount < 0)
    return false;
  try
  {
    points.resize(static_cast<size_t>(pointCount));
    polygons.resize(static_cast<size_t>(polygonCount));
    if (hasUVW)
      uvws.resize(static_cast<size_t>(polygonCount));
  }
  catch (const std::bad_alloc&)
  {
    return false;
  }
  return true;
}

Bool PolygonObject::SetUVWEnabled(Bool on)
{
  try
  {
    uvws.assign(on ? polygons.size() : 0u, UVWStruct());
  }
  catch (const std::bad_alloc&)
  {
    return false;
  }
  hasUVW = on;
  return true;
}
