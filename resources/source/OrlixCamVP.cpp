// OrlixCamVP: the video post that shoots the render through the lens.
#include "OrlixCamVP.h"

#include "c4d_resource.h"
#include "c4d_symbols.h"

#include <cstring>
#include <new>

#include "OrlixTag.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "lens/lens_stereo.h"
#include "lens/separation_map.h"
#include "register.h"

namespace
{
// The layout grid's pictures by face number; the seventh shows a cell without a face.
const char* const kFacePictures[7] = {"cubemap_L.png", "cubemap_R.png", "cubemap_D.png", "cubemap_U.png",
                                      "cubemap_B.png", "cubemap_F.png", "cubemap_none.png"};
} // namespace

NodeData* OrlixCamVP::Alloc()
{
  void* memory = ::operator new(sizeof(OrlixCamVP), std::nothrow);
  if (!memory)
    return nullptr;
  std::memset(memory, 0, sizeof(OrlixCamVP));
  return new (memory) OrlixCamVP;
}

OrlixCamVP::OrlixCamVP()
{
  logoBitmap = BaseBitmap::Alloc();
  maskBitmap = BaseBitmap::Alloc();
  for (BaseBitmap*& bmp : faceBitmaps)
    bmp = BaseBitmap::Alloc();
}

OrlixCamVP::~OrlixCamVP()
{
  // A render stopped before its end leaves the map's copy open.
  CloseSeparationClone();
  for (Int32 i = 6; i >= 0; --i)
    BaseBitmap::Free(faceBitmaps[i]);
  BaseBitmap::Free(maskBitmap);
  BaseBitmap::Free(logoBitmap);
}

Bool OrlixCamVP::Init(GeListNode* node)
{
  LogDebug("------- INIT -------");
  BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  bc->SetInt32(ORLIXVP_MASK_MODE, 0);
  bc->SetFilename(ORLIXVP_MASK_FILE, Filename());
  bc->SetBool(ORLIXVP_SHOW_INFO, true);
  bc->SetBool(ORLIXVP_SHOW_TIMECODE, true);
  bc->SetBool(ORLIXVP_SHOW_FRAME, true);
  bc->SetBool(ORLIXVP_SHOW_TEXT, true);
  bc->SetString(ORLIXVP_TEXT, String("TITLE\nDirected by\nProduced by\nMusic by\nLicence"));
  bc->SetFloat(ORLIXVP_TEXT_SIZE, 1.0);
  bc->SetInt32(ORLIXVP_LOGO_MODE, 0);
  bc->SetFilename(ORLIXVP_LOGO_FILE, Filename());
  bc->SetBool(ORLIXVP_GUIDES, false);
  bc->SetInt32(ORLIXVP_GUIDES_MODE, 0);
  bc->SetBool(ORLIXVP_SLATE, false);
  bc->SetInt32(ORLIXVP_ANAGLYPH_METHOD, 0);
  bc->SetInt32(ORLIXVP_ANAGLYPH_COLOURS, 3);
  bc->SetFloat(ORLIXVP_ANAGLYPH_GAMMA, 1.0);
  bc->SetInt32(ORLIXVP_CUBE_LAYOUT, 0);
  bc->SetInt32(ORLIXVP_CUBE_FACE, 5);
  bc->SetInt32(ORLIXVP_CUBE_SLOT_1, 1);
  bc->SetInt32(ORLIXVP_CUBE_SLOT_2, 0);
  bc->SetInt32(ORLIXVP_CUBE_SLOT_3, 3);
  bc->SetInt32(ORLIXVP_CUBE_SLOT_4, 2);
  bc->SetInt32(ORLIXVP_CUBE_SLOT_5, 5);
  bc->SetInt32(ORLIXVP_CUBE_SLOT_6, 4);
  bc->SetInt32(ORLIXVP_CUBE_TURN, 1);

  // A picture that doesn't load leaves its cell empty, without a word.
  const Filename res = GeGetPluginPath() + Filename("res");
  for (Int32 i = 0; i < 7; ++i)
    if (faceBitmaps[i])
      faceBitmaps[i]->Init(res + Filename(kFacePictures[i]));

  // The panel's layout picture is ready before the panel asks for it.
  BuildCubeLayout(*this, false);
  return true;
}

void OrlixCamVP::Free(GeListNode* /*node*/)
{
  LogDebug("------- FREE -------");
}

Bool OrlixCamVP::Message(GeListNode* node, Int32 type, void* data)
{
  if (type == MSG_MULTI_RENDERNOTIFICATION && data)
  {
    const auto* rn = static_cast<const RenderNotificationData*>(data);
    isPreview = rn->start && !rn->external;
  }
  return VideoPostData::Message(node, type, data);
}

void OrlixCamVP::ExecuteLine(BaseVideoPost* /*node*/, PixelPost* /*pp*/)
{
}

void OrlixCamVP::CreateRay(Ray* ray, Float x, Float y)
{
  if (!isActive || !ray)
    return;

  // Image position within the active area: the first pixel centre gives 0, the last 1. An area
  // one pixel across has no span to divide by; its one column or row looks through the centre.
  const Float u = activeArea.width > 1 ? (x - activeArea.start.x) / (activeArea.width - 1) : 0.5;
  const Float v = activeArea.height > 1 ? (y - activeArea.start.y) / (activeArea.height - 1) : 0.5;
  Vector uv(u, v, 0.0);

  const Vector d = PixelToDirection(*this, uv);
  if (d.IsZero())
  {
    ray->p = Vector();
    ray->v = Vector();
    return;
  }

  // Cylindrical origin: slides along the strip's height with the coordinate the sweep left alone.
  Float ox = 0.0, oy = 0.0;
  if (isCylindrical)
  {
    const Float h = cylinderHeight;
    if (cylinderAxisTurned)
      ox = MapRange(uv.x, 0.0, 1.0, h * -0.5, h * 0.5, false);
    else
      oy = MapRange(uv.y, 0.0, 1.0, h * 0.5, h * -0.5, false);
  }

  if (isStereo)
  {
    StereoRay(ray, d, ox, oy);
    return;
  }

  // Mono: the origin offset follows the camera's axes.
  const Matrix mg = camera ? camera->GetMg() : Matrix();
  ray->p = mg * Vector(ox, oy, 0.0);
  ray->v = mg.TransformVector(d);
}

void OrlixCamVP::StereoRay(Ray* ray, const Vector& direction, Float ox, Float oy) const
{
  const Float strength = SampleSeparationMap(tagData, direction, separationShader);
  Vector aimPoint, turnAxis;
  const Matrix eye = EyeRayMatrix(camera ? camera->GetMg() : Matrix(), currentEye, direction, eyeModel, domeZenithStereo,
                                  zeroParallaxDistance, eyeSeparation, strength, aimPoint, turnAxis);
  // In stereo the cylinder's offset goes along the world's axes, not the camera's.
  ray->p = eye.off + Vector(ox, oy, 0.0);
  ray->v = eye.TransformVector(direction);
}

Bool OrlixCamVP::OpenSeparationClone(BaseDocument* document)
{
  CloseSeparationClone();
  if (!isStereo || !tagData || !tagData->GetBool(ORLIXTAG_SEPARATION_MAP_ON))
    return true;
  Bool failed = false;
  separationShader = OpenSeparationMapClone(tagData, document, failed);
  if (failed)
    LogConsole("Shader clone error");
  return !failed;
}

void OrlixCamVP::CloseSeparationClone()
{
  CloseSeparationMapClone(separationShader);
}

Int32 OrlixCamVP::StereoGetCameraCountEditor(BaseVideoPost* /*node*/, BaseDocument* /*doc*/, BaseDraw* /*bd*/)
{
  return 0;
}

BaseObject* FindLensCamera(BaseObject* first)
{
  for (BaseObject* op = first; op; op = op->GetNext())
  {
    if (op->GetType() == Ocamera && op->GetRenderMode() != MODE_OFF)
    {
      BaseTag* t = op->GetTag(OrlixTag::ID);
      if (t && t->GetDataInstance()->GetBool(ORLIXTAG_ENABLED))
        return op;
    }
    if (BaseObject* found = FindLensCamera(op->GetDown()))
      return found;
  }
  return nullptr;
}

BaseDraw* FindCameraAndTag(OrlixCamVP& state, BaseDocument* document)
{
  state.camera = nullptr;
  state.tag = nullptr;
  state.tagData = nullptr;

  if (!document && state.Get())
    document = state.Get()->GetDocument();
  if (!document)
    document = GetActiveDocument();
  if (!document)
    return nullptr;

  // A view linked to a camera decides, whatever that camera is.
  BaseDraw* view = document->GetRenderBaseDraw();
  if (view && view->HasCameraLink())
    state.camera = view->GetSceneCamera(document);

  if (!state.camera)
  {
    state.camera = FindLensCamera(document->GetFirstObject());
    if (state.camera)
      state.switchSceneCamera = true;
  }

  if (state.camera)
  {
    state.tag = state.camera->GetTag(OrlixTag::ID);
    if (state.tag)
      state.tagData = state.tag->GetDataInstance();
  }
  return view;
}

Bool RegisterOrlixCamVP()
{
  const String name = GeLoadString(IDS_ORLIXCAM);
  const Bool ok = RegisterVideoPostPlugin(OrlixCamVP::ID, name, 32, OrlixCamVP::Alloc, String("OrlixCam"), 0, 0);
  LogConsole("Version %s (%s) %s", ORLIXCAM_VERSION, ORLIXCAM_BUILD, ok ? "is ready!" : "failed to load!");
  return ok;
}
