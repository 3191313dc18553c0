// Render records shared by the host and the video posts: rays and stereo cameras.
#pragma once

#include "c4d_math.h"
#include "c4d_string.h"

/// A camera ray; a custom lens fills `p` and `v` in world space.
struct Ray
{
  Vector p; ///< origin
  Vector v; ///< direction, not necessarily of length 1; zero means no ray
};

/// One camera of a stereo frame: its matrix, film offset and name.
struct StereoCameraInfo
{
  Matrix m;
  Float off_x = 0.0;
  Float off_y = 0.0;
  String strName;
};
