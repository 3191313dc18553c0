// OrlixCamVP's per-ray and per-pixel work: camera rays through the lens, mono or by eye, and the
// black outside the lens's shape.
#include "OrlixCamVP.h"
#include "lens/lens_stereo.h"

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
  if (settings.lens == LensKind::Cylindrical)
  {
    const Float h = settings.cylinderHeight;
    if (settings.cylinderAxisTurned)
      ox = MapRange(uv.x, 0.0, 1.0, h * -0.5, h * 0.5, false);
    else
      oy = MapRange(uv.y, 0.0, 1.0, h * 0.5, h * -0.5, false);
  }

  if (settings.isStereo)
  {
    StereoRay(ray, d, ox, oy);
    return;
  }

  // Mono: the origin offset follows the camera's axes.
  const Matrix mg = camera ? camera->GetMg() : Matrix();
  ray->p = mg * Vector(ox, oy, 0.0);
  ray->v = mg.TransformVector(d);
}

void OrlixCamVP::StereoRay(Ray* ray, const Vector& direction, Float ox, Float oy) const
{
  const Float strength = SampleSeparationMap(separationMap, direction);
  // Only the plan's own two eyes converge.
  const Bool plannedEye = currentEye.channelIndex == 0 || currentEye.channelIndex == 1;
  Vector aimPoint, turnAxis;
  const Matrix eye =
    EyeRayMatrix(camera ? camera->GetMg() : Matrix(), currentEye, plannedEye, direction, settings.eyeModel, settings.domeZenith,
                 settings.zeroParallaxDistance, settings.eyeSeparation, strength, aimPoint, turnAxis);
  // In stereo the cylinder's offset goes along the world's axes, not the camera's.
  ray->p = eye.off + Vector(ox, oy, 0.0);
  ray->v = eye.TransformVector(direction);
}

void OrlixCamVP::ExecutePixel(BaseVideoPost* /*node*/, PixelPost* pp, Int32 x, Int32 /*subx*/, Int32 /*suby*/)
{
  if (!isActive || !pp || !pp->col)
    return;
  const Float u = (x - currentEye.area.start.x) / (currentEye.area.width - 1.0);
  const Float v = (pp->line - currentEye.area.start.y) / (currentEye.area.height - 1.0);
  bool paint = settings.isPreview && (u < 0.0 || u > 1.0 || v < 0.0 || v > 1.0);
  if (!paint && settings.lens == LensKind::Dome && settings.maskMode == MaskMode::Black)
    paint = OutsideDome(u, v);
  if (!paint)
    return;
  pp->col[0] = pp->col[1] = pp->col[2] = 0.0f;
  if (pp->comp > 3)
    pp->col[3] = 1.0f;
}
