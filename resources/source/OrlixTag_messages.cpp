// OrlixTag: its answers to the user's actions (buttons, edits, pictures, the icon), the frame
// shape it works out, and the expression pass that keeps camera and pad in line.
#include "OrlixTag.h"

#include <cstdio>

#include "c4d_objects.h"
#include "c4d_resource.h"
#include "c4d_symbols.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "lens/frame_shape.h"

namespace
{
// One degree as the panel's single-precision degrees give it.
constexpr Float kOneDegree = 0.01745329238474369;
constexpr Int32 kEditRenderSettings = 12161;
constexpr Int32 kCreateCubemap = 1036110;
constexpr Int32 kCreateLittlePlanet = 1036687;

// The latitude rule: the edge just typed gives way to one degree from the other edge.
void KeepLatitudesApart(BaseContainer* bc, Int32 edited)
{
  const Float lo = bc->GetFloat(ORLIXTAG_PANO_LAT_MIN), hi = bc->GetFloat(ORLIXTAG_PANO_LAT_MAX);
  if (lo < hi)
    return;
  if (edited == ORLIXTAG_PANO_LAT_MIN)
    bc->SetFloat(ORLIXTAG_PANO_LAT_MIN, std::max(-PI05, hi - kOneDegree));
  else
    bc->SetFloat(ORLIXTAG_PANO_LAT_MAX, std::min(PI05, lo + kOneDegree));
}

void KeepProtection(BaseObject* camera, const BaseContainer* bc)
{
  if (!camera)
    return;
  const Bool protectedNow = camera->GetTag(Tprotection) != nullptr;
  if (bc->GetBool(ORLIXTAG_PROTECT_CAMERA) && !protectedNow)
    camera->InsertTag(BaseTag::Alloc(Tprotection), nullptr);
  else if (!bc->GetBool(ORLIXTAG_PROTECT_CAMERA) && protectedNow)
    camera->KillTag(Tprotection);
}

void ReactToCreatedBy(BaseObject* camera, const BaseContainer* bc, BaseContainer* vpData)
{
  const Int32 command = bc->GetInt32(ORLIXTAG_CREATED_BY);
  if (command == kCreateCubemap)
    return;
  if (command == kCreateLittlePlanet && vpData)
    vpData->SetInt32(ORLIXVP_MASK_MODE, ORLIXVP_MASK_MODE_NONE);
  if (camera)
    camera->GetDataInstance()->SetBool(CAMERAOBJECT_SHOWCONE, false);
}

void PadToProbe(BaseContainer* bc)
{
  const Int32 lens = bc->GetInt32(ORLIXTAG_LENS);
  Vector pad = bc->GetVector(ORLIXTAG_PROBE_PAD);
  const Vector angles = PadToProbeAngles(pad, lens == ORLIXTAG_LENS_DOME, bc->GetInt32(ORLIXTAG_DOME_ZENITH) == 1,
                                         bc->GetFloat(ORLIXTAG_DOME_FOV), &pad);
  bc->SetVector(ORLIXTAG_PROBE_PAD, pad);
  bc->SetFloat(ORLIXTAG_PROBE_LATITUDE, angles.x);
  bc->SetFloat(ORLIXTAG_PROBE_LONGITUDE, angles.y);
  DrawViews(DRAWFLAGS_NO_THREAD, nullptr);
}

// The separation map's button: a plain red square.
BaseBitmap* SeparationMapButton()
{
  BaseBitmap* bmp = BaseBitmap::Alloc();
  if (!bmp || bmp->Init(50, 50, 24) != IMAGERESULT_OK)
  {
    BaseBitmap::Free(bmp);
    return nullptr;
  }
  bmp->SetPen(255, 0, 0);
  for (Int32 i = 0; i < 50; ++i)
    bmp->Line(0, i, 49, i);
  return bmp;
}
} // namespace

void OrlixTag::UpdateAspect(GeListNode* node)
{
  BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  BaseVideoPost* vp = FindOrAddVideoPost(node->GetDocument(), true);
  if (!vp)
    return;
  const BaseContainer* vpData = vp->GetDataInstance();
  BaseDocument* active = GetActiveDocument();
  RenderData* rd = active ? active->GetActiveRenderData() : nullptr;

  FrameShapeInput in;
  in.lens = bc->GetInt32(ORLIXTAG_LENS);
  in.panoCustom = bc->GetBool(ORLIXTAG_PANO_CUSTOM);
  in.panoFovH = bc->GetFloat(ORLIXTAG_PANO_FOV_H);
  in.panoLatMin = bc->GetFloat(ORLIXTAG_PANO_LAT_MIN);
  in.panoLatMax = bc->GetFloat(ORLIXTAG_PANO_LAT_MAX);
  in.cylRadius = bc->GetFloat(ORLIXTAG_CYL_RADIUS);
  in.cylHeight = bc->GetFloat(ORLIXTAG_CYL_HEIGHT);
  in.cylFov = bc->GetFloat(ORLIXTAG_CYL_FOV);
  in.cubeLayout = vpData->GetInt32(ORLIXVP_CUBE_LAYOUT);
  in.videoPostEnabled = VideoPostEnabled(vp);
  in.stereo = rd && rd->GetData().GetBool(RDATA_STEREO);
  in.stereoMode = vpData->GetInt32(ORLIXVP_STEREO_MODE);
  in.pairLayout = vpData->GetInt32(ORLIXVP_PAIR_LAYOUT);
  const FrameShape shape = ComputeFrameShape(in);

  bc->SetFloat(ORLIXTAG_PANO_FOV_V, shape.panoFovV);
  bc->SetFloat(ORLIXTAG_ASPECT_MONO, shape.mono);
  bc->SetFloat(ORLIXTAG_ASPECT_STEREO, shape.stereo);
  bc->SetString(ORLIXTAG_ASPECT_LABEL_MONO, String(shape.labelMono.c_str()));
  bc->SetString(ORLIXTAG_ASPECT_LABEL_STEREO, String(shape.labelStereo.c_str()));
}

void OrlixTag::FitRenderSize(GeListNode* node, Int32 button)
{
  BaseDocument* active = GetActiveDocument();
  RenderData* rd = active ? active->GetActiveRenderData() : nullptr;
  if (!rd)
    return;
  const BaseContainer settings = rd->GetData();
  const BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  const Float x = settings.GetFloat(RDATA_XRES), y = settings.GetFloat(RDATA_YRES);
  const Float current = x / y;
  const Float target = bc->GetFloat(settings.GetBool(RDATA_STEREO) ? ORLIXTAG_ASPECT_STEREO : ORLIXTAG_ASPECT_MONO);
  if (current == target)
  {
    GeOutString(GeLoadString(IDS_RENDER_SIZE_FITS), GEMB_OK);
    return;
  }
  Int32 width = static_cast<Int32>(x), height = static_cast<Int32>(y);
  if (button == ORLIXTAG_FIT_KEEP_WIDTH)
    height = static_cast<Int32>(x / target + 0.5);
  else
    width = static_cast<Int32>(target * y + 0.5);

  char text[1024];
  std::snprintf(text, sizeof(text), GeLoadString(IDS_FIT_RENDER_SIZE).GetCString(), static_cast<Int32>(x),
                static_cast<Int32>(y), current, width, height, target);
  if (GeOutString(String(text), GEMB_YESNO | GEMB_ICONQUESTION) != GEMB_R_YES)
    return;
  BaseContainer* live = rd->GetDataInstance();
  live->SetFloat(RDATA_XRES, width);
  live->SetFloat(RDATA_YRES, height);
  rd->Message(MSG_CHANGE);
  EventAdd();
}

Bool OrlixTag::Message(GeListNode* node, Int32 type, void* data)
{
  BaseObject* camera = static_cast<BaseTag*>(node)->GetMain();
  BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  BaseVideoPost* vp = FindOrAddVideoPost(node->GetDocument(), true);
  BaseContainer* vpData = vp ? vp->GetDataInstance() : nullptr;

  if ((type == MSG_DESCRIPTION_COMMAND || type == MSG_CHANGE) && data)
  {
    const Int32 button = static_cast<const DescriptionCommand*>(data)->id[0].id;
    if (button == ORLIXTAG_DOME_RENDER_SETTINGS || button == ORLIXTAG_CUBE_RENDER_SETTINGS ||
        button == ORLIXTAG_STEREO_RENDER_SETTINGS)
    {
      if (!FindOrAddVideoPost(node->GetDocument(), true))
        return false;
      CallCommand(kEditRenderSettings, 0);
    }
    else if (button == ORLIXTAG_FIT_KEEP_WIDTH || button == ORLIXTAG_FIT_KEEP_HEIGHT)
      FitRenderSize(node, button);
  }
  else if (type == MSG_DESCRIPTION_POSTSETPARAMETER && data)
  {
    const DescID* changed = static_cast<const DescriptionPostSetValue*>(data)->descid;
    switch (changed ? (*changed)[0].id : 0)
    {
      case ORLIXTAG_PROTECT_CAMERA: KeepProtection(camera, bc); break;
      case ORLIXTAG_PANO_LAT_MIN:
      case ORLIXTAG_PANO_LAT_MAX:
        KeepLatitudesApart(bc, (*changed)[0].id);
        UpdateAspect(node);
        break;
      case ORLIXTAG_PANO_FOV_H:
      case ORLIXTAG_PANO_FOV_V:
      case ORLIXTAG_ASPECT_MONO:
      case ORLIXTAG_ASPECT_STEREO: UpdateAspect(node); break;
      case ORLIXTAG_CREATED_BY: ReactToCreatedBy(camera, bc, vpData); break;
      case ORLIXTAG_PROBE_PAD: PadToProbe(bc); break;
      default: break;
    }
  }
  else if (type == MSG_DESCRIPTION_GETBITMAP && data)
  {
    auto* request = static_cast<DescriptionGetBitmap*>(data);
    if (request->id[0].id == ORLIXTAG_SEPARATION_MAP_BITMAP)
      request->bmp = SeparationMapButton();
  }
  else if (type == MSG_GETCUSTOMICON && data)
  {
    auto* icon = static_cast<GetCustomIconData*>(data);
    const Bool on = bc->GetBool(ORLIXTAG_ENABLED) && !(camera && camera->GetRenderMode() == MODE_OFF);
    if (icon->dat)
    {
      *icon->dat = IconData{iconBitmaps[on ? 1 : 0], 0, 0, 32, 32};
      icon->filled = true;
    }
  }
  return true;
}

Int32 OrlixTag::Execute(BaseTag* tag, BaseDocument* doc, BaseObject* op, Int32 /*priority*/, Int32 /*flags*/)
{
  BaseContainer* bc = tag->GetDataInstance();
  BaseContainer* cameraData = op ? op->GetDataInstance() : nullptr;
  const Bool protectedNow = op && op->GetTag(Tprotection);
  if (bc->GetBool(ORLIXTAG_PROTECT_CAMERA) != protectedNow)
    bc->SetBool(ORLIXTAG_PROTECT_CAMERA, protectedNow);

  RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;
  const Bool stereo = rd && rd->GetData().GetBool(RDATA_STEREO);
  if (cameraData && cameraData->GetInt32(CAMERAOBJECT_STEREO_MODE) != (stereo ? 1 : 0))
    cameraData->SetInt32(CAMERAOBJECT_STEREO_MODE, stereo ? 1 : 0);

  Vector pad = bc->GetVector(ORLIXTAG_PROBE_PAD);
  pad.z = bc->GetInt32(ORLIXTAG_LENS) == ORLIXTAG_LENS_DOME ? 1.0 : 0.0;
  bc->SetVector(ORLIXTAG_PROBE_PAD, pad);

  UpdateAspect(tag);
  return 0;
}
