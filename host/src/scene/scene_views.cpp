// The active view in scene files: the editor camera a user looks through, or a scene camera.
#include <cmath>

#include "c4d_objects.h"
#include "render/render_scene.h"
#include "scene/scene_io.h"
#include "scene/scene_kinds.h"

namespace host::scene
{
namespace
{
// Where a scene without an active view is looked at from: back, to the left and above the
// camera the render looks through, so that what is drawn around that camera is in view.
const Vector kDefaultStandOff(-160.0, 130.0, -230.0);

BaseObject* LinkedCamera(BaseDocument* doc, const Json& name, const std::string& path)
{
  const std::string n = ReadString(name, path);
  BaseObject* cam = doc->SearchObject(String(n));
  if (!cam)
    Fail(path, "no object is named \"" + n + "\"");
  if (cam->GetType() != Ocamera)
    Fail(path, "\"" + n + "\" is a " + KindOf(cam->GetType())->name + ", not a camera");
  return cam;
}

void Place(BaseObject* editor, const Vector& pos, const Vector& hpb)
{
  editor->SetMl(MatrixMove(pos) * HPBToMatrix(hpb));
  editor->GetDataInstance()->SetVector(kPlacementRotation, hpb);
}

void DefaultActiveView(BaseDocument* doc, BaseDraw* view)
{
  BaseObject* target = render::FindRenderCamera(doc);
  const Vector at = target && target != doc->GetRenderBaseDraw()->GetEditorCamera() ? target->GetMg().off : Vector();
  const Vector d = (-kDefaultStandOff).GetNormalized();
  Place(view->GetEditorCamera(), at + kDefaultStandOff, Vector(std::atan2(-d.x, d.z), std::asin(d.y), 0.0));
}
} // namespace

void LoadActiveView(BaseDocument* doc, const Json* v, const std::string& path)
{
  BaseDraw* view = doc->GetActiveBaseDraw();
  if (!v)
    return DefaultActiveView(doc, view);
  RequireObject(*v, path);
  AllowKeys(*v, path, {"camera", "projection", "position", "rotation", "focal"}, "the active view");
  if (v->contains("projection"))
    view->SetProjection(ReadInt((*v)["projection"], path + "/projection", CAMERA_PERSPECTIVE, CAMERA_PARALLEL));
  if (v->contains("camera"))
  {
    for (const char* key : {"position", "rotation", "focal"})
      if (v->contains(key))
        Fail(path + "/" + key, "a view through a scene camera takes that camera's placement and lens");
    view->SetSceneCamera(LinkedCamera(doc, (*v)["camera"], path + "/camera"));
    return;
  }
  BaseObject* editor = view->GetEditorCamera();
  const Vector pos = v->contains("position") ? ReadVector((*v)["position"], path + "/position") : Vector();
  const Vector hpb = v->contains("rotation") ? ReadVector((*v)["rotation"], path + "/rotation", true) : Vector();
  Place(editor, pos, hpb);
  if (v->contains("focal"))
  {
    const Float focal = ReadNumber((*v)["focal"], path + "/focal");
    if (!(focal > 0.0))
      Fail(path + "/focal", "the focal length must be above 0");
    editor->GetDataInstance()->SetFloat(CAMERA_FOCUS, focal);
  }
}

Json SaveActiveView(BaseDocument* doc)
{
  BaseDraw* view = doc->GetActiveBaseDraw();
  Json out = {{"projection", view->GetProjection()}};
  if (view->HasCameraLink())
  {
    out["camera"] = view->GetSceneCamera(doc)->GetName().GetStdString();
    return out;
  }
  const BaseObject* editor = view->GetEditorCamera();
  const Matrix& ml = editor->GetMl();
  out["position"] = WriteVector(ml.off);
  // The numbers the view was given, while its matrix still says so; else read from the matrix.
  Vector hpb = editor->GetDataInstance()->GetVector(kPlacementRotation);
  const Matrix given = MatrixMove(ml.off) * HPBToMatrix(hpb);
  if (!(given.v1 == ml.v1 && given.v2 == ml.v2 && given.v3 == ml.v3))
    hpb = AimAlong(ml.v3);
  out["rotation"] = WriteAngles(hpb);
  const GeData* focal = editor->GetDataInstance()->GetDataPointer(CAMERA_FOCUS);
  if (focal)
    out["focal"] = focal->GetFloat();
  return out;
}
} // namespace host::scene
