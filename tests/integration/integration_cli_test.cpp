// The command-line host run as a process, as users run it: pictures on disk, exit codes, messages.
#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/wait.h>

#include "support/scene_dir.h"

namespace fs = std::filesystem;

namespace
{
struct Outcome
{
  int code = -1;
  std::string out, err;
};

struct Picture
{
  int width = 0, height = 0, channels = 0;
  std::vector<float> px;
  const float* At(int x, int y) const { return &px[(size_t(y) * width + x) * channels]; }
};

class Cli : public ::testing::Test, protected SceneDir
{
protected:
  Outcome Orlixcam(const std::string& args)
  {
    Outcome r = RunOnce(args);
    // Under AddressSanitizer, the leak checker's own tracer now and then dies as a child process
    // ends on a loaded machine (a fault of the sanitizer runtime, not of the program: the work is
    // done and no leak was reported). Such a run is repeated once; a leak report is not.
    if (r.err.find("LeakSanitizer has encountered a fatal error") != std::string::npos)
      r = RunOnce(args);
    return r;
  }
  Outcome RunOnce(const std::string& args)
  {
    const std::string out = Path("stdout.txt"), err = Path("stderr.txt");
    const int status = std::system((std::string(ORLIXCAM_EXE) + " " + args + " >" + out + " 2>" + err).c_str());
    Outcome r;
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = Read(out);
    r.err = Read(err);
    fs::remove(out);
    fs::remove(err);
    return r;
  }
  static Picture Load(const fs::path& p)
  {
    Picture pic;
    auto in = OIIO::ImageInput::open(p.string());
    if (!in)
      return pic;
    const OIIO::ImageSpec f = in->spec_dimensions(0);
    pic.width = f.width;
    pic.height = f.height;
    pic.channels = f.nchannels;
    pic.px.resize(size_t(f.width) * f.height * f.nchannels);
    in->read_image(0, 0, 0, -1, OIIO::TypeDesc::FLOAT, pic.px.data());
    return pic;
  }
  /// Names of everything in the test's folder, to see that nothing half-written stays behind.
  std::vector<std::string> Files() const
  {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir))
      names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
};

std::string LensScene(const std::string& tagParams, int w, int h)
{
  return R"({"format": "orlixcam-scene/1", "render": {"width": )" + std::to_string(w) + R"(, "height": )" +
         std::to_string(h) + R"(},
  "objects": [{"type": "sky", "gradient": {"top": [0, 0, 1], "bottom": [1, 0, 0]}},
    {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {)" + tagParams + R"(}}]}]})";
}

} // namespace

TEST_F(Cli, BadInputStopsWithExitCode2AndWritesNothing)
{
  const std::string good = Write("good.json", LensScene("\"ORLIXTAG_LENS\": 1", 16, 16));
  const std::string zero = Write("zero.json", "{\"format\": \"orlixcam-scene/1\", \"render\": {\"width\": 0}}");
  const std::string out = (dir / "out.png").string(), render = "render " + good + " -o " + out;
  struct Case
  {
    std::string args, message;
  } cases[] = {
    {"render " + zero + " -o " + out, "zero.json: /render/width: 0 is out of range 1 to 65536"},
    {"info " + Path("missing.json"), "missing.json"},
    {"render " + good + " -o " + (dir / "out.bmp").string(), "unknown picture format"},
    {"render " + good + " -o " + (dir / "nofolder" / "out.png").string(), "does not exist"},
    {render + " --frames 5-1", "the range ends before it starts"},
    {render + " --frames 1-3", "several frames need #### in -o"},
    {render + " --set ORLIXTAG_NOTHING=1", "unknown parameter ORLIXTAG_NOTHING"},
    {render + " --set ORLIXTAG_LENS=9", "9 is not one of 0, 1, 2, 3"},
    {render + " --set width=0", "--set width=0: expected a number from"},
    {render + " --set stereo=maybe", "expected true or false"},
    {render + " --set =1", "expected SYMBOL=VALUE"},
    {render + " --pass direction", "use .exr or .tif"},
    {render + " --samples 0", "--samples"},
    {render + " --width 65536 --height 65536", "more than the machine's"},
    {"--plugins " + dir.string() + " params", "no plug-in module at " + (dir / "OrlixCam.so").string()},
  };
  const std::string before = Read(good);
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.args);
    const Outcome r = Orlixcam(c.args);
    EXPECT_EQ(r.code, 2) << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << "stderr: " << r.err;
    EXPECT_FALSE(fs::exists(out));
  }
  EXPECT_EQ(Read(good), before) << "the scene file is left as it was";
  EXPECT_EQ(Files(), (std::vector<std::string>{"good.json", "zero.json"}));
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
    const Picture p = Load(out);
    ASSERT_EQ(p.width, 96) << entry.path();
    ASSERT_EQ(p.height, 48) << entry.path();
    // Sky and geometry make a picture with contrast; a blank frame means nothing was shot.
    const auto [lo, hi] = std::minmax_element(p.px.begin(), p.px.end());
    EXPECT_GT(*hi - *lo, 0.3f) << entry.path() << " rendered a flat picture";
  }
  EXPECT_GE(rendered, 14);
}

TEST_F(Cli, FramesAreNumberedAndSetChangesTheRender)
{
  const std::string scene = Write("s.json", LensScene("\"ORLIXTAG_LENS\": 1", 8, 8));
  const Outcome r = Orlixcam("render " + scene + " -o " + (dir / "f_####.png").string() +
                         " --frames 2-4 --set ORLIXTAG_LENS=ORLIXTAG_LENS_PANORAMA --set width=20 --set height=10 --samples 1");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(Files(), (std::vector<std::string>{"f_0002.png", "f_0003.png", "f_0004.png", "s.json"}))
    << "one file a frame, numbered, and no temporary file left";
  const Picture p = Load(dir / "f_0003.png");
  EXPECT_EQ(p.width, 20);
  EXPECT_EQ(p.height, 10);
  ASSERT_EQ(p.channels, 3);
  // A panorama's top row looks up into the blue, its bottom row down into the red.
  EXPECT_GT(p.At(10, 0)[2], 0.9f);
  EXPECT_GT(p.At(10, 9)[0], 0.9f);
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
  const Picture p = Load(exr);
  ASSERT_EQ(p.width, 41);
  ASSERT_GE(p.channels, 3);
  const struct
  {
    int x, y;
    double d[3];
  } at[] = {{20, 20, {0, 0, 1}}, {30, 20, {h, 0, h}}, {20, 10, {0, h, h}}, {0, 0, {0, 0, 0}}};
  for (const auto& a : at)
    for (int c = 0; c < 3; ++c)
      EXPECT_NEAR(p.At(a.x, a.y)[c], a.d[c], 1e-4) << "pixel " << a.x << ", " << a.y << " component " << c;
}

TEST_F(Cli, InfoReportsTheRenderStartAndParamsEveryDescription)
{
  // The camera with the enabled tag is the one the render looks through; the images per frame are
  // what the video post answers at the start of a render.
  const std::string cameras = R"("objects": [{"type": "camera", "name": "Plain"},
    {"type": "camera", "name": "Off", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_ENABLED": false}}]},
    {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": )";
  const struct
  {
    const char* name;
    std::string render;
    int lens, images;
  } scenes[] = {
    {"cubemap", R"("videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_CUBE_LAYOUT": 3}}])", 3, 6},
    {"stereo cubemap", R"("stereo": true, "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_STEREO_MODE": 1}}])", 3, 12},
    {"dome", R"("videoPosts": [{"type": "OrlixCam"}])", 1, 1},
  };
  for (const auto& s : scenes)
  {
    SCOPED_TRACE(s.name);
    const std::string scene = Write("s.json", R"({"format": "orlixcam-scene/1", "render": {"width": 600, "height": 300, )" +
                                                s.render + "}, " + cameras + std::to_string(s.lens) + "}}]}]}");
    const Outcome info = Orlixcam("info " + scene);
    ASSERT_EQ(info.code, 0) << info.err;
    EXPECT_NE(info.out.find("cameras   3: \"Plain\" \"Off\" \"Lens\""), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("lens      camera \"Lens\", tag OrlixTag; rays from video post OrlixCam"), std::string::npos)
      << info.out;
    EXPECT_NE(info.out.find("images    " + std::to_string(s.images) + " per frame"), std::string::npos) << info.out;
    EXPECT_EQ(info.err.find("Alpha channel"), std::string::npos) << "the render's start prints nothing: " << info.err;
  }

  const Outcome params = Orlixcam("params");
  ASSERT_EQ(params.code, 0) << params.err;
  for (const char* line : {"OrlixTag (tag", "OrlixCam (video post", "1008   ORLIXTAG_DOME_FOV", "{\"deg\":180",
                           "ORLIXVP_CUBE_LAYOUT"})
    EXPECT_NE(params.out.find(line), std::string::npos) << line << " is missing:\n" << params.out;
}

TEST_F(Cli, HelpForEveryCommandAndVersion)
{
  for (const std::string command : {"render", "info", "params"})
  {
    const Outcome h = Orlixcam(command + " --help");
    EXPECT_EQ(h.code, 0) << command << " --help\n" << h.err;
    EXPECT_NE(h.out.find("Example:\n  orlixcam " + command), std::string::npos) << command << " --help:\n" << h.out;
  }
  const Outcome version = Orlixcam("--version");
  EXPECT_EQ(version.code, 0);
  EXPECT_EQ(version.out, std::string("orlixcam ") + ORLIX_PROJECT_VERSION + "\n") << "the project's version";
  EXPECT_EQ(Orlixcam("").code, 2) << "a command is required";
}
