// A scene file's "tracks": keys on an object's placement, on a tag's or a video post's
// parameters (by symbol or id, as "params" writes them) and on the render settings.
#include <algorithm>
#include <functional>

#include "c4d_resource.h"
#include "render/render_limits.h"
#include "scene/scene_io.h"

namespace host::scene
{
namespace
{
using ReadValue = std::function<GeData(const Json& v, const std::string& path)>;
using WriteValue = std::function<Json(const GeData& value)>;

// The render settings a track may drive, by the names "render" gives them. The frame rate counts
// the frames themselves, so it has no track.
struct RenderSetting
{
  const char* name;
  Int32 id;
  Bool isSwitch;
};
constexpr RenderSetting kRenderSettings[] = {
  {"width", RDATA_XRES, false},
  {"height", RDATA_YRES, false},
  {"stereo", RDATA_STEREO, true},
  {"alpha", RDATA_ALPHACHANNEL, true},
};

const char* InterpolationName(Interpolation i)
{
  return i == Interpolation::Step ? "step" : i == Interpolation::Linear ? "linear" : "smooth";
}

std::vector<AnimationKey> ReadKeys(const Json& list, const std::string& path, const ReadValue& read)
{
  RequireArray(list, path);
  if (list.empty())
    Fail(path, "a track needs at least one key");
  std::vector<AnimationKey> keys;
  for (size_t i = 0; i < list.size(); ++i)
  {
    const std::string p = path + "/" + std::to_string(i);
    const Json& k = list[i];
    RequireObject(k, p);
    AllowKeys(k, p, {"time", "value", "interpolation"}, "a key");
    AnimationKey key;
    key.time = ReadNumber(Member(k, "time", p), p + "/time");
    if (!keys.empty() && key.time < keys.back().time)
      Fail(p + "/time", "keys go in time order: this key's time comes before the key's before it");
    key.value = read(Member(k, "value", p), p + "/value");
    key.interpolation = Interpolates(key.value) ? Interpolation::Smooth : Interpolation::Step;
    if (k.contains("interpolation"))
    {
      const std::string name = ReadString(k["interpolation"], p + "/interpolation");
      if (name != "step" && name != "linear" && name != "smooth")
        Fail(p + "/interpolation", "\"" + name + "\" is not step, linear or smooth");
      key.interpolation = name == "step" ? Interpolation::Step : name == "linear" ? Interpolation::Linear
                                                                                 : Interpolation::Smooth;
      if (key.interpolation != Interpolation::Step && !Interpolates(key.value))
        Fail(p + "/interpolation", "a value that is not a number or a vector (a whole number, a switch, a text) "
                                   "can only step from key to key: use \"step\"");
    }
    keys.push_back(std::move(key));
  }
  return keys;
}

Json WriteKeys(const std::vector<AnimationKey>& keys, const WriteValue& write)
{
  Json out = Json::array();
  for (const AnimationKey& k : keys)
    out.push_back(Json{{"time", k.time}, {"value", write(k.value)}, {"interpolation", InterpolationName(k.interpolation)}});
  return out;
}

const RenderSetting* RenderSettingNamed(const std::string& name)
{
  for (const RenderSetting& s : kRenderSettings)
    if (name == s.name)
      return &s;
  return nullptr;
}
} // namespace

void ReadObjectTracks(const Json& v, const std::string& path, BaseObject* op)
{
  RequireObject(v, path);
  AllowKeys(v, path, {"position", "rotation", "scale"}, "an object's tracks");
  const std::pair<const char*, TrackTarget> targets[] = {
    {"position", TrackTarget::Position}, {"rotation", TrackTarget::Rotation}, {"scale", TrackTarget::Scale}};
  for (const auto& [name, target] : targets)
  {
    if (!v.contains(name))
      continue;
    const bool angles = target == TrackTarget::Rotation, scale = target == TrackTarget::Scale;
    Track track;
    track.target = target;
    track.keys = ReadKeys(v[name], path + "/" + name, [&](const Json& j, const std::string& p) {
      const Vector x = ReadVector(j, p, angles);
      if (scale && (x.x == 0.0 || x.y == 0.0 || x.z == 0.0))
        Fail(p, "a scale of 0 flattens the object away");
      return GeData(x);
    });
    SetTrack(op, std::move(track));
  }
}

void ReadParamTracks(const Json& v, const std::string& path, BaseList2D* node, const DescriptionResource& desc,
                     const std::string& folder)
{
  RequireObject(v, path);
  for (auto it = v.begin(); it != v.end(); ++it)
  {
    const std::string p = path + "/" + it.key();
    Int32 id = 0;
    const BaseContainer* settings = FindEntry(desc, it.key(), &id);
    if (!settings)
      Fail(p, "\"" + desc.name.GetStdString() + "\" has no parameter " + it.key());
    const std::string type = settings->GetString(DESC_TYPE).GetStdString();
    if (type != "BOOL" && type != "LONG" && type != "REAL" && type != "VECTOR" && type != "STRING" &&
        type != "FILENAME" && type != "BASETIME")
      Fail(p, it.key() + " is a " + type + " parameter, which has no track");
    Track track;
    track.id = id;
    track.keys = ReadKeys(it.value(), p, [&](const Json& j, const std::string& kp) {
      return ReadParameter(j, kp, *settings, desc, node, folder);
    });
    SetTrack(node, std::move(track));
  }
}

void ReadRenderTracks(const Json& v, const std::string& path, RenderData* rd)
{
  RequireObject(v, path);
  for (auto it = v.begin(); it != v.end(); ++it)
  {
    const std::string p = path + "/" + it.key();
    if (it.key() == "fps")
      Fail(p, "the render's frame rate counts the frames, so it can't be animated");
    const RenderSetting* setting = RenderSettingNamed(it.key());
    if (!setting)
      Fail(p, "unknown key for the render settings' tracks (width, height, stereo, alpha)");
    Track track;
    track.id = setting->id;
    track.keys = ReadKeys(it.value(), p, [&](const Json& j, const std::string& kp) {
      return setting->isSwitch ? GeData(ReadBool(j, kp)) : GeData(ReadInt(j, kp, 1, render::kMaxFrameSide));
    });
    SetTrack(rd, std::move(track));
  }
}

Json WriteTracks(const BaseList2D* node, const DescriptionResource* desc, const BaseDocument* doc,
                 const std::string& folder)
{
  const std::vector<Track>* tracks = TracksOf(node);
  if (!tracks)
    return Json();
  Json out = Json::object();
  for (const Track& t : *tracks)
  {
    switch (t.target)
    {
      case TrackTarget::Position: out["position"] = WriteKeys(t.keys, [](const GeData& g) { return WriteVector(g.GetVector()); }); break;
      case TrackTarget::Rotation: out["rotation"] = WriteKeys(t.keys, [](const GeData& g) { return WriteAngles(g.GetVector()); }); break;
      case TrackTarget::Scale: out["scale"] = WriteKeys(t.keys, [](const GeData& g) { return WriteVector(g.GetVector()); }); break;
      case TrackTarget::Parameter:
        if (desc)
        {
          const auto entry = std::find_if(desc->entries.begin(), desc->entries.end(),
                                          [&](const auto& e) { return e.first == t.id; });
          if (entry == desc->entries.end())
            continue;
          out[EntrySymbol(*desc, t.id)] = WriteKeys(
            t.keys, [&](const GeData& g) { return WriteParameter(g, entry->second, doc, folder); });
        }
        else
          for (const RenderSetting& s : kRenderSettings)
            if (s.id == t.id)
              out[s.name] = WriteKeys(t.keys, [&](const GeData& g) {
                return s.isSwitch ? Json(g.GetBool()) : Json(g.GetInt32());
              });
        break;
    }
  }
  return out;
}
} // namespace host::scene
