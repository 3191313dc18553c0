// Saving a document as a scene file's JSON: the inverse of the loader, key for key.
#include <algorithm>
#include <cmath>

#include "c4d_objects.h"
#include "c4d_resource.h"
#include "host_app.h"
#include "scene/scene_io.h"
#include "scene/scene_kinds.h"

namespace host::scene
{
namespace
{
class Saver
{
public:
  Saver(BaseDocument* d, std::string dir) : doc(d), folder(std::move(dir)) {}
  Json Document();

private:
  Json Render();
  Json Params(const BaseList2D* node, const DescriptionResource& desc);
  Json Object(BaseObject* op);
  void Placement(const BaseObject* op, Json* out);
  void TagsAndChildren(BaseObject* op, Json* out);

  BaseDocument* doc;
  std::string folder;
};

Json Saver::Params(const BaseList2D* node, const DescriptionResource& desc)
{
  Json out = Json::object();
  const BaseContainer* data = node->GetDataInstance();
  for (const auto& [id, settings] : desc.entries)
  {
    const GeData* value = data->GetDataPointer(id);
    if (!value || value->IsNil())
      continue;
    Json j = WriteParameter(*value, settings, doc, folder);
    if (!j.is_null())
      out[EntrySymbol(desc, id)] = j;
  }
  return out;
}

void Saver::Placement(const BaseObject* op, Json* out)
{
  const host::Placement p = ReadPlacement(op);
  if (p.position != Vector())
    (*out)["position"] = WriteVector(p.position);
  if (p.rotation != Vector())
    (*out)["rotation"] = WriteAngles(p.rotation);
  const Vector& scale = p.scale;
  if (std::fabs(scale.x - 1.0) > 1e-12 || std::fabs(scale.y - 1.0) > 1e-12 || std::fabs(scale.z - 1.0) > 1e-12)
    (*out)["scale"] = WriteVector(scale);
}

Json Saver::Object(BaseObject* op)
{
  const KindTable* kind = KindOf(op->GetType());
  if (!kind)
    Fail("/objects", "object \"" + op->GetName().GetStdString() + "\" has a type (" + std::to_string(op->GetType()) +
                         ") that scene files don't hold");
  Json out = Json::object();
  out["type"] = kind->name;
  out["name"] = op->GetName().GetStdString();
  Placement(op, &out);
  const Json tracks = WriteTracks(op, nullptr, doc, folder);
  if (!tracks.is_null())
    out["tracks"] = tracks;
  if (op->GetRenderMode() != MODE_UNDEF)
    out["renderMode"] = op->GetRenderMode() == MODE_ON ? "on" : "off";

  const BaseContainer* bc = op->GetDataInstance();
  WriteKindKeys(*bc, *kind, folder, &out);
  if (op->GetType() == Opolygon)
    WriteMesh(static_cast<PolygonObject*>(op), folder, &out);
  if (const GeData* m = bc->GetDataPointer(OBJECT_MATERIAL))
    if (const BaseContainer* mc = m->GetContainer())
    {
      Json material = Json::object();
      WriteKindKeys(*mc, MaterialKeys(), folder, &material);
      out["material"] = material;
    }
  TagsAndChildren(op, &out);
  return out;
}

void Saver::TagsAndChildren(BaseObject* op, Json* out)
{
  Json tags = Json::array();
  for (BaseTag* t = op->GetFirstTag(); t; t = t->GetNext())
  {
    const DescriptionResource* desc = DescriptionOf(t->GetType());
    if (!desc)
      continue; // the host's own tags carry nothing a scene file holds
    Json tag = {{"type", desc->name.GetStdString()}, {"params", Params(t, *desc)}};
    const Json tracks = WriteTracks(t, desc, doc, folder);
    if (!tracks.is_null())
      tag["tracks"] = tracks;
    tags.push_back(tag);
  }
  if (!tags.empty())
    (*out)["tags"] = tags;
  Json children = Json::array();
  for (BaseObject* c = op->GetDown(); c; c = c->GetNext())
    children.push_back(Object(c));
  if (!children.empty())
    (*out)["children"] = children;
}

Json Saver::Render()
{
  RenderData* rdNode = doc->GetActiveRenderData();
  const BaseContainer* rd = rdNode->GetDataInstance();
  Json render = {{"width", rd->GetInt32(RDATA_XRES)},
                 {"height", rd->GetInt32(RDATA_YRES)},
                 {"fps", rd->GetFloat(RDATA_FRAMERATE)},
                 {"stereo", rd->GetBool(RDATA_STEREO)},
                 {"alpha", rd->GetBool(RDATA_ALPHACHANNEL)}};
  Json vps = Json::array();
  for (BaseVideoPost* vp = rdNode->GetFirstVideoPost(); vp; vp = vp->GetNext())
  {
    const DescriptionResource* desc = DescriptionOf(vp->GetType());
    const PluginEntry* entry = App().plugins.Find(vp->GetType());
    Json e = {{"type", desc ? Json(desc->name.GetStdString()) : Json(vp->GetType())},
              {"enabled", !vp->GetBit(BIT_VPDISABLED)}};
    if (!entry)
      Fail("/render/videoPosts", "video post " + std::to_string(vp->GetType()) + " belongs to no loaded plug-in");
    if (desc)
      e["params"] = Params(vp, *desc);
    const Json tracks = WriteTracks(vp, desc, doc, folder);
    if (desc && !tracks.is_null())
      e["tracks"] = tracks;
    vps.push_back(e);
  }
  render["videoPosts"] = vps;
  const Json tracks = WriteTracks(rdNode, nullptr, doc, folder);
  if (!tracks.is_null())
    render["tracks"] = tracks;
  return render;
}

Json Saver::Document()
{
  Json root = Json::object();
  root["format"] = kFormat;
  root["name"] = doc->GetDocumentName().GetString().GetStdString();
  root["fps"] = doc->GetFps();
  root["minTime"] = doc->GetMinTime().Get();
  root["maxTime"] = doc->GetMaxTime().Get();
  root["time"] = doc->GetTime().Get();
  root["render"] = Render();

  Json objects = Json::array();
  for (BaseObject* op = doc->GetFirstObject(); op; op = op->GetNext())
    objects.push_back(Object(op));
  root["objects"] = objects;

  BaseDraw* bd = doc->GetRenderBaseDraw();
  Json view = {{"projection", bd->GetProjection()}};
  if (bd->HasCameraLink())
    view["camera"] = bd->GetSceneCamera(doc)->GetName().GetStdString();
  root["views"] = {{"render", view}, {"active", SaveActiveView(doc)}};
  return root;
}
} // namespace

Json SaveDocument(BaseDocument* doc, const std::string& folder)
{
  return Saver(doc, folder).Document();
}
} // namespace host::scene
