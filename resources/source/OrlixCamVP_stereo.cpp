// OrlixCamVP's stereo cameras, for eyes and cube faces alike, and the merge of a frame's images.
#include "OrlixCamVP.h"
#include "console_log.h"
#include "description/OrlixTag.h"
#include "lens/stereo_merge.h"

Int32 OrlixCamVP::StereoGetCameraCountEditor(BaseVideoPost* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/)
{
  return 0;
}

Int32 OrlixCamVP::StereoGetCameraCountRenderer(BaseVideoPost* node, BaseDocument* doc, RenderData* rd)
{
  faceCount = 1;
  eyeCount = 0;
  FindCameraAndTag(*this, doc);
  if (!camera || !tagData)
    return 0;
  if (isPreview)
    return 1;
  // The host asks before and apart from the render's start: the counts come from the settings now.
  const LensSettings now = ReadLensSettings(*tagData, node ? node->GetData() : BaseContainer(),
                                            rd ? rd->GetData() : BaseContainer(), false);
  if (now.lens == LensKind::Cubemap && now.cube.layout != CubeLayout::Single)
    faceCount = 6;
  eyeCount = now.isStereo && now.stereoMode != StereoMode::OneEye ? 2 : 1;
  return eyeCount * faceCount;
}

Bool OrlixCamVP::StereoGetCameraInfo(BaseVideoPost* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/, RenderData* /*rd*/,
                                     Int32 index, StereoCameraInfo& info)
{
  if (!camera || !tagData || static_cast<UInt32>(index) > 2u)
    return false;
  const Float k = index == 0 ? -0.5 : 0.5;
  info.m = camera->GetMg() * MatrixMove(Vector(k * tagData->GetFloat(ORLIXTAG_EYE_SEPARATION), 0.0, 0.0));
  info.strName = String::IntToString(index);
  info.off_x = 0.0;
  info.off_y = 0.0;
  return true;
}

namespace
{
// False, after a line on the console, unless every image has the destination's size.
Bool SizesMatch(const BaseBitmap* dest, const BaseBitmap* const* source, Int32 count)
{
  const Int32 w = source[0]->GetBw(), h = source[0]->GetBh();
  if (dest->GetBw() != w || dest->GetBh() != h)
  {
    LogConsole("Merge error: source size [%d/%d] != dest [%d/%d]", w, h, dest->GetBw(), dest->GetBh());
    return false;
  }
  for (Int32 i = 1; i < count; ++i)
    if (source[i]->GetBw() != w || source[i]->GetBh() != h)
    {
      LogConsole("Merge error: channel [%d] size differ [%d/%d]", i, source[i]->GetBw(), source[i]->GetBh());
      return false;
    }
  return true;
}
} // namespace

Bool OrlixCamVP::StereoMergeImages(BaseVideoPost* /*node*/, BaseBitmap* dest, const BaseBitmap* const* source, Int32 count)
{
  if (subRenderCount < 2 || isPreview || !dest || !source || count < subRenderCount)
    return false;
  if (!SizesMatch(dest, source, subRenderCount))
    return false;
  const Int32 w = source[0]->GetBw(), h = source[0]->GetBh();

  MergeRows rows;
  if (!rows.Allocate(subRenderCount, w))
  {
    LogConsole("Merge error: out of memory!");
    return false;
  }
  MergePlan merge;
  merge.faceCount = faceCount;
  merge.eyeCount = eyeCount;
  merge.faces = plan.faces;
  merge.eyes = plan.eyes;
  merge.activeArea = activeArea;
  merge.isDome = settings.lens == LensKind::Dome;
  merge.stereoMode = settings.stereoMode;
  merge.anaglyphMethod = settings.anaglyphMethod;
  merge.anaglyphColours = settings.anaglyphColours;
  merge.anaglyphGamma = settings.anaglyphGamma;
  merge.interlaceMode = settings.interlaceMode;

  const Int32 pixelBytes = 12;
  for (Int32 y = 0; y < h; ++y)
  {
    for (Int32 i = 0; i < subRenderCount; ++i)
      source[i]->GetPixelCnt(0, y, w, reinterpret_cast<UChar*>(rows.Source(i)), pixelBytes, COLORMODE_RGBf, 0);
    MergeRow(merge, y, rows);
    dest->SetPixelCnt(0, y, w, reinterpret_cast<UChar*>(rows.Source(0)), pixelBytes, COLORMODE_RGBf, 0);
  }
  return true;
}
