// The studio's model of the document: ids, tree, panels, pictures.
#include "studio/studio_model.h"

#include <cctype>
#include <memory>
#include <vector>

#include "host_app.h"
#include "panel.h"
#include "resource_parser.h"
#include "scene/scene_file.h"
#include "scene/scene_kinds.h"

namespace host::studio
{
namespace
{
template <typename T>
Int32 IndexOf(T* node)
{
  Int32 i = 0;
  for (GeListNode* n = node->GetPred(); n; n = n->GetPred())
    ++i;
  return i;
}

std::string ObjectId(BaseObject* op)
{
  std::string id;
  for (BaseObject* o = op; o; o = o->GetUp())
    id = std::to_string(IndexOf(o)) + (id.empty() ? "" : "." + id);
  return "o" + id;
}

/// A whole number of at most six digits at the start of `text`, moving `at` past it.
bool ReadIndex(const std::string& text, size_t& at, Int32& value)
{
  const size_t start = at;
  while (at < text.size() && at - start < 7 && text[at] >= '0' && text[at] <= '9')
    ++at;
  if (at == start || at - start > 6)
    return false;
  value = std::stoi(text.substr(start, at - start));
  return true;
}

template <typename T>
T* Nth(T* first, Int32 n)
{
  for (; first && n > 0; --n)
    first = static_cast<T*>(first->GetNext());
  return first;
}

std::string TypeName(BaseList2D* node)
{
  if (node->GetType() == Rbase)
    return "Render Settings";
  if (const scene::KindTable* kind = scene::KindOf(node->GetType()))
    return kind->name;
  const PluginEntry* e = App().plugins.Find(node->GetType());
  if (e && e->description.IsPopulated())
    return e->description.GetStdString();
  return e ? e->name.GetStdString() : "type " + std::to_string(node->GetType());
}

Json IconUrl(BaseList2D* node, const std::string& id, Int64 revision)
{
  std::unique_ptr<BaseBitmap, void (*)(BaseBitmap*)> icon(NodeIcon(node), [](BaseBitmap* b) { BaseBitmap::Free(b); });
  if (!icon)
    return nullptr;
  return "/api/icon?node=" + id + "&r=" + std::to_string(revision);
}

Json ObjectJson(BaseObject* op, BaseDocument* doc, Int64 revision)
{
  const std::string id = ObjectId(op);
  Json tags = Json::array();
  Int32 t = 0;
  for (BaseTag* tag = op->GetFirstTag(); tag; tag = tag->GetNext(), ++t)
  {
    const std::string tagId = id + "/t" + std::to_string(t);
    tags.push_back({{"id", tagId},
                    {"name", tag->GetName().IsPopulated() ? tag->GetName().GetStdString() : TypeName(tag)},
                    {"type", TypeName(tag)},
                    {"icon", IconUrl(tag, tagId, revision)},
                    {"selected", static_cast<bool>(tag->GetBit(BIT_ACTIVE))}});
  }
  Json children = Json::array();
  for (BaseObject* child = op->GetDown(); child; child = child->GetNext())
    children.push_back(ObjectJson(child, doc, revision));
  // An object made without a name shows its kind, as a new object does in the manager.
  std::string name = op->GetName().GetStdString();
  if (name.empty())
  {
    name = TypeName(op);
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
  }
  return {{"id", id},
          {"name", name},
          {"type", TypeName(op)},
          {"selected", static_cast<bool>(op->GetBit(BIT_ACTIVE))},
          {"tags", tags},
          {"children", children}};
}

Json CycleJson(const BaseContainer& settings)
{
  const GeData& data = settings.GetData(DESC_CYCLE);
  const BaseContainer* cycle = data.GetType() == DA_CONTAINER ? data.GetContainer() : nullptr;
  if (!cycle)
    return nullptr;
  Json out = Json::array();
  for (Int32 i = 0; i < cycle->GetDataCount(); ++i)
  {
    const Int32 value = cycle->GetIndexId(i);
    out.push_back({{"value", value}, {"label", cycle->GetString(value).GetStdString()}});
  }
  return out;
}

Json NumberOrNull(const BaseContainer& settings, Int32 key)
{
  return settings.GetDataPointer(key) ? Json(settings.GetFloat(key)) : Json(nullptr);
}

/// Whether bitmap button `e` has a picture to show: a button beyond a layout's grid has none.
bool HasPicture(const PanelEntry& e, BaseList2D* node)
{
  if (e.type != "BITMAPBUTTON" || e.hidden)
    return false;
  BaseBitmap* bmp = ButtonBitmap(node, e.id);
  const bool shown = bmp && bmp->GetBw() > 0 && bmp->GetBh() > 0;
  BaseBitmap::Free(bmp);
  return shown;
}

Json EntryJson(const PanelEntry& e, BaseList2D* node, const std::string& nodeId, const BaseDocument* doc, Int64 revision)
{
  Json value = nullptr;
  if (e.hasValue && e.type == "STATICTEXT")
    value = e.value.GetType() == DA_STRING ? Json(e.value.GetString().GetStdString()) : Json(nullptr);
  else if (e.hasValue)
    value = scene::WriteParameter(e.value, e.settings, doc, doc ? doc->GetDocumentPath().GetString().GetStdString() : "");
  const String unit = e.settings.GetString(DESC_UNIT);
  Json j = {{"id", e.id},
            {"symbol", e.symbol},
            {"label", e.label.GetStdString()},
            {"type", e.type},
            {"value", value},
            {"hidden", static_cast<bool>(e.hidden)},
            {"enabled", static_cast<bool>(e.enabled)},
            {"parent", e.parent},
            {"unit", unit.IsPopulated() ? Json(unit.GetStdString()) : Json(nullptr)},
            {"min", NumberOrNull(e.settings, DESC_MIN)},
            {"max", NumberOrNull(e.settings, DESC_MAX)},
            {"step", NumberOrNull(e.settings, DESC_STEP)},
            {"cycle", CycleJson(e.settings)},
            {"customGui", e.customGui.IsPopulated() ? Json(e.customGui.GetStdString()) : Json(nullptr)},
            {"bitmap", HasPicture(e, node) ? Json("/api/bitmap?node=" + nodeId + "&id=" + std::to_string(e.id) +
                                                   "&r=" + std::to_string(revision))
                                              : Json(nullptr)}};
  if (e.type == "GROUP")
    j["open"] = static_cast<bool>(e.open);
  return j;
}
} // namespace

std::string NodeId(BaseList2D* node)
{
  if (auto* tag = dynamic_cast<BaseTag*>(node))
    return tag->GetObject() ? ObjectId(tag->GetObject()) + "/t" + std::to_string(IndexOf(tag)) : std::string();
  if (auto* op = dynamic_cast<BaseObject*>(node))
    return ObjectId(op);
  if (dynamic_cast<RenderData*>(node))
    return "rd";
  if (auto* vp = dynamic_cast<BaseVideoPost*>(node))
    return "vp" + std::to_string(IndexOf(vp));
  return std::string();
}

BaseList2D* FindNode(BaseDocument* doc, const std::string& id)
{
  RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;
  if (!doc || id.empty())
    return nullptr;
  if (id == "rd")
    return rd;
  size_t at = 0;
  Int32 n = 0;
  if (id.compare(0, 2, "vp") == 0)
  {
    at = 2;
    return rd && ReadIndex(id, at, n) && at == id.size() ? Nth(rd->GetFirstVideoPost(), n) : nullptr;
  }
  if (id[0] != 'o')
    return nullptr;
  at = 1;
  BaseObject* op = nullptr;
  for (BaseObject* level = doc->GetFirstObject();;)
  {
    if (!ReadIndex(id, at, n) || !(op = Nth(level, n)))
      return nullptr;
    if (at == id.size())
      return op;
    if (id[at] == '/')
      break;
    if (id[at++] != '.')
      return nullptr;
    level = op->GetDown();
  }
  if (id.compare(at, 2, "/t") != 0)
    return nullptr;
  at += 2;
  return ReadIndex(id, at, n) && at == id.size() ? Nth(op->GetFirstTag(), n) : nullptr;
}

Json DocumentJson(BaseDocument* doc, Int64 revision)
{
  Json objects = Json::array();
  for (BaseObject* op = doc->GetFirstObject(); op; op = op->GetNext())
    objects.push_back(ObjectJson(op, doc, revision));
  Json videoPosts = Json::array();
  RenderData* rd = doc->GetActiveRenderData();
  for (BaseVideoPost* vp = rd ? rd->GetFirstVideoPost() : nullptr; vp; vp = vp->GetNext())
    videoPosts.push_back({{"id", NodeId(vp)},
                          {"name", vp->GetName().IsPopulated() ? vp->GetName().GetStdString() : TypeName(vp)},
                          {"type", TypeName(vp)},
                          {"enabled", !vp->GetBit(BIT_VPDISABLED)}});
  BaseList2D* active = doc->GetActiveTag();
  if (!active)
    active = doc->GetActiveObject();
  Json console = Json::array();
  const std::vector<String> lines = App().console.Lines();
  for (size_t i = lines.size() > 50 ? lines.size() - 50 : 0; i < lines.size(); ++i)
    console.push_back(lines[i].GetStdString());
  return {{"name", doc->GetDocumentName().GetString().GetStdString()},
          {"objects", objects},
          {"render", rd ? Json{{"id", "rd"}, {"name", rd->GetName().IsPopulated() ? rd->GetName().GetStdString() : "Render Settings"}}
                        : Json(nullptr)},
          {"videoPosts", videoPosts},
          {"selected", active ? Json(NodeId(active)) : Json(nullptr)},
          {"undo", {{"canUndo", static_cast<bool>(CanUndo(doc))}, {"canRedo", static_cast<bool>(CanRedo(doc))}}},
          {"revision", revision},
          {"console", console}};
}

bool PanelJson(BaseList2D* node, Int64 revision, Json* out, std::string* error)
{
  Panel panel;
  String problem;
  if (!EvaluatePanel(node, panel, &problem))
  {
    *error = problem.GetStdString();
    return false;
  }
  const std::string id = NodeId(node);
  Json entries = Json::array();
  for (const PanelEntry& e : panel.entries)
    entries.push_back(EntryJson(e, node, id, node->GetDocument(), revision));
  *out = {{"node", id},
          {"description", panel.description.GetStdString()},
          {"name", node->GetName().IsPopulated() ? node->GetName().GetStdString() : TypeName(node)},
          {"revision", revision},
          {"entries", entries}};
  return true;
}

BaseBitmap* NodeIcon(BaseList2D* node)
{
  IconData icon;
  GetCustomIconData request{&icon, false};
  node->Message(MSG_GETCUSTOMICON, &request);
  if (request.filled && icon.bmp && icon.w > 0 && icon.h > 0)
  {
    // The icon is a cell of a larger picture.
    BaseBitmap* crop = BaseBitmap::Alloc();
    if (crop && crop->Init(icon.w, icon.h, 32) == IMAGERESULT_OK && crop->AddChannel(true, true))
    {
      std::vector<float> row(static_cast<size_t>(icon.w) * 4);
      for (Int32 y = 0; y < icon.h; ++y)
      {
        icon.bmp->GetPixelCnt(icon.x, icon.y + y, icon.w, reinterpret_cast<UChar*>(row.data()), 16, COLORMODE_ARGBf);
        crop->SetPixelCnt(0, y, icon.w, reinterpret_cast<const UChar*>(row.data()), 16, COLORMODE_ARGBf);
      }
      return crop;
    }
    BaseBitmap::Free(crop);
  }
  const PluginEntry* e = App().plugins.Find(node->GetType());
  return e && e->icon ? e->icon->GetClone() : nullptr;
}

BaseBitmap* ButtonBitmap(BaseList2D* node, Int32 id)
{
  DescriptionGetBitmap request{DescID(id)};
  node->Message(MSG_DESCRIPTION_GETBITMAP, &request);
  return request.bmp;
}

bool ReadValue(BaseList2D* node, Int32 id, const Json& value, GeData* out, std::string* problem)
{
  return scene::ParseParameterValue(node, id, value.dump(), out, problem);
}
} // namespace host::studio
