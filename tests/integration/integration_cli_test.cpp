// The command-line host run as a process, as users run it: pictures on disk, exit codes, messages.
#include <gtest/gtest.h>

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "integration/cli_process.h"

namespace fs = std::filesystem;

namespace
{
using Cli = CliProcess;

std::string LensScene(const std::string& tagParams, int w, int h)
{
  return R"({"format": "orlixcam-scene/1", "render": {"width": )" + std::to_string(w) + R"(, "height": )" +
         std::to_string(h) + R"(},
  "objects": [{"type": "sky", "gradient": {"top": [0, 0, 1], "bottom": [1, 0, 0]}},
    {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {)" + tagParams + R"(}}]}]})";
}

} // namespace

TEST_F(Cli, EveryCommandAnswersWithItsExitCodeAndMessageAndBadInputWritesNothing)
{
  const std::string good = Write("good.json", LensScene("\"ORLIXTAG_LENS\": 1", 16, 16));
  const std::string zero = Write("zero.json", "{\"format\": \"orlixcam-scene/1\", \"render\": {\"width\": 0}}");
  const std::string out = (dir / "out.png").string(), render = "render " + good + " -o " + out;
  // Of three cameras the one with the enabled tag is the one the render looks through; the images
  // per frame are what the video post answers at the start of a render.
  auto info = [&](const std::string& name, const std::string& render, int lens) {
    return "info " + Write(name, R"({"format": "orlixcam-scene/1", "render": {"width": 600, "height": 300, )" + render +
                                     R"(}, "objects": [{"type": "camera", "name": "Plain"},
    {"type": "camera", "name": "Off", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_ENABLED": false}}]},
    {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": )" +
                                     std::to_string(lens) + "}}]}]}");
  };
  const std::string dome = info("dome.json", R"("videoPosts": [{"type": "OrlixCam"}])", 1);
  // Exit code 0 looks for the message on stdout, any other code on stderr.
  struct Case
  {
    std::string args;
    int code;
    std::string message;
  } cases[] = {
    {"render " + zero + " -o " + out, 2, "zero.json: /render/width: 0 is out of range 1 to 65536"},
    {"info " + Path("missing.json"), 2, "missing.json"},
    {"render " + good + " -o " + (dir / "out.bmp").string(), 2, "unknown picture format"},
    {"render " + good + " -o " + (dir / "nofolder" / "out.png").string(), 2, "does not exist"},
    {render + " --frames 5-1", 2, "the range ends before it starts"},
    {render + " --frames 1-3", 2, "several frames need #### in -o"},
    {render + " --set ORLIXTAG_NOTHING=1", 2, "unknown parameter ORLIXTAG_NOTHING"},
    {render + " --set ORLIXTAG_LENS=9", 2, "9 is not one of 0, 1, 2, 3"},
    {render + " --set width=0", 2, "--set width=0: expected a number from"},
    {render + " --set stereo=maybe", 2, "expected true or false"},
    {render + " --set =1", 2, "expected SYMBOL=VALUE"},
    {render + " --pass direction", 2, "use .exr or .tif"},
    {render + " --views", 2, "only .exr holds both views in one file"},
    {render + " --half", 2, "--half is for .exr files"},
    {render + " --quality 50", 2, "--quality is for .jpg files"},
    {render + " --samples 0", 2, "--samples"},
    {render + " --width 65536 --height 65536", 2, "at most 268435456 pixels"},
    {"--plugins " + dir.string() + " params", 2, "no plug-in module at " + (dir / "OrlixCam.so").string()},
    {"", 2, "A subcommand is required"},
    {"render --help", 0, "Example:\n  orlixcam render"},
    {"info --help", 0, "Example:\n  orlixcam info"},
    {"params --help", 0, "Example:\n  orlixcam params"},
    {"panel " + good + " --press ORLIXTAG_LENS", 2, "ORLIXTAG_LENS is a LONG, not a button"},
    {"panel " + good + " --node camera", 2, "--node"},
    {"panel " + good, 0, "v Dome"},
    {"panel --help", 0, "Example:\n  orlixcam panel"},
    {"--version", 0, std::string("orlixcam ") + ORLIX_PROJECT_VERSION + "\n"},
    {"params", 0, "OrlixCam (video post \"OrlixCam\")"},
    {"params", 0, "  1008   ORLIXTAG_DOME_FOV                      REAL       {\"deg\":180.0}"},
    {"params", 0, "1048   ORLIXVP_CUBE_LAYOUT"},
    {"params", 0, "  1 Dome (ORLIXTAG_LENS_DOME)\n"},
    {"params --json", 0, "\"label\": \"Cylindrical\",\n            \"symbol\": \"ORLIXTAG_LENS_CYLINDRICAL\",\n            \"value\": 2"},
    {dome + " --json", 0, "\"renderCamera\": {\n    \"name\": \"Lens\",\n    \"tags\": [\n      \"OrlixTag\"\n    ]\n  }"},
    {dome, 0, "cameras   3: \"Plain\" \"Off\" \"Lens\""},
    {dome, 0, "lens      camera \"Lens\", tag OrlixTag; rays from video post OrlixCam"},
    {dome, 0, "images    1 per frame"},
    {info("cube.json", R"("videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_CUBE_LAYOUT": 3}}])", 3), 0,
     "images    6 per frame"},
    {info("stereo.json", R"("stereo": true, "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_STEREO_MODE": 1}}])",
          3), 0, "images    12 per frame"},
    {info("stereo.json", R"("stereo": true, "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_STEREO_MODE": 1}}])",
          3) + " --json", 0, "\"imagesPerFrame\": 12"},
  };
  const std::string before = Read(good);
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.args);
    const Outcome r = Orlixcam(c.args);
    EXPECT_EQ(r.code, c.code) << r.err;
    EXPECT_NE((c.code ? r.err : r.out).find(c.message), std::string::npos) << "out: " << r.out << "\nerr: " << r.err;
    EXPECT_FALSE(fs::exists(out));
    // A good command's stderr holds no more than the plug-in's start line: the render's start prints nothing.
    EXPECT_TRUE(c.code || std::count(r.err.begin(), r.err.end(), '\n') <= 1) << r.err;
  }
  EXPECT_EQ(Read(good), before) << "the scene file is left as it was";
  EXPECT_EQ(Files(), (std::set<std::string>{"cube.json", "dome.json", "good.json", "stereo.json", "zero.json"}));
}

TEST_F(Cli, PanelEditsPressesAndSavesAsAUserWould)
{
  // The latitude rule, the fit button's question, and the saved scene shown again as JSON.
  const std::string scene = Write("pano.json", LensScene(R"("ORLIXTAG_LENS": 0, "ORLIXTAG_PANO_CUSTOM": true, "ORLIXTAG_PANO_FOV_H": {"deg": 90})", 600, 400));
  const std::string saved = Path("saved.json");
  const Outcome edit = Orlixcam("panel " + scene + " --set 'ORLIXTAG_PANO_LAT_MAX={\"deg\": 30}' --set "
                                "'ORLIXTAG_PANO_LAT_MIN={\"deg\": 40}' --press ORLIXTAG_FIT_KEEP_WIDTH --answer yes -o " + saved);
  ASSERT_EQ(edit.code, 0) << edit.err;
  EXPECT_NE(edit.err.find("answered yes"), std::string::npos) << edit.err;
  const Outcome shown = Orlixcam("panel " + saved + " --json");
  ASSERT_EQ(shown.code, 0) << shown.err;
  std::map<std::string, nlohmann::json> bySymbol;
  const nlohmann::json panel = nlohmann::json::parse(shown.out);
  for (const nlohmann::json& e : panel["entries"])
    bySymbol[e["symbol"].get<std::string>()] = e;
  EXPECT_NEAR(bySymbol["ORLIXTAG_PANO_LAT_MIN"]["value"]["deg"].get<double>(), 29.0, 1e-6) << "the typed edge gave way";
  EXPECT_TRUE(bySymbol["ORLIXTAG_GROUP_DOME"]["hidden"].get<bool>());
  EXPECT_FALSE(bySymbol["ORLIXTAG_PANO_FOV_V"]["enabled"].get<bool>());
  // 90 by 1 degree: 90:1, so 600 wide keeps 7 (600 / 90 + 0.5) rows.
  EXPECT_EQ(nlohmann::json::parse(Read(saved))["render"]["height"], 7);
}

TEST_F(Cli, EveryExampleSceneRenders)
{
  // One scene for each capability the examples promise (14 of them); each must load and render, here small.
  const fs::path examples = fs::path(ORLIX_SOURCE_DIR) / "Examples";
  int rendered = 0;
  for (const auto& entry : fs::directory_iterator(examples))
  {
    if (entry.path().extension() != ".json")
      continue;
    const std::string before = Read(entry.path());
    const fs::path out = dir / (entry.path().stem().string() + ".png");
    const Outcome r = Orlixcam("render " + entry.path().string() + " -o " + out.string() +
                               " --width 96 --height 48 --samples 1");
    ++rendered;
    EXPECT_EQ(r.code, 0) << entry.path() << "\n" << r.err;
    EXPECT_EQ(Read(entry.path()), before) << entry.path() << " was changed by rendering it";
    const OIIO::ImageBuf p = Load(out);
    ASSERT_EQ(p.roi().width(), 96) << entry.path();
    ASSERT_EQ(p.roi().height(), 48) << entry.path();
    // Sky and geometry make a picture with contrast; a blank frame means nothing was shot.
    const OIIO::ImageBufAlgo::PixelStats s = OIIO::ImageBufAlgo::computePixelStats(p);
    EXPECT_GT(*std::max_element(s.max.begin(), s.max.end()) - *std::min_element(s.min.begin(), s.min.end()), 0.3f)
      << entry.path() << " rendered a flat picture";
  }
  EXPECT_GE(rendered, 14);
}

TEST_F(Cli, FramesAreNumberedAndSetChangesTheRender)
{
  const std::string scene = Write("s.json", LensScene("\"ORLIXTAG_LENS\": 1", 8, 8));
  const Outcome r = Orlixcam("render " + scene + " -o " + (dir / "f_####.png").string() +
                         " --frames 2-4 --set ORLIXTAG_LENS=ORLIXTAG_LENS_PANORAMA --set width=20 --set height=10 --samples 1");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(Files(), (std::set<std::string>{"f_0002.png", "f_0003.png", "f_0004.png", "s.json"}))
    << "one file a frame, numbered, and no temporary file left";
  const OIIO::ImageBuf p = Load(dir / "f_0003.png");
  EXPECT_EQ(p.roi().width(), 20);
  EXPECT_EQ(p.roi().height(), 10);
  ASSERT_EQ(p.nchannels(), 3);
  // A panorama's top row looks up into the blue, its bottom row down into the red.
  EXPECT_GT(p.getchannel(10, 0, 0, 2), 0.9f);
  EXPECT_GT(p.getchannel(10, 9, 0, 0), 0.9f);
  EXPECT_NE(r.out.find("wrote " + (dir / "f_0004.png").string()), std::string::npos) << r.out;
}

TEST_F(Cli, DirectionPassWritesEachPixelsDirection)
{
  // The lens's directions have tests of their own; here the pass must write them as unit vectors
  // at their pixels, and nothing where a dome shoots no ray.
  const double h = std::sqrt(0.5);
  const fs::path exr = dir / "dome.exr";
  const Outcome r = Orlixcam("render " + Write("s.json", LensScene("\"ORLIXTAG_LENS\": 1", 41, 41)) + " -o " +
                             exr.string() + " --pass direction");
  ASSERT_EQ(r.code, 0) << r.err;
  const OIIO::ImageBuf p = Load(exr);
  ASSERT_EQ(p.roi().width(), 41);
  ASSERT_GE(p.nchannels(), 3);
  const struct
  {
    int x, y;
    double d[3];
  } at[] = {{20, 20, {0, 0, 1}}, {30, 20, {h, 0, h}}, {20, 10, {0, h, h}}, {0, 0, {0, 0, 0}}};
  for (const auto& a : at)
    for (int c = 0; c < 3; ++c)
      EXPECT_NEAR(p.getchannel(a.x, a.y, 0, c), a.d[c], 1e-4) << "pixel " << a.x << ", " << a.y << " component " << c;
}

TEST_F(Cli, DirectionPassOfTwoEyesIsLaidOutNeverMixed)
{
  // A layout that places the eyes gives each pixel its own eye's unit direction; an anaglyph,
  // which mixes, is refused before anything is written.
  const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "render": {"width": 32, "height": 16,
    "stereo": true, "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_ANAGLYPH_GAMMA": 2.2}}]},
    "objects": [{"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 0}}]}]})");
  for (const int mode : {0, 1, 2, 3})
  {
    SCOPED_TRACE("stereo mode " + std::to_string(mode));
    const fs::path exr = dir / ("m" + std::to_string(mode) + ".exr");
    const Outcome r = Orlixcam("render " + scene + " -o " + exr.string() + " --samples 1 --pass direction --set ORLIXVP_STEREO_MODE=" +
                               std::to_string(mode));
    if (mode == 0)
    {
      EXPECT_EQ(r.code, 2);
      EXPECT_NE(r.err.find("mixing them pixel by pixel"), std::string::npos) << r.err;
      EXPECT_FALSE(fs::exists(exr));
      continue;
    }
    ASSERT_EQ(r.code, 0) << r.err;
    const OIIO::ImageBuf p = Load(exr);
    int unit = 0;
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 32; ++x)
      {
        float d[3];
        p.getpixel(x, y, d, 3);
        unit += std::fabs(std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]) - 1.0f) < 1e-4f;
      }
    EXPECT_EQ(unit, 32 * 16);
  }
}
