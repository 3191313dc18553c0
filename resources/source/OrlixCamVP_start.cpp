// OrlixCamVP at the start of a render: whether the lens takes part, the settings snapshot, the
// overlay pictures and the channel plan, made when the frame sequence opens.
#include <cmath>

#include "OrlixCamVP.h"
#include "console_log.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "lens/cube_layout.h"
#include "picture.h"

namespace
{
// The running render's settings, or the document's active ones where there is no render.
BaseContainer RenderSettings(Render* render, BaseDocument* doc)
{
  if (render)
    return render->GetRenderData();
  RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;
  return rd ? rd->GetData() : BaseContainer();
}

// An editor render goes through the lens only where the tag allows it for the view's projection.
Bool EditorRenderAllowed(OrlixCamVP& s, BaseDocument* doc, BaseDraw* view)
{
  if (!CheckIsRunning(CHECKISRUNNING_EDITORRENDERING) || !s.tagData || !doc)
    return true;
  BaseDraw* active = doc->GetActiveBaseDraw();
  if (!active || active->GetProjection() != CAMERA_PERSPECTIVE)
    return s.tagData->GetBool(ORLIXTAG_EDITOR_RENDER_PARALLEL);
  const Bool allowed = s.tagData->GetBool(ORLIXTAG_EDITOR_RENDER_PERSPECTIVE);
  if (allowed && !(view && view->HasCameraLink()))
    s.switchSceneCamera = true;
  return allowed;
}

// Whether the lens takes part: a camera with an enabled tag, allowed for this render.
Bool LensTakesPart(const OrlixCamVP& s, Bool allowed)
{
  if (!s.camera)
  {
    LogConsole("No Orlix camera found! Create a camera on the Plugins Menu.");
    return false;
  }
  if (!s.tag || !s.tagData)
  {
    LogConsole("No Orlix tag found! Add a Orlix tag to the active camera.");
    return false;
  }
  return s.tagData->GetBool(ORLIXTAG_ENABLED) && allowed;
}

// A user's or the built-in picture; false if the file has a name but doesn't load.
Bool LoadOverlayPicture(BaseBitmap* bmp, const Filename& path)
{
  return !path.IsPopulated() || LoadPicture(bmp, path) == PictureLoad::Loaded;
}

// Pictures of the dome's overlays; a picture that fails turns its layer off.
void LoadOverlayPictures(OrlixCamVP& s)
{
  LensSettings& set = s.settings;
  s.logoBitmap->Init(0, 0, 24);
  s.maskBitmap->Init(0, 0, 24);
  if (set.lens != LensKind::Dome)
    return;
  if (set.logoMode != LogoMode::None)
  {
    const Filename path = set.logoMode == LogoMode::File ? set.logoFile : GeGetPluginResourcePath() + Filename("OrlixCam.png");
    if (!LoadOverlayPicture(s.logoBitmap, path) || s.logoBitmap->GetBw() == 0 || s.logoBitmap->GetBh() == 0)
      set.logoMode = LogoMode::None;
  }
  if (set.maskMode == MaskMode::Picture)
  {
    if (set.isPreview || !LoadOverlayPicture(s.maskBitmap, set.maskFile) || s.maskBitmap->GetBw() < 2 ||
        s.maskBitmap->GetBh() < 2)
      set.maskMode = MaskMode::Black;
  }
}

// The channel plan, with each eye's camera as the stereo cameras give it.
void PlanFrame(OrlixCamVP& s, BaseVideoPost* node, BaseDocument* doc, BaseDraw* view, RenderData* rd)
{
  if (s.settings.lens == LensKind::Cubemap)
    BuildCubeLayout(s, s.settings.isPreview);
  s.plan = PlanChannels(s.settings, s.eyeCount, s.areaGrid, s.gridSize);
  if (s.settings.isStereo)
  {
    for (Int32 i = 0; i < s.eyeCount && i < 2; ++i)
      s.StereoGetCameraInfo(node, doc, view, rd, s.plan.eyes[i].channelIndex, s.plan.eyes[i]);
    if (s.settings.lens != LensKind::Cubemap)
      static_cast<StereoCameraInfo&>(s.plan.faces[0]) = s.plan.eyes[0];
  }
  s.activeArea = s.plan.frameArea;
  s.subRenderIndex = -1;
}
} // namespace

void BuildCubeLayout(OrlixCamVP& state, Bool preview)
{
  const BaseList2D* node = static_cast<const BaseList2D*>(state.Get());
  const BaseContainer data = node ? node->GetData() : BaseContainer();
  CubeLayoutSettings cube = ReadCubeLayout(data);
  if (preview)
  {
    cube.layout = CubeLayout::Single;
    if (state.tagData)
      cube.face = state.tagData->GetInt32(ORLIXTAG_CUBE_PREVIEW_FACE);
  }
  BuildCubeGrid(cube, state.areaGrid, state.gridSize);
}

Bool OrlixCamVP::AllocateBuffers(BaseVideoPost* node, Render* render, BaseDocument* doc)
{
  BaseDraw* view = FindCameraAndTag(*this, doc);
  switchSceneCamera = false;
  if (!doc)
    doc = Get() ? Get()->GetDocument() : GetActiveDocument();
  const Bool allowed = EditorRenderAllowed(*this, doc, view);
  isActive = LensTakesPart(*this, allowed);
  if (!isActive)
    return true;

  BaseContainer renderSettings = RenderSettings(render, doc);
  const BaseContainer data = node ? node->GetData() : BaseContainer();
  settings = ReadLensSettings(*tagData, data, renderSettings, isPreview);
  subRenderCount = StereoGetCameraCountRenderer(node, doc, doc ? doc->GetActiveRenderData() : nullptr);

  Bool changed = false;
  if (renderSettings.GetBool(RDATA_STEREO))
  {
    renderSettings.SetBool(RDATA_ALPHACHANNEL, false);
    LogConsole("Alpha channel disabled for Stereoscopic render");
    changed = true;
  }
  if (subRenderCount == 0)
  {
    isActive = false;
  }
  else if (settings.lens == LensKind::Cubemap && node && settings.cube.layout != CubeLayout::Single)
  {
    // Six faces travel through the host's stereo pipeline, stereo or not.
    renderSettings.SetBool(RDATA_STEREO, true);
    renderSettings.SetBool(RDATA_ALPHACHANNEL, false);
    changed = true;
  }
  if (changed && render)
    render->SetRenderData(renderSettings);
  return true;
}

void OpenFrameSequence(OrlixCamVP& s, BaseVideoPost* node, const VideoPostStruct& vps, BaseDraw* view, RenderData* rd)
{
  BaseDocument* doc = vps.doc;
  if (s.switchSceneCamera && view)
    view->SetSceneCamera(s.camera, false);
  s.documentName = doc ? doc->GetDocumentName() : Filename();
  s.docMinTime = doc ? doc->GetMinTime() : BaseTime();
  s.docMaxTime = doc ? doc->GetMaxTime() : BaseTime();
  s.CloseSeparationClone();
  if (s.settings.isStereo && s.settings.separationMapOn)
    s.OpenSeparationClone(doc);
  LoadOverlayPictures(s);
  PlanFrame(s, node, doc, view, rd);
}

Bool OrlixCamVP::OpenSeparationClone(BaseDocument* document)
{
  CloseSeparationClone();
  separationMap.domeZenith = settings.domeZenith;
  separationMap.domeFov = settings.fov;
  if (!settings.isStereo || !settings.separationMapOn || !tagData)
    return true;
  Bool failed = false;
  separationMap.shader = OpenSeparationMapClone(tagData, document, failed);
  if (failed)
    LogConsole("Shader clone error");
  return !failed;
}

void OrlixCamVP::CloseSeparationClone()
{
  CloseSeparationMapClone(separationMap.shader);
}
