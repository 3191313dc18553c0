// Renders a tiny frame through the lens video post with arbitrary values in the lens tag, the
// video post and the render settings: any value of any parameter must render or fail cleanly.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <OpenImageIO/imageio.h>

#include "OrlixTag.h"
#include "c4d.h"
#include "c4d_objects.h"
#include "c4d_resource.h"
#include "fuzz/fuzz_plugin.h"
#include "host_app.h"
#include "register.h"
#include "render/render_loop.h"
#include "resource_parser.h"

namespace
{
struct Param
{
  Int32 id;
  std::string type; // the description's type: LONG, REAL, BOOL, VECTOR, ...
};

std::vector<Param> tagParams, vpParams;
const std::vector<Param> settingsParams = {
  {RDATA_STEREO, "BOOL"}, {RDATA_ALPHACHANNEL, "BOOL"}, {RDATA_FRAMERATE, "REAL"}};
std::string tinyPicture, notAPicture;

std::vector<Param> ValueParams(const char* description)
{
  std::vector<Param> out;
  const host::DescriptionResource* res = host::Descriptions().Find(String(description));
  if (!res)
    return out;
  for (const auto& [id, settings] : res->entries)
  {
    const std::string type = settings.GetString(DESC_TYPE).GetStdString();
    if (type != "GROUP" && type != "BUTTON" && type != "STATICTEXT" && type != "SEPARATOR")
      out.push_back({id, type});
  }
  return out;
}

Float AnyFloat(FuzzedDataProvider& in)
{
  static const Float special[] = {0.0, -0.0, 1.0, -1.0, 0.5, 1e-300, -1e300, 1e300,
                                  std::numeric_limits<Float>::infinity(),
                                  -std::numeric_limits<Float>::infinity(),
                                  std::numeric_limits<Float>::quiet_NaN(), 3.14159265358979, 6.2831853};
  if (in.ConsumeBool())
    return in.PickValueInArray(special);
  return in.ConsumeFloatingPoint<Float>();
}

const Param& Pick(FuzzedDataProvider& in, const std::vector<Param>& params)
{
  return params[in.ConsumeIntegralInRange<size_t>(0, params.size() - 1)];
}

Int32 AnyInt(FuzzedDataProvider& in)
{
  return in.ConsumeBool() ? in.ConsumeIntegralInRange<Int32>(-2, 16) : in.ConsumeIntegral<Int32>();
}

BaseShader* AnyShader(FuzzedDataProvider& in)
{
  switch (in.ConsumeIntegralInRange(0, 3))
  {
    case 0:
      return nullptr;
    case 1:
    {
      BaseShader* sh = BaseShader::Alloc(Xcolor);
      sh->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, AnyFloat(in));
      return sh;
    }
    case 2:
    {
      BaseShader* sh = BaseShader::Alloc(Xbitmap);
      const char* names[] = {"", "/nonexistent/picture.png"};
      const std::string name = in.ConsumeBool() ? tinyPicture : (in.ConsumeBool() ? notAPicture : names[in.ConsumeBool()]);
      sh->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename(name.c_str()));
      return sh;
    }
    default:
    {
      BaseShader* sh = BaseShader::Alloc(Xgradient);
      BaseContainer knots;
      const int count = in.ConsumeIntegralInRange(0, 3);
      for (int k = 0; k < count; ++k)
      {
        BaseContainer knot;
        knot.SetFloat(GRADIENTKNOT_POSITION, AnyFloat(in));
        knot.SetVector(GRADIENTKNOT_COLOR, Vector(AnyFloat(in), 0, 0));
        knots.SetContainer(k, knot);
      }
      sh->GetDataInstance()->SetContainer(GRADIENTSHADER_KNOTS, knots);
      return sh;
    }
  }
}

void SetAny(FuzzedDataProvider& in, BaseList2D* node, const Param& p)
{
  BaseContainer& data = *node->GetDataInstance();
  if (p.type == "LONG" || p.type == "BOOL" || p.type == "BITMAPBUTTON")
    data.SetInt32(p.id, AnyInt(in));
  else if (p.type == "REAL")
    data.SetFloat(p.id, AnyFloat(in));
  else if (p.type == "VECTOR")
    data.SetVector(p.id, Vector(AnyFloat(in), AnyFloat(in), AnyFloat(in)));
  else if (p.type == "STRING")
    data.SetString(p.id, String(in.ConsumeRandomLengthString(24)));
  else if (p.type == "BASETIME")
    data.SetTime(p.id, BaseTime(AnyFloat(in), AnyFloat(in)));
  else if (p.type == "FILENAME")
  {
    const std::string choices[] = {std::string(), tinyPicture, notAPicture, "/nonexistent/x.png",
                                   in.ConsumeRandomLengthString(16)};
    data.SetFilename(p.id, Filename(in.PickValueInArray(choices).c_str()));
  }
  else if (p.type == "SHADERLINK")
  {
    BaseShader* sh = AnyShader(in);
    if (sh)
      static_cast<BaseTag*>(node)->InsertShader(sh);
    data.SetLink(p.id, sh);
  }
  else // a value of a type the parameter doesn't have
    data.SetFloat(p.id, AnyFloat(in));
}

void WriteTinyPictures()
{
  const std::string dir = "/tmp/orlix_fuzz_" + std::to_string(getpid());
  mkdir(dir.c_str(), 0700);
  tinyPicture = dir + "/tiny.png";
  notAPicture = dir + "/not_a_picture.png";
  std::FILE* f = std::fopen(notAPicture.c_str(), "wb");
  if (f)
  {
    std::fputs("this is text, not a picture", f);
    std::fclose(f);
  }
  const float px[3 * 2 * 4] = {1, 0, 0, 1, 0, 1, 0, 0.5f, 0, 0, 1, 0, 1, 1, 1, 1, 0, 0, 0, 1, 0.5f, 0.5f, 0.5f, 1};
  auto out = OIIO::ImageOutput::create(tinyPicture);
  if (out && out->open(tinyPicture, OIIO::ImageSpec(3, 2, 4, OIIO::TypeDesc::UINT8)))
  {
    out->write_image(OIIO::TypeDesc::FLOAT, px);
    out->close();
  }
}

BaseDocument* doc = nullptr;
BaseTag* tag = nullptr;
RenderData* rd = nullptr;
BaseVideoPost* vp = nullptr;
BaseContainer tagDefaults, vpDefaults, settingsDefaults;
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  StartPluginOrAbort();
  tagParams = ValueParams("OrlixTag");
  vpParams = ValueParams("OrlixCam");
  if (tagParams.empty() || vpParams.empty())
  {
    std::fprintf(stderr, "the plug-in's descriptions are not loaded\n");
    std::abort();
  }
  WriteTinyPictures();

  doc = BaseDocument::Alloc();
  SetActiveDocument(doc);
  BaseObject* cam = BaseObject::Alloc(Ocamera);
  doc->InsertObject(cam, nullptr, nullptr);
  tag = cam->MakeTag(OrlixTag::ID);
  rd = doc->GetActiveRenderData();
  vp = rd ? rd->GetFirstVideoPost() : nullptr;
  if (!tag || !vp)
  {
    std::fprintf(stderr, "no lens tag or video post\n");
    std::abort();
  }
  tagDefaults = *tag->GetDataInstance();
  vpDefaults = *vp->GetDataInstance();
  settingsDefaults = *rd->GetDataInstance();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  FuzzedDataProvider in(data, size);
  // Back to the defaults the nodes were made with; making nodes anew per input would spend the
  // time on their panel pictures rather than on the render.
  *tag->GetDataInstance() = tagDefaults;
  *vp->GetDataInstance() = vpDefaults;
  BaseContainer& settings = *rd->GetDataInstance();
  settings = settingsDefaults;
  settings.SetInt32(RDATA_XRES, in.ConsumeIntegralInRange<Int32>(1, 24));
  settings.SetInt32(RDATA_YRES, in.ConsumeIntegralInRange<Int32>(1, 24));

  host::RenderOptions options;
  options.samples = 1;
  options.threads = 1;
  options.editorRender = in.ConsumeBool();
  while (in.remaining_bytes() > 0)
  {
    switch (in.ConsumeIntegralInRange(0, 2))
    {
      case 0:
        SetAny(in, tag, Pick(in, tagParams));
        break;
      case 1:
        SetAny(in, vp, Pick(in, vpParams));
        break;
      default:
        SetAny(in, rd, Pick(in, settingsParams));
        break;
    }
  }
  host::BitmapPtr picture;
  String error;
  host::RenderDocument(doc, options, &picture, &error);
  host::App().console.Clear();
  while (BaseShader* sh = tag->GetFirstShader())
  {
    sh->Remove();
    BaseShader::Free(sh);
  }
  return 0;
}
