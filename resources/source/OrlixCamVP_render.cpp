// OrlixCamVP during a render: the render-start check, the snapshot and channel plan, the frame
// stages, the pixel stage, the stereo cameras and the merge of a frame's images.
#include <cmath>

#include "OrlixCamVP.h"
#include "c4d_resource.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "lens/cube_layout.h"
#include "lens/stereo_merge.h"
#include "register.h"

namespace
{
constexpr Float kQuarterPi = 0.7853981633974483;

// The running render's settings, or the document's active ones where there is no render.
BaseContainer RenderSettings(Render* render, BaseDocument* doc)
{
  if (render)
    return render->GetRenderData();
  RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;
  return rd ? rd->GetData() : BaseContainer();
}

void ResetChannel(LensChannel& c)
{
  c.area = LensArea();
  c.channelIndex = -1;
  c.rotation = 0;
  c.flipX = false;
  c.flipY = false;
}
} // namespace

// ---- Cube layouts ------------------------------------------------------------------------------

void BuildCubeLayout(OrlixCamVP& state, Bool preview)
{
  const BaseList2D* node = static_cast<const BaseList2D*>(state.Get());
  const BaseContainer data = node ? node->GetData() : BaseContainer();
  CubeLayoutSettings settings;
  settings.layout = preview ? 6 : data.GetInt32(ORLIXVP_CUBE_LAYOUT);
  settings.turn = data.GetInt32(ORLIXVP_CUBE_TURN);
  for (Int32 i = 0; i < 6; ++i)
    settings.slots[i] = data.GetInt32(ORLIXVP_CUBE_SLOT_1 + i);
  settings.face = data.GetInt32(ORLIXVP_CUBE_FACE);
  if (preview && state.tagData)
    settings.face = state.tagData->GetInt32(ORLIXTAG_CUBE_PREVIEW_FACE);
  BuildCubeGrid(settings, state.areaGrid, state.gridSize);
}

void PlanCubeFaces(OrlixCamVP& state)
{
  const LensArea& eye = state.stereoChannels[0].area;
  BuildCubeLayout(state, state.isPreview);
  const Int32 planned = PlanCubeFaceAreas(state.areaGrid, state.gridSize, eye.width, eye.height, state.faceChannels);
  for (Int32 k = 0; k < planned; ++k)
  {
    const LensArea& a = state.faceChannels[k].area;
    LogDebug("CUBEMAP AREA ch [%d] start [%.2f/%.2f] end [%.2f/%.2f]", k, a.start.x, a.start.y, a.end.x, a.end.y);
  }
}

// ---- Render start ------------------------------------------------------------------------------

Bool OrlixCamVP::AllocateBuffers(BaseVideoPost* node, Render* render, BaseDocument* doc)
{
  LogDebug("------- STARTING -------");
  BaseDraw* view = FindCameraAndTag(*this, doc);
  switchSceneCamera = false;
  Bool allowed = true;

  if (!doc)
    doc = Get() ? Get()->GetDocument() : GetActiveDocument();

  // An editor render goes through the lens only where the tag allows it for the view's projection.
  if (CheckIsRunning(CHECKISRUNNING_EDITORRENDERING) && tagData && doc)
  {
    BaseDraw* active = doc->GetActiveBaseDraw();
    if (active && active->GetProjection() == CAMERA_PERSPECTIVE)
    {
      allowed = tagData->GetBool(ORLIXTAG_EDITOR_RENDER_PERSPECTIVE);
      if (allowed && !(view && view->HasCameraLink()))
        switchSceneCamera = true;
    }
    else
    {
      allowed = tagData->GetBool(ORLIXTAG_EDITOR_RENDER_PARALLEL);
    }
  }

  if (!camera)
  {
    LogConsole("No Orlix camera found! Create a camera on the Plugins Menu.");
    isActive = false;
  }
  else if (!tag || !tagData)
  {
    LogConsole("No Orlix tag found! Add a Orlix tag to the active camera.");
    isActive = false;
  }
  else
  {
    isActive = tagData->GetBool(ORLIXTAG_ENABLED) && allowed;
  }
  if (!isActive)
    return true;

  BaseContainer settings = RenderSettings(render, doc);
  Bool changed = false;
  const Int32 lens = tagData->GetInt32(ORLIXTAG_LENS);
  isDome = lens == 1;
  isPanorama = lens == 0;
  isCylindrical = lens == 2;
  isCubemap = lens == 3;

  subRenderCount = StereoGetCameraCountRenderer(node, doc, doc ? doc->GetActiveRenderData() : nullptr);

  isStereo = settings.GetBool(RDATA_STEREO);
  if (isStereo)
  {
    settings.SetBool(RDATA_ALPHACHANNEL, false);
    LogConsole("Alpha channel disabled for Stereoscopic render");
    changed = true;
  }

  const BaseContainer* data = node ? node->GetDataInstance() : nullptr;
  if (subRenderCount == 0)
  {
    isActive = false;
  }
  else if (isCubemap && data && data->GetInt32(ORLIXVP_CUBE_LAYOUT) != 6)
  {
    // Six faces travel through the host's stereo pipeline, stereo or not.
    settings.SetBool(RDATA_STEREO, true);
    settings.SetBool(RDATA_ALPHACHANNEL, false);
    LogDebug("> CUBEMAP SETTING stereo [%d]", settings.GetInt32(RDATA_STEREO));
    changed = true;
  }

  if (changed && render)
    render->SetRenderData(settings);
  return true;
}

VIDEOPOSTINFO OrlixCamVP::GetRenderInfo(BaseVideoPost* /*node*/)
{
  if (!isActive)
    return VIDEOPOSTINFO_NONE;
  return static_cast<VIDEOPOSTINFO>(VIDEOPOSTINFO_EXECUTELINE | VIDEOPOSTINFO_EXECUTEPIXEL | VIDEOPOSTINFO_CUSTOMLENS);
}

namespace
{
// Loads a user's or the built-in picture; false if the file has a name but doesn't load.
Bool LoadPicture(BaseBitmap* bmp, const Filename& path)
{
  return !path.IsPopulated() || bmp->Init(path, -1, nullptr) == IMAGERESULT_OK;
}
} // namespace

// The snapshot of tag, video post and render settings, and the channel plan.
static void OpenFrameSequence(OrlixCamVP& s, BaseVideoPost* node, const VideoPostStruct& vps, BaseDraw* view,
                              RenderData* rd, const BaseContainer& settings)
{
  const BaseContainer& tagData = *s.tagData;
  const BaseContainer data = node->GetData();
  BaseDocument* doc = vps.doc;

  if (s.switchSceneCamera && view)
    view->SetSceneCamera(s.camera, false);

  s.panoramaCustomField = tagData.GetBool(ORLIXTAG_PANO_CUSTOM);
  s.cylinderAxisTurned = tagData.GetInt32(ORLIXTAG_CYL_AXIS) == 1;
  s.cylinderHeight = tagData.GetFloat(ORLIXTAG_CYL_HEIGHT);
  if (s.isDome)
    s.fov = tagData.GetFloat(ORLIXTAG_DOME_FOV);
  else if (s.isPanorama)
    s.fov = tagData.GetFloat(ORLIXTAG_PANO_FOV_H);
  else if (s.isCylindrical)
    s.fov = tagData.GetFloat(ORLIXTAG_CYL_FOV);
  UpdateSpans(s);
  s.verticalStart = MapRange(tagData.GetFloat(ORLIXTAG_PANO_LAT_MIN), -PI05, PI05, 0.0, 1.0, false);
  s.verticalEnd = MapRange(tagData.GetFloat(ORLIXTAG_PANO_LAT_MAX), -PI05, PI05, 0.0, 1.0, false);

  s.maskMode = data.GetInt32(ORLIXVP_MASK_MODE);
  s.slateOn = data.GetBool(ORLIXVP_SLATE) && s.isDome && !s.isPreview;
  s.showInfo = s.slateOn && data.GetBool(ORLIXVP_SHOW_INFO);
  s.showFrameNumber = s.slateOn && data.GetBool(ORLIXVP_SHOW_FRAME);
  s.showTimecode = s.slateOn && data.GetBool(ORLIXVP_SHOW_TIMECODE);
  s.showSlateText = s.slateOn && data.GetBool(ORLIXVP_SHOW_TEXT);
  s.logoMode = s.slateOn ? data.GetInt32(ORLIXVP_LOGO_MODE) : 2;
  s.slateTimeOffset = data.GetTime(ORLIXVP_TIME_OFFSET);
  s.slateText = data.GetString(ORLIXVP_TEXT);
  s.slateTextSize = data.GetFloat(ORLIXVP_TEXT_SIZE);

  s.documentName = doc ? doc->GetDocumentName() : Filename();
  s.fps = settings.GetFloat(RDATA_FRAMERATE);
  s.docMinTime = doc ? doc->GetMinTime() : BaseTime();
  s.docMaxTime = doc ? doc->GetMaxTime() : BaseTime();

  if (s.isPreview)
  {
    s.isStereo = false;
  }
  else if (s.isStereo)
  {
    const Int32 mode = data.GetInt32(ORLIXVP_STEREO_MODE);
    s.stereoAnaglyph = mode == 0;
    s.stereoPair = mode == 1;
    s.stereoInterlaced = mode == 2;
    const Int32 pairLayout = data.GetInt32(ORLIXVP_PAIR_LAYOUT);
    s.stereoSideBySide = s.stereoPair && pairLayout == 0;
    s.stereoTopBottom = s.stereoPair && pairLayout == 1;
    s.stereoSwapEyes = data.GetBool(ORLIXVP_SWAP_EYES);
    s.stereoPixelShift = data.GetInt32(ORLIXVP_EYE_SHIFT);
    s.anaglyphMethod = data.GetInt32(ORLIXVP_ANAGLYPH_METHOD);
    s.anaglyphColours = data.GetInt32(ORLIXVP_ANAGLYPH_COLOURS);
    s.anaglyphGamma = data.GetFloat(ORLIXVP_ANAGLYPH_GAMMA);
    s.interlaceMode = data.GetInt32(ORLIXVP_INTERLACE_MODE);
    s.eyeSeparation = tagData.GetFloat(ORLIXTAG_EYE_SEPARATION);
    s.zeroParallaxDistance = tagData.GetInt32(ORLIXTAG_CONVERGENCE) != 0 ? tagData.GetFloat(ORLIXTAG_ZERO_PARALLAX) : 0.0;
    s.domeZenithStereo = tagData.GetInt32(ORLIXTAG_LENS) == 1 && tagData.GetInt32(ORLIXTAG_DOME_ZENITH) == 1;
    s.eyeModel = tagData.GetInt32(ORLIXTAG_EYE_MODEL);
    s.CloseSeparationClone();
    if (tagData.GetBool(ORLIXTAG_SEPARATION_MAP_ON))
      s.OpenSeparationClone(doc);
  }

  // Pictures of the dome's overlays; a picture that fails turns its layer off.
  s.logoBitmap->Init(0, 0, 24);
  s.maskBitmap->Init(0, 0, 24);
  if (s.isDome)
  {
    if (s.logoMode != 2)
    {
      const Filename path = s.logoMode == 1 ? data.GetFilename(ORLIXVP_LOGO_FILE) : GeGetPluginResourcePath() + Filename("OrlixCam.png");
      if (!LoadPicture(s.logoBitmap, path) || s.logoBitmap->GetBw() == 0 || s.logoBitmap->GetBh() == 0)
        s.logoMode = 2;
      LogDebug(">>> Logo %d %d", s.logoBitmap->GetBw(), s.logoBitmap->GetBh());
    }
    if (s.maskMode == 1)
    {
      if (s.isPreview)
        s.maskMode = 0;
      else if (!LoadPicture(s.maskBitmap, data.GetFilename(ORLIXVP_MASK_FILE)) || s.maskBitmap->GetBw() < 2 ||
               s.maskBitmap->GetBh() < 2)
        s.maskMode = 0;
      LogDebug(">>> Mask %d %d", s.maskBitmap->GetBw(), s.maskBitmap->GetBh());
    }
  }

  // The frame, and in a preview the box of the lens's shape within it.
  const Int32 w = settings.GetInt32(RDATA_XRES), h = settings.GetInt32(RDATA_YRES);
  s.activeArea = LensArea();
  s.activeArea.end = Vector(w - 1.0, h - 1.0, 0.0);
  UpdateArea(s.activeArea);
  s.frameArea = s.activeArea;
  Float aspect = tagData.GetFloat(ORLIXTAG_ASPECT_MONO);
  if (s.isPreview && aspect > 0.0)
  {
    if (s.isCubemap)
      aspect = 1.0;
    Float gapX = 0.0, gapY = 0.0;
    const Int32 aw = s.activeArea.width, ah = s.activeArea.height;
    if (s.activeArea.aspect > aspect)
      gapX = std::trunc(static_cast<Float32>(aw - std::trunc(ah * aspect)) * 0.5f);
    else if (aspect > s.activeArea.aspect)
      gapY = std::trunc(static_cast<Float32>(ah - std::trunc(aw / aspect)) * 0.5f);
    s.activeArea.start += Vector(gapX, gapY, 0.0);
    UpdateArea(s.activeArea);
    s.activeArea.end -= Vector(gapX, gapY, 0.0);
    UpdateArea(s.activeArea);
    s.frameArea = s.activeArea;
    LogDebug("PREVIEW start [%.2f/%.2f] end [%.2f/%.2f] size [%d,%d]", s.activeArea.start.x, s.activeArea.start.y,
             s.activeArea.end.x, s.activeArea.end.y, s.activeArea.width, s.activeArea.height);
  }

  // The channel plan: eyes, then faces.
  s.subRenderIndex = -1;
  for (LensChannel& c : s.stereoChannels)
    ResetChannel(c);
  for (LensChannel& c : s.faceChannels)
    ResetChannel(c);

  if (s.isStereo)
  {
    if (s.eyeCount == 1)
    {
      s.stereoChannels[0].channelIndex = data.GetInt32(ORLIXVP_ONE_EYE) != 0 ? 1 : 0;
    }
    else
    {
      s.stereoChannels[0].channelIndex = s.stereoSwapEyes ? 1 : 0;
      s.stereoChannels[1].channelIndex = s.stereoSwapEyes ? 0 : 1;
    }
    for (Int32 i = 0; i < s.eyeCount && i < 2; ++i)
    {
      LensChannel& eye = s.stereoChannels[i];
      s.StereoGetCameraInfo(node, doc, view, rd, eye.channelIndex, eye);
      if (s.stereoPair)
      {
        const Bool left = eye.channelIndex == 0;
        eye.flipX = data.GetBool(left ? ORLIXVP_FLIP_X_LEFT : ORLIXVP_FLIP_X_RIGHT);
        eye.flipY = data.GetBool(left ? ORLIXVP_FLIP_Y_LEFT : ORLIXVP_FLIP_Y_RIGHT);
      }
      eye.area = s.activeArea;
      if (s.stereoSideBySide)
      {
        const Int32 n = s.activeArea.width / s.eyeCount;
        eye.area.start.x = static_cast<Float>(n * i);
        eye.area.end.x = static_cast<Float>((i + 1) * n - 1);
        UpdateArea(eye.area);
      }
      else if (s.stereoTopBottom)
      {
        const Int32 n = s.activeArea.height / s.eyeCount;
        eye.area.start.y = static_cast<Float>(n * i);
        eye.area.end.y = static_cast<Float>((i + 1) * n - 1);
        UpdateArea(eye.area);
      }
      LogDebug("STEREO ch [%d] start [%.2f/%.2f] end [%.2f/%.2f] size [%d,%d]", eye.channelIndex, eye.area.start.x,
               eye.area.start.y, eye.area.end.x, eye.area.end.y, eye.area.width, eye.area.height);
    }
  }
  else
  {
    s.stereoChannels[0].area = s.activeArea;
    s.stereoChannels[0].channelIndex = 0;
  }

  if (s.isCubemap)
  {
    PlanCubeFaces(s);
  }
  else
  {
    s.faceChannels[0] = s.stereoChannels[0];
    s.faceChannels[0].channelIndex = 0;
  }
}

// ---- Frame stages ------------------------------------------------------------------------------

RENDERRESULT OrlixCamVP::Execute(BaseVideoPost* node, VideoPostStruct* vps)
{
  if (!isActive || !vps)
    return RENDERRESULT_OK;
  BaseDocument* doc = vps->doc;
  BaseDraw* view = doc ? doc->GetRenderBaseDraw() : nullptr;
  RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;

  switch (vps->vp)
  {
    case VIDEOPOSTCALL_FRAMESEQUENCE:
      if (vps->open)
      {
        if (tagData && node)
          OpenFrameSequence(*this, node, *vps, view, rd, RenderSettings(vps->render, doc));
      }
      else
      {
        if (switchSceneCamera && view)
          view->SetSceneCamera(nullptr, false);
        CloseSeparationClone();
        if (isCubemap && isPreview)
          BuildCubeLayout(*this, false);
        LogDebug("------- FINISH -------");
      }
      return RENDERRESULT_OK;

    case VIDEOPOSTCALL_RENDER:
      if (vps->open)
      {
        SelectSubRender(vps->time);
        return RENDERRESULT_OK;
      }
      return DrawOverlays(*this, vps);

    default:
      return RENDERRESULT_OK;
  }
}

void OrlixCamVP::SelectSubRender(const BaseTime& time)
{
  frameTime = BaseTime(slateTimeOffset.GetDenominator() * time.GetNumerator() + time.GetDenominator() * slateTimeOffset.GetNumerator(),
                       time.GetDenominator() * slateTimeOffset.GetDenominator());
  const Int32 count = subRenderCount > 0 ? subRenderCount : 1;
  const Int32 faces = faceCount > 0 ? faceCount : 1;
  subRenderIndex = (subRenderIndex + 1) % count;
  currentFace = faceChannels[subRenderIndex % faces];
  const Int32 eye = subRenderIndex / faces;
  currentEye = stereoChannels[eye < 2 ? eye : 1];

  if (isPreview)
  {
    activeArea = frameArea;
  }
  else
  {
    activeArea = currentFace.area;
    activeArea.start += currentEye.area.start;
    activeArea.end += currentEye.area.start;
    UpdateArea(activeArea);
  }
  pixelStep = PixelStep(activeArea);
  bleedPixels = 10;

  if (isDome)
  {
    domeDiameter = activeArea.diameter;
    const Float r = activeArea.radius;
    logoInset = r - std::sin(kQuarterPi) * r;
    logoCorner = LensArea();
    logoCorner.start = Vector(activeArea.end.x - logoInset, activeArea.end.y - logoInset, 0.0);
    logoCorner.end = Vector(activeArea.end.x, activeArea.end.y, 0.0);
    UpdateArea(logoCorner);
  }
}

void OrlixCamVP::ExecutePixel(BaseVideoPost* /*node*/, PixelPost* pp, Int32 x, Int32 /*subx*/, Int32 /*suby*/)
{
  if (!isActive || !pp || !pp->col)
    return;
  const Float u = (x - currentEye.area.start.x) / (currentEye.area.width - 1.0);
  const Float v = (pp->line - currentEye.area.start.y) / (currentEye.area.height - 1.0);
  bool paint = isPreview && (u < 0.0 || u > 1.0 || v < 0.0 || v > 1.0);
  if (!paint && isDome && maskMode == 0)
    paint = OutsideDome(u, v);
  if (!paint)
    return;
  pp->col[0] = pp->col[1] = pp->col[2] = 0.0f;
  if (pp->comp > 3)
    pp->col[3] = 1.0f;
}

// ---- Stereo cameras and merge ------------------------------------------------------------------

Int32 OrlixCamVP::StereoGetCameraCountRenderer(BaseVideoPost* node, BaseDocument* doc, RenderData* rd)
{
  faceCount = 1;
  eyeCount = 0;
  FindCameraAndTag(*this, doc);
  if (!camera || !tagData)
    return 0;
  if (isPreview)
    return 1;
  const BaseContainer* data = node ? node->GetDataInstance() : nullptr;
  if (tagData->GetInt32(ORLIXTAG_LENS) == 3 && (!data || data->GetInt32(ORLIXVP_CUBE_LAYOUT) != 6))
    faceCount = 6;
  eyeCount = 1;
  const Bool stereo = rd && rd->GetDataInstance()->GetBool(RDATA_STEREO);
  if (stereo && (!data || data->GetInt32(ORLIXVP_STEREO_MODE) != 3))
    eyeCount = 2;
  return eyeCount * faceCount;
}

Bool OrlixCamVP::StereoGetCameraInfo(BaseVideoPost* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/, RenderData* /*rd*/,
                                     Int32 index, StereoCameraInfo& info)
{
  if (!camera || !tagData || static_cast<UInt32>(index) > 2u)
    return false;
  const Float k = index == 0 ? -0.5 : 0.5;
  info.m = camera->GetMg() * MatrixMove(Vector(k * tagData->GetFloat(ORLIXTAG_EYE_SEPARATION), 0.0, 0.0));
  info.strName = String::IntToString(index);
  info.off_x = 0.0;
  info.off_y = 0.0;
  return true;
}

Bool OrlixCamVP::StereoMergeImages(BaseVideoPost* /*node*/, BaseBitmap* dest, const BaseBitmap* const* source, Int32 count)
{
  LogDebug("Stereo MERGE!");
  if (subRenderCount < 2 || isPreview || !dest || !source || count < subRenderCount)
    return false;
  const Int32 w = source[0]->GetBw(), h = source[0]->GetBh();
  if (dest->GetBw() != w || dest->GetBh() != h)
  {
    LogConsole("Merge error: source size [%d/%d] != dest [%d/%d]", w, h, dest->GetBw(), dest->GetBh());
    return false;
  }
  for (Int32 i = 1; i < subRenderCount; ++i)
    if (source[i]->GetBw() != w || source[i]->GetBh() != h)
    {
      LogConsole("Merge error: channel [%d] size differ [%d/%d]", i, source[i]->GetBw(), source[i]->GetBh());
      return false;
    }

  MergeRows rows;
  if (!rows.Allocate(subRenderCount, w))
  {
    LogConsole("Merge error: out of memory!");
    return false;
  }
  MergePlan plan;
  plan.faceCount = faceCount;
  plan.eyeCount = eyeCount;
  plan.faces = faceChannels;
  plan.eyes = stereoChannels;
  plan.activeArea = activeArea;
  plan.isDome = isDome;
  plan.anaglyph = stereoAnaglyph;
  plan.pair = stereoPair;
  plan.interlaced = stereoInterlaced;
  plan.anaglyphMethod = anaglyphMethod;
  plan.anaglyphColours = anaglyphColours;
  plan.anaglyphGamma = anaglyphGamma;
  plan.interlaceMode = interlaceMode;

  const Int32 pixelBytes = 12;
  for (Int32 y = 0; y < h; ++y)
  {
    for (Int32 i = 0; i < subRenderCount; ++i)
      source[i]->GetPixelCnt(0, y, w, reinterpret_cast<UChar*>(rows.Source(i)), pixelBytes, COLORMODE_RGBf, 0);
    MergeRow(plan, y, rows);
    dest->SetPixelCnt(0, y, w, reinterpret_cast<UChar*>(rows.Source(0)), pixelBytes, COLORMODE_RGBf, 0);
  }
  return true;
}
