// The tables of object kinds and of a material, and the one reader and writer that walk them.
#include "scene/scene_kinds.h"

#include <algorithm>
#include <filesystem>

#include "c4d_objects.h"

namespace host::scene
{
namespace
{
SceneKey Key(const char* name, KeyType type, Int32 id, const char* problem = nullptr)
{
  SceneKey k;
  k.name = name;
  k.type = type;
  k.id = id;
  k.problem = problem;
  return k;
}

SceneKey Pair(const char* name, KeyType type, Int32 id, Int32 id2, const char* form, const char* problem)
{
  SceneKey k = Key(name, type, id, problem);
  k.id2 = id2;
  k.form = form;
  return k;
}

SceneKey Choice(const char* name, Int32 id, const char* problem, std::vector<KeyChoice> choices)
{
  SceneKey k = Key(name, KeyType::Choice, id, problem);
  k.choices = std::move(choices);
  return k;
}

SceneKey Variant(SceneKey k, Int32 value)
{
  k.picksVariant = true;
  k.variant = value;
  return k;
}

SceneKey WithDefault(SceneKey k, const Vector& def, const Vector& def2 = Vector())
{
  k.writeDefault = true;
  k.def = def;
  k.def2 = def2;
  return k;
}

const char* kIntensity = "the intensity must be 0 or above";

std::vector<KindTable> MakeObjectKinds()
{
  const Float plane = 400.0; // a plane's side where only the other one was set
  KindTable sky{"sky", Osky,
                {Variant(Key("color", KeyType::Color, SKY_COLOR), SKY_TYPE_COLOR),
                 Variant(Pair("gradient", KeyType::Gradient, SKY_COLOR_TOP, SKY_COLOR_BOTTOM, nullptr, nullptr),
                         SKY_TYPE_GRADIENT),
                 Variant(Key("picture", KeyType::File, SKY_PICTURE), SKY_TYPE_PICTURE),
                 Key("intensity", KeyType::NonNegative, SKY_INTENSITY, kIntensity)}};
  sky.variantId = SKY_TYPE;
  sky.variantProblem = "a sky is a colour, a gradient or a picture, not several";
  return {
    {"null", Onull, {}},
    {"camera", Ocamera,
     {Key("focal", KeyType::Positive, CAMERA_FOCUS), Key("aperture", KeyType::Positive, CAMERAOBJECT_APERTURE)}},
    {"sphere", Osphere, {Key("radius", KeyType::Positive, PRIM_SPHERE_RAD)}},
    {"cube", Ocube, {Key("size", KeyType::PositiveVector, PRIM_CUBE_LEN, "a cube's edges must be above 0")}},
    {"plane", Oplane,
     {WithDefault(Pair("size", KeyType::PlaneSize, PRIM_PLANE_WIDTH, PRIM_PLANE_HEIGHT, "a plane's size is [width, depth]",
                       "a plane's width and depth must be above 0"),
                  Vector(plane), Vector(plane))}},
    {"cylinder", Ocylinder,
     {Key("radius", KeyType::Positive, PRIM_CYLINDER_RADIUS), Key("height", KeyType::Positive, PRIM_CYLINDER_HEIGHT),
      Key("caps", KeyType::Bool, PRIM_CYLINDER_CAPS)}},
    {"mesh", Opolygon,
     {Key("file", KeyType::Geometry, 0), Key("points", KeyType::Geometry, 0), Key("polygons", KeyType::Geometry, 0)}},
    sky,
    {"light", Olight,
     {Choice("kind", LIGHT_TYPE, " is not a light kind (point or sun)",
             {{"point", LIGHT_TYPE_POINT}, {"sun", LIGHT_TYPE_DISTANT}}),
      Key("color", KeyType::Color, LIGHT_COLOR), Key("intensity", KeyType::NonNegative, LIGHT_BRIGHTNESS, kIntensity),
      Key("shadow", KeyType::Bool, LIGHT_SHADOW)}},
  };
}

KindTable MakeMaterialKeys()
{
  KindTable m{"material", 0,
              {Variant(WithDefault(Key("color", KeyType::Color, MATERIAL_COLOR), Vector(0.8, 0.8, 0.8)),
                       MATERIAL_TYPE_COLOR),
               Variant(WithDefault(Pair("checker", KeyType::ColorPair, MATERIAL_COLOR, MATERIAL_COLOR2,
                                        "a checker is two colours [[r, g, b], [r, g, b]]", nullptr),
                                   Vector(0.8, 0.8, 0.8), Vector(0.2, 0.2, 0.2)),
                       MATERIAL_TYPE_CHECKER),
               Variant(Key("picture", KeyType::File, MATERIAL_PICTURE), MATERIAL_TYPE_PICTURE),
               Key("scale", KeyType::Positive, MATERIAL_CHECKER_SIZE, "a checker cell must be above 0"),
               Choice("projection", MATERIAL_PROJECTION, " is not uv, spherical or planar",
                      {{"uv", MATERIAL_PROJECTION_UV},
                       {"spherical", MATERIAL_PROJECTION_SPHERICAL},
                       {"planar", MATERIAL_PROJECTION_PLANAR}}),
               Key("size", KeyType::Positive, MATERIAL_PROJECTION_SIZE, "the picture's size must be above 0")}};
  m.variantId = MATERIAL_TYPE;
  m.variantRequired = true;
  m.variantProblem = "a material is one of \"color\", \"checker\" or \"picture\"";
  return m;
}

std::string RangeProblem(const SceneKey& key)
{
  return key.problem ? std::string(key.problem) : std::string(key.name) + " must be above 0";
}

void ReadGradient(const Json& g, const std::string& path, const SceneKey& key, BaseContainer* bc)
{
  RequireObject(g, path);
  AllowKeys(g, path, {"top", "bottom"}, "a sky gradient");
  if (g.contains("top"))
    bc->SetVector(key.id, ReadColor(g["top"], path + "/top"));
  if (g.contains("bottom"))
    bc->SetVector(key.id2, ReadColor(g["bottom"], path + "/bottom"));
}

void ReadPair(const Json& v, const std::string& path, const SceneKey& key, BaseContainer* bc)
{
  if (!v.is_array() || v.size() != 2)
    Fail(path, key.form);
  if (key.type == KeyType::ColorPair)
  {
    bc->SetVector(key.id, ReadColor(v[0], path + "/0"));
    bc->SetVector(key.id2, ReadColor(v[1], path + "/1"));
    return;
  }
  const Float a = ReadNumber(v[0], path + "/0"), b = ReadNumber(v[1], path + "/1");
  if (!(a > 0.0 && b > 0.0))
    Fail(path, key.problem);
  bc->SetFloat(key.id, a);
  bc->SetFloat(key.id2, b);
}

void ReadChoice(const Json& v, const std::string& path, const SceneKey& key, BaseContainer* bc)
{
  const std::string name = ReadString(v, path);
  for (const KeyChoice& c : key.choices)
    if (name == c.name)
      return bc->SetInt32(key.id, c.value);
  Fail(path, "\"" + name + "\"" + key.problem);
}

void ReadKey(const Json& v, const std::string& path, const SceneKey& key, BaseContainer* bc, const std::string& folder)
{
  switch (key.type)
  {
    case KeyType::Positive:
    case KeyType::NonNegative:
    {
      const Float f = ReadNumber(v, path);
      if (key.type == KeyType::Positive ? !(f > 0.0) : f < 0.0)
        Fail(path, RangeProblem(key));
      return bc->SetFloat(key.id, f);
    }
    case KeyType::PositiveVector:
    {
      const Vector s = ReadVector(v, path);
      if (!(s.x > 0.0 && s.y > 0.0 && s.z > 0.0))
        Fail(path, RangeProblem(key));
      return bc->SetVector(key.id, s);
    }
    case KeyType::Bool: return bc->SetBool(key.id, ReadBool(v, path));
    case KeyType::Color: return bc->SetVector(key.id, ReadColor(v, path));
    case KeyType::ColorPair:
    case KeyType::PlaneSize: return ReadPair(v, path, key, bc);
    case KeyType::Gradient: return ReadGradient(v, path, key, bc);
    case KeyType::Choice: return ReadChoice(v, path, key, bc);
    case KeyType::File: return bc->SetFilename(key.id, Filename(ExistingFile(v, path, folder, "picture").c_str()));
    case KeyType::Geometry: return;
  }
}

/// What the container holds under `id`, written by its stored type.
Json Stored(const GeData& d)
{
  if (d.GetType() == DA_VECTOR)
    return WriteVector(d.GetVector());
  if (d.GetType() == DA_REAL)
    return d.GetFloat();
  return d.GetBool();
}

Json WriteKey(const BaseContainer& bc, const SceneKey& key, const std::string& folder)
{
  const GeData* d = bc.GetDataPointer(key.id);
  switch (key.type)
  {
    case KeyType::ColorPair:
      return Json::array({WriteVector(bc.GetVector(key.id, key.def)), WriteVector(bc.GetVector(key.id2, key.def2))});
    case KeyType::PlaneSize:
      if (!d && !bc.GetDataPointer(key.id2))
        return Json();
      return Json::array({bc.GetFloat(key.id, key.def.x), bc.GetFloat(key.id2, key.def2.x)});
    case KeyType::Gradient:
    {
      Json g = Json::object();
      if (d)
        g["top"] = WriteVector(d->GetVector());
      if (bc.GetDataPointer(key.id2))
        g["bottom"] = WriteVector(bc.GetVector(key.id2));
      return g;
    }
    case KeyType::Choice:
    {
      if (!d)
        return Json();
      for (const KeyChoice& c : key.choices)
        if (c.value == d->GetInt32())
          return c.name;
      return key.choices.front().name;
    }
    case KeyType::File: return RelativePath(bc.GetFilename(key.id).GetString().GetStdString(), folder);
    case KeyType::Geometry: return Json();
    default:
      if (key.writeDefault)
        return WriteVector(bc.GetVector(key.id, key.def));
      return d ? Stored(*d) : Json();
  }
}
} // namespace

const std::vector<KindTable>& ObjectKinds()
{
  static const std::vector<KindTable> kinds = MakeObjectKinds();
  return kinds;
}

const KindTable& MaterialKeys()
{
  static const KindTable material = MakeMaterialKeys();
  return material;
}

const KindTable* KindOf(Int32 type)
{
  for (const KindTable& k : ObjectKinds())
    if (k.type == type)
      return &k;
  return nullptr;
}

const KindTable* KindNamed(const std::string& name)
{
  for (const KindTable& k : ObjectKinds())
    if (name == k.name)
      return &k;
  return nullptr;
}

std::string ExistingFile(const Json& v, const std::string& path, const std::string& folder, const char* what)
{
  const std::string file = ResolvePath(ReadString(v, path), folder);
  if (!std::filesystem::is_regular_file(file))
    Fail(path, std::string(what) + " \"" + file + "\" not found");
  return file;
}

void AllowKindKeys(const Json& v, const std::string& path, const KindTable& kind, const std::vector<std::string>& common)
{
  for (auto it = v.begin(); it != v.end(); ++it)
  {
    const bool own = std::any_of(kind.keys.begin(), kind.keys.end(), [&](const SceneKey& k) { return it.key() == k.name; });
    if (!own && std::find(common.begin(), common.end(), it.key()) == common.end())
      Fail(path + "/" + it.key(), std::string("unknown key for a ") + kind.name);
  }
}

void ReadKindKeys(const Json& v, const std::string& path, const KindTable& kind, BaseContainer* bc, const std::string& folder)
{
  if (kind.variantId != 0)
  {
    const auto picked = std::count_if(kind.keys.begin(), kind.keys.end(),
                                      [&](const SceneKey& k) { return k.picksVariant && v.contains(k.name); });
    if (kind.variantRequired ? picked != 1 : picked > 1)
      Fail(path, kind.variantProblem);
  }
  for (const SceneKey& key : kind.keys)
  {
    if (!v.contains(key.name))
      continue;
    if (key.picksVariant)
      bc->SetInt32(kind.variantId, key.variant);
    ReadKey(v[key.name], path + "/" + key.name, key, bc, folder);
  }
}

void WriteKindKeys(const BaseContainer& bc, const KindTable& kind, const std::string& folder, Json* out)
{
  // A variant value the table does not know is written as the first variant.
  Int32 variant = 0;
  if (kind.variantId != 0)
  {
    const auto first = std::find_if(kind.keys.begin(), kind.keys.end(), [](const SceneKey& k) { return k.picksVariant; });
    variant = bc.GetInt32(kind.variantId, first->variant);
    if (std::none_of(kind.keys.begin(), kind.keys.end(),
                     [&](const SceneKey& k) { return k.picksVariant && k.variant == variant; }))
      variant = first->variant;
  }
  for (const SceneKey& key : kind.keys)
  {
    if (key.picksVariant && key.variant != variant)
      continue;
    Json j = WriteKey(bc, key, folder);
    if (!j.is_null())
      (*out)[key.name] = j;
  }
}
} // namespace host::scene
