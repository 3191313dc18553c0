// Hostile and careless input against the command-line host: each is refused with a clear message
// and the exit code of its kind, and leaves no file, no temporary file and no changed input.
#include <sys/stat.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <functional>
#include <string>

#include "integration/cli_process.h"

namespace
{
using Hostile = CliProcess;

std::string SkyScene(const std::string& sky, int w, int h)
{
  return R"({"format": "orlixcam-scene/1", "render": {"width": )" + std::to_string(w) + R"(, "height": )" +
         std::to_string(h) + R"(}, "objects": [)" + sky + R"(,
    {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 1}}]}]})";
}

std::uint32_t Crc32(const std::string& bytes)
{
  std::uint32_t c = 0xffffffffu;
  for (unsigned char b : bytes)
  {
    c ^= b;
    for (int k = 0; k < 8; ++k)
      c = (c >> 1) ^ (0xedb88320u & (0u - (c & 1u)));
  }
  return ~c;
}

std::string BigEndian(std::uint32_t v)
{
  return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
}

std::string Chunk(const std::string& type, const std::string& data)
{
  return BigEndian(std::uint32_t(data.size())) + type + data + BigEndian(Crc32(type + data));
}

/// A PNG of a few dozen bytes whose header claims `side` x `side` RGBA pixels.
std::string PngClaiming(std::uint32_t side)
{
  const std::string header = BigEndian(side) + BigEndian(side) + std::string("\x08\x06\x00\x00\x00", 5);
  return std::string("\x89PNG\r\n\x1a\n", 8) + Chunk("IHDR", header) +
         Chunk("IDAT", std::string("\x78\x9c\x03\x00\x00\x00\x00\x01", 8)) + Chunk("IEND", "");
}

/// An OBJ of one polygon with `corners` corners round the origin.
std::string ObjPolygon(int corners, const std::string& head)
{
  std::string obj = head;
  for (int i = 0; i < corners; ++i)
    obj += "v " + std::to_string(std::cos(i * 6.283 / corners)) + " " + std::to_string(std::sin(i * 6.283 / corners)) +
           " 5\n";
  obj += "f";
  for (int i = 1; i <= corners; ++i)
    obj += " " + std::to_string(i);
  return obj + "\n";
}

} // namespace

TEST_F(Hostile, EveryKindOfBadInputIsRefusedAndLeavesNothingBehind)
{
  const std::string sky = R"({"type": "sky", "gradient": {"top": [0, 0, 1], "bottom": [1, 0, 0]}})";
  const std::string scene = Write("scene.json", SkyScene(sky, 16, 16));
  const std::string out = Path("out.png");
  const std::string kept = "an older picture that must survive";
  const std::string exe = ORLIXCAM_EXE;
  // A plug-in folder of our own: a module and the real resources beside it.
  const fs::path plugins = dir / "plugins";
  const fs::path realModule = fs::path(exe).parent_path() / "plugins" / "OrlixCam" / "OrlixCam.so";
  auto pluginFolder = [&](const std::function<void(const fs::path& module)>& makeModule) {
    fs::remove_all(plugins);
    fs::create_directories(plugins);
    fs::create_directory_symlink(realModule.parent_path() / "res", plugins / "res");
    makeModule(plugins / "OrlixCam.so");
    return "--plugins " + plugins.string() + " ";
  };
  auto deep = [&](int levels) {
    std::string objects = R"({"type": "sphere", "radius": 1})";
    for (int i = 0; i < levels; ++i)
      objects = R"({"type": "sphere", "radius": 1, "children": [)" + objects + "]}";
    return Write("deep.json", SkyScene(sky + ", " + objects, 8, 8));
  };
  auto meshScene = [&](const std::string& obj) {
    Write("mesh.obj", obj);
    return Write("mesh.json", SkyScene(sky + R"(, {"type": "mesh", "file": "mesh.obj"})", 8, 8));
  };

  struct Case
  {
    std::string what;
    std::function<std::string()> args; // sets up its files, gives the command line
    int code;
    std::string message;
  };
  const std::vector<Case> cases = {
    {"a picture written into a file-size limit (a full disk) keeps the older file",
     [&] { return "sh -c 'ulimit -f 4; trap \"\" XFSZ; exec " + exe + " render " + scene + " -o " + out +
                  " --width 512 --height 512'"; },
     1, "out.png: writing failed: File too large"},
    {"children nested 5,000 deep", [&] { return "render " + deep(5000) + " -o " + out; }, 2,
     "objects nest deeper than 100 levels"},
    {"a material library that is a device, beside one that would block", [&] {
       mkfifo(Path("fifo.mtl").c_str(), 0600);
       return "render " + meshScene(ObjPolygon(4, "mtllib /dev/zero\nmtllib fifo.mtl\n")) + " -o " + out; },
     0, "wrote " + out},
    {"an OBJ polygon of 259 corners", [&] { return "render " + meshScene(ObjPolygon(259, "")) + " -o " + out; }, 2,
     "a polygon has more than 255 corners"},
    {"a size by option beyond the scene files' rule",
     [&] { return "render " + scene + " -o " + out + " --width 65536 --height 8192"; }, 2,
     "65536 x 8192 pixels is too large for memory (at most 268435456 pixels)"},
    {"a few bytes of PNG claiming 30000 x 30000 as the sky", [&] {
       Write("huge.png", PngClaiming(30000));
       return "render " + Write("huge.json", SkyScene(R"({"type": "sky", "picture": "huge.png"})", 8, 8)) + " -o " + out; },
     2, "huge.png\": too large for memory"},
    // A shaded frame keeps its images cropped; a data pass learns its layout from whole images.
    {"a stereo frame whose pass needs more memory than there is, as a mono one would", [&] {
       return "render " + Write("cube.json", R"({"format": "orlixcam-scene/1", "render": {"width": 16384, "height": 16384,
         "stereo": true, "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_STEREO_MODE": 1}}]},
         "objects": [{"type": "camera", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 3}}]}]})") + " -o " + Path("pass.exr") +
              " --pass direction"; },
     2, "MiB this process can have"},
    {"a module cut in half", [&] {
       return pluginFolder([&](const fs::path& m) {
                fs::copy_file(realModule, m);
                fs::resize_file(m, fs::file_size(m) / 2);
              }) + "params"; },
     2, "cut short"},
    {"a FIFO named as the module", [&] { return pluginFolder([](const fs::path& m) { mkfifo(m.c_str(), 0600); }) + "params"; },
     2, "not a regular file"},
    {"a description of 100,000 nested groups: its registration fails, naming the place", [&] {
       const std::string flags = pluginFolder([&](const fs::path& m) { fs::copy_file(realModule, m); });
       fs::remove(plugins / "res");
       fs::copy(realModule.parent_path() / "res", plugins / "res", fs::copy_options::recursive);
       std::ofstream(plugins / "res" / "description" / "OrlixTag.res")
         << "CONTAINER OrlixTag { NAME OrlixTag; " << [] { std::string g; for (int i = 0; i < 100000; ++i) g += "GROUP { "; return g; }()
         << std::string(100000, '}') << " }";
       return flags + "params"; },
     1, "OrlixTag.res:1: blocks nest deeper than 64 levels"},
    {"a module without c4d_main", [&] {
       return pluginFolder([](const fs::path& m) { fs::copy_file(ORLIX_NO_ENTRY_MODULE, m); }) + "params"; },
     2, "has no entry point c4d_main"},
    {"output that is a folder", [&] { fs::create_directory(Path("folder.png")); return "render " + scene + " -o " + Path("folder.png"); },
     2, "is a folder"},
    {"a file name of 256 bytes", [&] { return "render " + scene + " -o " + Path(std::string(252, 'n') + ".png"); }, 2,
     "the file name is 256 bytes long; at most 255"},
    {"a file name of 255 bytes: the temporary name stays short",
     [&] { return "render " + scene + " -o " + Path(std::string(251, 'n') + ".png"); }, 0, "wrote"},
    {"a '#' in a folder numbers nothing", [&] {
       fs::create_directory(Path("take#1"));
       return "render " + scene + " -o " + Path("take#1/x_##.png") + " --frames -2147483648"; },
     0, "take#1/x_-2147483648.png"},
    {"an id beyond 32 bits does not wrap onto another parameter",
     [&] { return "render " + scene + " -o " + out + " --set 4294968302=1"; }, 2, "4294968302"},
    {"a key named twice", [&] {
       return "render " + Write("twice.json", R"({"format": "orlixcam-scene/1", "name": "a", "name": "b"})") + " -o " + out; },
     2, "malformed JSON: the key \"name\" appears twice in one object"},
    {"a byte-order mark is allowed", [&] { return "render " + Write("bom.json", "\xEF\xBB\xBF" + Read(scene)) + " -o " + out; }, 0,
     "wrote"},
  };
  const std::string sceneBefore = Read(scene);
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.what);
    fs::remove_all(out);
    Write("out.png", kept);
    const std::string args = c.args();
    const Outcome r = args.rfind("sh -c", 0) == 0 ? Run(args) : Orlixcam(args);
    EXPECT_EQ(r.code, c.code) << r.err;
    EXPECT_NE((c.code ? r.err : r.out).find(c.message), std::string::npos) << "out: " << r.out << "\nerr: " << r.err;
    if (c.code)
    {
      EXPECT_EQ(Read(out), kept) << "a refused or failed render leaves the older picture as it was";
    }
    for (const auto& e : fs::recursive_directory_iterator(dir))
      EXPECT_NE(e.path().filename().string().rfind(".orlix-", 0), 0u) << "temporary file left: " << e.path();
  }
  EXPECT_EQ(Read(scene), sceneBefore);
}
