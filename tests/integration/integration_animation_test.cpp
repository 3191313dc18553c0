// Animated scenes rendered as sequences: a moving stereo camera's eyes, an animated lens
// parameter, and frames split into shards and finished with --skip-existing.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <string>

#include "c4d_math.h"
#include "integration/cli_process.h"

namespace
{
using Animation = CliProcess;

double Angle(const float a[3], const float b[3])
{
  const double dot = a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
  return std::acos(std::max(-1.0, std::min(1.0, dot)));
}
} // namespace

TEST_F(Animation, AMovingStereoCameraShootsEachFrameFromWhereItStandsThen)
{
  // Left eye above, right eye below; the camera flies and turns a quarter round in one second.
  const double separation = 6.5;
  const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "fps": 10, "maxTime": 1,
    "render": {"width": 32, "height": 32, "fps": 10, "stereo": true,
      "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_STEREO_MODE": "ORLIXVP_STEREO_MODE_PAIR",
        "ORLIXVP_PAIR_LAYOUT": "ORLIXVP_PAIR_LAYOUT_TOP_BOTTOM"}}]},
    "objects": [{"type": "camera", "name": "Lens",
      "tracks": {"position": [{"time": 0, "value": [0, 0, 0], "interpolation": "linear"}, {"time": 1, "value": [100, 50, -200]}],
                 "rotation": [{"time": 0, "value": {"deg": [0, 0, 0]}, "interpolation": "linear"}, {"time": 1, "value": {"deg": [90, 0, 0]}}]},
      "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 0, "ORLIXTAG_STEREO": true,
        "ORLIXTAG_EYE_SEPARATION": 6.5, "ORLIXTAG_EYE_MODEL": 0}}]}]})");
  const Outcome run = Orlixcam("render " + scene + " -o " + Path("o_##.exr") + " --frames 0-10:5 --pass origin");
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "wrote " + Path("o_00.exr") + "\nwrote " + Path("o_05.exr") + "\nwrote " + Path("o_10.exr") + "\n");
  for (const int frame : {0, 5, 10})
  {
    const double s = frame / 10.0;
    const Vector centre(100 * s, 50 * s, -200 * s);
    const Vector across = HPBToMatrix(Vector(s * PI / 2, 0, 0)).v1;
    const OIIO::ImageBuf o = Load(Path("o_" + std::string(frame < 10 ? "0" : "") + std::to_string(frame) + ".exr"));
    ASSERT_EQ(o.roi().width(), 32) << "frame " << frame;
    for (int y = 0; y < 16; y += 5)
      for (int x = 0; x < 32; x += 5)
      {
        float left[3], right[3];
        o.getpixel(x, y, left, 3);
        o.getpixel(x, y + 16, right, 3);
        const Vector mid((left[0] + right[0]) / 2, (left[1] + right[1]) / 2, (left[2] + right[2]) / 2);
        const Vector apart(right[0] - left[0], right[1] - left[1], right[2] - left[2]);
        EXPECT_LT((mid - centre).GetLength(), 1e-3) << "frame " << frame << " pixel " << x << ", " << y << ": " << mid;
        EXPECT_LT((apart - across * separation).GetLength(), 1e-3)
          << "the eyes turn with the camera, frame " << frame << " pixel " << x << ", " << y;
      }
  }
}

TEST_F(Animation, AnAnimatedLensParameterTakesHoldAtItsFrame)
{
  // The dome's field steps from 90° to 180° half way: the frame sequence's settings are each frame's.
  const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "fps": 10, "maxTime": 1,
    "render": {"width": 33, "height": 33, "fps": 10},
    "objects": [{"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 1},
      "tracks": {"ORLIXTAG_DOME_FOV": [{"time": 0, "value": {"deg": 90}, "interpolation": "step"}, {"time": 0.5, "value": {"deg": 180}}]}}]}]})");
  const Outcome run = Orlixcam("render " + scene + " -o " + Path("d_##.exr") + " --frames 0-10:4 --pass direction");
  ASSERT_EQ(run.code, 0) << run.err;
  const OIIO::ImageBuf first = Load(Path("d_00.exr")), before = Load(Path("d_04.exr")), after = Load(Path("d_08.exr"));
  float axis[3];
  first.getpixel(16, 16, axis, 3);
  int tested = 0;
  for (int y = 0; y < 33; y += 3)
    for (int x = 0; x < 33; x += 3)
    {
      float a[3], b[3], c[3];
      first.getpixel(x, y, a, 3);
      before.getpixel(x, y, b, 3);
      after.getpixel(x, y, c, 3);
      if (a[0] == 0 && a[1] == 0 && a[2] == 0)
        continue; // outside the dome's circle
      ++tested;
      EXPECT_NEAR(Angle(a, axis), Angle(b, axis), 1e-6) << "frame 4 still has 90°, pixel " << x << ", " << y;
      EXPECT_NEAR(Angle(c, axis), 2 * Angle(a, axis), 1e-4) << "frame 8 has 180°, pixel " << x << ", " << y;
    }
  EXPECT_GE(tested, 40);

  // The track would overwrite a user's value at every frame: such an edit is refused.
  const Outcome set = Orlixcam("render " + scene + " -o " + Path("x.exr") + " --pass direction --set ORLIXTAG_DOME_FOV=2");
  EXPECT_EQ(set.code, 2);
  EXPECT_NE(set.err.find("ORLIXTAG_DOME_FOV is animated in the scene"), std::string::npos) << set.err;
  EXPECT_FALSE(fs::exists(Path("x.exr")));
}

TEST_F(Animation, ShardsRenderTheirFramesOnceAndSkipExistingFinishesWhatIsMissing)
{
  const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "render": {"width": 8, "height": 8},
    "objects": [{"type": "camera", "tracks": {"position": [{"time": 0, "value": [0, 0, 0]}, {"time": 1, "value": [0, 0, 10]}]}},
                {"type": "sky", "color": [0.2, 0.4, 0.6]}]})");
  const std::string out = Path("f_###.png");
  const std::string frames = " --frames 1-13:3 --samples 1"; // 1, 4, 7, 10, 13
  const Outcome a = Orlixcam("render " + scene + " -o " + out + frames + " --shard 0/2");
  const Outcome b = Orlixcam("render " + scene + " -o " + out + frames + " --shard 1/2");
  ASSERT_EQ(a.code, 0) << a.err;
  ASSERT_EQ(b.code, 0) << b.err;
  EXPECT_EQ(a.out, "wrote " + Path("f_001.png") + "\nwrote " + Path("f_007.png") + "\nwrote " + Path("f_013.png") + "\n");
  EXPECT_EQ(b.out, "wrote " + Path("f_004.png") + "\nwrote " + Path("f_010.png") + "\n");

  // A frame cut short by something else than our writer, and one gone: both are rendered again.
  fs::resize_file(Path("f_007.png"), fs::file_size(Path("f_007.png")) / 2);
  fs::remove(Path("f_010.png"));
  const auto before = fs::last_write_time(Path("f_004.png"));
  const Outcome c = Orlixcam("render " + scene + " -o " + out + frames + " --skip-existing");
  ASSERT_EQ(c.code, 0) << c.err;
  EXPECT_EQ(c.out, "skipped " + Path("f_001.png") + " (already there)\nskipped " + Path("f_004.png") +
                     " (already there)\nskipped " + Path("f_013.png") + " (already there)\nwrote " + Path("f_007.png") +
                     "\nwrote " + Path("f_010.png") + "\n");
  EXPECT_NE(c.err.find(Path("f_007.png") + " doesn't read as a picture"), std::string::npos) << c.err;
  EXPECT_EQ(fs::last_write_time(Path("f_004.png")), before) << "a whole frame is left as it was";
  EXPECT_EQ(Load(Path("f_007.png")).roi().width(), 8);

  const Outcome again = Orlixcam("render " + scene + " -o " + out + frames + " --skip-existing --shard 1/2");
  EXPECT_EQ(again.code, 0) << again.err;
  EXPECT_NE(again.out.find("nothing to render"), std::string::npos) << again.out;

  const struct
  {
    std::string args, message;
  } bad[] = {
    {" --frames 0-9:0", "the step must be 1 or more"},
    {" --frames 0-9:x", "expected A-B, A-B:STEP or A"},
    {" --frames 0-9 --shard 4/4", "K counts from 0 and must be less than N"},
    {" --frames 0-9 --shard 0/0", "N must be 1 or more"},
    {" --frames 0-9 --shard 1", "expected K/N"},
    {" --shard 0/2", "give the range too"},
  };
  for (const auto& c : bad)
  {
    const Outcome r = Orlixcam("render " + scene + " -o " + out + c.args);
    EXPECT_EQ(r.code, 2) << c.args;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << c.args << ": " << r.err;
  }
  const Outcome unnumbered = Orlixcam("render " + scene + " -o " + Path("one.png") + " --frames 0-9 --shard 0/2");
  EXPECT_EQ(unnumbered.code, 2);
  EXPECT_NE(unnumbered.err.find("put #### in -o's file name"), std::string::npos) << unnumbered.err;
}
