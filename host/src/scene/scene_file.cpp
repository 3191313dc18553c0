// Scene files: the document, its render settings, objects, tags and views, to and from JSON.
#include "scene/scene_file.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <unistd.h>

#include <tiny_obj_loader.h>

#include "c4d_objects.h"
#include "c4d_resource.h"
#include "host_app.h"
#include "scene/scene_values.h"

namespace fs = std::filesystem;

namespace host::scene
{
namespace
{
constexpr const char* kFormat = "orlixcam-scene/1";
// Where a mesh loaded from an OBJ file keeps the file's name, so that saving refers to it again.
constexpr Int32 kMeshFile = 1400;
// The rotation and scale an object was given, so that saving writes back the very numbers that
// were read rather than ones recovered from the matrix (which may differ in the last digit).
constexpr Int32 kObjectRotation = 1401;
constexpr Int32 kObjectScale = 1402;
// Render sizes beyond this are a typing error rather than a picture anyone renders.
constexpr Int32 kMaxRenderSide = 65536;
// A frame's float buffers take 16 bytes a pixel, and a lens may render several images a frame;
// 2^28 pixels (4 GiB a buffer) is beyond any picture this program is meant for.
constexpr Int64 kMaxRenderPixels = Int64(1) << 28;

std::string Str(const String& s)
{
  return s.GetStdString();
}

/// Fails on any key of `obj` that is not in `keys`.
void AllowKeys(const Json& obj, const std::string& path, std::initializer_list<const char*> keys, const std::string& what)
{
  for (auto it = obj.begin(); it != obj.end(); ++it)
  {
    bool known = false;
    for (const char* k : keys)
      known = known || it.key() == k;
    if (!known)
      Fail(path + "/" + it.key(), "unknown key for " + what);
  }
}

const Json& Member(const Json& obj, const char* key, const std::string& path)
{
  if (!obj.contains(key))
    Fail(path, std::string("missing \"") + key + "\"");
  return obj[key];
}

void RequireObject(const Json& v, const std::string& path)
{
  if (!v.is_object())
    Fail(path, "expected an object, found " + Kind(v));
}

void RequireArray(const Json& v, const std::string& path)
{
  if (!v.is_array())
    Fail(path, "expected an array, found " + Kind(v));
}

struct ObjectKind
{
  const char* name;
  Int32 type;
};
const ObjectKind kKinds[] = {{"null", Onull},       {"camera", Ocamera}, {"sphere", Osphere}, {"cube", Ocube},
                             {"plane", Oplane},     {"cylinder", Ocylinder}, {"mesh", Opolygon}, {"sky", Osky},
                             {"light", Olight}};

const char* KindName(Int32 type)
{
  for (const ObjectKind& k : kKinds)
    if (k.type == type)
      return k.name;
  return nullptr;
}

// ---- Loading ------------------------------------------------------------------------------------

class Loader
{
public:
  Loader(BaseDocument* d, std::string dir) : doc(d), folder(std::move(dir)) {}

  void Document(const Json& root);

private:
  void Render(const Json& v, const std::string& path);
  void Params(const Json& v, const std::string& path, BaseList2D* node, const DescriptionResource& desc);
  BaseObject* Object(const Json& v, const std::string& path);
  void Shape(const Json& v, const std::string& path, BaseObject* op, Int32 type);
  BaseObject* Mesh(const Json& v, const std::string& path);
  BaseContainer Material(const Json& v, const std::string& path);
  void Views(const Json& v, const std::string& path);
  std::string File(const Json& v, const std::string& path, const char* what);

  BaseDocument* doc;
  std::string folder;
  std::vector<std::pair<BaseTag*, std::pair<Json, std::string>>> tagParams;
};

std::string Loader::File(const Json& v, const std::string& path, const char* what)
{
  const std::string file = ResolvePath(ReadString(v, path), folder);
  if (!fs::is_regular_file(file))
    Fail(path, std::string(what) + " \"" + file + "\" not found");
  return file;
}

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
  if (root.contains("fps"))
    doc->SetFps(ReadInt(root["fps"], "/fps", 1, 1000));
  const Float minTime = root.contains("minTime") ? ReadNumber(root["minTime"], "/minTime") : 0.0;
  const Float maxTime = root.contains("maxTime") ? ReadNumber(root["maxTime"], "/maxTime") : doc->GetMaxTime().Get();
  if (maxTime < minTime)
    Fail("/maxTime", "the time range ends before it starts");
  doc->SetMinTime(BaseTime(minTime));
  doc->SetMaxTime(BaseTime(maxTime));
  doc->SetTime(BaseTime(root.contains("time") ? ReadNumber(root["time"], "/time") : minTime));

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

  if (root.contains("views"))
    Views(root["views"], "/views");
}

void Loader::Render(const Json& v, const std::string& path)
{
  RequireObject(v, path);
  AllowKeys(v, path, {"width", "height", "fps", "stereo", "alpha", "videoPosts"}, "the render settings");
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  const Int32 w = v.contains("width") ? ReadInt(v["width"], path + "/width", 1, kMaxRenderSide) : rd->GetInt32(RDATA_XRES);
  const Int32 h = v.contains("height") ? ReadInt(v["height"], path + "/height", 1, kMaxRenderSide) : rd->GetInt32(RDATA_YRES);
  if (Int64(w) * h > kMaxRenderPixels)
    Fail(path, "a frame of " + std::to_string(w) + " x " + std::to_string(h) + " pixels is too large for memory (at most " +
                   std::to_string(kMaxRenderPixels) + " pixels)");
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
  if (!v.contains("videoPosts"))
    return;
  const Json& list = v["videoPosts"];
  RequireArray(list, path + "/videoPosts");
  BaseVideoPost* last = nullptr;
  for (size_t i = 0; i < list.size(); ++i)
  {
    const std::string p = path + "/videoPosts/" + std::to_string(i);
    const Json& e = list[i];
    RequireObject(e, p);
    AllowKeys(e, p, {"type", "enabled", "params"}, "a video post");
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
      Fail(path + "/" + it.key(), "\"" + Str(desc.name) + "\" has no parameter " + it.key());
    node->GetDataInstance()->SetData(id, ReadParameter(it.value(), path + "/" + it.key(), *settings, desc, node, folder));
  }
}

BaseObject* Loader::Object(const Json& v, const std::string& path)
{
  RequireObject(v, path);
  const std::string kind = ReadString(Member(v, "type", path), path + "/type");
  Int32 type = 0;
  for (const ObjectKind& k : kKinds)
    if (kind == k.name)
      type = k.type;
  if (type == 0)
    Fail(path + "/type", "unknown object type \"" + kind + "\"");

  static const std::map<Int32, std::set<std::string>> own = {
    {Onull, {}},
    {Ocamera, {"focal", "aperture"}},
    {Osphere, {"radius"}},
    {Ocube, {"size"}},
    {Oplane, {"size"}},
    {Ocylinder, {"radius", "height", "caps"}},
    {Opolygon, {"file", "points", "polygons"}},
    {Osky, {"color", "gradient", "picture", "intensity"}},
    {Olight, {"kind", "color", "intensity", "shadow"}},
  };
  const std::set<std::string> common = {"type", "name", "position", "rotation", "scale", "renderMode",
                                        "material", "tags", "children"};
  for (auto it = v.begin(); it != v.end(); ++it)
    if (!common.count(it.key()) && !own.at(type).count(it.key()))
      Fail(path + "/" + it.key(), "unknown key for a " + kind);

  BaseObject* op = type == Opolygon ? Mesh(v, path) : BaseObject::Alloc(type);
  if (!op)
    Fail(path, "the " + kind + " could not be made");
  try
  {
    op->SetName(String(v.contains("name") ? ReadString(v["name"], path + "/name") : kind));
    const Vector pos = v.contains("position") ? ReadVector(v["position"], path + "/position") : Vector();
    const Vector hpb = v.contains("rotation") ? ReadVector(v["rotation"], path + "/rotation", true) : Vector();
    const Vector scale = v.contains("scale") ? ReadVector(v["scale"], path + "/scale") : Vector(1.0, 1.0, 1.0);
    if (scale.x == 0.0 || scale.y == 0.0 || scale.z == 0.0)
      Fail(path + "/scale", "a scale of 0 flattens the object away");
    op->SetMl(MatrixMove(pos) * HPBToMatrix(hpb) * MatrixScale(scale));
    if (v.contains("rotation") || v.contains("scale"))
    {
      op->GetDataInstance()->SetVector(kObjectRotation, hpb);
      op->GetDataInstance()->SetVector(kObjectScale, scale);
    }
    if (v.contains("renderMode"))
    {
      const Json& m = v["renderMode"];
      const std::string p = path + "/renderMode";
      if (m.is_string())
      {
        const std::string s = m.get<std::string>();
        if (s != "on" && s != "off" && s != "default")
          Fail(p, "\"" + s + "\" is not on, off or default");
        op->SetRenderMode(s == "on" ? MODE_ON : s == "off" ? MODE_OFF : MODE_UNDEF);
      }
      else
        op->SetRenderMode(ReadInt(m, p, MODE_ON, MODE_UNDEF));
    }
    if (v.contains("material"))
      op->GetDataInstance()->SetContainer(OBJECT_MATERIAL, Material(v["material"], path + "/material"));
    Shape(v, path, op, type);

    if (v.contains("tags"))
    {
      const Json& tags = v["tags"];
      RequireArray(tags, path + "/tags");
      BaseTag* last = nullptr;
      for (size_t i = 0; i < tags.size(); ++i)
      {
        const std::string p = path + "/tags/" + std::to_string(i);
        RequireObject(tags[i], p);
        AllowKeys(tags[i], p, {"type", "params"}, "a tag");
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
      }
    }
    if (v.contains("children"))
    {
      const Json& children = v["children"];
      RequireArray(children, path + "/children");
      for (size_t i = 0; i < children.size(); ++i)
        Object(children[i], path + "/children/" + std::to_string(i))->InsertUnderLast(op);
    }
  }
  catch (...)
  {
    BaseObject::Free(op);
    throw;
  }
  return op;
}

void Loader::Shape(const Json& v, const std::string& path, BaseObject* op, Int32 type)
{
  BaseContainer* bc = op->GetDataInstance();
  auto positive = [&](const char* key, Int32 id) {
    if (!v.contains(key))
      return;
    const Float f = ReadNumber(v[key], path + "/" + key);
    if (!(f > 0.0))
      Fail(path + "/" + key, std::string(key) + " must be above 0");
    bc->SetFloat(id, f);
  };
  switch (type)
  {
    case Ocamera:
      positive("focal", CAMERA_FOCUS);
      positive("aperture", CAMERAOBJECT_APERTURE);
      break;
    case Osphere:
      positive("radius", PRIM_SPHERE_RAD);
      break;
    case Ocube:
      if (v.contains("size"))
      {
        const Vector s = ReadVector(v["size"], path + "/size");
        if (!(s.x > 0.0 && s.y > 0.0 && s.z > 0.0))
          Fail(path + "/size", "a cube's edges must be above 0");
        bc->SetVector(PRIM_CUBE_LEN, s);
      }
      break;
    case Oplane:
      if (v.contains("size"))
      {
        const Json& s = v["size"];
        if (!s.is_array() || s.size() != 2)
          Fail(path + "/size", "a plane's size is [width, depth]");
        const Float w = ReadNumber(s[0], path + "/size/0"), d = ReadNumber(s[1], path + "/size/1");
        if (!(w > 0.0 && d > 0.0))
          Fail(path + "/size", "a plane's width and depth must be above 0");
        bc->SetFloat(PRIM_PLANE_WIDTH, w);
        bc->SetFloat(PRIM_PLANE_HEIGHT, d);
      }
      break;
    case Ocylinder:
      positive("radius", PRIM_CYLINDER_RADIUS);
      positive("height", PRIM_CYLINDER_HEIGHT);
      if (v.contains("caps"))
        bc->SetBool(PRIM_CYLINDER_CAPS, ReadBool(v["caps"], path + "/caps"));
      break;
    case Osky:
    {
      const int kinds = int(v.contains("color")) + int(v.contains("gradient")) + int(v.contains("picture"));
      if (kinds > 1)
        Fail(path, "a sky is a colour, a gradient or a picture, not several");
      if (v.contains("color"))
      {
        bc->SetInt32(SKY_TYPE, SKY_TYPE_COLOR);
        bc->SetVector(SKY_COLOR, ReadColor(v["color"], path + "/color"));
      }
      else if (v.contains("gradient"))
      {
        const Json& g = v["gradient"];
        RequireObject(g, path + "/gradient");
        AllowKeys(g, path + "/gradient", {"top", "bottom"}, "a sky gradient");
        bc->SetInt32(SKY_TYPE, SKY_TYPE_GRADIENT);
        if (g.contains("top"))
          bc->SetVector(SKY_COLOR_TOP, ReadColor(g["top"], path + "/gradient/top"));
        if (g.contains("bottom"))
          bc->SetVector(SKY_COLOR_BOTTOM, ReadColor(g["bottom"], path + "/gradient/bottom"));
      }
      else if (v.contains("picture"))
      {
        bc->SetInt32(SKY_TYPE, SKY_TYPE_PICTURE);
        bc->SetFilename(SKY_PICTURE, Filename(File(v["picture"], path + "/picture", "picture").c_str()));
      }
      if (v.contains("intensity"))
      {
        const Float f = ReadNumber(v["intensity"], path + "/intensity");
        if (f < 0.0)
          Fail(path + "/intensity", "the intensity must be 0 or above");
        bc->SetFloat(SKY_INTENSITY, f);
      }
      break;
    }
    case Olight:
      if (v.contains("kind"))
      {
        const std::string k = ReadString(v["kind"], path + "/kind");
        if (k != "point" && k != "sun")
          Fail(path + "/kind", "\"" + k + "\" is not a light kind (point or sun)");
        bc->SetInt32(LIGHT_TYPE, k == "sun" ? LIGHT_TYPE_DISTANT : LIGHT_TYPE_POINT);
      }
      if (v.contains("color"))
        bc->SetVector(LIGHT_COLOR, ReadColor(v["color"], path + "/color"));
      if (v.contains("intensity"))
      {
        const Float f = ReadNumber(v["intensity"], path + "/intensity");
        if (f < 0.0)
          Fail(path + "/intensity", "the intensity must be 0 or above");
        bc->SetFloat(LIGHT_BRIGHTNESS, f);
      }
      if (v.contains("shadow"))
        bc->SetBool(LIGHT_SHADOW, ReadBool(v["shadow"], path + "/shadow"));
      break;
    default:
      break;
  }
}

BaseObject* Loader::Mesh(const Json& v, const std::string& path)
{
  const bool fromFile = v.contains("file");
  if (fromFile == (v.contains("points") || v.contains("polygons")))
    Fail(path, "a mesh has either \"file\" (an OBJ file) or \"points\" and \"polygons\"");
  if (fromFile)
  {
    const std::string file = File(v["file"], path + "/file", "OBJ file");
    tinyobj::ObjReaderConfig config;
    config.triangulate = false;
    config.vertex_color = false;
    tinyobj::ObjReader reader;
    if (!reader.ParseFromFile(file, config))
    {
      std::string why = reader.Error();
      while (!why.empty() && (why.back() == '\n' || why.back() == '\r'))
        why.pop_back();
      Fail(path + "/file", "OBJ file \"" + file + "\": " + (why.empty() ? "not a mesh" : why));
    }
    const tinyobj::attrib_t& attrib = reader.GetAttrib();
    const size_t pointCount = attrib.vertices.size() / 3;
    size_t faceCount = 0;
    for (const tinyobj::shape_t& s : reader.GetShapes())
      faceCount += s.mesh.num_face_vertices.size();
    if (pointCount == 0 || faceCount == 0)
      Fail(path + "/file", "OBJ file \"" + file + "\" holds no polygons");
    if (pointCount > 100000000 || faceCount > 100000000)
      Fail(path + "/file", "OBJ file \"" + file + "\" is too large");
    PolygonObject* mesh = PolygonObject::Alloc(static_cast<Int32>(pointCount), static_cast<Int32>(faceCount));
    if (!mesh)
      Fail(path + "/file", "no memory for the mesh of \"" + file + "\"");
    for (size_t i = 0; i < pointCount; ++i)
      mesh->GetPointW()[i] = Vector(attrib.vertices[3 * i], attrib.vertices[3 * i + 1], attrib.vertices[3 * i + 2]);
    const bool withUV = !attrib.texcoords.empty();
    if (withUV)
      mesh->SetUVWEnabled(true);
    size_t f = 0;
    for (const tinyobj::shape_t& s : reader.GetShapes())
    {
      size_t at = 0;
      for (unsigned char n : s.mesh.num_face_vertices)
      {
        if (n != 3 && n != 4)
        {
          BaseObject* op = mesh;
          BaseObject::Free(op);
          Fail(path + "/file", "OBJ file \"" + file + "\": polygon " + std::to_string(f) + " has " +
                                 std::to_string(int(n)) + " corners; this host takes triangles and quads");
        }
        const tinyobj::index_t* idx = &s.mesh.indices[at];
        for (unsigned char c = 0; c < n; ++c)
        {
          const bool badPoint = idx[c].vertex_index < 0 || size_t(idx[c].vertex_index) >= pointCount;
          const bool badUV = idx[c].texcoord_index >= 0 && size_t(idx[c].texcoord_index) >= attrib.texcoords.size() / 2;
          if (badPoint || badUV)
          {
            BaseObject* op = mesh;
            BaseObject::Free(op);
            Fail(path + "/file", "OBJ file \"" + file + "\": polygon " + std::to_string(f) + " names a " +
                                   (badPoint ? "point" : "texture coordinate") + " the file does not hold");
          }
        }
        // OBJ winds counter-clockwise seen from the front in a right-handed frame; mirrored into
        // this left-handed one the same order faces the same way.
        CPolygon& poly = mesh->GetPolygonW()[f];
        poly = n == 3 ? CPolygon(idx[0].vertex_index, idx[1].vertex_index, idx[2].vertex_index)
                      : CPolygon(idx[0].vertex_index, idx[1].vertex_index, idx[2].vertex_index, idx[3].vertex_index);
        if (withUV)
        {
          Vector* corner[4] = {&mesh->GetUVWW()[f].a, &mesh->GetUVWW()[f].b, &mesh->GetUVWW()[f].c, &mesh->GetUVWW()[f].d};
          for (unsigned char c = 0; c < n; ++c)
          {
            const int t = idx[c].texcoord_index;
            if (t >= 0)
              *corner[c] = Vector(attrib.texcoords[2 * t], 1.0 - attrib.texcoords[2 * t + 1], 0.0);
          }
          if (n == 3)
            mesh->GetUVWW()[f].d = mesh->GetUVWW()[f].c;
        }
        at += n;
        ++f;
      }
    }
    mesh->GetDataInstance()->SetFilename(kMeshFile, Filename(file.c_str()));
    return mesh;
  }

  const Json& points = Member(v, "points", path);
  const Json& polygons = Member(v, "polygons", path);
  RequireArray(points, path + "/points");
  RequireArray(polygons, path + "/polygons");
  PolygonObject* mesh = PolygonObject::Alloc(static_cast<Int32>(points.size()), static_cast<Int32>(polygons.size()));
  if (!mesh)
    Fail(path, "no memory for the mesh");
  try
  {
    for (size_t i = 0; i < points.size(); ++i)
      mesh->GetPointW()[i] = ReadVector(points[i], path + "/points/" + std::to_string(i));
    const Int32 last = static_cast<Int32>(points.size()) - 1;
    for (size_t i = 0; i < polygons.size(); ++i)
    {
      const std::string p = path + "/polygons/" + std::to_string(i);
      const Json& c = polygons[i];
      if (!c.is_array() || (c.size() != 3 && c.size() != 4))
        Fail(p, "a polygon is 3 or 4 point indices");
      const Int32 a = ReadInt(c[0], p + "/0", 0, last), b = ReadInt(c[1], p + "/1", 0, last),
                  d2 = ReadInt(c[2], p + "/2", 0, last);
      mesh->GetPolygonW()[i] = c.size() == 3 ? CPolygon(a, b, d2) : CPolygon(a, b, d2, ReadInt(c[3], p + "/3", 0, last));
    }
  }
  catch (...)
  {
    BaseObject* op = mesh;
    BaseObject::Free(op);
    throw;
  }
  return mesh;
}

BaseContainer Loader::Material(const Json& v, const std::string& path)
{
  RequireObject(v, path);
  AllowKeys(v, path, {"color", "checker", "scale", "picture", "projection", "size"}, "a material");
  BaseContainer m;
  const int kinds = int(v.contains("color")) + int(v.contains("checker")) + int(v.contains("picture"));
  if (kinds != 1)
    Fail(path, "a material is one of \"color\", \"checker\" or \"picture\"");
  if (v.contains("color"))
  {
    m.SetInt32(MATERIAL_TYPE, MATERIAL_TYPE_COLOR);
    m.SetVector(MATERIAL_COLOR, ReadColor(v["color"], path + "/color"));
  }
  else if (v.contains("checker"))
  {
    const Json& c = v["checker"];
    if (!c.is_array() || c.size() != 2)
      Fail(path + "/checker", "a checker is two colours [[r, g, b], [r, g, b]]");
    m.SetInt32(MATERIAL_TYPE, MATERIAL_TYPE_CHECKER);
    m.SetVector(MATERIAL_COLOR, ReadColor(c[0], path + "/checker/0"));
    m.SetVector(MATERIAL_COLOR2, ReadColor(c[1], path + "/checker/1"));
  }
  else
  {
    m.SetInt32(MATERIAL_TYPE, MATERIAL_TYPE_PICTURE);
    m.SetFilename(MATERIAL_PICTURE, Filename(File(v["picture"], path + "/picture", "picture").c_str()));
  }
  if (v.contains("scale"))
  {
    const Float s = ReadNumber(v["scale"], path + "/scale");
    if (!(s > 0.0))
      Fail(path + "/scale", "a checker cell must be above 0");
    m.SetFloat(MATERIAL_CHECKER_SIZE, s);
  }
  if (v.contains("projection"))
  {
    const std::string p = ReadString(v["projection"], path + "/projection");
    const Int32 mode = p == "uv" ? MATERIAL_PROJECTION_UV : p == "spherical" ? MATERIAL_PROJECTION_SPHERICAL
                       : p == "planar" ? MATERIAL_PROJECTION_PLANAR : -1;
    if (mode < 0)
      Fail(path + "/projection", "\"" + p + "\" is not uv, spherical or planar");
    m.SetInt32(MATERIAL_PROJECTION, mode);
  }
  if (v.contains("size"))
  {
    const Float s = ReadNumber(v["size"], path + "/size");
    if (!(s > 0.0))
      Fail(path + "/size", "the picture's size must be above 0");
    m.SetFloat(MATERIAL_PROJECTION_SIZE, s);
  }
  return m;
}

void Loader::Views(const Json& v, const std::string& path)
{
  RequireObject(v, path);
  AllowKeys(v, path, {"render"}, "the views");
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
      Fail(p + "/camera", "\"" + name + "\" is a " + KindName(cam->GetType()) + ", not a camera");
    bd->SetSceneCamera(cam);
  }
  if (r.contains("projection"))
    bd->SetProjection(ReadInt(r["projection"], p + "/projection", CAMERA_PERSPECTIVE, CAMERA_PARALLEL));
}

// ---- Saving -------------------------------------------------------------------------------------

/// Heading, pitch and bank of a rotation matrix with unit axes: the inverse of HPBToMatrix.
Vector MatrixToHPB(const Matrix& r)
{
  const Float p = std::asin(std::max(-1.0, std::min(1.0, r.v3.y)));
  // Looking straight up or down, heading and bank turn about the same axis: all of it is bank.
  const Float h = std::fabs(r.v3.y) > 1.0 - 1e-12 ? 0.0 : std::atan2(-r.v3.x, r.v3.z);
  const Matrix rest = (MatrixRotY(h) * MatrixRotX(p)).GetInverse() * r;
  const Float b = std::atan2(-rest.v1.y, rest.v1.x);
  return Vector(h, p, b);
}

class Saver
{
public:
  Saver(BaseDocument* d, std::string dir) : doc(d), folder(std::move(dir)) {}
  Json Document();

private:
  Json Params(const BaseList2D* node, const DescriptionResource& desc);
  Json Object(BaseObject* op);
  Json Material(const BaseContainer& m);

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

Json Saver::Material(const BaseContainer& m)
{
  Json out = Json::object();
  switch (m.GetInt32(MATERIAL_TYPE))
  {
    case MATERIAL_TYPE_CHECKER:
      out["checker"] = Json::array({WriteVector(m.GetVector(MATERIAL_COLOR, Vector(0.8, 0.8, 0.8))),
                                    WriteVector(m.GetVector(MATERIAL_COLOR2, Vector(0.2, 0.2, 0.2)))});
      break;
    case MATERIAL_TYPE_PICTURE:
      out["picture"] = RelativePath(Str(m.GetFilename(MATERIAL_PICTURE).GetString()), folder);
      break;
    default:
      out["color"] = WriteVector(m.GetVector(MATERIAL_COLOR, Vector(0.8, 0.8, 0.8)));
      break;
  }
  if (m.GetDataPointer(MATERIAL_CHECKER_SIZE))
    out["scale"] = m.GetFloat(MATERIAL_CHECKER_SIZE);
  if (const GeData* p = m.GetDataPointer(MATERIAL_PROJECTION))
  {
    const Int32 mode = p->GetInt32();
    out["projection"] = mode == MATERIAL_PROJECTION_SPHERICAL ? "spherical" : mode == MATERIAL_PROJECTION_PLANAR ? "planar" : "uv";
  }
  if (m.GetDataPointer(MATERIAL_PROJECTION_SIZE))
    out["size"] = m.GetFloat(MATERIAL_PROJECTION_SIZE);
  return out;
}

Json Saver::Object(BaseObject* op)
{
  const char* kind = KindName(op->GetType());
  if (!kind)
    Fail("/objects", "object \"" + Str(op->GetName()) + "\" has a type (" + std::to_string(op->GetType()) +
                       ") that scene files don't hold");
  Json out = Json::object();
  out["type"] = kind;
  out["name"] = Str(op->GetName());
  const Matrix& ml = op->GetMl();
  if (ml.off != Vector())
    out["position"] = WriteVector(ml.off);
  Vector scale(ml.v1.GetLength(), ml.v2.GetLength(), ml.v3.GetLength());
  Vector hpb = MatrixToHPB(Matrix(Vector(), ml.v1 * (1.0 / scale.x), ml.v2 * (1.0 / scale.y), ml.v3 * (1.0 / scale.z)));
  const BaseContainer* given = op->GetDataInstance();
  if (given->GetDataPointer(kObjectRotation) && given->GetDataPointer(kObjectScale))
  {
    // What the file said, as long as the object hasn't been turned or scaled since.
    const Vector h = given->GetVector(kObjectRotation), s = given->GetVector(kObjectScale);
    const Matrix m = MatrixMove(ml.off) * HPBToMatrix(h) * MatrixScale(s);
    if (m.v1 == ml.v1 && m.v2 == ml.v2 && m.v3 == ml.v3)
    {
      hpb = h;
      scale = s;
    }
  }
  if (hpb != Vector())
    out["rotation"] = WriteAngles(hpb);
  if (std::fabs(scale.x - 1.0) > 1e-12 || std::fabs(scale.y - 1.0) > 1e-12 || std::fabs(scale.z - 1.0) > 1e-12)
    out["scale"] = WriteVector(scale);
  if (op->GetRenderMode() != MODE_UNDEF)
    out["renderMode"] = op->GetRenderMode() == MODE_ON ? "on" : "off";

  const BaseContainer* bc = op->GetDataInstance();
  auto put = [&](const char* key, Int32 id) {
    if (const GeData* d = bc->GetDataPointer(id))
    {
      if (d->GetType() == DA_VECTOR)
        out[key] = WriteVector(d->GetVector());
      else if (d->GetType() == DA_REAL)
        out[key] = d->GetFloat();
      else
        out[key] = d->GetBool();
    }
  };
  switch (op->GetType())
  {
    case Ocamera:
      put("focal", CAMERA_FOCUS);
      put("aperture", CAMERAOBJECT_APERTURE);
      break;
    case Osphere:
      put("radius", PRIM_SPHERE_RAD);
      break;
    case Ocube:
      put("size", PRIM_CUBE_LEN);
      break;
    case Oplane:
      if (bc->GetDataPointer(PRIM_PLANE_WIDTH) || bc->GetDataPointer(PRIM_PLANE_HEIGHT))
        out["size"] = Json::array({bc->GetFloat(PRIM_PLANE_WIDTH, 400.0), bc->GetFloat(PRIM_PLANE_HEIGHT, 400.0)});
      break;
    case Ocylinder:
      put("radius", PRIM_CYLINDER_RADIUS);
      put("height", PRIM_CYLINDER_HEIGHT);
      put("caps", PRIM_CYLINDER_CAPS);
      break;
    case Osky:
      switch (bc->GetInt32(SKY_TYPE, SKY_TYPE_COLOR))
      {
        case SKY_TYPE_GRADIENT:
        {
          Json g = Json::object();
          if (bc->GetDataPointer(SKY_COLOR_TOP))
            g["top"] = WriteVector(bc->GetVector(SKY_COLOR_TOP));
          if (bc->GetDataPointer(SKY_COLOR_BOTTOM))
            g["bottom"] = WriteVector(bc->GetVector(SKY_COLOR_BOTTOM));
          out["gradient"] = g;
          break;
        }
        case SKY_TYPE_PICTURE:
          out["picture"] = RelativePath(Str(bc->GetFilename(SKY_PICTURE).GetString()), folder);
          break;
        default:
          put("color", SKY_COLOR);
          break;
      }
      put("intensity", SKY_INTENSITY);
      break;
    case Olight:
      if (bc->GetDataPointer(LIGHT_TYPE))
        out["kind"] = bc->GetInt32(LIGHT_TYPE) == LIGHT_TYPE_DISTANT ? "sun" : "point";
      put("color", LIGHT_COLOR);
      put("intensity", LIGHT_BRIGHTNESS);
      put("shadow", LIGHT_SHADOW);
      break;
    case Opolygon:
    {
      const std::string file = Str(bc->GetFilename(kMeshFile).GetString());
      auto* mesh = static_cast<PolygonObject*>(op);
      if (!file.empty())
        out["file"] = RelativePath(file, folder);
      else
      {
        Json points = Json::array(), polygons = Json::array();
        for (Int32 i = 0; i < mesh->GetPointCount(); ++i)
          points.push_back(WriteVector(mesh->GetPointR()[i]));
        for (Int32 i = 0; i < mesh->GetPolygonCount(); ++i)
        {
          const CPolygon& p = mesh->GetPolygonR()[i];
          polygons.push_back(p.IsTriangle() ? Json::array({p.a, p.b, p.c}) : Json::array({p.a, p.b, p.c, p.d}));
        }
        out["points"] = points;
        out["polygons"] = polygons;
      }
      break;
    }
    default:
      break;
  }
  if (const GeData* m = bc->GetDataPointer(OBJECT_MATERIAL))
    if (const BaseContainer* mc = m->GetContainer())
      out["material"] = Material(*mc);

  Json tags = Json::array();
  for (BaseTag* t = op->GetFirstTag(); t; t = t->GetNext())
  {
    const DescriptionResource* desc = DescriptionOf(t->GetType());
    if (!desc)
      continue; // the host's own tags carry nothing a scene file holds
    tags.push_back(Json{{"type", Str(desc->name)}, {"params", Params(t, *desc)}});
  }
  if (!tags.empty())
    out["tags"] = tags;
  Json children = Json::array();
  for (BaseObject* c = op->GetDown(); c; c = c->GetNext())
    children.push_back(Object(c));
  if (!children.empty())
    out["children"] = children;
  return out;
}

Json Saver::Document()
{
  Json root = Json::object();
  root["format"] = kFormat;
  root["name"] = Str(doc->GetDocumentName().GetString());
  root["fps"] = doc->GetFps();
  root["minTime"] = doc->GetMinTime().Get();
  root["maxTime"] = doc->GetMaxTime().Get();
  root["time"] = doc->GetTime().Get();

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
    Json e = {{"type", desc ? Json(Str(desc->name)) : Json(vp->GetType())}, {"enabled", !vp->GetBit(BIT_VPDISABLED)}};
    if (!entry)
      Fail("/render/videoPosts", "video post " + std::to_string(vp->GetType()) + " belongs to no loaded plug-in");
    if (desc)
      e["params"] = Params(vp, *desc);
    vps.push_back(e);
  }
  render["videoPosts"] = vps;
  root["render"] = render;

  Json objects = Json::array();
  for (BaseObject* op = doc->GetFirstObject(); op; op = op->GetNext())
    objects.push_back(Object(op));
  root["objects"] = objects;

  BaseDraw* bd = doc->GetRenderBaseDraw();
  Json view = {{"projection", bd->GetProjection()}};
  if (bd->HasCameraLink())
    view["camera"] = Str(bd->GetSceneCamera(doc)->GetName());
  root["views"] = {{"render", view}};
  return root;
}

// Nodes made while a scene loads look for "the" document (a lens tag adds its video post there):
// the one being loaded, for as long as it loads.
class LoadingDocument
{
public:
  explicit LoadingDocument(BaseDocument* doc) : previous(App().activeDocument) { App().activeDocument = doc; }
  ~LoadingDocument() { App().activeDocument = previous; }

private:
  BaseDocument* previous;
};

std::string FolderOf(const std::string& file)
{
  const fs::path parent = fs::absolute(fs::path(file)).parent_path();
  return parent.lexically_normal().string();
}
} // namespace

std::string SceneError::Message() const
{
  std::string m = file;
  if (!path.empty())
    m += ": " + path;
  return m + ": " + problem;
}

BaseDocument* LoadScene(const std::string& file, SceneError* error)
{
  SceneError local;
  SceneError& err = error ? *error : local;
  err = SceneError{file, std::string(), std::string()};

  std::error_code ec;
  if (!fs::exists(file, ec))
  {
    err.problem = "no such file";
    return nullptr;
  }
  if (!fs::is_regular_file(file, ec))
  {
    err.problem = "not a file";
    return nullptr;
  }
  std::ifstream in(file, std::ios::binary);
  if (!in)
  {
    err.problem = "cannot be read";
    return nullptr;
  }
  std::stringstream text;
  text << in.rdbuf();

  Json root;
  try
  {
    root = Json::parse(text.str());
  }
  catch (const Json::exception& e)
  {
    // "[json.exception.parse_error.101] parse error at line 3, column 5: ..." without its tag;
    // a number beyond a double's range comes as an out_of_range error.
    const std::string what = e.what();
    const std::string::size_type tag = what.find("] ");
    err.problem = "malformed JSON: " + (tag == std::string::npos ? what : what.substr(tag + 2));
    return nullptr;
  }

  BaseDocument* doc = BaseDocument::Alloc();
  doc->SetDocumentPath(Filename(FolderOf(file).c_str()));
  doc->SetDocumentName(Filename(fs::path(file).stem().string().c_str()));
  try
  {
    LoadingDocument loading(doc);
    Loader(doc, FolderOf(file)).Document(root);
  }
  catch (const SceneProblem& p)
  {
    err.path = p.path;
    err.problem = p.problem;
    BaseDocument::Free(doc);
    return nullptr;
  }
  catch (const std::exception& e)
  {
    err.problem = e.what();
    BaseDocument::Free(doc);
    return nullptr;
  }
  return doc;
}

bool SaveScene(BaseDocument* doc, const std::string& file, SceneError* error)
{
  SceneError local;
  SceneError& err = error ? *error : local;
  err = SceneError{file, std::string(), std::string()};
  if (!doc)
  {
    err.problem = "no document to save";
    return false;
  }
  std::string text;
  try
  {
    text = Saver(doc, FolderOf(file)).Document().dump(2) + "\n";
  }
  catch (const SceneProblem& p)
  {
    err.path = p.path;
    err.problem = p.problem;
    return false;
  }
  catch (const std::exception& e)
  {
    err.problem = e.what();
    return false;
  }

  // Whole or not at all: a temporary file beside the target, then a rename over it.
  const std::string temp = file + ".tmp" + std::to_string(getpid());
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    if (!out)
    {
      err.problem = "cannot write into " + FolderOf(file);
      return false;
    }
    out << text;
    out.flush();
    if (!out)
    {
      err.problem = "writing failed (disk full?)";
      out.close();
      std::remove(temp.c_str());
      return false;
    }
  }
  std::error_code ec;
  fs::rename(temp, file, ec);
  if (ec)
  {
    err.problem = "cannot be replaced: " + ec.message();
    std::remove(temp.c_str());
    return false;
  }
  return true;
}

bool ResolveParameter(const std::string& symbolOrId, Int32* id)
{
  if (symbolOrId.empty())
    return false;
  char* end = nullptr;
  const long n = std::strtol(symbolOrId.c_str(), &end, 10);
  if (*end == '\0')
  {
    *id = static_cast<Int32>(n);
    return true;
  }
  return Descriptions().ResolveSymbol(String(symbolOrId), id);
}

bool ParseParameterValue(BaseList2D* node, Int32 id, const std::string& jsonText, GeData* out, std::string* problem)
{
  const DescriptionResource* desc = node ? DescriptionOf(node->GetType()) : nullptr;
  if (!desc)
  {
    *problem = "the node has no description";
    return false;
  }
  const BaseContainer* settings = FindEntry(*desc, std::to_string(id), &id);
  if (!settings)
  {
    *problem = Str(desc->name) + " has no parameter " + std::to_string(id);
    return false;
  }
  Json v;
  try
  {
    v = Json::parse(jsonText);
  }
  catch (const Json::parse_error&)
  {
    // A bare word is a string (a file name, a text, a cycle's symbol).
    v = jsonText;
  }
  catch (const Json::exception& e)
  {
    *problem = e.what();
    return false;
  }
  try
  {
    BaseDocument* doc = node->GetDocument();
    const std::string folder = doc ? Str(doc->GetDocumentPath().GetString()) : std::string();
    *out = ReadParameter(v, std::string(), *settings, *desc, node, folder);
  }
  catch (const SceneProblem& p)
  {
    *problem = p.problem;
    return false;
  }
  return true;
}
} // namespace host::scene
