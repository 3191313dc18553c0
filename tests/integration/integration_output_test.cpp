// Rendered files as compositors read them: a stereo pair as the views of one OpenEXR file, a file
// per eye, and the header that travels with the pixels.
#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

#include "integration/cli_process.h"

namespace
{
using Output = CliProcess;

/// A line of `oiiotool --info -v` for `attribute`, its name and value as the tool prints them.
std::string HeaderLine(const std::string& info, const std::string& attribute)
{
  const std::string::size_type at = info.find("    " + attribute + ": ");
  return at == std::string::npos ? std::string() : info.substr(at + 4, info.find('\n', at) - at - 4);
}
} // namespace

TEST_F(Output, StereoPairAsTwoViewsOfOneExrAndAsAFilePerEye)
{
  const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "fps": 25, "maxTime": 10,
    "render": {"width": 32, "height": 32, "stereo": true, "fps": 25, "videoPosts": [{"type": "OrlixCam", "params":
      {"ORLIXVP_STEREO_MODE": "ORLIXVP_STEREO_MODE_PAIR", "ORLIXVP_PAIR_LAYOUT": "ORLIXVP_PAIR_LAYOUT_TOP_BOTTOM"}}]},
    "objects": [{"type": "sky", "gradient": {"top": [0, 0, 1], "bottom": [1, 0.5, 0]}},
      {"type": "sphere", "position": [20, 0, 60], "radius": 30, "material": {"color": [0.2, 0.9, 0.3]}},
      {"type": "light", "kind": "sun", "rotation": {"deg": [30, -45, 0]}},
      {"type": "camera", "name": "Lens", "position": [5, 100, -7], "tags": [{"type": "OrlixTag", "params":
        {"ORLIXTAG_LENS": 0, "ORLIXTAG_STEREO": true, "ORLIXTAG_EYE_SEPARATION": 20}}]}]})");
  const std::string frames = " --samples 1 --frames 3-3";
  for (const std::string& args : {"-o " + Path("flat_####.exr"), "-o " + Path("pair_####.exr") + " --views --half",
                                  "-o " + Path("eye_%V_####.exr")})
  {
    const Outcome r = Orlixcam("render " + scene + " " + args + frames);
    ASSERT_EQ(r.code, 0) << args << "\n" << r.err;
  }
  const OIIO::ImageBuf flat = Load(Path("flat_0003.exr")), pair = Load(Path("pair_0003.exr"));
  const OIIO::ImageBuf eyes[2] = {Load(Path("eye_left_0003.exr")), Load(Path("eye_right_0003.exr"))};
  ASSERT_EQ(pair.nchannels(), 6);
  ASSERT_EQ(pair.roi().height(), 16);
  // The left eye is the pair's upper half: the default view, then the view "right".
  int differ = 0;
  for (int eye = 0; eye < 2; ++eye)
  {
    ASSERT_EQ(eyes[eye].roi().height(), 16);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 32; ++x)
        for (int c = 0; c < 3; ++c)
        {
          const float want = flat.getchannel(x, y + 16 * eye, 0, c);
          EXPECT_NEAR(pair.getchannel(x, y, 0, 3 * eye + c), want, 2e-3f * (1.0f + want)) << "eye " << eye << " pixel " << x << ", " << y;
          EXPECT_EQ(eyes[eye].getchannel(x, y, 0, c), want) << "eye " << eye << " pixel " << x << ", " << y;
          differ += eye == 0 && flat.getchannel(x, y, 0, c) != flat.getchannel(x, y + 16, 0, c);
        }
  }
  EXPECT_GT(differ, 10) << "the eyes see the sphere from two places";

  const Outcome info = Run("oiiotool --info -v " + Path("pair_0003.exr"));
  ASSERT_EQ(info.code, 0) << info.err;
  EXPECT_EQ(HeaderLine(info.out, "channel list"), "channel list: R, G, B, right.R, right.G, right.B");
  EXPECT_EQ(HeaderLine(info.out, "multiView"), "multiView: \"left\", \"right\"");
  EXPECT_EQ(HeaderLine(info.out, "smpte:TimeCode"), "smpte:TimeCode: 00:00:00:03");
  EXPECT_EQ(HeaderLine(info.out, "FramesPerSecond"), "FramesPerSecond: 25/1 (25)");
  EXPECT_EQ(HeaderLine(info.out, "worldToCamera"), "worldToCamera: 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -5, -100, 7, 1");
  const std::string tag = HeaderLine(info.out, "OrlixTag");
  ASSERT_GT(tag.size(), 12u) << info.out;
  // The value is quoted by the tool, its own quotes unescaped.
  const nlohmann::json settings = nlohmann::json::parse(tag.substr(11, tag.size() - 12));
  EXPECT_EQ(settings.value("ORLIXTAG_EYE_SEPARATION", 0.0), 20.0);
  EXPECT_FALSE(settings.contains("ORLIXTAG_DOME_FOV")) << "a dome's setting is hidden for a panorama";
}

TEST_F(Output, ProgressLineOnATerminalUnlessQuiet)
{
  // `script` gives the program a terminal; its output is the terminal's, both streams in one.
  const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "render": {"width": 16, "height": 16},
    "objects": [{"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 1}}]}]})");
  for (const bool quiet : {false, true})
  {
    const std::string render = std::string(ORLIXCAM_EXE) + " render " + scene + " -o " + Path("f_#.png") + " --frames 2-3" +
                               (quiet ? " --quiet" : "");
    const Outcome r = Run("script -qec '" + render + "' /dev/null");
    ASSERT_EQ(r.code, 0) << r.out << r.err;
    EXPECT_NE(r.out.find("wrote " + Path("f_3.png")), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("\rframe 2 (1 of 2)    0%"), quiet ? std::string::npos : r.out.find("\rframe 2")) << r.out;
    EXPECT_EQ(r.out.find("\rframe 3 (2 of 2)  100%") == std::string::npos, quiet) << r.out;
  }
}

TEST_F(Output, PanoramasCarryTheGPanoFieldsThatViewersRead)
{
  // A whole sphere, the 180° x 60° middle of one (a pixel the same angle both ways), and a dome,
  // which is no equirectangular picture and so carries none.
  struct Case
  {
    std::string file, params;
    int width, height;
    std::vector<int> fields; // full width and height, cropped left and top; none for no panorama
  } cases[] = {
    {"full.jpg", R"("ORLIXTAG_LENS": 0)", 64, 32, {64, 32, 0, 0}},
    {"custom.png", R"("ORLIXTAG_LENS": 0, "ORLIXTAG_PANO_CUSTOM": true, "ORLIXTAG_PANO_FOV_H": {"deg": 180},
      "ORLIXTAG_PANO_LAT_MIN": {"deg": -30}, "ORLIXTAG_PANO_LAT_MAX": {"deg": 30})", 256, 86, {510, 255, 127, 85}},
    {"dome.jpg", R"("ORLIXTAG_LENS": 1)", 32, 32, {}},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.file);
    const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "render": {"width": )" + std::to_string(c.width) +
                                                  R"(, "height": )" + std::to_string(c.height) + R"(},
      "objects": [{"type": "camera", "name": "Lens", "rotation": {"deg": [70, 0, 0]}, "tags": [{"type": "OrlixTag", "params": {)" +
                                                  c.params + "}}]}]}");
    const Outcome r = Orlixcam("render " + scene + " -o " + Path(c.file) + " --samples 1");
    ASSERT_EQ(r.code, 0) << r.err;
    const Outcome tool = Run("exiftool -j -n -XMP-GPano:all " + Path(c.file));
    ASSERT_EQ(tool.code, 0) << tool.err;
    const nlohmann::json read = nlohmann::json::parse(tool.out).at(0);
    if (c.fields.empty())
    {
      EXPECT_FALSE(read.contains("ProjectionType")) << tool.out;
      continue;
    }
    EXPECT_EQ(read.value("ProjectionType", ""), "equirectangular");
    EXPECT_EQ(read.value("CroppedAreaImageWidthPixels", 0), c.width);
    EXPECT_EQ(read.value("CroppedAreaImageHeightPixels", 0), c.height);
    const std::vector<int> fields = {read.value("FullPanoWidthPixels", 0), read.value("FullPanoHeightPixels", 0),
                                     read.value("CroppedAreaLeftPixels", -1), read.value("CroppedAreaTopPixels", -1)};
    EXPECT_EQ(fields, c.fields) << tool.out;
  }
}
