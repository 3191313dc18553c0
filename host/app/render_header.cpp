// Header attributes of rendered pictures, as OpenEXR readers and compositors look for them.
#include "render_header.h"

#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>

#include <OpenImageIO/typedesc.h>

#include "cli.h"
#include "panel.h"
#include "scene/scene_values.h"

namespace cli
{
namespace
{
Float FrameRate(BaseDocument* doc)
{
  const Float fps = doc->GetActiveRenderData()->GetDataInstance()->GetFloat(RDATA_FRAMERATE, doc->GetFps());
  return fps > 0.0 && std::isfinite(fps) ? fps : 30.0;
}

/// The tag's parameters that its panel shows, by symbol, as a scene file writes them.
std::string TagSettings(BaseDocument* doc, BaseTag* tag)
{
  host::Panel panel;
  if (!host::EvaluatePanel(tag, panel, nullptr))
    return std::string();
  host::scene::Json settings = host::scene::Json::object();
  const std::string folder = doc->GetDocumentPath().GetString().GetStdString();
  for (const host::PanelEntry& e : panel.entries)
    if (e.hasValue && !e.hidden && !e.symbol.empty() && e.type != "STATICTEXT" && e.type != "BUTTON" &&
        e.type != "BITMAPBUTTON")
      settings[e.symbol] = host::scene::WriteParameter(e.value, e.settings, doc, folder);
  return settings.empty() ? std::string() : settings.dump();
}
} // namespace

void AddSceneHeader(BaseDocument* doc, BaseObject* camera, OIIO::ParamValueList& attributes)
{
  attributes.attribute("Software", std::string("orlixcam ") + ORLIXCAM_VERSION);
  // In thousandths of a frame: 29.97 becomes 29970/1000, reduced.
  const int milli = static_cast<int>(std::lround(FrameRate(doc) * 1000.0));
  const int common = std::gcd(milli, 1000);
  const int rate[2] = {milli / common, 1000 / common};
  attributes.attribute("FramesPerSecond", OIIO::TypeRational, rate);
  if (!camera)
    return;
  // Rows as the file's readers multiply them: a point is a row vector, p × M. The matrix is in the
  // scene's own axes (left-handed, +Y up, the camera looking along +Z).
  const Matrix m = camera->GetMg().GetInverse();
  const float rows[16] = {float(m.v1.x), float(m.v1.y), float(m.v1.z), 0.0f, float(m.v2.x), float(m.v2.y),
                          float(m.v2.z), 0.0f, float(m.v3.x), float(m.v3.y), float(m.v3.z), 0.0f,
                          float(m.off.x), float(m.off.y), float(m.off.z), 1.0f};
  attributes.attribute("worldtocamera", OIIO::TypeMatrix, rows);
  for (BaseTag* tag = camera->GetFirstTag(); tag; tag = tag->GetNext())
  {
    const std::string settings = host::scene::DescriptionOf(tag->GetType()) ? TagSettings(doc, tag) : std::string();
    if (!settings.empty())
      attributes.attribute(TypeName(tag->GetType()), settings);
  }
}

void SetTimeCode(BaseDocument* doc, Int32 frame, OIIO::ParamValueList& attributes)
{
  const int64_t perSecond = std::max<int64_t>(1, std::llround(FrameRate(doc)));
  const int64_t f = std::max<int64_t>(0, frame);
  const auto bcd = [](int64_t v) { return static_cast<uint32_t>((v / 10) << 4 | v % 10); };
  // Frames, seconds, minutes and hours in binary-coded decimal, a byte each; hours wrap at a day.
  const uint32_t packed[2] = {(bcd(f % perSecond) & 0x3fu) | bcd(f / perSecond % 60) << 8 | bcd(f / perSecond / 60 % 60) << 16 |
                                bcd(f / perSecond / 3600 % 24) << 24,
                              0u};
  attributes.attribute("smpte:TimeCode", OIIO::TypeTimeCode, packed);
}
} // namespace cli
