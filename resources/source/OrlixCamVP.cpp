// OrlixCamVP: the video post that shoots the render through the lens.
#include "OrlixCamVP.h"

#include <cstring>
#include <new>

#include "register.h"

NodeData* OrlixCamVP::Alloc()
{
  void* memory = ::operator new(sizeof(OrlixCamVP), std::nothrow);
  if (!memory)
    return nullptr;
  std::memset(memory, 0, sizeof(OrlixCamVP));
  return new (memory) OrlixCamVP;
}

OrlixCamVP::OrlixCamVP()
{
  logoBitmap = BaseBitmap::Alloc();
  maskBitmap = BaseBitmap::Alloc();
  for (BaseBitmap*& bmp : faceBitmaps)
    bmp = BaseBitmap::Alloc();
}

OrlixCamVP::~OrlixCamVP()
{
  for (Int32 i = 6; i >= 0; --i)
    BaseBitmap::Free(faceBitmaps[i]);
  BaseBitmap::Free(maskBitmap);
  BaseBitmap::Free(logoBitmap);
}

void OrlixCamVP::Free(GeListNode* /*node*/)
{
  LogDebug("------- FREE -------");
}

VIDEOPOSTINFO OrlixCamVP::GetRenderInfo(BaseVideoPost* /*node*/)
{
  if (!isActive)
    return VIDEOPOSTINFO_NONE;
  return static_cast<VIDEOPOSTINFO>(VIDEOPOSTINFO_EXECUTELINE | VIDEOPOSTINFO_EXECUTEPIXEL | VIDEOPOSTINFO_CUSTOMLENS);
}

RENDERRESULT OrlixCamVP::Execute(BaseVideoPost* /*node*/, VideoPostStruct* /*vps*/)
{
  return RENDERRESULT_OK;
}

void OrlixCamVP::ExecuteLine(BaseVideoPost* /*node*/, PixelPost* /*pp*/)
{
}

void OrlixCamVP::CreateRay(Ray* ray, Float x, Float y)
{
  if (!isActive || !ray)
    return;

  // Image position within the active area: the first pixel centre gives 0, the last 1. An area
  // one pixel across has no span to divide by; its one column or row looks through the centre.
  const Float u = activeArea.width > 1 ? (x - activeArea.start.x) / (activeArea.width - 1) : 0.5;
  const Float v = activeArea.height > 1 ? (y - activeArea.start.y) / (activeArea.height - 1) : 0.5;
  Vector uv(u, v, 0.0);

  const Vector d = PixelToDirection(*this, uv);
  if (d.IsZero())
  {
    ray->p = Vector();
    ray->v = Vector();
    return;
  }

  // Cylindrical origin: slides along the strip's height with the coordinate the sweep left alone.
  Float ox = 0.0, oy = 0.0;
  if (isCylindrical)
  {
    const Float h = cylinderHeight;
    if (cylinderAxisTurned)
      ox = MapRange(uv.x, 0.0, 1.0, h * -0.5, h * 0.5, false);
    else
      oy = MapRange(uv.y, 0.0, 1.0, h * 0.5, h * -0.5, false);
  }

  // Mono: the origin offset follows the camera's axes.
  const Matrix mg = camera ? camera->GetMg() : Matrix();
  ray->p = mg * Vector(ox, oy, 0.0);
  ray->v = mg.TransformVector(d);
}

Int32 OrlixCamVP::StereoGetCameraCountEditor(BaseVideoPost* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/)
{
  return 0;
}
