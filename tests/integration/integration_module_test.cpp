// The plug-in module loaded exactly as the command-line host loads it, and faults from outside: a
// missing module, a plug-in folder with a missing or broken res/, pictures that are cut short or
// not pictures at all. Each fault ends in a message naming the file, never a crash.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "plugin_loader.h"
#include "render/render_loop.h"
#include "support/scratch_dir.h"

namespace fs = std::filesystem;

namespace
{
const Filename kModule = Filename(ORLIX_PLUGIN_DIR) + Filename("OrlixCam.so");
constexpr Int32 kVideoPostId = 1033675, kTagId = 1035138;

struct ModuleTest : ::testing::Test, ScratchDir
{
  void SetUp() override { host::ResetApp(); }
  void TearDown() override
  {
    module.Unload();
    host::ResetApp();
  }
  host::PluginModule module;
};
} // namespace

TEST_F(ModuleTest, LoadsThroughItsEntryPointAndRegisters)
{
  String error;
  ASSERT_TRUE(module.Load(kModule, &error)) << error;
  EXPECT_EQ(module.GetStartPriority(), -1000000);
  EXPECT_EQ(GeGetPluginPath().GetString(), String(ORLIX_PLUGIN_DIR));
  EXPECT_TRUE(host::App().console.Contains(String("--- OrlixCam: Version 2.2.1 (008) is ready!")));
  // What the tag and the video post do once registered is the plug-in tests'.
  EXPECT_NE(host::App().plugins.Find(kTagId), nullptr);
  EXPECT_NE(host::App().plugins.Find(kVideoPostId), nullptr);

  // Nothing but the entry point is visible from outside.
  void* handle = dlopen(kModule.GetString().GetCString(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr) << dlerror();
  EXPECT_NE(dlsym(handle, "c4d_main"), nullptr);
  for (const char* hidden : {"_Z11PluginStartv", "_Z10LogConsolePKcz", "g_resource"})
    EXPECT_EQ(dlsym(handle, hidden), nullptr) << hidden;
  dlclose(handle);
}

TEST_F(ModuleTest, LoaderFailuresSayWhatWentWrong)
{
  String error;
  EXPECT_FALSE(module.Load(Filename("/nonexistent/OrlixCam.so"), &error));
  EXPECT_TRUE(error.FindFirst(String("cannot open plug-in module /nonexistent/OrlixCam.so"), nullptr, 0)) << error;
  EXPECT_FALSE(module.Load(Filename(ORLIX_NO_ENTRY_MODULE), &error));
  EXPECT_TRUE(error.FindFirst(String("has no entry point c4d_main"), nullptr, 0)) << error;
  EXPECT_FALSE(module.IsLoaded());
  C4DHostTable old;
  old.apiVersion = 20000;
  EXPECT_FALSE(module.Load(kModule, &error, old));
  EXPECT_TRUE(error.FindFirst(String("refused to start"), nullptr, 0)) << error;
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_EQ(host::App().plugins.Find(kVideoPostId), nullptr);
  EXPECT_TRUE(module.Load(kModule, &error)) << error << ": the module loads again after all that";
}

TEST_F(ModuleTest, MissingOrBrokenResourcesNameTheFile)
{
  // Each case breaks a private copy of the built plug-in folder: the resources as a whole, or one
  // description (how each kind of file names its mistakes is the resource tests').
  const fs::path copy = dir / "OrlixCam";
  const struct
  {
    const char* file;
    const char* text; ///< null: the file is removed
    std::string message;
  } cases[] = {
    {"res", nullptr, "could not load its resources from " + (copy / "res").string()},
    {"res/description/OrlixTag.res", "CONTAINER OrlixTag\n{\n  TOGGLE ORLIXTAG_LENS { }\n}\n", "OrlixTag.res:3:"},
  };
  for (const auto& c : cases)
  {
    SCOPED_TRACE(c.file);
    host::ResetApp();
    fs::remove_all(copy);
    fs::create_directories(copy);
    fs::copy(fs::path(ORLIX_PLUGIN_DIR) / "OrlixCam.so", copy / "OrlixCam.so");
    fs::copy(fs::path(ORLIX_PLUGIN_DIR) / "res", copy / "res", fs::copy_options::recursive);
    if (c.text)
      std::ofstream(copy / c.file) << c.text;
    else
      fs::remove_all(copy / c.file);
    String error;
    EXPECT_FALSE(module.Load(Filename((copy / "OrlixCam.so").string().c_str()), &error));
    std::string where = error.GetStdString();
    for (const String& line : host::App().console.Lines())
      where += "\n" + line.GetStdString();
    EXPECT_NE(where.find(c.message), std::string::npos) << where;
    EXPECT_EQ(host::App().plugins.Find(kTagId), nullptr) << "nothing registers from a broken folder";
    module.Unload();
  }
}

TEST_F(ModuleTest, SkyPicturesThatAreNotPicturesStopTheRender)
{
  BaseDocument* doc = BaseDocument::Alloc();
  SetActiveDocument(doc);
  BaseObject* sky = BaseObject::Alloc(Osky);
  sky->GetDataInstance()->SetInt32(SKY_TYPE, SKY_TYPE_PICTURE);
  doc->InsertObject(sky, nullptr, nullptr);
  // An empty file and a text file under a picture's name (a picture cut short is the bitmap tests').
  for (const std::string name : {"empty.png", "text.png"})
  {
    const std::string path = Write(name, name == "empty.png" ? "" : "not a picture at all\n");
    sky->GetDataInstance()->SetFilename(SKY_PICTURE, Filename(path.c_str()));
    host::BitmapPtr picture;
    String error;
    EXPECT_FALSE(host::RenderDocument(doc, host::RenderOptions(), &picture, &error)) << name;
    EXPECT_NE(error.GetStdString().find("picture \"" + path + "\": not a picture that can be read"), std::string::npos)
      << name << ": " << error;
    EXPECT_FALSE(picture) << name << ": no partial picture";
  }
}
