// The create-camera commands: each takes the selected camera or makes one, gives it a new lens
// tag and sets tag and camera for its kind of shot, all in one undo step.
#include "OrlixCreateCamera.h"

#include <new>
#include <optional>

#include "c4d_symbols.h"
#include "description/OrlixTag.h"
#include "OrlixTag.h"

/// A dash of the command table is an empty optional: the tag keeps its default.
struct CameraPreset
{
  Int32 id = 0;
  std::optional<Float> domeFov;
  Int32 lens = 0;
  std::optional<Int32> domeZenith;
  Int32 eyeModel = 2;
  Bool probePad = false; ///< the pad at the dome picture's centre
  Bool protect = false;

  Bool editCamera = false; ///< an undo step for the camera, its focal length and an update
  std::optional<Float> pitch;
  Bool littlePlanetPosition = false; ///< a camera at the origin moves up to (0, 200, 0)
  Float focus = 0.0;
};

namespace
{
// Little Planet's field is 315 degrees as a single-precision value, widened.
constexpr Float kLittlePlanetFov = static_cast<Float>(static_cast<float>(315.0 * PI / 180.0));

const CameraPreset kFulldome{OrlixCreateFulldome::ID, {}, 1, 1, 2, true, true, true, PI05, false, 8.0};
const CameraPreset kFisheye{OrlixCreateFisheye::ID, {}, 1, 0, 3, true, false, true, {}, false, 8.0};
const CameraPreset kLittlePlanet{OrlixCreateLittlePlanet::ID, kLittlePlanetFov, 1, 0, 3, true, false, true, -PI05, true, 8.0};
const CameraPreset kPanorama{OrlixCreatePanorama::ID, {}, 0, {}, 2, false, false, false, {}, false, 0.0};
const CameraPreset kCylindrical{OrlixCreateCylindrical::ID, {}, 2, {}, 2, false, false, false, {}, false, 0.0};
const CameraPreset kCubemap{OrlixCreateCubemap::ID, {}, 3, {}, 2, false, false, true, {}, false, 18.0};
} // namespace

Bool OrlixCreateCamera::SetupCameraAndTag(BaseDocument* doc)
{
  if (!doc)
    return false;
  BaseObject* active = doc->GetActiveObject();
  if (active && active->IsInstanceOf(Ocamera))
    camera = active;
  else
  {
    camera = BaseObject::Alloc(Ocamera);
    if (!camera)
      return false;
    doc->InsertObject(camera, nullptr, nullptr);
    doc->AddUndo(UNDOTYPE_NEWOBJ, camera);
  }
  // No look for a tag already there: a second run gives the camera a second tag.
  tag = BaseTag::Alloc(OrlixTag::ID);
  if (!tag)
    return false;
  camera->InsertTag(tag, nullptr);
  doc->AddUndo(UNDOTYPE_NEWOBJ, tag);
  tag->SetAllBits(tag->GetAllBits() | BIT_ACTIVE);
  doc->SetActiveTag(tag, SELECTION_NEW);
  return true;
}

Bool OrlixCreateCamera::Run(BaseDocument* doc, const CameraPreset& preset)
{
  if (!doc)
    return false;
  doc->StartUndo();
  if (!SetupCameraAndTag(doc))
  {
    // What was inserted stays, under the step that is closed here.
    doc->EndUndo();
    return false;
  }
  BaseContainer* bc = tag->GetDataInstance();
  // First, and through the parameter call: the tag's handler reacts to who created it.
  tag->SetParameter(DescID(ORLIXTAG_CREATED_BY), GeData(preset.id), DESCFLAGS_NONE);

  if (preset.domeFov)
    bc->SetFloat(ORLIXTAG_DOME_FOV, *preset.domeFov);
  bc->SetInt32(ORLIXTAG_LENS, preset.lens);
  if (preset.domeZenith)
    bc->SetInt32(ORLIXTAG_DOME_ZENITH, *preset.domeZenith);
  bc->SetInt32(ORLIXTAG_EYE_MODEL, preset.eyeModel);
  if (preset.probePad)
    bc->SetVector(ORLIXTAG_PROBE_PAD, Vector(0.5, 0.5, 1.0));
  if (preset.protect)
    bc->SetBool(ORLIXTAG_PROTECT_CAMERA, true);

  if (preset.editCamera)
  {
    doc->AddUndo(UNDOTYPE_CHANGE, camera);
    if (preset.littlePlanetPosition && camera->GetRelPos() == Vector(0.0, 0.0, 0.0))
      camera->SetRelPos(Vector(0.0, 200.0, 0.0));
    if (preset.pitch)
      camera->SetRelRot(Vector(0.0, *preset.pitch, 0.0));
    static_cast<CameraObject*>(camera)->SetFocus(preset.focus);
    camera->Message(MSG_UPDATE);
  }
  doc->EndUndo();
  EventAdd(0);
  return true;
}

Bool OrlixCreateFulldome::Execute(BaseDocument* doc, GeDialog*)
{
  return Run(doc, kFulldome);
}

Bool OrlixCreateFisheye::Execute(BaseDocument* doc, GeDialog*)
{
  return Run(doc, kFisheye);
}

Bool OrlixCreatePanorama::Execute(BaseDocument* doc, GeDialog*)
{
  return Run(doc, kPanorama);
}

Bool OrlixCreateCylindrical::Execute(BaseDocument* doc, GeDialog*)
{
  return Run(doc, kCylindrical);
}

Bool OrlixCreateCubemap::Execute(BaseDocument* doc, GeDialog*)
{
  return Run(doc, kCubemap);
}

Bool OrlixCreateLittlePlanet::Execute(BaseDocument* doc, GeDialog*)
{
  return Run(doc, kLittlePlanet);
}

namespace
{
// Every create command registers alike: its string serves as name and help.
template <typename Command>
Bool RegisterCreateCommand(Int32 stringId, const char* iconFile)
{
  Command* command = new (std::nothrow) Command();
  if (!command)
    return false;
  const String name = GeLoadString(stringId);
  BaseBitmap* icon = AutoBitmap(String(iconFile), 1.0);
  const Bool ok = RegisterCommandPlugin(Command::ID, name, 0, icon, name, command);
  BaseBitmap::Free(icon);
  return ok;
}
} // namespace

Bool RegisterOrlixCreateFulldome()
{
  return RegisterCreateCommand<OrlixCreateFulldome>(IDS_CREATE_FULLDOME, "orlixtag_fish.tif");
}

Bool RegisterOrlixCreateFisheye()
{
  return RegisterCreateCommand<OrlixCreateFisheye>(IDS_CREATE_FISHEYE, "orlixtag_fish.tif");
}

Bool RegisterOrlixCreatePanorama()
{
  return RegisterCreateCommand<OrlixCreatePanorama>(IDS_CREATE_PANORAMA, "orlixtag_pano.tif");
}

Bool RegisterOrlixCreateCylindrical()
{
  return RegisterCreateCommand<OrlixCreateCylindrical>(IDS_CREATE_CYLINDRICAL, "orlixtag_cylindrical.tif");
}

Bool RegisterOrlixCreateCubemap()
{
  return RegisterCreateCommand<OrlixCreateCubemap>(IDS_CREATE_CUBEMAP, "orlixtag_skybox.tif");
}

Bool RegisterOrlixCreateLittlePlanet()
{
  return RegisterCreateCommand<OrlixCreateLittlePlanet>(IDS_CREATE_LITTLEPLANET, "orlixtag_fish.tif");
}
