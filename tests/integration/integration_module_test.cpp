// The plug-in module loaded exactly as the command-line host loads it.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include "c4d.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "host_app.h"
#include "plugin_loader.h"

namespace
{
const Filename kModule = Filename(ORLIX_PLUGIN_DIR) + Filename("OrlixCam.so");

struct ModuleTest : ::testing::Test
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
  ASSERT_NE(host::App().plugins.Find(1033675), nullptr);
  ASSERT_NE(host::App().plugins.Find(1035138), nullptr);
  EXPECT_TRUE(host::App().console.Contains(String("--- OrlixCam: Version 2.2.1 (008) is ready!")));

  // A tag made on a camera in a fresh document brings the video post into the render settings.
  BaseDocument* doc = BaseDocument::Alloc();
  SetActiveDocument(doc);
  BaseObject* cam = BaseObject::Alloc(Ocamera);
  doc->InsertObject(cam, nullptr, nullptr);
  BaseTag* tag = cam->MakeTag(1035138);
  ASSERT_NE(tag, nullptr);
  EXPECT_EQ(tag->GetDataInstance()->GetInt32(ORLIXTAG_LENS, -1), 1);
  BaseVideoPost* vp = doc->GetActiveRenderData()->GetFirstVideoPost();
  ASSERT_NE(vp, nullptr);
  EXPECT_EQ(vp->GetType(), 1033675);
  EXPECT_EQ(vp->GetDataInstance()->GetInt32(ORLIXVP_ANAGLYPH_COLOURS), 3);
}

TEST_F(ModuleTest, ExportsOnlyItsEntryPoint)
{
  void* handle = dlopen(kModule.GetString().GetCString(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr) << dlerror();
  EXPECT_NE(dlsym(handle, "c4d_main"), nullptr);
  EXPECT_EQ(dlsym(handle, "_Z11PluginStartv"), nullptr);
  EXPECT_EQ(dlsym(handle, "_Z10LogConsolePKcz"), nullptr);
  EXPECT_EQ(dlsym(handle, "g_resource"), nullptr);
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
  EXPECT_EQ(host::App().plugins.Find(1033675), nullptr);

  // The module loads again after all that.
  EXPECT_TRUE(module.Load(kModule, &error)) << error;
}
