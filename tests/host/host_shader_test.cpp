// The host's shaders: prepared and sampled, gradients and pictures, and sampling from several
// threads at once. Links to shaders go with the container tests.
#include <gtest/gtest.h>

#include <OpenImageIO/imageio.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "c4d.h"
#include "host_app.h"
#include "support/scratch_dir.h"

namespace
{
// A float picture whose red is the column, green ten times the row and blue 1, so that every
// bilinear mix can be worked out by hand.
std::string WriteRamp(const ScratchDir& dir, const std::string& name, int w, int h)
{
  const std::string path = dir.Path(name);
  std::vector<float> pixels;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      pixels.insert(pixels.end(), {static_cast<float>(x), 10.0f * static_cast<float>(y), 1.0f});
  auto out = OIIO::ImageOutput::create(path);
  EXPECT_TRUE(out && out->open(path, OIIO::ImageSpec(w, h, 3, OIIO::TypeDesc::FLOAT)) &&
              out->write_image(OIIO::TypeDesc::FLOAT, pixels.data()));
  out->close();
  return path;
}

struct ShaderFree
{
  void operator()(BaseShader* sh) const { BaseShader::Free(sh); }
};
using Shader = std::unique_ptr<BaseShader, ShaderFree>;

Vector SampleAt(const Shader& s, double u, double v, Int32 texflag = 0)
{
  ChannelData cd;
  cd.p = Vector(u, v, 0);
  cd.texflag = texflag;
  return s->Sample(&cd);
}

/// Gradient knots of (position, colour).
using Knots = std::vector<std::pair<double, Vector>>;
void SetKnots(const Shader& s, const Knots& knots)
{
  BaseContainer list;
  for (size_t i = 0; i < knots.size(); ++i)
  {
    BaseContainer knot;
    knot.SetFloat(GRADIENTKNOT_POSITION, knots[i].first);
    knot.SetVector(GRADIENTKNOT_COLOR, knots[i].second);
    list.SetContainer(static_cast<Int32>(i), knot);
  }
  s->GetDataInstance()->SetContainer(GRADIENTSHADER_KNOTS, list);
}

::testing::AssertionResult Near(const Vector& got, const Vector& want, double tol = 1e-12)
{
  if ((got - want).GetLength() <= tol)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "got " << got << ", want " << want;
}

class ShaderTest : public ::testing::Test
{
protected:
  void SetUp() override { host::ResetApp(); }
  void TearDown() override { host::ResetApp(); }
  ScratchDir scratch;
};
} // namespace

TEST_F(ShaderTest, SamplesOnlyBetweenInitRenderAndFreeRender)
{
  EXPECT_EQ(BaseShader::Alloc(Ocamera), nullptr) << "only shader types make shaders";
  Shader colour(BaseShader::Alloc(Xcolor));
  colour->GetDataInstance()->SetVector(COLORSHADER_COLOR, Vector(0.2, 0.4, 0.6));
  colour->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, 2.5);
  EXPECT_EQ(SampleAt(colour, 0.5, 0.5), Vector()) << "not prepared";
  ASSERT_EQ(colour->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);
  EXPECT_TRUE(Near(SampleAt(colour, 0.5, 0.5), Vector(0.5, 1.0, 1.5))) << "brightness scales, nothing clamps";
  EXPECT_EQ(colour->Sample(nullptr), Vector());
  // Settings are read at InitRender: a change shows only after preparing afresh.
  colour->GetDataInstance()->SetFloat(COLORSHADER_BRIGHTNESS, 1.0);
  EXPECT_TRUE(Near(SampleAt(colour, 0.5, 0.5), Vector(0.5, 1.0, 1.5)));
  ASSERT_EQ(colour->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);
  EXPECT_TRUE(Near(SampleAt(colour, 0.5, 0.5), Vector(0.2, 0.4, 0.6)));
  colour->FreeRender();
  EXPECT_EQ(SampleAt(colour, 0.5, 0.5), Vector()) << "freed";
  colour->FreeRender(); // a second FreeRender does nothing
}

TEST_F(ShaderTest, GradientAlongVNeedsTwoUsableKnots)
{
  Shader g(BaseShader::Alloc(Xgradient));
  // Fewer than two usable knots fail, and leave nothing to sample.
  for (const Knots& knots : {Knots{{0.5, {1, 1, 1}}}, Knots{}, Knots{{0.0, {1, 1, 1}}, {NAN, {0, 0, 0}}}})
  {
    SetKnots(g, knots);
    EXPECT_NE(g->InitRender(InitRenderStruct()), INITRENDERRESULT_OK) << knots.size() << " knots";
    EXPECT_EQ(SampleAt(g, 0.5, 0.5), Vector());
  }
  // Given out of order, with a hard step at 0.6.
  SetKnots(g, {{0.6, {1, 0.5, 0}}, {0.2, {0, 0, 0}}, {1.0, {0, 1, 0}}, {0.6, {0, 0, 1}}});
  ASSERT_EQ(g->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);
  const struct
  {
    double v;
    Vector colour;
  } rows[] = {
    {-1.0, {0, 0, 0}},         // held below the first knot
    {0.2, {0, 0, 0}},
    {0.4, {0.5, 0.25, 0}},     // halfway from 0.2 to 0.6
    {0.5, {0.75, 0.375, 0}},
    {0.6, {0, 0, 1}},          // the later of two knots holds from their position on
    {0.8, {0, 0.5, 0.5}},
    {1.0, {0, 1, 0}},
    {3.0, {0, 1, 0}},          // held beyond the last
  };
  for (const auto& row : rows)
    for (const double u : {0.0, 0.3, 7.0})
      EXPECT_TRUE(Near(SampleAt(g, u, row.v), row.colour)) << "v " << row.v << " u " << u;
  EXPECT_TRUE(Near(SampleAt(g, 0.0, 0.6 - 1e-9), Vector(1, 0.5, 0), 1e-8)) << "just before the step";
  EXPECT_TRUE(Near(SampleAt(g, 0.0, 0.9, TEX_TILE), Vector(0, 0.75, 0.25))) << "tiling doesn't change a gradient";

  // A value that isn't a knot is passed over.
  SetKnots(g, {{0.0, {0, 0, 0}}, {1.0, {1, 1, 1}}});
  g->GetDataInstance()->GetContainerInstance(GRADIENTSHADER_KNOTS)->SetFloat(7, 0.5);
  EXPECT_EQ(g->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);
  EXPECT_TRUE(Near(SampleAt(g, 0, 0.5), Vector(0.5)));
}

TEST_F(ShaderTest, PictureIsBilinearBetweenPixelCentres)
{
  Shader p(BaseShader::Alloc(Xbitmap));
  EXPECT_EQ(p->InitRender(InitRenderStruct()), INITRENDERRESULT_ASSETMISSING) << "no file named";
  p->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename(WriteRamp(scratch, "ramp.tif", 4, 4).c_str()));
  ASSERT_EQ(p->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);
  // Pixel centres of a 4 × 4 picture lie at 0.125, 0.375, 0.625, 0.875; red = column, green = 10 × row.
  const struct
  {
    double u, v;
    Int32 flags;
    Vector colour;
  } rows[] = {
    {0.125, 0.125, 0, {0, 0, 1}},
    {0.375, 0.625, 0, {1, 20, 1}},
    {0.5, 0.125, 0, {1.5, 0, 1}},        // between columns 1 and 2
    {0.25, 0.75, 0, {0.5, 25, 1}},       // between four pixels
    {0.0, 0.0, 0, {0, 0, 1}},            // the edge holds without tiling
    {-3.0, 2.0, 0, {0, 30, 1}},
    {0.0, 0.125, TEX_TILE, {1.5, 0, 1}}, // tiling mixes the first and last column
    {0.125, 1.0, TEX_TILE, {0, 15, 1}},  // ... and the last and first row
    {1.375, -0.875, TEX_TILE, {1, 0, 1}},
  };
  for (const auto& row : rows)
    EXPECT_TRUE(Near(SampleAt(p, row.u, row.v, row.flags), row.colour, 1e-6))
      << "uv (" << row.u << ", " << row.v << ") flags " << row.flags;
  EXPECT_EQ(SampleAt(p, NAN, 0.5), Vector()) << "no position, no colour";

  // A relative name is found beside the document, and only with it.
  const Filename file(WriteRamp(scratch, "beside.tif", 2, 2).c_str());
  BaseDocument* doc = BaseDocument::Alloc();
  doc->SetDocumentPath(file.GetDirectory());
  p->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, file.GetFile());
  EXPECT_EQ(p->InitRender(InitRenderStruct(doc)), INITRENDERRESULT_OK);
  EXPECT_TRUE(Near(SampleAt(p, 0.75, 0.75), Vector(1, 10, 1), 1e-6));
  EXPECT_NE(p->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);
  BaseDocument::Free(doc);
}

TEST_F(ShaderTest, SampledFromSeveralThreadsAtOnce)
{
  Shader p(BaseShader::Alloc(Xbitmap)), g(BaseShader::Alloc(Xgradient));
  p->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename(WriteRamp(scratch, "threads.tif", 16, 8).c_str()));
  ASSERT_EQ(p->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);
  ASSERT_EQ(g->InitRender(InitRenderStruct()), INITRENDERRESULT_OK);

  constexpr int kSamples = 4096;
  auto sample = [&](int i) {
    return SampleAt(p, (i % 64) / 63.0, (i / 64) / 63.0, TEX_TILE) + SampleAt(g, (i % 64) / 63.0, (i / 64) / 63.0, TEX_TILE);
  };
  std::vector<Vector> want(kSamples);
  for (int i = 0; i < kSamples; ++i)
    want[static_cast<size_t>(i)] = sample(i);
  ASSERT_NE(want[100], want[3000]) << "the positions must sample different colours";
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 8 * kSamples; ++i)
        mismatches += sample(i % kSamples) != want[static_cast<size_t>(i % kSamples)];
    });
  for (std::thread& t : threads)
    t.join();
  EXPECT_EQ(mismatches, 0);
}
