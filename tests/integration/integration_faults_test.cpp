// Faults from outside: a plug-in folder with a missing or broken res/, pictures that are cut
// short or not pictures at all. Each ends in a message naming the file, never a crash.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "plugin_loader.h"
#include "render/render_loop.h"

namespace fs = std::filesystem;

namespace
{
/// A private copy of the built plug-in folder that a test may break.
class PluginFolderCopy
{
public:
  explicit PluginFolderCopy(const std::string& name)
    : dir(fs::path(::testing::TempDir()) / ("orlix_faults_" + name + "_" + std::to_string(getpid())))
  {
    fs::remove_all(dir);
    fs::create_directories(dir);
    fs::copy(fs::path(ORLIX_PLUGIN_DIR) / "OrlixCam.so", dir / "OrlixCam.so");
    fs::copy(fs::path(ORLIX_PLUGIN_DIR) / "res", dir / "res", fs::copy_options::recursive);
  }
  ~PluginFolderCopy() { fs::remove_all(dir); }
  Filename Module() const { return Filename((dir / "OrlixCam.so").string().c_str()); }
  fs::path dir;
};

void WriteFile(const fs::path& path, const std::string& bytes)
{
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

std::string ReadFile(const fs::path& path)
{
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct FaultTest : ::testing::Test
{
  void SetUp() override { host::ResetApp(); }
  void TearDown() override
  {
    module.Unload();
    host::ResetApp();
  }
  std::string ConsoleText() const
  {
    std::string all;
    for (const String& line : host::App().console.Lines())
      all += line.GetStdString() + "\n";
    return all;
  }
  host::PluginModule module;
};
} // namespace

TEST_F(FaultTest, PluginFolderWithoutResources)
{
  PluginFolderCopy folder("nores");
  fs::remove_all(folder.dir / "res");
  String error;
  EXPECT_FALSE(module.Load(folder.Module(), &error));
  EXPECT_NE(error.GetStdString().find("could not load its resources from " + (folder.dir / "res").string()), std::string::npos) << error;
  EXPECT_EQ(host::App().plugins.Find(1035138), nullptr) << "nothing registers without resources";
}

TEST_F(FaultTest, BrokenDescriptionNamesFileAndLine)
{
  struct Case
  {
    const char* file;
    std::string (*Break)(std::string);
  } cases[] = {
    {"res/description/OrlixTag.res", [](std::string s) { return s.substr(0, s.size() / 2); }},
    {"res/description/OrlixTag.h", [](std::string s) { return s + "\nenum { BROKEN = };\n"; }},
    {"res/strings_en-US/description/OrlixTag.str", [](std::string s) { return "STRINGTABLE OrlixTag { \"unclosed; }\n" + s; }},
  };
  for (const Case& c : cases)
  {
    host::ResetApp();
    PluginFolderCopy folder("broken");
    const fs::path file = folder.dir / c.file;
    WriteFile(file, c.Break(ReadFile(file)));
    String error;
    EXPECT_FALSE(module.Load(folder.Module(), &error)) << c.file;
    const std::string where = ConsoleText() + error.GetStdString();
    EXPECT_NE(where.find(fs::path(c.file).filename().string() + ":"), std::string::npos)
      << c.file << ": the message names the broken file and its line:\n" << where;
    module.Unload();
  }
}

TEST_F(FaultTest, SkyPicturesThatAreNotPictures)
{
  const fs::path dir = fs::path(::testing::TempDir()) / ("orlix_faults_sky_" + std::to_string(getpid()));
  fs::create_directories(dir);
  // A real PNG cut in half, an empty file and a text file under a picture's name.
  const std::string png = ReadFile(fs::path(ORLIX_SOURCE_DIR) / "res" / "OrlixCam.png");
  ASSERT_GT(png.size(), 200u);
  WriteFile(dir / "cut.png", png.substr(0, png.size() / 2));
  WriteFile(dir / "empty.png", "");
  WriteFile(dir / "text.png", "not a picture at all\n");

  for (const char* name : {"cut.png", "empty.png", "text.png"})
  {
    BaseDocument* doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    BaseObject* sky = BaseObject::Alloc(Osky);
    sky->SetName(String("Sky"));
    sky->GetDataInstance()->SetInt32(SKY_TYPE, SKY_TYPE_PICTURE);
    const std::string path = (dir / name).string();
    sky->GetDataInstance()->SetFilename(SKY_PICTURE, Filename(path.c_str()));
    doc->InsertObject(sky, nullptr, nullptr);
    doc->InsertObject(BaseObject::Alloc(Ocamera), nullptr, nullptr);
    doc->GetActiveRenderData()->GetDataInstance()->SetInt32(RDATA_XRES, 8);
    doc->GetActiveRenderData()->GetDataInstance()->SetInt32(RDATA_YRES, 8);
    host::RenderOptions options;
    host::BitmapPtr picture;
    String error;
    EXPECT_FALSE(host::RenderDocument(doc, options, &picture, &error)) << name;
    EXPECT_NE(error.GetStdString().find("picture \"" + path + "\": not a picture that can be read"), std::string::npos)
      << name << ": " << error;
    EXPECT_FALSE(picture) << name;
    KillDocument(doc);
  }
  fs::remove_all(dir);
}
