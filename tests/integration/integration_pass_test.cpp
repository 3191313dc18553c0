// The data passes as compositors use them: an ST map applied to a sky picture, eyes' origins.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "integration/cli_process.h"
#include "integration/render_picture.h"

namespace
{
using Passes = CliProcess;

/// A smooth sky that is periodic in x, so a look-up across the seam is no harder than elsewhere.
Rgba SkyPixel(Int32 x, Int32 y)
{
  return Rgba{0.5f + 0.5f * std::sin(6.2831853f * (x + 0.5f) / 64.0f), (y + 0.5f) / 32.0f,
              0.5f + 0.5f * std::cos(6.2831853f * 2.0f * (x + 0.5f) / 64.0f), 1.0f};
}

/// What an ST-map node does: the sky looked up bilinearly at (s, t), t = 0 at the bottom, s
/// wrapping, t stopping at the first and last rows.
float ApplyStMap(float s, float t, int channel)
{
  const double fx = s * 64.0 - 0.5, fy = (1.0 - t) * 32.0 - 0.5;
  const int x0 = static_cast<int>(std::floor(fx)), y0 = static_cast<int>(std::floor(fy));
  const double wx = fx - x0, wy = fy - y0;
  auto at = [&](int x, int y) {
    const Rgba p = SkyPixel((x % 64 + 64) % 64, std::clamp(y, 0, 31));
    return channel == 0 ? p.r : (channel == 1 ? p.g : p.b);
  };
  return static_cast<float>((1 - wx) * (1 - wy) * at(x0, y0) + wx * (1 - wy) * at(x0 + 1, y0) +
                            (1 - wx) * wy * at(x0, y0 + 1) + wx * wy * at(x0 + 1, y0 + 1));
}
} // namespace

TEST_F(Passes, StMapOfEveryLensAppliedToTheSkyGivesTheRenderOfThatSky)
{
  WritePicture(Path("sky.exr"), 64, 32, SkyPixel);
  for (const int lens : {0, 1, 2, 3})
  {
    SCOPED_TRACE("lens " + std::to_string(lens));
    const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "render": {"width": 48, "height": 24, "alpha": true},
      "objects": [{"type": "sky", "picture": "sky.exr"}, {"type": "camera", "name": "Lens", "rotation": {"deg": [30, 20, 0]},
        "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": )" + std::to_string(lens) + "}}]}]}");
    // Names of their own: the reader's cache knows a file by its name and time to the second.
    const std::string shadedFile = Path("shaded" + std::to_string(lens) + ".exr"), stFile = Path("st" + std::to_string(lens) + ".exr");
    const Outcome shaded = Orlixcam("render " + scene + " -o " + shadedFile + " --samples 1");
    const Outcome st = Orlixcam("render " + scene + " -o " + stFile + " --pass st");
    ASSERT_EQ(shaded.code, 0) << shaded.err;
    ASSERT_EQ(st.code, 0) << st.err;
    const OIIO::ImageBuf render = Load(shadedFile), map = Load(stFile);
    // A frame merged of several images (the cube's faces) has no alpha: there a cell of the layout
    // without a face holds zero.
    const bool alpha = map.nchannels() == 4;
    int mapped = 0;
    for (int y = 0; y < 24; ++y)
      for (int x = 0; x < 48; ++x)
      {
        // The dome's circle is painted black by the video post's pixel post, which a pass doesn't run.
        const bool ray = alpha ? map.getchannel(x, y, 0, 3) == 1.0f
                               : map.getchannel(x, y, 0, 0) != 0.0f || map.getchannel(x, y, 0, 1) != 0.0f;
        if (ray && lens == 1 && render.getchannel(x, y, 0, 0) == 0.0f && render.getchannel(x, y, 0, 1) == 0.0f)
          continue;
        mapped += ray;
        for (int c = 0; c < 3; ++c)
          EXPECT_NEAR(ray ? ApplyStMap(map.getchannel(x, y, 0, 0), map.getchannel(x, y, 0, 1), c) : 0.0f,
                      render.getchannel(x, y, 0, c), 2e-4)
            << "pixel " << x << ", " << y << " channel " << c;
      }
    EXPECT_GE(mapped, 48 * 24 / 3);
  }
}

TEST_F(Passes, OriginsOfAStereoPairLieWhereTheEyeModelPutsTheEyes)
{
  // Left eye above, right eye below; the camera at (10, 150, -20) looking along +Z.
  const double separation = 6.5;
  for (const int model : {0, 1})
  {
    SCOPED_TRACE("eye model " + std::to_string(model));
    const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "render": {"width": 32, "height": 32, "stereo": true,
      "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_STEREO_MODE": "ORLIXVP_STEREO_MODE_PAIR",
        "ORLIXVP_PAIR_LAYOUT": "ORLIXVP_PAIR_LAYOUT_TOP_BOTTOM"}}]},
      "objects": [{"type": "camera", "name": "Lens", "position": [10, 150, -20], "tags": [{"type": "OrlixTag", "params":
        {"ORLIXTAG_LENS": 0, "ORLIXTAG_STEREO": true, "ORLIXTAG_EYE_SEPARATION": 6.5, "ORLIXTAG_EYE_MODEL": )" +
                                                  std::to_string(model) + "}}]}]}");
    const std::string originFile = Path("o" + std::to_string(model) + ".exr"), directionFile = Path("d" + std::to_string(model) + ".exr");
    const Outcome origins = Orlixcam("render " + scene + " -o " + originFile + " --pass origin");
    const Outcome directions = Orlixcam("render " + scene + " -o " + directionFile + " --pass direction");
    ASSERT_EQ(origins.code, 0) << origins.err;
    ASSERT_EQ(directions.code, 0) << directions.err;
    const OIIO::ImageBuf o = Load(originFile), d = Load(directionFile);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 32; ++x)
      {
        float left[3], right[3], dirLeft[3], dirRight[3];
        o.getpixel(x, y, left, 3);
        o.getpixel(x, y + 16, right, 3);
        d.getpixel(x, y, dirLeft, 3);
        d.getpixel(x, y + 16, dirRight, 3);
        // The eyes toe in toward the zero-parallax distance: their mean is the lens's direction.
        const double dir[3] = {dirLeft[0] + dirRight[0], 0, dirLeft[2] + dirRight[2]};
        const double apart[3] = {right[0] - left[0], right[1] - left[1], right[2] - left[2]};
        const double centre[3] = {10, 150, -20};
        for (int c = 0; c < 3; ++c)
          EXPECT_NEAR((left[c] + right[c]) / 2, centre[c], 1e-3) << "the eyes' midpoint, pixel " << x << ", " << y;
        EXPECT_NEAR(std::hypot(apart[0], apart[1], apart[2]), separation, 1e-3) << "pixel " << x << ", " << y;
        if (model == 0)
          EXPECT_NEAR(apart[0], separation, 1e-3) << "parallel eyes along the camera's X, pixel " << x << ", " << y;
        else if (std::hypot(dir[0], dir[2]) > 0.5) // near the poles the toe-in outweighs the heading
          EXPECT_NEAR((apart[0] * dir[0] + apart[2] * dir[2]) / separation / std::hypot(dir[0], dir[2]), 0.0, 1e-4)
            << "eyes across the ray's heading, pixel " << x << ", " << y;
      }
  }
}
