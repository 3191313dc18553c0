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
    {"view --help", 0, "Example:\n  orlixcam view"},
    {"view " + good + " -o " + out + " --camera Ghost", 2, "--camera Ghost: the scene has no camera of that name"},
    {"view " + good + " -o " + (dir / "out.bmp").string(), 2, "unknown picture format"},
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

TEST_F(Cli, EveryExampleSceneShowsItsGuideInTheViewButNotThroughItsCamera)
{
  int viewed = 0;
  for (const auto& entry : fs::directory_iterator(fs::path(ORLIX_SOURCE_DIR) / "Examples"))
  {
    if (entry.path().extension() != ".json")
      continue;
    SCOPED_TRACE(entry.path());
    // Through its own camera, once: the view draws the scene but no guide.
    const bool through = entry.path().filename() == "fulldome.json";
    const std::string pic = Path("view.png"), calls = Path("calls.json");
    const Outcome r = Orlixcam("view " + entry.path().string() + " -o " + pic + " --record " + calls +
                               " --width 64 --height 36" + (through ? " --camera \"Lens Camera\"" : ""));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(Load(pic).roi().width(), 64);
    std::map<std::string, int> kinds;
    for (const auto& call : nlohmann::json::parse(Read(calls)))
      ++kinds[call["kind"].get<std::string>()];
    const bool guide = (kinds["line"] > 0 && kinds["polygon"] > 0) || kinds["box"] == 2;
    EXPECT_EQ(guide, !through) << kinds["line"] << " lines, " << kinds["polygon"] << " polygons, " << kinds["box"] << " boxes";
    const bool stereo = Read(entry.path()).find("\"stereo\": true") != std::string::npos;
    EXPECT_EQ(kinds["sphere"], stereo ? 3 : 0) << "the probe's camera and eyes";
    ++viewed;
  }
  EXPECT_GE(viewed, 14);
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

TEST_F(Cli, PadDragTurnsTheProbeAndItsDoubleClickResetsIt)
{
  // (150, 50) on the 200-wide pad is (0.75, 0.5): a quarter turn towards the camera's +X.
  const std::string scene = Write("pano.json", LensScene("\"ORLIXTAG_LENS\": 0", 64, 32));
  const std::string pic = Path("pad.png"), saved = Path("saved.json");
  auto probe = [&] { return nlohmann::json::parse(Read(saved))["objects"][1]["tags"][0]["params"]; };
  const Outcome drag = Orlixcam("pad " + scene + " -o " + pic + " --drag 100,50:150,50 --save " + saved);
  ASSERT_EQ(drag.code, 0) << drag.err;
  EXPECT_EQ(drag.out.rfind("XY Pad of \"Probe Position\"", 0), 0u) << drag.out;
  EXPECT_NE(drag.out.find("\n3 edits from the GUI\n"), std::string::npos) << drag.out;
  EXPECT_EQ(probe()["ORLIXTAG_PROBE_PAD"], nlohmann::json::array({0.75, 0.5, 0.0}));
  EXPECT_NEAR(probe()["ORLIXTAG_PROBE_LONGITUDE"]["deg"].get<double>(), 90.0, 1e-9);
  EXPECT_NEAR(probe()["ORLIXTAG_PROBE_LATITUDE"]["deg"].get<double>(), 0.0, 1e-9);
  OIIO::ImageBuf p = Load(pic);
  ASSERT_EQ(p.roi().width(), 200);
  ASSERT_EQ(p.roi().height(), 100);
  float cross[3];
  p.getpixel(149, 49, cross, 3);
  EXPECT_EQ(cross[0] + cross[1] + cross[2], 3.0f) << "the cross at 199 * 0.75, 99 * 0.5";

  const Outcome reset = Orlixcam("pad " + saved + " -o " + pic + " --double-click --save " + saved);
  ASSERT_EQ(reset.code, 0) << reset.err;
  EXPECT_EQ(probe()["ORLIXTAG_PROBE_PAD"], nlohmann::json::array({0.5, 0.5, 0.0}));
  EXPECT_EQ(probe()["ORLIXTAG_PROBE_LONGITUDE"]["deg"].get<double>(), 0.0);

  const std::string bad = Path("bad.png"), empty = Write("empty.json", R"({"format": "orlixcam-scene/1"})");
  const std::pair<std::string, std::string> cases[] = {
    {"pad " + scene + " -o " + bad + " --drag 50,50:60", "\"60\" is not a point X,Y of two whole numbers"},
    {"pad " + scene + " -o " + bad + " --drag 1.5,2", "\"1.5,2\" is not a point"},
    {"pad " + scene + " -o " + Path("bad.bmp"), "unknown picture format"},
    {"pad " + empty + " -o " + bad, "the scene has no OrlixTag tag"},
  };
  for (const auto& [args, message] : cases)
  {
    const Outcome r = Orlixcam(args);
    EXPECT_EQ(r.code, 2) << args;
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
  }
  EXPECT_EQ(Files(), (std::set<std::string>{"empty.json", "pad.png", "pano.json", "saved.json"}));
  EXPECT_NE(Orlixcam("pad --help").out.find("Example:\n  orlixcam pad"), std::string::npos);
}

TEST_F(Cli, CreateCommandsGiveTheirShotAndOneUndoGivesBackTheSceneToTheByte)
{
  // A stage without a camera, first saved once so that it is in the saver's own form.
  Write("stage.json", R"({"format": "orlixcam-scene/1", "render": {"width": 64, "height": 32},
    "objects": [{"type": "sky", "gradient": {"top": [0.2, 0.4, 0.9], "bottom": [0.9, 0.8, 0.6]}},
                {"type": "cube", "name": "Box", "position": [-300, 0, -300], "size": [100, 100, 100]}]})");
  ASSERT_EQ(Orlixcam("command Panorama " + Path("stage.json") + " -o " + Path("empty.json") + " --undo 1").code, 0);
  const std::string empty = Read(Path("empty.json"));
  struct Shot
  {
    std::string name;
    bool dome;   ///< black outside the circle (the little planet's mask is off)
    bool layout; ///< a cube cross: its corner cell is empty
  };
  for (const Shot& s : {Shot{"Fulldome", true, false}, Shot{"Fisheye", true, false}, Shot{"Little Planet", false, false},
                        Shot{"Panorama", false, false}, Shot{"Cylindrical", false, false}, Shot{"Cubemap", false, true}})
  {
    const Outcome made = Orlixcam("command \"" + s.name + "\" " + Path("empty.json") + " -o " + Path("shot.json"));
    ASSERT_EQ(made.code, 0) << s.name << "\n" << made.err;
    const Outcome shot = Orlixcam("render " + Path("shot.json") + " -o " + Path("shot.png") + " --width 64 --height 48 --samples 1");
    ASSERT_EQ(shot.code, 0) << s.name << "\n" << shot.err;
    const OIIO::ImageBuf p = Load(Path("shot.png"));
    float corner[3], centre[3];
    p.getpixel(0, 0, corner, 3);
    p.getpixel(32, 24, centre, 3);
    EXPECT_EQ(corner[0] + corner[1] + corner[2] == 0.0f, s.dome || s.layout) << s.name << ": the frame's corner";
    EXPECT_GT(centre[0] + centre[1] + centre[2], 0.1f) << s.name << ": the lens sees the stage";

    EXPECT_EQ(Orlixcam("command \"" + s.name + "\" " + Path("empty.json") + " -o " + Path("undone.json") + " --undo 1").code, 0);
    EXPECT_EQ(Read(Path("undone.json")), empty) << s.name << ": one undo gives the scene back";
    EXPECT_EQ(Orlixcam("command \"" + s.name + "\" " + Path("empty.json") + " -o " + Path("redone.json") + " --undo 1 --redo 1").code, 0);
    EXPECT_EQ(Read(Path("redone.json")), Read(Path("shot.json"))) << s.name << ": redo gives the command's document";
  }

  // Bad input: named, exit 2, nothing written.
  for (const std::string& bad : {"command Nonsense " + Path("empty.json") + " -o " + Path("bad.json"),
                                 "command Create " + Path("empty.json") + " -o " + Path("bad.json"),
                                 "command Fisheye " + Path("empty.json") + " -o " + Path("bad.json") + " --select Nobody",
                                 "command Fisheye " + Path("empty.json") + " -o " + Path("bad.json") + " --undo 2"})
  {
    const Outcome r = Orlixcam(bad);
    EXPECT_EQ(r.code, 2) << bad << "\n" << r.err;
    EXPECT_FALSE(fs::exists(Path("bad.json"))) << bad;
  }
}

TEST_F(Cli, MenuListsTheCommandsAndExamplesAndTheManualLiesInThePluginFolder)
{
  const Outcome menu = Orlixcam("commands");
  ASSERT_EQ(menu.code, 0) << menu.err;
  for (const char* line : {"1036701  Create Fulldome Camera", "1041519  ", "submenu \"Examples\"", "1000  cubemap_cross.json"})
    EXPECT_NE(menu.out.find(line), std::string::npos) << line << " in\n" << menu.out;
  // The plug-in folder's Examples hold scenes only.
  for (const char* picture : {".keep", ".png"})
    EXPECT_EQ(menu.out.find(picture), std::string::npos) << picture << " offered as an example";

  const Outcome picked = Orlixcam("command Examples --pick fulldome.json -o " + Path("loaded.json"));
  ASSERT_EQ(picked.code, 0) << picked.err;
  EXPECT_NE(Read(Path("loaded.json")).find("ORLIXTAG_LENS"), std::string::npos) << "the example's lens tag came along";

#if ORLIX_MANUAL
  const fs::path manual = fs::path(ORLIX_PLUGIN_DIR) / "Manual.pdf";
  const Outcome opened = Orlixcam("command Manual");
  ASSERT_EQ(opened.code, 0) << opened.err;
  EXPECT_NE(opened.out.find("the system opens " + manual.string()), std::string::npos) << opened.out;
  if (std::system("command -v pdftotext >/dev/null && command -v pdfimages >/dev/null") != 0)
    GTEST_SKIP() << "poppler-utils (pdftotext, pdfimages) are not installed";
  ASSERT_EQ(std::system(("pdftotext " + manual.string() + " " + Path("manual.txt")).c_str()), 0) << "not a PDF";
  const std::string text = Read(Path("manual.txt"));
  for (const char* topic : {"Panorama", "Cylindrical", "Cubemap", "Anaglyph", "slate", "Create Fulldome Camera", "Examples"})
    EXPECT_NE(text.find(topic), std::string::npos) << topic;
  ASSERT_EQ(std::system(("pdfimages -list " + manual.string() + " > " + Path("images.txt")).c_str()), 0);
  const std::string images = Read(Path("images.txt"));
  EXPECT_GE(std::count(images.begin(), images.end(), '\n'), 2 + 10) << "a header and ten pictures or more:\n" << images;
#endif
}
