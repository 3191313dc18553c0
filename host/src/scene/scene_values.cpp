// Single values of a scene file: numbers, angles, vectors and plug-in parameters.
#include "scene/scene_values.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <set>

#include "c4d_resource.h"
#include "c4d_shader.h"
#include "host_app.h"

namespace host::scene
{
namespace
{
constexpr Float kDeg = 3.14159265358979323846 / 180.0;

std::string Number(Float v)
{
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", v);
  return text;
}
} // namespace

void Fail(const std::string& path, const std::string& problem)
{
  throw SceneProblem{path.empty() ? "/" : path, problem};
}

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

std::string Kind(const Json& v)
{
  switch (v.type())
  {
    case Json::value_t::null: return "null";
    case Json::value_t::boolean: return "a boolean";
    case Json::value_t::string: return "a string";
    case Json::value_t::array: return "an array";
    case Json::value_t::object: return "an object";
    default: return "a number";
  }
}

Float ReadNumber(const Json& v, const std::string& path)
{
  if (!v.is_number())
    Fail(path, "expected a number, found " + Kind(v));
  const Float f = v.get<Float>();
  if (!std::isfinite(f))
    Fail(path, "expected a finite number");
  return f;
}

Int32 ReadInt(const Json& v, const std::string& path, Int32 lo, Int32 hi)
{
  const Float f = ReadNumber(v, path);
  if (f != std::floor(f))
    Fail(path, "expected a whole number, found " + Number(f));
  if (f < lo || f > hi)
    Fail(path, Number(f) + " is out of range " + std::to_string(lo) + " to " + std::to_string(hi));
  return static_cast<Int32>(f);
}

Bool ReadBool(const Json& v, const std::string& path)
{
  if (v.is_boolean())
    return v.get<bool>();
  if (v.is_number_integer() && (v.get<long long>() == 0 || v.get<long long>() == 1))
    return v.get<long long>() == 1;
  Fail(path, "expected true or false, found " + (v.is_number() ? v.dump() : Kind(v)));
}

std::string ReadString(const Json& v, const std::string& path)
{
  if (!v.is_string())
    Fail(path, "expected a string, found " + Kind(v));
  return v.get<std::string>();
}

Float ReadAngle(const Json& v, const std::string& path)
{
  if (v.is_object())
  {
    if (v.size() != 1 || !v.contains("deg"))
      Fail(path, "an angle is a number in radians or {\"deg\": degrees}");
    return ReadNumber(v["deg"], path + "/deg") * kDeg;
  }
  return ReadNumber(v, path);
}

Vector ReadVector(const Json& v, const std::string& path, Bool angles)
{
  if (angles && v.is_object())
  {
    if (v.size() != 1 || !v.contains("deg"))
      Fail(path, "angles are [h, p, b] in radians or {\"deg\": [h, p, b]}");
    return ReadVector(v["deg"], path + "/deg") * kDeg;
  }
  if (!v.is_array() || v.size() != 3)
    Fail(path, "expected an array of 3 numbers, found " + (v.is_array() ? std::to_string(v.size()) + " values" : Kind(v)));
  return Vector(ReadNumber(v[0], path + "/0"), ReadNumber(v[1], path + "/1"), ReadNumber(v[2], path + "/2"));
}

Vector ReadColor(const Json& v, const std::string& path)
{
  const Vector c = ReadVector(v, path);
  if (c.x < 0.0 || c.y < 0.0 || c.z < 0.0)
    Fail(path, "a colour's components are 0 or above");
  return c;
}

Json WriteAngle(Float radians)
{
  const Float deg = radians / kDeg;
  if (deg * kDeg == radians)
    return Json{{"deg", deg}};
  return radians;
}

Json WriteVector(const Vector& v)
{
  return Json::array({v.x, v.y, v.z});
}

Json WriteAngles(const Vector& r)
{
  const Vector d = r * (1.0 / kDeg);
  if (d.x * kDeg == r.x && d.y * kDeg == r.y && d.z * kDeg == r.z)
    return Json{{"deg", WriteVector(d)}};
  return WriteVector(r);
}

Int32 FindPluginType(const Json& v, const std::string& path, Bool videoPost)
{
  const PluginEntry::Kind kind = videoPost ? PluginEntry::Kind::VideoPost : PluginEntry::Kind::Tag;
  const char* what = videoPost ? "video post" : "tag";
  if (v.is_number_integer())
  {
    const PluginEntry* e = App().plugins.Find(v.get<Int32>());
    if (!e || e->kind != kind)
      Fail(path, std::string("no ") + what + " plug-in has the id " + v.dump());
    return e->id;
  }
  const std::string name = ReadString(v, path);
  for (const PluginEntry& e : App().plugins.All())
    if (e.kind == kind && (e.description.GetStdString() == name || e.name.GetStdString() == name))
      return e.id;
  Fail(path, std::string("unknown ") + what + " type \"" + name + "\"");
}

const DescriptionResource* DescriptionOf(Int32 type)
{
  const String name = DescriptionNameOf(type);
  return name.IsPopulated() ? Descriptions().Find(name) : nullptr;
}

Json ParseJson(const std::string& text)
{
  // One set of keys per open object; arrays take a place too, so that depths line up.
  std::vector<std::set<std::string>> open;
  return Json::parse(text, [&](int, Json::parse_event_t event, Json& parsed) {
    switch (event)
    {
      case Json::parse_event_t::object_start:
      case Json::parse_event_t::array_start: open.emplace_back(); break;
      case Json::parse_event_t::object_end:
      case Json::parse_event_t::array_end: open.pop_back(); break;
      case Json::parse_event_t::key:
        if (!open.back().insert(parsed.get<std::string>()).second)
          throw DuplicateKey("the key \"" + parsed.get<std::string>() + "\" appears twice in one object");
        break;
      default: break;
    }
    return true;
  });
}

bool ParseId(const std::string& text, Int32* id)
{
  if (text.empty())
    return false;
  char* end = nullptr;
  errno = 0;
  const long long n = std::strtoll(text.c_str(), &end, 10);
  // Beyond Int32 an id would wrap onto another parameter's.
  if (*end != '\0' || errno == ERANGE || n < std::numeric_limits<Int32>::min() || n > std::numeric_limits<Int32>::max())
    return false;
  *id = static_cast<Int32>(n);
  return true;
}

const BaseContainer* FindEntry(const DescriptionResource& desc, const std::string& key, Int32* id)
{
  Int32 want = 0;
  const auto sym = desc.symbols.find(key);
  if (sym != desc.symbols.end())
    want = sym->second;
  else
  {
    if (!ParseId(key, &want))
      return nullptr;
  }
  for (const auto& [entryId, settings] : desc.entries)
    if (entryId == want)
    {
      *id = entryId;
      return &settings;
    }
  return nullptr;
}

std::string EntrySymbol(const DescriptionResource& desc, Int32 id)
{
  // Cycle values share the symbol table; entry ids start at 1000, their values rarely do, and
  // where both match the name that isn't a value of a cycle wins by its length.
  std::string best;
  for (const auto& [name, value] : desc.symbols)
    if (value == id && (best.empty() || name.size() < best.size()))
      best = name;
  return best.empty() ? std::to_string(id) : best;
}

std::string ResolvePath(const std::string& name, const std::string& folder)
{
  if (name.empty() || name[0] == '/' || folder.empty())
    return name;
  return (std::filesystem::path(folder) / name).lexically_normal().string();
}

std::string RelativePath(const std::string& path, const std::string& folder)
{
  if (path.empty() || folder.empty() || path[0] != '/')
    return path;
  const std::filesystem::path rel = std::filesystem::path(path).lexically_relative(folder);
  if (rel.empty() || *rel.begin() == "..")
    return path;
  return rel.string();
}

namespace
{
// The range of a REAL or LONG entry in the units its panel shows.
void CheckRange(Float shown, const BaseContainer& settings, const std::string& path, const std::string& unit)
{
  const GeData* lo = settings.GetDataPointer(DESC_MIN);
  const GeData* hi = settings.GetDataPointer(DESC_MAX);
  const Float eps = 1e-9 * std::max(1.0, std::fabs(shown));
  if ((lo && shown < lo->GetFloat() - eps) || (hi && shown > hi->GetFloat() + eps))
    Fail(path, Number(shown) + unit + " is out of range " + (lo ? Number(lo->GetFloat()) : std::string("-inf")) +
                 " to " + (hi ? Number(hi->GetFloat()) : std::string("inf")) + unit);
}

struct ShaderFree
{
  void operator()(BaseShader* sh) const { BaseShader::Free(sh); }
};

BaseShader* ReadShader(const Json& v, const std::string& path, const std::string& folder)
{
  if (!v.is_object() || !v.contains("shader"))
    Fail(path, "a shader is an object with \"shader\": \"color\", \"gradient\" or \"picture\"");
  const std::string kind = ReadString(v["shader"], path + "/shader");
  auto allow = [&](std::initializer_list<const char*> keys) {
    for (auto it = v.begin(); it != v.end(); ++it)
    {
      bool known = it.key() == "shader";
      for (const char* k : keys)
        known = known || it.key() == k;
      if (!known)
        Fail(path + "/" + it.key(), "unknown key for a " + kind + " shader");
    }
  };
  // Owned until it is complete: any value below may turn out bad.
  std::unique_ptr<BaseShader, ShaderFree> sh;
  if (kind == "color")
  {
    allow({"color", "brightness"});
    sh.reset(BaseShader::Alloc(Xcolor));
    if (v.contains("color"))
      sh->GetDataInstance()->SetVector(COLORSHADER_COLOR, ReadColor(v["color"], path + "/color"));
    if (v.contains("brightness"))
      sh->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, ReadNumber(v["brightness"], path + "/brightness"));
  }
  else if (kind == "picture")
  {
    allow({"file"});
    if (!v.contains("file"))
      Fail(path, "a picture shader needs \"file\"");
    const std::string file = ResolvePath(ReadString(v["file"], path + "/file"), folder);
    if (!std::filesystem::is_regular_file(file))
      Fail(path + "/file", "picture \"" + file + "\" not found");
    sh.reset(BaseShader::Alloc(Xbitmap));
    sh->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename(file.c_str()));
  }
  else if (kind == "gradient")
  {
    allow({"knots"});
    if (!v.contains("knots") || !v["knots"].is_array() || v["knots"].size() < 2)
      Fail(path + "/knots", "a gradient needs \"knots\": at least two [position, [r, g, b]]");
    BaseContainer knots;
    Int32 n = 0;
    for (const Json& k : v["knots"])
    {
      const std::string kp = path + "/knots/" + std::to_string(n);
      if (!k.is_array() || k.size() != 2)
        Fail(kp, "a knot is [position, [r, g, b]]");
      BaseContainer knot;
      knot.SetFloat(GRADIENTKNOT_POSITION, ReadNumber(k[0], kp + "/0"));
      knot.SetVector(GRADIENTKNOT_COLOR, ReadColor(k[1], kp + "/1"));
      knots.SetContainer(n++, knot);
    }
    sh.reset(BaseShader::Alloc(Xgradient));
    sh->GetDataInstance()->SetContainer(GRADIENTSHADER_KNOTS, knots);
  }
  else
    Fail(path + "/shader", "unknown shader \"" + kind + "\" (color, gradient or picture)");
  if (!sh)
    Fail(path, "the shader could not be made");
  return sh.release();
}

Json WriteShader(const BaseShader* sh, const std::string& folder)
{
  const BaseContainer* bc = sh->GetDataInstance();
  switch (sh->GetType())
  {
    case Xcolor:
      return Json{{"shader", "color"},
                  {"color", WriteVector(bc->GetVector(COLORSHADER_COLOR, Vector(1.0, 1.0, 1.0)))},
                  {"brightness", bc->GetFloat(COLORSHADER_BRIGHTNESS, 1.0)}};
    case Xbitmap:
      return Json{{"shader", "picture"},
                  {"file", RelativePath(bc->GetFilename(BITMAPSHADER_FILENAME).GetString().GetStdString(), folder)}};
    case Xgradient:
    {
      Json knots = Json::array();
      const BaseContainer list = bc->GetContainer(GRADIENTSHADER_KNOTS);
      for (Int32 i = 0; i < list.GetDataCount(); ++i)
      {
        const BaseContainer knot = list.GetContainer(list.GetIndexId(i));
        knots.push_back(Json::array({knot.GetFloat(GRADIENTKNOT_POSITION), WriteVector(knot.GetVector(GRADIENTKNOT_COLOR))}));
      }
      return Json{{"shader", "gradient"}, {"knots", knots}};
    }
    default:
      return Json();
  }
}
} // namespace

GeData ReadParameter(const Json& v, const std::string& path, const BaseContainer& settings,
                     const DescriptionResource& desc, BaseList2D* node, const std::string& folder)
{
  const std::string type = settings.GetString(DESC_TYPE).GetStdString();
  const std::string unit = settings.GetString(DESC_UNIT).GetStdString();
  if (type == "BOOL")
    return GeData(ReadBool(v, path));
  if (type == "LONG")
  {
    Int32 value = 0;
    if (v.is_string())
    {
      // A cycle's value by its symbol.
      const auto sym = desc.symbols.find(v.get<std::string>());
      if (sym == desc.symbols.end())
        Fail(path, "unknown symbol \"" + v.get<std::string>() + "\"");
      value = sym->second;
    }
    else
      value = ReadInt(v, path, std::numeric_limits<Int32>::min(), std::numeric_limits<Int32>::max());
    if (const GeData* cycle = settings.GetDataPointer(DESC_CYCLE))
    {
      const BaseContainer* values = cycle->GetContainer();
      if (values && !values->GetDataPointer(value))
      {
        std::string allowed;
        for (Int32 i = 0; i < values->GetDataCount(); ++i)
          allowed += (i ? ", " : "") + std::to_string(values->GetIndexId(i));
        Fail(path, std::to_string(value) + " is not one of " + allowed);
      }
    }
    CheckRange(value, settings, path, "");
    return GeData(value);
  }
  if (type == "REAL")
  {
    if (unit == "DEGREE")
    {
      const Float rad = ReadAngle(v, path);
      CheckRange(rad / kDeg, settings, path, "°");
      return GeData(rad);
    }
    // A percentage is stored as the number the panel shows beside its % sign.
    const Float f = ReadNumber(v, path);
    CheckRange(f, settings, path, unit == "PERCENT" ? "%" : "");
    return GeData(f);
  }
  if (type == "VECTOR")
    return GeData(ReadVector(v, path));
  if (type == "STRING")
    return GeData(String(ReadString(v, path)));
  if (type == "FILENAME")
  {
    const std::string name = ReadString(v, path);
    return GeData(Filename(ResolvePath(name, folder).c_str()));
  }
  if (type == "BASETIME")
    return GeData(BaseTime(ReadNumber(v, path)));
  if (type == "SHADERLINK")
  {
    if (v.is_null())
      return GeData(static_cast<BaseList2D*>(nullptr));
    BaseShader* sh = ReadShader(v, path, folder);
    node->InsertShader(sh);
    return GeData(static_cast<BaseList2D*>(sh));
  }
  Fail(path, "a " + type + " entry holds no value to set");
}

Json WriteParameter(const GeData& value, const BaseContainer& settings, const BaseDocument* doc, const std::string& folder)
{
  const std::string type = settings.GetString(DESC_TYPE).GetStdString();
  const std::string unit = settings.GetString(DESC_UNIT).GetStdString();
  if (type == "BOOL")
    return value.GetBool();
  if (type == "LONG")
    return value.GetInt32();
  if (type == "REAL")
    return unit == "DEGREE" ? WriteAngle(value.GetFloat()) : Json(value.GetFloat());
  if (type == "VECTOR")
    return WriteVector(value.GetVector());
  if (type == "STRING")
    return value.GetString().GetStdString();
  if (type == "FILENAME")
    return RelativePath(value.GetString().GetStdString(), folder);
  if (type == "BASETIME")
    return value.GetTime().Get();
  if (type == "SHADERLINK")
  {
    const auto* sh = static_cast<const BaseShader*>(value.GetLink(doc));
    return sh ? WriteShader(sh, folder) : Json();
  }
  return Json();
}
} // namespace host::scene
