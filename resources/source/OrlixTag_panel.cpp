// OrlixTag: what the attribute manager shows of the tag: hidden entries, greyed entries, and the
// parameters whose values live in the render settings, the video post or the camera.
#include "OrlixTag.h"

#include "c4d_customdata.h"
#include "c4d_objects.h"
#include "c4d_resource.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"

namespace
{
// The parameters a switch brings to life, beyond the tag being active.
Bool StereoRow(Int32 id)
{
  switch (id)
  {
    case ORLIXTAG_EYE_SEPARATION:
    case ORLIXTAG_CONVERGENCE:
    case ORLIXTAG_DOME_ZENITH:
    case ORLIXTAG_EYE_MODEL:
    case ORLIXTAG_PROBE:
    case ORLIXTAG_STEREO_NOTE:
    case ORLIXTAG_SEPARATION_MAP_ON:
    case ORLIXTAG_STEREO_RENDER_SETTINGS: return true;
    default: return false;
  }
}

void SetIfDiffers(BaseContainer* bc, Int32 id, Float value)
{
  if (bc && bc->GetFloat(id) != value)
    bc->SetFloat(id, value);
}
} // namespace

Bool OrlixTag::IsStereoRender(GeListNode* node)
{
  if (!node)
    node = Get();
  BaseDocument* doc = node ? node->GetDocument() : nullptr;
  RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;
  return rd && rd->GetData().GetBool(RDATA_STEREO);
}

Bool OrlixTag::GetDDescription(GeListNode* node, Description* description, Int32& flags)
{
  if (!description || !description->LoadDescription(ID))
    return false;
  const BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  const Int32 lens = bc->GetInt32(ORLIXTAG_LENS);
  BaseVideoPost* vp = FindOrAddVideoPost(nullptr, true);
  const struct
  {
    Int32 id;
    Bool hide;
  } hideRules[] = {
    {ORLIXTAG_VP_DISABLED_NOTE, VideoPostEnabled(vp)},
    {ORLIXTAG_GROUP_DOME, lens != ORLIXTAG_LENS_DOME},
    {ORLIXTAG_GROUP_PANORAMA, lens != ORLIXTAG_LENS_PANORAMA},
    {ORLIXTAG_GROUP_CYLINDRICAL, lens != ORLIXTAG_LENS_CYLINDRICAL},
    {ORLIXTAG_GROUP_CUBEMAP, lens != ORLIXTAG_LENS_CUBEMAP},
    {ORLIXTAG_DOME_ZENITH, lens != ORLIXTAG_LENS_DOME},
    {ORLIXTAG_PROBE_PAD, !bc->GetBool(ORLIXTAG_PROBE)},
  };
  for (const auto& rule : hideRules)
    if (BaseContainer* entry = description->GetParameterI(DescID(rule.id), nullptr))
      entry->SetBool(DESC_HIDE, rule.hide);

  // The labels below come from this pass.
  UpdateAspect(node);
  const Int32 labels[2][2] = {{ORLIXTAG_ASPECT_TEXT_MONO, ORLIXTAG_ASPECT_LABEL_MONO},
                              {ORLIXTAG_ASPECT_TEXT_STEREO, ORLIXTAG_ASPECT_LABEL_STEREO}};
  for (const auto& label : labels)
    if (BaseContainer* entry = description->GetParameterI(DescID(label[0]), nullptr))
      entry->SetString(DESC_SHORT_NAME, bc->GetString(label[1]));
  if (BaseContainer* entry = description->GetParameterI(DescID(ORLIXTAG_HIDDEN_1048), nullptr))
    entry->SetInt32(DESC_HIDE, 1);
  flags |= DESCFLAGS_DESC_LOADED;
  return true;
}

Bool OrlixTag::GetDEnabling(GeListNode* node, const DescID& id, const GeData& /*data*/, Int32 /*flags*/,
                            const BaseContainer* /*itemDesc*/)
{
  const BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  const Int32 lens = bc->GetInt32(ORLIXTAG_LENS);
  BaseVideoPost* vp = FindOrAddVideoPost(nullptr, true);
  const Bool vpEnabled = VideoPostEnabled(vp);
  const Bool active = bc->GetBool(ORLIXTAG_ENABLED) && vpEnabled;
  const Int32 which = id[0].id;
  if (StereoRow(which))
    return active && IsStereoRender(node);
  switch (which)
  {
    case ORLIXTAG_ENABLED: return vpEnabled;
    case ORLIXTAG_PANO_FOV_V: return false;
    case ORLIXTAG_DOME_FOV:
    case ORLIXTAG_DOME_RENDER_SETTINGS: return active && lens == ORLIXTAG_LENS_DOME;
    case ORLIXTAG_PANO_CUSTOM: return active && lens == ORLIXTAG_LENS_PANORAMA;
    case ORLIXTAG_PANO_FOV_H:
    case ORLIXTAG_PANO_LAT_MIN:
    case ORLIXTAG_PANO_LAT_MAX: return active && lens == ORLIXTAG_LENS_PANORAMA && bc->GetBool(ORLIXTAG_PANO_CUSTOM);
    case ORLIXTAG_CYL_AXIS:
    case ORLIXTAG_CYL_FOV:
    case ORLIXTAG_CYL_HEIGHT:
    case ORLIXTAG_CYL_RADIUS: return active && lens == ORLIXTAG_LENS_CYLINDRICAL;
    case ORLIXTAG_CUBE_RENDER_SETTINGS: return active && lens == ORLIXTAG_LENS_CUBEMAP;
    case ORLIXTAG_ZERO_PARALLAX: return active && IsStereoRender(node) && bc->GetInt32(ORLIXTAG_CONVERGENCE) != 0;
    case ORLIXTAG_PROBE_LATITUDE:
    case ORLIXTAG_PROBE_LONGITUDE:
    case ORLIXTAG_PROBE_PAD: return active && IsStereoRender(node) && bc->GetBool(ORLIXTAG_PROBE);
    case ORLIXTAG_SEPARATION_MAP_VALUE:
    case ORLIXTAG_SEPARATION_MAP_BITMAP:
    case ORLIXTAG_SEPARATION_MAP: return active && IsStereoRender(node) && bc->GetBool(ORLIXTAG_SEPARATION_MAP_ON);
    case ORLIXTAG_ASPECT_MONO:
    case ORLIXTAG_FIT_KEEP_WIDTH:
    case ORLIXTAG_FIT_KEEP_HEIGHT: return active && bc->GetFloat(ORLIXTAG_ASPECT_MONO) > 0.0;
    case ORLIXTAG_ASPECT_STEREO: return active && bc->GetFloat(ORLIXTAG_ASPECT_STEREO) > 0.0;
    case ORLIXTAG_GUIDES_MODE:
      return active && (vp ? vp->GetDataInstance()->GetBool(ORLIXVP_GUIDES) : bc->GetBool(ORLIXTAG_GUIDES));
    default: return active;
  }
}

Bool OrlixTag::GetDParameter(GeListNode* node, const DescID& id, GeData& data, Int32& flags)
{
  BaseVideoPost* vp = FindOrAddVideoPost(node->GetDocument(), true);
  switch (id[0].id)
  {
    case ORLIXTAG_STEREO:
      data = GeData(Int32(IsStereoRender(node) ? 1 : 0));
      flags |= DESCFLAGS_GET_PARAM_GET;
      break;
    case ORLIXTAG_SEPARATION_MAP_BITMAP:
      data = GeData(CUSTOMDATATYPE_BITMAPBUTTON, BitmapButtonStruct(static_cast<BaseList2D*>(node), id, 0));
      flags |= DESCFLAGS_GET_PARAM_GET;
      break;
    case ORLIXTAG_GUIDES:
    case ORLIXTAG_GUIDES_MODE:
      if (!vp)
        break;
      data = id[0].id == ORLIXTAG_GUIDES ? GeData(Int32(vp->GetDataInstance()->GetBool(ORLIXVP_GUIDES) ? 1 : 0))
                                         : GeData(vp->GetDataInstance()->GetInt32(ORLIXVP_GUIDES_MODE));
      flags |= DESCFLAGS_GET_PARAM_GET;
      break;
    default: break;
  }
  return TagData::GetDParameter(node, id, data, flags);
}

Bool OrlixTag::SetDParameter(GeListNode* node, const DescID& id, const GeData& data, Int32& flags)
{
  BaseVideoPost* vp = FindOrAddVideoPost(node->GetDocument(), true);
  BaseObject* camera = static_cast<BaseTag*>(node)->GetMain();
  BaseContainer* cameraData = camera ? camera->GetDataInstance() : nullptr;
  switch (id[0].id)
  {
    case ORLIXTAG_LENS:
      if (vp)
        vp->SetDirty(DIRTYFLAGS_DESCRIPTION);
      break;
    case ORLIXTAG_STEREO:
    {
      BaseDocument* doc = node->GetDocument();
      if (RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr)
      {
        BaseContainer copy = rd->GetData();
        copy.SetBool(RDATA_STEREO, data.GetInt32() != 0);
        rd->SetData(copy, true);
      }
      if (vp)
        vp->SetDirty(DIRTYFLAGS_DESCRIPTION);
      flags |= DESCFLAGS_SET_PARAM_SET;
      break;
    }
    case ORLIXTAG_EYE_SEPARATION: SetIfDiffers(cameraData, CAMERAOBJECT_STEREO_EYESEPARATION, data.GetFloat()); break;
    case ORLIXTAG_ZERO_PARALLAX: SetIfDiffers(cameraData, CAMERAOBJECT_STEREO_ZERO_PARALLAX, data.GetFloat()); break;
    case ORLIXTAG_CONVERGENCE:
      if (cameraData)
        cameraData->SetInt32(CAMERAOBJECT_STEREO_CONVERGENCE, data.GetInt32() != 0 ? 1 : 0);
      break;
    case ORLIXTAG_GUIDES:
    case ORLIXTAG_GUIDES_MODE:
      if (!vp)
        break;
      if (id[0].id == ORLIXTAG_GUIDES)
        vp->GetDataInstance()->SetBool(ORLIXVP_GUIDES, data.GetInt32() != 0);
      else
        vp->GetDataInstance()->SetInt32(ORLIXVP_GUIDES_MODE, data.GetInt32());
      vp->SetDirty(DIRTYFLAGS_DESCRIPTION);
      flags |= DESCFLAGS_SET_PARAM_SET;
      break;
    default: break;
  }
  return TagData::SetDParameter(node, id, data, flags);
}
