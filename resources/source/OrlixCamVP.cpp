// OrlixCamVP: the video post that shoots the render through the lens; its life and settings.
#include "OrlixCamVP.h"

#include "c4d_resource.h"
#include "c4d_symbols.h"

#include <cstring>
#include <new>

#include "console_log.h"
#include "description/OrlixCam.h"
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
}

void OrlixCamVP::ExecuteLine(BaseVideoPost* /*node*/, PixelPost* /*pp*/)
{
}

VIDEOPOSTINFO OrlixCamVP::GetRenderInfo(BaseVideoPost* /*node*/)
{
  if (!isActive)
    return VIDEOPOSTINFO_NONE;
  return static_cast<VIDEOPOSTINFO>(VIDEOPOSTINFO_EXECUTELINE | VIDEOPOSTINFO_EXECUTEPIXEL | VIDEOPOSTINFO_CUSTOMLENS);
}

Bool RegisterOrlixCamVP()
{
  const String name = GeLoadString(IDS_ORLIXCAM);
  const Bool ok = RegisterVideoPostPlugin(OrlixCamVP::ID, name, 32, OrlixCamVP::Alloc, String("OrlixCam"), 0, 0);
  LogConsole("Version %s (%s) %s", ORLIXCAM_VERSION, ORLIXCAM_BUILD, ok ? "is ready!" : "failed to load!");
  return ok;
}
