// OrlixCamVP's frame stages: the opening and closing of the frame sequence, and each image's
// choice of face, eye and area.
#include <cmath>

#include "OrlixCamVP.h"

namespace
{
constexpr Float kQuarterPi = 0.7853981633974483;
} // namespace

RENDERRESULT OrlixCamVP::Execute(BaseVideoPost* node, VideoPostStruct* vps)
{
  if (!isActive || !vps)
    return RENDERRESULT_OK;
  BaseDocument* doc = vps->doc;
  BaseDraw* view = doc ? doc->GetRenderBaseDraw() : nullptr;

  switch (vps->vp)
  {
    case VIDEOPOSTCALL_FRAMESEQUENCE:
      if (vps->open)
      {
        if (tagData && node)
          OpenFrameSequence(*this, node, *vps, view, doc ? doc->GetActiveRenderData() : nullptr);
      }
      else
      {
        if (switchSceneCamera && view)
          view->SetSceneCamera(nullptr, false);
        CloseSeparationClone();
        if (settings.lens == LensKind::Cubemap && isPreview)
          BuildCubeLayout(*this, false);
      }
      return RENDERRESULT_OK;

    case VIDEOPOSTCALL_RENDER:
      if (vps->open)
      {
        SelectSubRender(vps->time);
        return RENDERRESULT_OK;
      }
      return DrawOverlays(*this, vps);

    default:
      return RENDERRESULT_OK;
  }
}

void OrlixCamVP::SelectSubRender(const BaseTime& time)
{
  const BaseTime& offset = settings.slateTimeOffset;
  frameTime = BaseTime(offset.GetDenominator() * time.GetNumerator() + time.GetDenominator() * offset.GetNumerator(),
                       time.GetDenominator() * offset.GetDenominator());
  const Int32 count = subRenderCount > 0 ? subRenderCount : 1;
  const Int32 faces = faceCount > 0 ? faceCount : 1;
  subRenderIndex = (subRenderIndex + 1) % count;
  currentFace = plan.faces[subRenderIndex % faces];
  const Int32 eye = subRenderIndex / faces;
  currentEye = plan.eyes[eye < 2 ? eye : 1];

  if (settings.isPreview)
  {
    activeArea = plan.frameArea;
  }
  else
  {
    activeArea = currentFace.area;
    activeArea.start += currentEye.area.start;
    activeArea.end += currentEye.area.start;
    UpdateArea(activeArea);
  }
  pixelStep = PixelStep(activeArea);
  bleedPixels = 10;

  if (settings.lens == LensKind::Dome)
  {
    domeDiameter = activeArea.diameter;
    const Float r = activeArea.radius;
    logoInset = r - std::sin(kQuarterPi) * r;
    logoCorner = LensArea();
    logoCorner.start = Vector(activeArea.end.x - logoInset, activeArea.end.y - logoInset, 0.0);
    logoCorner.end = Vector(activeArea.end.x, activeArea.end.y, 0.0);
    UpdateArea(logoCorner);
  }
}
