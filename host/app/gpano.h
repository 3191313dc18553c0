// Panorama metadata that 360° viewers read, found from the lens's own rays: the host knows no lens,
// so it measures whether the frame is an equirectangular picture, and of what part of the sphere.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "c4d.h"

namespace cli
{
/// The frame positions, in pixels, whose rays tell the frame's projection.
std::vector<std::pair<Float, Float>> PanoramaProbe(Int32 width, Int32 height);

/// An XMP packet with the GPano fields of a w × h frame whose rays through `probe` are `rays`, seen
/// from `camera` (its global matrix); empty unless the rays make an equirectangular picture: the
/// longitude in the camera's frame growing evenly to the right, the latitude evenly downward, by
/// the same angle a pixel.
std::string PanoramaXmp(const std::vector<std::pair<Float, Float>>& probe, const std::vector<Ray>& rays,
                        const Matrix& camera, Int32 width, Int32 height);
} // namespace cli
