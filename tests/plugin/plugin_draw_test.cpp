// The tag's viewport guide as the view records it: for each lens the matrix, the grid and skin
// point for point, pens and transparency, the draw state put back; the eye probe's eyes against
// the stereo ray model; nothing where the guide must not show.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "OrlixTag.h"
#include "description/OrlixTag.h"
#include "draw/view_drawing.h"
#include "lens/lens_stereo.h"
#include "plugin_fixture.h"

using host::DrawCall;
using host::DrawKind;

namespace
{
const Vector kPen(0.8, 0.7, 0.0);

class DrawTest : public PluginTest
{
protected:
  void SetUp() override
  {
    PluginTest::SetUp();
    camera = AddTaggedCamera("Lens");
    camera->SetMg(MatrixMove(Vector(10, 20, 30)) * MatrixRotY(0.3) * MatrixRotX(-0.2));
    tag = camera->GetFirstTag();
    data = tag->GetDataInstance();
    view = doc->GetActiveBaseDraw();
  }

  // Draws the tag once into a fresh record, with line width 3 and parameter 2 set beforehand.
  const std::vector<DrawCall>& Draw()
  {
    host::ViewDrawing::Of(*view).Restart(DRAWPASS_OBJECT);
    view->SetDrawParam(DRAW_PARAMETER_LINEWIDTH, GeData(Int32(3)));
    view->SetDrawParam(2, GeData(Int32(7)));
    host::ViewDrawing::Of(*view).stateChanges = 0;
    EXPECT_TRUE(TagData()->Draw(tag, camera, view, nullptr));
    return host::DrawCalls(*view);
  }

  OrlixTag* TagData() { return static_cast<OrlixTag*>(tag->GetNodeData()); }

  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
  BaseContainer* data = nullptr;
  BaseDraw* view = nullptr;
};

bool Same(const Vector& a, const Vector& b)
{
  return (a - b).GetLength() < 1e-9;
}
} // namespace

TEST_F(DrawTest, GuideOfEachLensIsItsMeshInTheLensMatrix)
{
  struct Case
  {
    const char* name;
    std::function<void(BaseContainer&)> set;
    std::function<void(LensGuideMesh&)> build; // the mesh the lens calls for
    Matrix local;                               // M relative to the camera
  };
  const Matrix up = MatrixRotX(PI / 2);
  const std::vector<Case> cases = {
    {"dome of 180 degrees", [](BaseContainer& d) { d.SetInt32(ORLIXTAG_LENS, 1); d.SetFloat(ORLIXTAG_DOME_FOV, PI); },
     [](LensGuideMesh& m) { m.BuildSphere(70.0, PI2, 0.0, PI / 2, kPen); }, Matrix()},
    {"panorama", [](BaseContainer& d) { d.SetInt32(ORLIXTAG_LENS, 0); d.SetBool(ORLIXTAG_PANO_CUSTOM, false); },
     [](LensGuideMesh& m) { m.BuildSphere(70.0, PI2, -PI / 2, PI / 2, kPen); }, up},
    {"panorama of a custom field",
     [](BaseContainer& d) { d.SetBool(ORLIXTAG_PANO_CUSTOM, true); d.SetFloat(ORLIXTAG_PANO_FOV_H, 2.0); d.SetFloat(ORLIXTAG_PANO_LAT_MIN, -0.4);
                              d.SetFloat(ORLIXTAG_PANO_LAT_MAX, PI / 4); },
     [](LensGuideMesh& m) { m.BuildSphere(70.0, 2.0, -0.4, PI / 4, kPen); }, up},
    {"cylinder",
     [](BaseContainer& d) { d.SetInt32(ORLIXTAG_LENS, 2); d.SetInt32(ORLIXTAG_CYL_AXIS, ORLIXTAG_CYL_AXIS_VERTICAL);
                            d.SetFloat(ORLIXTAG_CYL_RADIUS, 120.0); d.SetFloat(ORLIXTAG_CYL_FOV, 3.0); d.SetFloat(ORLIXTAG_CYL_HEIGHT, 80.0); },
     [](LensGuideMesh& m) { m.BuildCylinder(120.0, 3.0, 80.0, kPen); }, up},
    {"cylinder across the view", [](BaseContainer& d) { d.SetInt32(ORLIXTAG_CYL_AXIS, ORLIXTAG_CYL_AXIS_HORIZONTAL); },
     [](LensGuideMesh& m) { m.BuildCylinder(120.0, 3.0, 80.0, kPen); }, up * MatrixRotY(PI / 2)},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    c.set(*data);
    const std::vector<DrawCall>& calls = Draw();
    LensGuideMesh want;
    c.build(want);
    const Matrix m = camera->GetMg() * c.local;
    const size_t lines = want.linePoints.size() / 2, quads = want.quadPoints.size() / 4;
    ASSERT_TRUE(lines > 0 && quads > 0);
    ASSERT_EQ(calls.size(), lines + quads);
    for (size_t i = 0; i < calls.size(); ++i)
    {
      const DrawCall& call = calls[i];
      const bool isLine = i < lines;
      ASSERT_EQ(call.kind, isLine ? DrawKind::Line : DrawKind::Poly) << "call " << i;
      ASSERT_TRUE(call.matrix == m) << "call " << i;
      ASSERT_TRUE(call.pen == kPen) << "call " << i;
      ASSERT_EQ(call.transparency, isLine ? 0 : -240) << "call " << i;
      ASSERT_EQ(call.depth, isLine) << "call " << i;
      ASSERT_EQ(call.flags, 0);
      const std::vector<Vector>& src = isLine ? want.linePoints : want.quadPoints;
      const size_t first = isLine ? 2 * i : 4 * (i - lines);
      ASSERT_EQ(call.points.size(), isLine ? 2u : 4u);
      for (size_t k = 0; k < call.points.size(); ++k)
        ASSERT_TRUE(Same(call.points[k], m * src[first + k])) << "call " << i << " point " << k << " " << call.points[k];
      if (!isLine)
      {
        ASSERT_TRUE(call.colours[0] == kPen && Same(call.normals[0], m.TransformVector(want.quadNormals[first])));
      }
    }
    const host::ViewDrawing& d = host::ViewDrawing::Of(*view);
    EXPECT_EQ(view->GetDrawParam(DRAW_PARAMETER_LINEWIDTH).GetInt32(), 3);
    EXPECT_EQ(view->GetDrawParam(2).GetInt32(), 7);
    EXPECT_TRUE(d.depth);
    EXPECT_EQ(d.transparency, 0);
    EXPECT_TRUE(d.matrix == Matrix());
  }
}

TEST_F(DrawTest, CubemapDrawsTwoBoxesAndLeavesTheMeshAlone)
{
  data->SetInt32(ORLIXTAG_LENS, 1);
  Draw();
  const std::vector<Vector> domeLines = TagData()->guideMesh.linePoints;
  data->SetInt32(ORLIXTAG_LENS, 3);
  const std::vector<DrawCall>& calls = Draw();
  ASSERT_EQ(calls.size(), 2u);
  for (Int32 i = 0; i < 2; ++i)
  {
    EXPECT_EQ(calls[i].kind, DrawKind::Box);
    EXPECT_EQ(calls[i].wire, i == 0);
    EXPECT_EQ(calls[i].transparency, i == 0 ? 0 : -240);
    EXPECT_TRUE(calls[i].matrix == camera->GetMg());
    EXPECT_TRUE(calls[i].size == Vector(70.0));
    EXPECT_TRUE(calls[i].pen == kPen);
  }
  EXPECT_EQ(TagData()->guideMesh.linePoints, domeLines);
}

TEST_F(DrawTest, NothingIsDrawnThroughACameraOrWithTheTagOff)
{
  BaseObject* other = BaseObject::Alloc(Ocamera);
  doc->InsertObject(other, nullptr, nullptr);
  const std::vector<std::pair<const char*, std::function<void()>>> cases = {
    {"view through this camera", [&] { view->SetSceneCamera(camera); }},
    {"view through another camera", [&] { view->SetSceneCamera(other); }},
    {"tag switched off", [&] { view->SetSceneCamera(nullptr); data->SetBool(ORLIXTAG_ENABLED, false); }},
  };
  for (const auto& c : cases)
  {
    c.second();
    EXPECT_TRUE(Draw().empty()) << c.first;
    EXPECT_EQ(host::ViewDrawing::Of(*view).stateChanges, 0) << c.first;
  }
}

TEST_F(DrawTest, ProbeEyesStandWhereTheStereoRayModelPutsThem)
{
  doc->GetActiveRenderData()->GetDataInstance()->SetBool(RDATA_STEREO, true);
  data->SetBool(ORLIXTAG_PROBE, true);
  data->SetFloat(ORLIXTAG_PROBE_LATITUDE, 0.4);
  data->SetFloat(ORLIXTAG_PROBE_LONGITUDE, -0.7);
  const Vector n = Vector(std::sin(-0.7) * std::cos(0.4), std::sin(0.4), std::cos(-0.7) * std::cos(0.4)).GetNormalized();
  BaseShader* zeroMap = BaseShader::Alloc(Xcolor);
  zeroMap->GetDataInstance()->SetVector(COLORSHADER_COLOR, Vector(0.0));
  tag->InsertShader(zeroMap);

  struct Case
  {
    const char* name;
    Int32 lens, model, zenith, convergence;
    Float separation;
    bool zeroMapLinked;
    size_t eyes;      // eye markers drawn
    size_t thinLines; // lines of width 1: to the zero parallax point, each eye's aim, the marks
  };
  const std::vector<Case> cases = {
    {"fixed eyes", 0, 0, 0, 1, 6.0, false, 2, 5},
    {"full circle", 0, 1, 0, 1, 6.0, false, 2, 5},
    {"sweep", 2, 2, 0, 1, 6.0, false, 2, 5},
    {"roll, dome about its zenith", 1, 3, 1, 1, 6.0, false, 2, 5},
    {"convergence off", 0, 1, 0, 0, 6.0, false, 2, 0},
    {"no separation", 0, 1, 0, 1, 0.0, false, 2, 0},
    {"map of 0 there", 0, 1, 0, 1, 6.0, true, 0, 1},
  };
  for (const Case& c : cases)
  {
    SCOPED_TRACE(c.name);
    data->SetInt32(ORLIXTAG_LENS, c.lens);
    data->SetInt32(ORLIXTAG_EYE_MODEL, c.model);
    data->SetInt32(ORLIXTAG_DOME_ZENITH, c.zenith);
    data->SetInt32(ORLIXTAG_CONVERGENCE, c.convergence);
    data->SetFloat(ORLIXTAG_EYE_SEPARATION, c.separation);
    data->SetFloat(ORLIXTAG_ZERO_PARALLAX, 300.0);
    data->SetLink(ORLIXTAG_SEPARATION_MAP, c.zeroMapLinked ? zeroMap : nullptr);
    const std::vector<DrawCall>& calls = Draw();

    std::vector<const DrawCall*> spheres;
    size_t thin = 0;
    for (const DrawCall& call : calls)
    {
      if (call.kind == DrawKind::Sphere)
        spheres.push_back(&call);
      if (call.kind == DrawKind::Line && call.flags == DRAWLINE_NODEPTH && call.lineWidth == 1)
        ++thin;
    }
    ASSERT_EQ(spheres.size(), 1 + c.eyes);
    EXPECT_EQ(thin, c.thinLines);
    const bool zenith = c.lens == 1 && c.zenith == 1;
    const Matrix mg = camera->GetMg();
    EXPECT_TRUE(Same(spheres[0]->points[0], mg.off));
    EXPECT_TRUE(spheres[0]->pen == Vector(1.0));
    for (size_t i = 0; i < c.eyes; ++i)
    {
      StereoCameraInfo eye;
      eye.m = mg * MatrixMove(Vector((i == 0 ? -0.5 : 0.5) * c.separation, 0, 0));
      Vector aim, axis;
      const Float z = c.convergence && c.separation > 0 ? 300.0 : 0.0;
      const Matrix e = EyeRayMatrix(mg, eye, true, n, static_cast<EyeModel>(c.model), zenith, z, c.separation, 1.0, aim, axis);
      EXPECT_TRUE(Same(spheres[1 + i]->points[0], e.off)) << "eye " << i << " at " << spheres[1 + i]->points[0] << ", want " << e.off;
      EXPECT_TRUE(spheres[1 + i]->pen == (i == 0 ? Vector(1, 0, 0) : Vector(0, 1, 1)));
    }
  }
}
