// The channel plan: which images a frame is shot as (eyes, then cube faces) and where each one's
// picture lies, worked out from the settings alone.
#pragma once

#include "lens_state.h"

struct ChannelPlan
{
  LensArea frameArea;   ///< the whole frame, or in a preview the box of the lens's shape within it
  LensChannel eyes[2];  ///< areas in the frame; channelIndex 0 is the left eye
  LensChannel faces[6]; ///< areas relative to one eye's picture; channelIndex is the cube face
  Int32 plannedFaces = 0; ///< faces the cube grid placed; 1 for the other lenses
};

/// The box of `aspect` (width / height) centred in `frame`, the gaps halved in 32-bit float; the
/// frame itself for an aspect of 0 or less.
LensArea PreviewBox(const LensArea& frame, Float aspect);

/// Plans a frame of `settings` shot as `eyeCount` eyes (the camera count's), with the cube faces
/// from `grid` and `gridSize` (see BuildCubeGrid). Pairs split the frame side by side or top and
/// bottom, whole pixels each, any remainder left out at the end.
ChannelPlan PlanChannels(const LensSettings& settings, Int32 eyeCount, const LensChannel* grid, const Vector& gridSize);
