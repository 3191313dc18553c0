// The channel plan: eyes and cube faces with their rectangles.
#include "channel_plan.h"

#include <cmath>

#include "cube_layout.h"

namespace
{
void ResetChannel(LensChannel& c)
{
  c.area = LensArea();
  c.channelIndex = -1;
  c.rotation = 0;
  c.flipX = false;
  c.flipY = false;
}

// The eye's part of the frame: its share of the width or height in a pair, else all of it.
LensArea EyeArea(const LensSettings& settings, const LensArea& frame, Int32 eyeCount, Int32 i)
{
  LensArea area = frame;
  if (!settings.IsPair())
    return area;
  if (settings.pairLayout == PairLayout::SideBySide)
  {
    const Int32 n = frame.width / eyeCount;
    area.start.x = static_cast<Float>(n * i);
    area.end.x = static_cast<Float>((i + 1) * n - 1);
    UpdateArea(area);
  }
  else if (settings.pairLayout == PairLayout::TopBottom)
  {
    const Int32 n = frame.height / eyeCount;
    area.start.y = static_cast<Float>(n * i);
    area.end.y = static_cast<Float>((i + 1) * n - 1);
    UpdateArea(area);
  }
  return area;
}

void PlanEyes(const LensSettings& settings, Int32 eyeCount, ChannelPlan& plan)
{
  if (!settings.isStereo)
  {
    plan.eyes[0].area = plan.frameArea;
    plan.eyes[0].channelIndex = 0;
    return;
  }
  if (eyeCount == 1)
  {
    plan.eyes[0].channelIndex = settings.rightEyeOnly ? 1 : 0;
  }
  else
  {
    plan.eyes[0].channelIndex = settings.swapEyes ? 1 : 0;
    plan.eyes[1].channelIndex = settings.swapEyes ? 0 : 1;
  }
  for (Int32 i = 0; i < eyeCount && i < 2; ++i)
  {
    LensChannel& eye = plan.eyes[i];
    if (settings.IsPair())
    {
      // Flips follow the eye, not its place in the frame.
      const Int32 side = eye.channelIndex == 0 ? 0 : 1;
      eye.flipX = settings.flipX[side];
      eye.flipY = settings.flipY[side];
    }
    eye.area = EyeArea(settings, plan.frameArea, eyeCount, i);
  }
}
} // namespace

LensArea PreviewBox(const LensArea& frame, Float aspect)
{
  LensArea box = frame;
  if (!(aspect > 0.0))
    return box;
  Float gapX = 0.0, gapY = 0.0;
  if (frame.aspect > aspect)
    gapX = std::trunc(static_cast<Float32>(frame.width - std::trunc(frame.height * aspect)) * 0.5f);
  else if (aspect > frame.aspect)
    gapY = std::trunc(static_cast<Float32>(frame.height - std::trunc(frame.width / aspect)) * 0.5f);
  box.start += Vector(gapX, gapY, 0.0);
  box.end -= Vector(gapX, gapY, 0.0);
  UpdateArea(box);
  return box;
}

ChannelPlan PlanChannels(const LensSettings& settings, Int32 eyeCount, const LensChannel* grid, const Vector& gridSize)
{
  ChannelPlan plan;
  plan.frameArea.end = Vector(settings.width - 1.0, settings.height - 1.0, 0.0);
  UpdateArea(plan.frameArea);
  if (settings.isPreview)
    plan.frameArea = PreviewBox(plan.frameArea, settings.lens == LensKind::Cubemap && settings.previewAspect > 0.0
                                                  ? 1.0
                                                  : settings.previewAspect);
  for (LensChannel& c : plan.eyes)
    ResetChannel(c);
  for (LensChannel& c : plan.faces)
    ResetChannel(c);

  PlanEyes(settings, eyeCount, plan);
  if (settings.lens == LensKind::Cubemap)
  {
    const LensArea& eye = plan.eyes[0].area;
    plan.plannedFaces = PlanCubeFaceAreas(grid, gridSize, eye.width, eye.height, plan.faces);
  }
  else
  {
    plan.faces[0] = plan.eyes[0];
    plan.faces[0].channelIndex = 0;
    plan.plannedFaces = 1;
  }
  return plan;
}
