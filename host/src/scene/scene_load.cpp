// Loading a scene file's JSON into a document: render settings, objects with their tags, views.
#include <vector>

#include "render/render_limits.h"
#include "c4d_objects.h"
#include "c4d_resource.h"
#include "host_app.h"
#include "scene/scene_io.h"
#include "scene/scene_kinds.h"

namespace host::scene
{
namespace
{
using render::kMaxFrameSide;

// Scenes nest objects a few levels deep; the limit keeps a hostile file from exhausting the stack
// of the loader and of everything else that walks the object tree.
constexpr int kMaxNesting = 100;

// Keys every object may have, besides those of its kind.
const std::vector<std::string> kCommonKeys = {"type",       "name",     "position", "rotation", "scale",
                                              "renderMode", "material", "tags",     "children", "tracks"};

class Loader
{
public:
  Loader(BaseDocument* d, std::string dir) : doc(d), folder(std::move(dir)) {}

  void Document(const Json& root);

private:
  void Times(const Json& root);
  void Render(const Json& v, const std::string& path);
  void VideoPosts(const Json& list, const std::string& path);
  void Params(const Json& v, const std::string& path, BaseList2D* node, const DescriptionResource& desc);
  BaseObject* Object(const Json& v, const std::string& path);
  void Fill(const Json& v, const std::string& path, BaseObject* op, const KindTable& kind);
  void Placement(const Json& v, const std::string& path, BaseObject* op);
  void RenderMode(const Json& m, const std::string& path, BaseObject* op);
  void Tags(const Json& tags, const std::string& path, BaseObject* op);
  void Views(const Json& v, const std::string& path);

  BaseDocument* doc;
  std::string folder;
  int nesting = 0;
  std::vector<std::pair<BaseTag*, std::pair<Json, std::string>>> tagParams;
  std::vector<std::pair<BaseTag*, std::pair<Json, std::string>>> tagTracks;
};

void Loader::Document(const Json& root)
{
  RequireObject(root, "");
  AllowKeys(root, "", {"format", "name", "fps", "minTime", "maxTime", "time", "render", "objects", "views"}, "a scene");
  if (!root.contains("format"))
    Fail("/format", std::string("missing; a scene file starts with \"format\": \"") + kFormat + "\"");
  const std::string format = ReadString(root["format"], "/format");
  if (format != kFormat)
    Fail("/format", "\"" + format + "\" is not a format this program reads (" + kFormat + ")");
  if (root.contains("name"))
    doc->SetDocumentName(Filename(ReadString(root["name"], "/name").c_str()));
  Times(root);

  // Video posts before objects: a lens tag adds its video post only where none is there yet.
  if (root.contains("render"))
    Render(root["render"], "/render");

  if (root.contains("objects"))
  {
    const Json& objects = root["objects"];
    RequireArray(objects, "/objects");
    BaseObject* last = nullptr;
    for (size_t i = 0; i < objects.size(); ++i)
    {
      BaseObject* op = Object(objects[i], "/objects/" + std::to_string(i));
      doc->InsertObject(op, nullptr, last);
      last = op;
    }
  }
  // Tags' parameters once every object is in the document, so that links resolve there.
  for (auto& [tag, params] : tagParams)
    Params(params.first, params.second, tag, *DescriptionOf(tag->GetType()));
  for (auto& [tag, tracks] : tagTracks)
    ReadParamTracks(tracks.first, tracks.second, tag, *DescriptionOf(tag->GetType()), folder);

  if (root.contains("views"))
    Views(root["views"], "/views");
  const Json* active = root.contains("views") && root["views"].contains("active") ? &root["views"]["active"] : nullptr;
  LoadActiveView(doc, active, "/views/active");
  // The document as it stands at its time: what the tracks say there.
  AnimateDocument(doc);
}

void Loader::Times(const Json& root)
{
  if (root.contains("fps"))
    doc->SetFps(ReadInt(root["fps"], "/fps", 1, 1000));
  const Float minTime = root.contains("minTime") ? ReadNumber(root["minTime"], "/minTime") : 0.0;
  const Float maxTime = root.contains("maxTime") ? ReadNumber(root["maxTime"], "/maxTime") : doc->GetMaxTime().Get();
  if (maxTime < minTime)
    Fail("/maxTime", "the time range ends before it starts");
  doc->SetMinTime(BaseTime(minTime));
  doc->SetMaxTime(BaseTime(maxTime));
  doc->SetTime(BaseTime(root.contains("time") ? ReadNumber(root["time"], "/time") : minTime));
}

void Loader::Render(const Json& v, const std::string& path)
{
  RequireObject(v, path);
  AllowKeys(v, path, {"width", "height", "fps", "stereo", "alpha", "videoPosts", "tracks"}, "the render settings");
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  const Int32 w = v.contains("width") ? ReadInt(v["width"], path + "/width", 1, kMaxFrameSide) : rd->GetInt32(RDATA_XRES);
  const Int32 h = v.contains("height") ? ReadInt(v["height"], path + "/height", 1, kMaxFrameSide) : rd->GetInt32(RDATA_YRES);
  const std::string sizeProblem = render::FrameSizeProblem(w, h);
  if (!sizeProblem.empty())
    Fail(path, sizeProblem);
  rd->SetInt32(RDATA_XRES, w);
  rd->SetInt32(RDATA_YRES, h);
  if (v.contains("fps"))
  {
    const Float fps = ReadNumber(v["fps"], path + "/fps");
    if (!(fps > 0.0 && fps <= 1000.0))
      Fail(path + "/fps", "a frame rate is above 0 and at most 1000");
    rd->SetFloat(RDATA_FRAMERATE, fps);
  }
  if (v.contains("stereo"))
    rd->SetBool(RDATA_STEREO, ReadBool(v["stereo"], path + "/stereo"));
  if (v.contains("alpha"))
    rd->SetBool(RDATA_ALPHACHANNEL, ReadBool(v["alpha"], path + "/alpha"));
  if (v.contains("videoPosts"))
    VideoPosts(v["videoPosts"], path + "/videoPosts");
  if (v.contains("tracks"))
    ReadRenderTracks(v["tracks"], path + "/tracks", doc->GetActiveRenderData());
}

void Loader::VideoPosts(const Json& list, const std::string& path)
{
  RequireArray(list, path);
  BaseVideoPost* last = nullptr;
  for (size_t i = 0; i < list.size(); ++i)
  {
    const std::string p = path + "/" + std::to_string(i);
    const Json& e = list[i];
    RequireObject(e, p);
    AllowKeys(e, p, {"type", "enabled", "params", "tracks"}, "a video post");
    const Int32 type = FindPluginType(Member(e, "type", p), p + "/type", true);
    BaseVideoPost* vp = BaseVideoPost::Alloc(type);
    if (!vp)
      Fail(p + "/type", "the video post could not be made");
    doc->GetActiveRenderData()->InsertVideoPost(vp, last);
    last = vp;
    if (e.contains("enabled") && !ReadBool(e["enabled"], p + "/enabled"))
      vp->SetBit(BIT_VPDISABLED);
    if (e.contains("params"))
    {
      const DescriptionResource* desc = DescriptionOf(type);
      if (!desc)
        Fail(p + "/params", "the video post has no description to read parameters by");
      Params(e["params"], p + "/params", vp, *desc);
    }
    if (e.contains("tracks"))
    {
      const DescriptionResource* desc = DescriptionOf(type);
      if (!desc)
        Fail(p + "/tracks", "the video post has no description to read parameters by");
      ReadParamTracks(e["tracks"], p + "/tracks", vp, *desc, folder);
    }
  }
}

void Loader::Params(const Json& v, const std::string& path, BaseList2D* node, const DescriptionResource& desc)
{
  RequireObject(v, path);
  for (auto it = v.begin(); it != v.end(); ++it)
  {
    Int32 id = 0;
    const BaseContainer* settings = FindEntry(desc, it.key(), &id);
    if (!settings)
      Fail(path + "/" + it.key(), "\"" + desc.name.GetStdString() + "\" has no parameter " + it.key());
    node->GetDataInstance()->SetData(id, ReadParameter(it.value(), path + "/" + it.key(), *settings, desc, node, folder));
  }
}

BaseObject* Loader::Object(const Json& v, const std::string& path)
{
  RequireObject(v, path);
  const std::string name = ReadString(Member(v, "type", path), path + "/type");
  const KindTable* kind = KindNamed(name);
  if (!kind)
    Fail(path + "/type", "unknown object type \"" + name + "\"");
  AllowKindKeys(v, path, *kind, kCommonKeys);

  BaseObject* op = kind->type == Opolygon ? ReadMesh(v, path, folder) : BaseObject::Alloc(kind->type);
  if (!op)
    Fail(path, "the " + name + " could not be made");
  try
  {
    Fill(v, path, op, *kind);
  }
  catch (...)
  {
    BaseObject::Free(op);
    throw;
  }
  return op;
}

void Loader::Fill(const Json& v, const std::string& path, BaseObject* op, const KindTable& kind)
{
  op->SetName(String(v.contains("name") ? ReadString(v["name"], path + "/name") : kind.name));
  Placement(v, path, op);
  if (v.contains("tracks"))
    ReadObjectTracks(v["tracks"], path + "/tracks", op);
  if (v.contains("renderMode"))
    RenderMode(v["renderMode"], path + "/renderMode", op);
  if (v.contains("material"))
  {
    const Json& m = v["material"];
    const std::string p = path + "/material";
    RequireObject(m, p);
    AllowKindKeys(m, p, MaterialKeys(), {});
    BaseContainer material;
    ReadKindKeys(m, p, MaterialKeys(), &material, folder);
    op->GetDataInstance()->SetContainer(OBJECT_MATERIAL, material);
  }
  ReadKindKeys(v, path, kind, op->GetDataInstance(), folder);
  if (v.contains("tags"))
    Tags(v["tags"], path + "/tags", op);
  if (v.contains("children"))
  {
    const Json& children = v["children"];
    RequireArray(children, path + "/children");
    if (!children.empty() && nesting + 1 >= kMaxNesting)
      Fail(path + "/children", "objects nest deeper than " + std::to_string(kMaxNesting) + " levels");
    ++nesting;
    for (size_t i = 0; i < children.size(); ++i)
      Object(children[i], path + "/children/" + std::to_string(i))->InsertUnderLast(op);
    --nesting;
  }
}

void Loader::Placement(const Json& v, const std::string& path, BaseObject* op)
{
  const Vector pos = v.contains("position") ? ReadVector(v["position"], path + "/position") : Vector();
  const Vector hpb = v.contains("rotation") ? ReadVector(v["rotation"], path + "/rotation", true) : Vector();
  const Vector scale = v.contains("scale") ? ReadVector(v["scale"], path + "/scale") : Vector(1.0, 1.0, 1.0);
  if (scale.x == 0.0 || scale.y == 0.0 || scale.z == 0.0)
    Fail(path + "/scale", "a scale of 0 flattens the object away");
  // The numbers given are kept beside the matrix, so that saving writes them back exactly.
  if (v.contains("rotation") || v.contains("scale"))
    WritePlacement(op, host::Placement{pos, hpb, scale});
  else
    op->SetMl(MatrixMove(pos));
}

void Loader::RenderMode(const Json& m, const std::string& path, BaseObject* op)
{
  if (!m.is_string())
    return op->SetRenderMode(ReadInt(m, path, MODE_ON, MODE_UNDEF));
  const std::string s = m.get<std::string>();
  if (s != "on" && s != "off" && s != "default")
    Fail(path, "\"" + s + "\" is not on, off or default");
  op->SetRenderMode(s == "on" ? MODE_ON : s == "off" ? MODE_OFF : MODE_UNDEF);
}

void Loader::Tags(const Json& tags, const std::string& path, BaseObject* op)
{
  RequireArray(tags, path);
  BaseTag* last = nullptr;
  for (size_t i = 0; i < tags.size(); ++i)
  {
    const std::string p = path + "/" + std::to_string(i);
    RequireObject(tags[i], p);
    AllowKeys(tags[i], p, {"type", "params", "tracks"}, "a tag");
    const Int32 tagType = FindPluginType(Member(tags[i], "type", p), p + "/type", false);
    if (!DescriptionOf(tagType))
      Fail(p + "/type", "the tag has no description to read parameters by");
    BaseTag* tag = BaseTag::Alloc(tagType);
    if (!tag)
      Fail(p + "/type", "the tag could not be made");
    op->InsertTag(tag, last);
    last = tag;
    if (tags[i].contains("params"))
    {
      RequireObject(tags[i]["params"], p + "/params");
      tagParams.push_back({tag, {tags[i]["params"], p + "/params"}});
    }
    if (tags[i].contains("tracks"))
    {
      RequireObject(tags[i]["tracks"], p + "/tracks");
      tagTracks.push_back({tag, {tags[i]["tracks"], p + "/tracks"}});
    }
  }
}

void Loader::Views(const Json& v, const std::string& path)
{
  RequireObject(v, path);
  AllowKeys(v, path, {"render", "active"}, "the views");
  if (!v.contains("render"))
    return;
  const Json& r = v["render"];
  const std::string p = path + "/render";
  RequireObject(r, p);
  AllowKeys(r, p, {"camera", "projection"}, "a view");
  BaseDraw* bd = doc->GetRenderBaseDraw();
  if (r.contains("camera"))
  {
    const std::string name = ReadString(r["camera"], p + "/camera");
    BaseObject* cam = doc->SearchObject(String(name));
    if (!cam)
      Fail(p + "/camera", "no object is named \"" + name + "\"");
    if (cam->GetType() != Ocamera)
      Fail(p + "/camera", "\"" + name + "\" is a " + KindOf(cam->GetType())->name + ", not a camera");
    bd->SetSceneCamera(cam);
  }
  if (r.contains("projection"))
    bd->SetProjection(ReadInt(r["projection"], p + "/projection", CAMERA_PERSPECTIVE, CAMERA_PARALLEL));
}
} // namespace

void LoadDocument(BaseDocument* doc, const std::string& folder, const Json& root)
{
  Loader(doc, folder).Document(root);
}
} // namespace host::scene
