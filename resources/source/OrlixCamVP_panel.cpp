// OrlixCamVP: what the attribute manager shows of the video post (hidden groups, greyed entries,
// the header and the cube layout's picture) and its answers to the host's messages.
#include "OrlixCamVP.h"

#include "c4d_customdata.h"
#include "c4d_resource.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "lens/cube_layout.h"
#include "register.h"

namespace
{
constexpr Int32 kCellCount = ORLIXVP_CUBE_CELL_LAST - ORLIXVP_CUBE_CELL_FIRST + 1;

Bool IsCell(Int32 id)
{
  return id >= ORLIXVP_CUBE_CELL_FIRST && id <= ORLIXVP_CUBE_CELL_LAST;
}

Bool ShowsSlots(Int32 layout)
{
  return layout >= ORLIXVP_CUBE_LAYOUT_STRIP_HORIZONTAL && layout <= ORLIXVP_CUBE_LAYOUT_BLOCK_VERTICAL;
}

// The picture of a cell of the layout: its face's, the empty cell's, or nothing outside the grid.
BaseBitmap* CellPicture(const OrlixCamVP& state, Int32 id)
{
  BaseBitmap* bmp = BaseBitmap::Alloc();
  const Int32 column = (id - ORLIXVP_CUBE_CELL_FIRST) % 6, row = (id - ORLIXVP_CUBE_CELL_FIRST) / 6;
  if (bmp && column < state.gridSize.x && row < state.gridSize.y)
  {
    const Int32 face = state.areaGrid[column * 6 + row].channelIndex;
    const BaseBitmap* picture = state.faceBitmaps[face >= 0 && face < 6 ? face : 6];
    if (picture)
      picture->CopyTo(bmp);
  }
  return bmp;
}
} // namespace

Bool OrlixCamVP::Message(GeListNode* node, Int32 type, void* data)
{
  BaseList2D* self = static_cast<BaseList2D*>(node);
  if (type == MSG_MULTI_RENDERNOTIFICATION && data)
  {
    const auto* rn = static_cast<const RenderNotificationData*>(data);
    isPreview = rn->start && !rn->external;
  }
  else if (type == MSG_DESCRIPTION_COMMAND && data)
  {
    if (static_cast<const DescriptionCommand*>(data)->id[0].id == ORLIXVP_WEBSITE)
      GeOpenHTML(String(ORLIXCAM_WEBSITE));
  }
  else if (type == MSG_DESCRIPTION_POSTSETPARAMETER && data)
  {
    const DescID* changed = static_cast<const DescriptionPostSetValue*>(data)->descid;
    const Int32 id = changed ? (*changed)[0].id : 0;
    const Bool layoutChanged = id == ORLIXVP_CUBE_LAYOUT;
    if (layoutChanged || id == ORLIXVP_CUBE_FACE || id == ORLIXVP_CUBE_TURN ||
        (id >= ORLIXVP_CUBE_SLOT_1 && id <= ORLIXVP_CUBE_SLOT_6))
    {
      BuildCubeLayout(*this, false);
      self->SetDirty(DIRTYFLAGS_DESCRIPTION);
      if (!layoutChanged)
        EventAdd();
    }
    if (id == ORLIXVP_GUIDES || id == ORLIXVP_GUIDES_MODE)
    {
      FindCameraAndTag(*this, nullptr);
      if (tag)
      {
        tag->Message(MSG_UPDATE);
        EventAdd();
      }
    }
    if (id == ORLIXVP_STEREO_MODE || id == ORLIXVP_PAIR_LAYOUT || layoutChanged)
    {
      FindCameraAndTag(*this, nullptr);
      if (tag)
        tag->SetDirty(DIRTYFLAGS_DESCRIPTION);
    }
  }
  else if (type == MSG_DESCRIPTION_GETBITMAP && data)
  {
    auto* request = static_cast<DescriptionGetBitmap*>(data);
    const Int32 id = request->id[0].id;
    if (id == ORLIXVP_HEADER)
    {
      request->bmp = BaseBitmap::Alloc();
      if (request->bmp)
        request->bmp->Init(GeGetPluginPath() + Filename("res") + Filename("header.png"));
    }
    else if (IsCell(id))
      request->bmp = CellPicture(*this, id);
  }
  return VideoPostData::Message(node, type, data);
}

Bool OrlixCamVP::GetDDescription(GeListNode* node, Description* description, Int32& flags)
{
  if (!description || !description->LoadDescription(static_cast<BaseList2D*>(node)->GetType()))
    return false;
  const BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  const Int32 mode = bc->GetInt32(ORLIXVP_STEREO_MODE), layout = bc->GetInt32(ORLIXVP_CUBE_LAYOUT);
  const struct
  {
    Int32 id;
    Bool hide;
  } hideRules[] = {{ORLIXVP_GROUP_ONE_EYE, mode != ORLIXVP_STEREO_MODE_ONE_EYE},
                   {ORLIXVP_GROUP_ANAGLYPH, mode != ORLIXVP_STEREO_MODE_ANAGLYPH},
                   {ORLIXVP_GROUP_PAIR, mode != ORLIXVP_STEREO_MODE_PAIR},
                   {ORLIXVP_GROUP_INTERLACED, mode != ORLIXVP_STEREO_MODE_INTERLACED},
                   {ORLIXVP_GROUP_CUBE_SLOTS, !ShowsSlots(layout)}};
  for (const auto& rule : hideRules)
    if (BaseContainer* entry = description->GetParameterI(DescID(rule.id), nullptr))
      entry->SetBool(DESC_HIDE, rule.hide);

  FindCameraAndTag(*this, nullptr);
  if (tagData)
  {
    const Int32 lens = tagData->GetInt32(ORLIXTAG_LENS);
    BaseDocument* doc = node->GetDocument();
    RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;
    const struct
    {
      Int32 id;
      Bool open;
    } openRules[] = {{ORLIXVP_GROUP_DOME, lens == ORLIXTAG_LENS_DOME},
                     {ORLIXVP_GROUP_CUBEMAP, lens == ORLIXTAG_LENS_CUBEMAP},
                     {ORLIXVP_GROUP_STEREO, rd && rd->GetData().GetBool(RDATA_STEREO)}};
    for (const auto& rule : openRules)
      if (BaseContainer* entry = description->GetParameterI(DescID(rule.id), nullptr))
        entry->SetInt32(DESC_DEFAULT, rule.open ? -1 : 0);
  }
  // A loaded document sets the layout without an edit; the picture follows the container.
  BuildCubeLayout(*this, false);
  for (Int32 i = 0; i < kCellCount; ++i)
    if (BaseContainer* entry = description->GetParameterI(DescID(ORLIXVP_CUBE_CELL_FIRST + i), nullptr))
      entry->SetBool(DESC_HIDE, i / 6 >= gridSize.y);
  if (BaseContainer* entry = description->GetParameterI(DescID(ORLIXVP_GROUP_HIDDEN), nullptr))
    entry->SetBool(DESC_HIDE, true);
  flags |= DESCFLAGS_DESC_LOADED;
  return VideoPostData::GetDDescription(node, description, flags);
}

Bool OrlixCamVP::GetDEnabling(GeListNode* node, const DescID& id, const GeData& data, Int32 flags,
                              const BaseContainer* itemDesc)
{
  const BaseContainer* bc = static_cast<BaseList2D*>(node)->GetDataInstance();
  const Int32 mode = bc->GetInt32(ORLIXVP_STEREO_MODE), layout = bc->GetInt32(ORLIXVP_CUBE_LAYOUT);
  const Bool slate = bc->GetBool(ORLIXVP_SLATE);
  Bool enabled = true;
  switch (id[0].id)
  {
    case ORLIXVP_MASK_FILE: enabled = bc->GetInt32(ORLIXVP_MASK_MODE) == ORLIXVP_MASK_MODE_PICTURE; break;
    case ORLIXVP_SHOW_INFO:
    case ORLIXVP_SHOW_TIMECODE:
    case ORLIXVP_SHOW_FRAME:
    case ORLIXVP_SHOW_TEXT:
    case ORLIXVP_TEXT_SIZE:
    case ORLIXVP_LOGO_MODE: enabled = slate; break;
    case ORLIXVP_TEXT: enabled = slate && bc->GetBool(ORLIXVP_SHOW_TEXT); break;
    case ORLIXVP_LOGO_FILE: enabled = bc->GetInt32(ORLIXVP_LOGO_MODE) == ORLIXVP_LOGO_MODE_FILE; break;
    case ORLIXVP_GUIDES_MODE: enabled = bc->GetBool(ORLIXVP_GUIDES); break;
    case ORLIXVP_EYE_SHIFT: enabled = !tagData || tagData->GetInt32(ORLIXTAG_LENS) != ORLIXTAG_LENS_DOME; break;
    case ORLIXVP_SWAP_EYES: enabled = mode != ORLIXVP_STEREO_MODE_ONE_EYE; break;
    case ORLIXVP_ONE_EYE: enabled = mode == ORLIXVP_STEREO_MODE_ONE_EYE; break;
    case ORLIXVP_ANAGLYPH_METHOD: enabled = mode == ORLIXVP_STEREO_MODE_ANAGLYPH; break;
    case ORLIXVP_ANAGLYPH_COLOURS:
      enabled = mode == ORLIXVP_STEREO_MODE_ANAGLYPH && bc->GetInt32(ORLIXVP_ANAGLYPH_METHOD) == ORLIXVP_ANAGLYPH_METHOD_MATRIX;
      break;
    case ORLIXVP_ANAGLYPH_GAMMA:
      enabled = mode == ORLIXVP_STEREO_MODE_ANAGLYPH &&
                bc->GetInt32(ORLIXVP_ANAGLYPH_COLOURS) == ORLIXVP_ANAGLYPH_COLOURS_OPTIMISED;
      break;
    case ORLIXVP_PAIR_LAYOUT: enabled = mode == ORLIXVP_STEREO_MODE_PAIR || mode == ORLIXVP_STEREO_MODE_INTERLACED; break;
    case ORLIXVP_FLIP_X_LEFT:
    case ORLIXVP_FLIP_Y_LEFT:
    case ORLIXVP_FLIP_X_RIGHT:
    case ORLIXVP_FLIP_Y_RIGHT: enabled = mode == ORLIXVP_STEREO_MODE_PAIR; break;
    case ORLIXVP_INTERLACE_MODE: enabled = mode == ORLIXVP_STEREO_MODE_INTERLACED; break;
    case ORLIXVP_CUBE_FACE: enabled = layout == ORLIXVP_CUBE_LAYOUT_SINGLE; break;
    case ORLIXVP_CUBE_SLOT_1:
    case ORLIXVP_CUBE_SLOT_2:
    case ORLIXVP_CUBE_SLOT_3:
    case ORLIXVP_CUBE_SLOT_4:
    case ORLIXVP_CUBE_SLOT_5:
    case ORLIXVP_CUBE_SLOT_6: enabled = ShowsSlots(layout); break;
    case ORLIXVP_CUBE_TURN:
      enabled = layout == ORLIXVP_CUBE_LAYOUT_CROSS_HORIZONTAL || layout == ORLIXVP_CUBE_LAYOUT_CROSS_VERTICAL;
      break;
    case ORLIXVP_TIME_OFFSET:
      enabled = slate && (bc->GetBool(ORLIXVP_SHOW_TIMECODE) || bc->GetBool(ORLIXVP_SHOW_FRAME));
      break;
    default: return VideoPostData::GetDEnabling(node, id, data, flags, itemDesc);
  }
  return enabled;
}

Bool OrlixCamVP::GetDParameter(GeListNode* node, const DescID& id, GeData& data, Int32& flags)
{
  const Int32 which = id[0].id;
  if (which == ORLIXVP_HEADER || IsCell(which))
  {
    data = GeData(CUSTOMDATATYPE_BITMAPBUTTON, BitmapButtonStruct(static_cast<BaseList2D*>(node), id, 0));
    flags |= DESCFLAGS_GET_PARAM_GET;
  }
  else if (which == ORLIXVP_VERSION)
  {
    data = GeData(String("Version ") + String(ORLIXCAM_VERSION) + String(" build ") + String(ORLIXCAM_BUILD));
    flags |= DESCFLAGS_GET_PARAM_GET;
  }
  return VideoPostData::GetDParameter(node, id, data, flags);
}

Bool OrlixCamVP::SetDParameter(GeListNode* node, const DescID& id, const GeData& data, Int32& flags)
{
  // The header is a link to the maker's page.
  if (id[0].id == ORLIXVP_HEADER && (flags & DESCFLAGS_SET_USERINTERACTION))
    GeOpenHTML(String(ORLIXCAM_WEBSITE));
  return VideoPostData::SetDParameter(node, id, data, flags);
}
