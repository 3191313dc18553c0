// A started plug-in over a fresh host: what most plug-in tests stand on.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "c4d.h"
#include "c4d_resource.h"
#include "host_app.h"
#include "lens/lens_projection.h"
#include "register.h"

/// The settings of `kind` at its usual field (a half turn for the dome, a full one otherwise),
/// spans worked out, then changed by `edit`: the one way tests build a setting.
inline LensSettings LensFor(LensKind kind, const std::function<void(LensSettings&)>& edit = {})
{
  LensSettings s;
  s.lens = kind;
  s.fov = kind == LensKind::Dome ? PI : PI2;
  if (edit)
    edit(s);
  UpdateSpans(s);
  return s;
}

/// Makes `state` shoot `settings` into an image of `width` x `height` from `start`, bleed 10.
inline void UseLens(LensState& state, const LensSettings& settings, Int32 width, Int32 height, Vector start = Vector())
{
  state.settings = settings;
  state.activeArea = LensArea();
  state.activeArea.start = start;
  state.activeArea.end = start + Vector(width - 1.0, height - 1.0, 0.0);
  UpdateArea(state.activeArea);
  state.pixelStep = PixelStep(state.activeArea);
  state.bleedPixels = 10;
}

/// Runs the plug-in's start stages with the repository as its folder (it holds res/), and gives
/// each test an active document. Every test starts from an empty host.
class PluginTest : public ::testing::Test
{
protected:
  void SetUp() override
  {
    host::ResetApp();
    host::SetPluginFolder(Filename(ORLIX_SOURCE_DIR));
    ASSERT_EQ(c4d_main(C4DPL_INIT_SYS, &table, nullptr, &modulePath), 1);
    ASSERT_EQ(c4d_main(C4DPL_MESSAGE, reinterpret_cast<void*>(C4DPL_STARTACTIVITY_RES), nullptr, nullptr), 1)
      << "the plug-in's res/ must load";
    ASSERT_EQ(c4d_main(C4DPL_INIT, nullptr, nullptr, nullptr), 1);
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
  }

  void TearDown() override
  {
    host::ResetApp();
    c4d_main(C4DPL_END, nullptr, nullptr, nullptr);
  }

  /// A camera with a new lens tag, inserted at the top of the active document.
  BaseObject* AddTaggedCamera(const char* name)
  {
    BaseObject* cam = BaseObject::Alloc(Ocamera);
    cam->SetName(String(name));
    doc->InsertObject(cam, nullptr, nullptr);
    EXPECT_NE(cam->MakeTag(1035138), nullptr);
    return cam;
  }

  C4DHostTable table;
  Filename modulePath = Filename(ORLIX_SOURCE_DIR) + Filename("OrlixCam.so");
  BaseDocument* doc = nullptr;
};
