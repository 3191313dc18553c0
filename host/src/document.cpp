// Render settings, views and documents.
#include "c4d_nodes.h"
#include "c4d_basedraw.h"

// ---- RenderData --------------------------------------------------------------------------------

RenderData::RenderData() : BaseList2D(Rbase), videoPosts(std::make_unique<GeListHead>(this, nullptr))
{
  BaseContainer* bc = GetDataInstance();
  bc->SetInt32(RDATA_XRES, 800);
  bc->SetInt32(RDATA_YRES, 600);
  bc->SetFloat(RDATA_FRAMERATE, 30.0);
  bc->SetBool(RDATA_ALPHACHANNEL, false);
  bc->SetBool(RDATA_STEREO, false);
}

RenderData* RenderData::Alloc()
{
  return new RenderData();
}

void RenderData::Free(RenderData*& rd)
{
  delete rd;
  rd = nullptr;
}

BaseVideoPost* RenderData::GetFirstVideoPost() const
{
  return static_cast<BaseVideoPost*>(videoPosts->GetFirst());
}

void RenderData::InsertVideoPost(BaseVideoPost* vp, BaseVideoPost* pred)
{
  if (!vp)
    return;
  if (pred && pred->GetListHead() == videoPosts.get())
    vp->InsertAfter(pred);
  else
    videoPosts->InsertFirst(vp);
}

void RenderData::InsertVideoPostLast(BaseVideoPost* vp)
{
  videoPosts->InsertLast(vp);
}

// ---- BaseDraw ----------------------------------------------------------------------------------

void BaseDraw::CameraDeleter::operator()(BaseObject* op) const
{
  BaseObject::Free(op);
}

BaseDraw::BaseDraw() : BaseList2D(Dbasedraw), editorCamera(BaseObject::Alloc(Ocamera))
{
  editorCamera->SetName(String("Editor Camera"));
}

BaseDraw* BaseDraw::Alloc()
{
  return new BaseDraw();
}

void BaseDraw::Free(BaseDraw*& bd)
{
  delete bd;
  bd = nullptr;
}

BaseObject* BaseDraw::GetSceneCamera(const BaseDocument* doc) const
{
  BaseList2D* linked = cameraLink.GetLink(doc);
  if (auto* op = dynamic_cast<BaseObject*>(linked))
    return op;
  return editorCamera.get();
}

void BaseDraw::SetSceneCamera(BaseObject* op, Bool /*animate*/)
{
  cameraLink = op ? GeData(static_cast<BaseList2D*>(op)) : GeData();
}

// ---- BaseDocument ------------------------------------------------------------------------------

BaseDocument::BaseDocument()
  : BaseList2D(Tbasedocument),
    objects(std::make_unique<GeListHead>(nullptr, this)),
    renderDatas(std::make_unique<GeListHead>(nullptr, this)),
    views(std::make_unique<GeListHead>(nullptr, this))
{
  RenderData* rd = RenderData::Alloc();
  renderDatas->InsertFirst(rd);
  activeRenderData = rd;
  renderView = BaseDraw::Alloc();
  views->InsertFirst(renderView);
  // The view a user looks through is a view of its own: its camera never changes a render's.
  activeView = BaseDraw::Alloc();
  views->InsertLast(activeView);
}

BaseDocument::~BaseDocument()
{
  // Objects go first: their plug-in data may still look at the render settings as it is freed.
  objects->FlushAll();
  renderDatas->FlushAll();
  views->FlushAll();
}

BaseDocument* BaseDocument::Alloc()
{
  return new BaseDocument();
}

void BaseDocument::Free(BaseDocument*& doc)
{
  delete doc;
  doc = nullptr;
}

BaseObject* BaseDocument::GetFirstObject() const
{
  return static_cast<BaseObject*>(objects->GetFirst());
}

void BaseDocument::InsertObject(BaseObject* op, BaseObject* parent, BaseObject* pred)
{
  if (!op)
    return;
  if (pred)
    op->InsertAfter(pred);
  else if (parent)
    op->InsertUnder(parent);
  else
    objects->InsertFirst(op);
}

namespace
{
BaseObject* SearchByName(BaseObject* op, const String& name)
{
  for (; op; op = op->GetNext())
  {
    if (op->GetName() == name)
      return op;
    if (BaseObject* found = SearchByName(op->GetDown(), name))
      return found;
  }
  return nullptr;
}
} // namespace

BaseObject* BaseDocument::SearchObject(const String& objName) const
{
  return SearchByName(GetFirstObject(), objName);
}

RenderData* BaseDocument::GetFirstRenderData() const
{
  return static_cast<RenderData*>(renderDatas->GetFirst());
}

void BaseDocument::InsertRenderData(RenderData* rd, RenderData* pred)
{
  if (!rd)
    return;
  if (pred)
    rd->InsertAfter(pred);
  else
    renderDatas->InsertLast(rd);
}
