// The lens camera of a render: the view's linked camera, else the first one with an enabled tag.
#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "description/OrlixTag.h"

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
