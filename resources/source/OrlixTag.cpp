// OrlixTag: the lens tag on a camera; holds the lens's settings and brings the video post along.
#include "OrlixTag.h"

#include <cstring>
#include <new>

#include "OrlixCamVP.h"
#include "c4d_resource.h"
#include "c4d_symbols.h"
#include "description/OrlixTag.h"
#include "console_log.h"
#include "picture.h"
#include "register.h"

namespace
{
// Loads a picture of the plug-in's "res" folder; a failure costs a console line and nothing else.
void LoadResPicture(BaseBitmap* bmp, const String& fileName)
{
  const Filename path = GeGetPluginPath() + Filename("res") + Filename(fileName);
  const char* text = path.GetString().IsEmpty() ? "?" : path.GetString().GetCString();
  const PictureLoad result = LoadPicture(bmp, path);
  if (result == PictureLoad::Missing)
    LogConsole(">>> ERROR bmp not exist [%s]", text);
  else if (result == PictureLoad::Failed)
    LogConsole(">>> ERROR loadign bmp [%s]", text);
}
} // namespace

NodeData* OrlixTag::Alloc()
{
  void* memory = ::operator new(sizeof(OrlixTag), std::nothrow);
  if (!memory)
    return nullptr;
  std::memset(memory, 0, sizeof(OrlixTag));
  return new (memory) OrlixTag;
}

OrlixTag::OrlixTag()
{
  for (BaseBitmap*& bmp : iconBitmaps)
    bmp = BaseBitmap::Alloc();
  for (BaseBitmap*& bmp : sideBitmaps)
    bmp = BaseBitmap::Alloc();
}

OrlixTag::~OrlixTag()
{
  for (Int32 i = 5; i >= 0; --i)
    BaseBitmap::Free(sideBitmaps[i]);
  for (Int32 i = 1; i >= 0; --i)
    BaseBitmap::Free(iconBitmaps[i]);
}

Bool OrlixTag::Init(GeListNode* node)
{
  BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  bc->SetBool(ORLIXTAG_ENABLED, true);
  bc->SetBool(ORLIXTAG_EDITOR_RENDER_PERSPECTIVE, true);
  bc->SetBool(ORLIXTAG_EDITOR_RENDER_PARALLEL, false);
  bc->SetInt32(ORLIXTAG_LENS, 1);
  bc->SetFloat(ORLIXTAG_DOME_FOV, PI);
  bc->SetBool(ORLIXTAG_PANO_CUSTOM, false);
  bc->SetFloat(ORLIXTAG_PANO_FOV_H, PI2);
  bc->SetFloat(ORLIXTAG_PANO_LAT_MIN, -PI05);
  bc->SetFloat(ORLIXTAG_PANO_LAT_MAX, PI05);
  bc->SetInt32(ORLIXTAG_CYL_AXIS, 0);
  bc->SetFloat(ORLIXTAG_CYL_FOV, PI2);
  bc->SetFloat(ORLIXTAG_CYL_HEIGHT, 100.0);
  bc->SetFloat(ORLIXTAG_CYL_RADIUS, 100.0);
  bc->SetBool(ORLIXTAG_STEREO, false);
  bc->SetFloat(ORLIXTAG_EYE_SEPARATION, 6.5);
  bc->SetFloat(ORLIXTAG_ZERO_PARALLAX, 1000.0);
  bc->SetInt32(ORLIXTAG_CONVERGENCE, 1);
  bc->SetInt32(ORLIXTAG_DOME_ZENITH, 0);
  bc->SetInt32(ORLIXTAG_EYE_MODEL, 2);
  bc->SetBool(ORLIXTAG_PROBE, true);
  bc->SetFloat(ORLIXTAG_PROBE_LATITUDE, 0.0);
  bc->SetFloat(ORLIXTAG_PROBE_LONGITUDE, 0.0);
  bc->SetBool(ORLIXTAG_SEPARATION_MAP_ON, false);
  bc->SetFloat(ORLIXTAG_SEPARATION_MAP_VALUE, 0.5);
  bc->SetLink(ORLIXTAG_SEPARATION_MAP, nullptr);
  bc->SetBool(ORLIXTAG_GUIDES, false);
  bc->SetInt32(ORLIXTAG_GUIDES_MODE, 0);
  bc->SetVector(ORLIXTAG_PROBE_PAD, Vector(0.5, 0.5, 0.0));
  bc->SetInt32(ORLIXTAG_CUBE_PREVIEW_FACE, 5);

  if (!FindOrAddVideoPost(nullptr, true))
    return false;

  for (Int32 i = 0; i < 2; ++i)
    LoadResPicture(iconBitmaps[i], String("orlixtag") + String(i == 0 ? "_off" : "") + String(".tif"));
  const char* sides = "FBLRUD";
  for (Int32 i = 0; i < 6; ++i)
    LoadResPicture(sideBitmaps[i], String("side_") + String(std::string(1, sides[i])) + String(".png"));

  // Camera-dependent expression priority.
  BaseList2D* tagNode = static_cast<BaseList2D*>(node);
  GeData priority;
  if (tagNode->GetParameter(DescID(EXPRESSION_PRIORITY), priority))
  {
    if (auto* pd = static_cast<PriorityData*>(priority.GetCustomDataType(CUSTOMDATATYPE_PRIORITY)))
      pd->SetPriorityValue(PRIORITYVALUE_CAMERADEPENDENT, GeData(Int32(1)));
    tagNode->SetParameter(DescID(EXPRESSION_PRIORITY), priority);
  }
  return true;
}

void OrlixTag::Free(GeListNode* /*node*/)
{
}

Bool OrlixTag::AddToExecution(BaseTag* /*tag*/, void* /*list*/)
{
  return false;
}

BaseVideoPost* OrlixTag::FindOrAddVideoPost(BaseDocument* doc, Bool create)
{
  if (!doc && Get())
    doc = Get()->GetDocument();
  if (!doc)
    doc = GetActiveDocument();
  if (!doc)
    return nullptr;
  RenderData* rd = doc->GetActiveRenderData();
  if (!rd)
    return nullptr;

  BaseVideoPost* last = nullptr;
  for (BaseVideoPost* vp = rd->GetFirstVideoPost(); vp; vp = vp->GetNext())
  {
    if (vp->GetType() == OrlixCamVP::ID)
      return vp;
    last = vp;
  }
  if (!create)
    return nullptr;

  BaseVideoPost* vp = BaseVideoPost::Alloc(OrlixCamVP::ID);
  if (!vp)
    return nullptr;
  rd->InsertVideoPost(vp, last);
  return vp;
}

Bool RegisterOrlixTag()
{
  BaseBitmap* icon = AutoBitmap(String("orlixtag.tif"), 1.0);
  const Bool ok = RegisterTagPlugin(OrlixTag::ID, GeLoadString(IDS_ORLIXTAG), TAG_VISIBLE | TAG_EXPRESSION, OrlixTag::Alloc,
                                    String("OrlixTag"), icon, 0);
  BaseBitmap::Free(icon);
  return ok;
}
