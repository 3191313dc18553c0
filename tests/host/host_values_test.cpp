// The host's value types: vectors, matrices, times, strings (shared buffers, copy on change), file
// names, containers, and parameters passing through a node's plug-in data.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "c4d.h"
#include "host_app.h"

namespace
{
::testing::AssertionResult Near(const Vector& a, const Vector& b)
{
  if ((a - b).GetLength() <= 1e-12)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}
::testing::AssertionResult Near(const Matrix& a, const Matrix& b)
{
  if (Near(a.off, b.off) && Near(a.v1, b.v1) && Near(a.v2, b.v2) && Near(a.v3, b.v3))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << a << " vs " << b;
}
} // namespace

TEST(HostMath, VectorsMatricesAndTimes)
{
  // The axis turns and the order of products are pinned by the lens tests against the lens's own
  // rotations and by the plug-in's ray tests; what they never reach stays here.
  EXPECT_EQ(Vector().GetNormalized(), Vector()) << "zero stays zero, no NaN";
  EXPECT_TRUE(Near(Vector(3, 0, 4).GetNormalized(), Vector(0.6, 0, 0.8)));
  EXPECT_EQ(Cross(Vector(1, 0, 0), Vector(0, 1, 0)), Vector(0, 0, 1));
  EXPECT_EQ(MatrixMove(Vector(1, 2, 3)).TransformVector(Vector(1, 1, 1)), Vector(1, 1, 1)) << "directions ignore the offset";
  EXPECT_NE(MatrixRotX(PI05).v2.y, 0.0) << "the quarter turn keeps its tiny cosine";
  EXPECT_TRUE(Near(HPBToMatrix(Vector(0, PI05, 0)).v3, Vector(0, 1, 0))) << "pitch +90 looks up";
  EXPECT_TRUE(Near(HPBToMatrix(Vector(0.5, 0.2, 0.1)), MatrixRotY(0.5) * MatrixRotX(0.2) * MatrixRotZ(0.1)));

  const Matrix m = MatrixMove(Vector(1, -2, 3)) * MatrixRotY(0.7) * MatrixRotX(-0.4) * MatrixScale(Vector(2, 3, 0.5));
  EXPECT_TRUE(Near(m.GetInverse() * m, Matrix()));
  EXPECT_TRUE(Near(m * ~m, Matrix()));
  Matrix singular = MatrixMove(Vector(4, 5, 6));
  singular.v3 = Vector();
  EXPECT_EQ(singular.GetInverse(), Matrix());

  EXPECT_EQ(BaseTime(131, 2).Get(), 65.5);
  EXPECT_EQ(BaseTime(1, 2) + BaseTime(1, 3), BaseTime(5, 6));
  EXPECT_EQ(BaseTime(10, 25).GetFrame(25), 10);
  EXPECT_EQ(BaseTime(-1, 50).GetFrame(25), -1);
}

TEST(HostString, CopiesShareUntilChangedCutsStayInBoundsAndFileNamesJoinAndSplit)
{
  String a("dome");
  String b = a;
  EXPECT_TRUE(a.SharesBufferWith(b));
  b += String(" master");
  EXPECT_EQ(a, String("dome")) << "a change to a copy must not reach the original";
  EXPECT_EQ(b, String("dome master"));
  EXPECT_FALSE(a.SharesBufferWith(b));
  a = a;
  EXPECT_EQ(a, String("dome"));

  // Lines cut at their feeds go through the plug-in's text tests; the edges stay here.
  const String s("TITLE\nDirected by\n");
  Int32 pos = 17;
  EXPECT_FALSE(s.FindFirst(String("\n"), &pos, 18));
  EXPECT_EQ(pos, 17) << "a failed search leaves the position";
  EXPECT_FALSE(s.FindFirst(String("x"), &pos, 99));
  EXPECT_EQ(s.SubStr(17, 10), String("\n"));
  EXPECT_TRUE(s.SubStr(18, 1).IsEmpty());

  EXPECT_EQ((Filename("/") + Filename("a.png")).GetString(), String("/a.png"));
  EXPECT_EQ((Filename() + Filename("a.png")).GetString(), String("a.png"));
  const Filename f("/opt/res/side_F.png");
  EXPECT_EQ(f.GetFile().GetString(), String("side_F.png"));
  EXPECT_EQ(f.GetDirectory().GetString(), String("/opt/res"));
  EXPECT_EQ(f.GetSuffix(), String("png"));
  EXPECT_TRUE(Filename(".hidden").GetSuffix().IsEmpty());
}

TEST(HostContainer, TypedGettersConvertSaturateAndKeepOrder)
{
  BaseContainer bc;
  EXPECT_EQ(bc.GetInt32(1000, 7), 7) << "a missing id reads as the caller's default";
  bc.SetBool(1000, true);
  EXPECT_EQ(bc.GetData(1000).GetType(), DA_LONG) << "bools are stored as Int32";
  bc.SetFloat(1001, 2.75);
  EXPECT_EQ(bc.GetInt32(1001), 2);
  bc.SetFloat(1003, 1e300);
  EXPECT_EQ(bc.GetInt32(1003), 2147483647) << "out-of-range floats saturate";
  bc.SetString(1004, String("dome"));
  EXPECT_EQ(bc.GetVector(1004, Vector(1, 2, 3)), Vector()) << "a value of another type reads neutral, not the default";
  bc.SetInt32(1000, 3);
  EXPECT_EQ(bc.GetDataCount(), 4) << "setting an id again replaces its value";
  EXPECT_EQ(bc.GetIndexId(0), 1000) << "insertion order is kept";
  EXPECT_TRUE(bc.RemoveData(1000));
  EXPECT_FALSE(bc.RemoveData(1000));
  EXPECT_EQ(bc.GetIndexId(0), 1001);
}

TEST(HostContainer, CopiesOfNestedContainersAndCustomDataAreIndependent)
{
  BaseContainer inner, a;
  inner.SetInt32(1, 10);
  a.SetContainer(5, inner);
  BaseContainer b = a;
  b.GetContainerInstance(5)->SetInt32(1, 20);
  EXPECT_EQ(a.GetContainer(5).GetInt32(1), 10);
  EXPECT_NE(a, b);
  b = a;
  EXPECT_EQ(a, b);

  PriorityData pd;
  pd.SetPriorityValue(PRIORITYVALUE_PRIORITY, GeData(Int32(12)));
  GeData x(CUSTOMDATATYPE_PRIORITY, pd);
  GeData y = x;
  static_cast<PriorityData*>(y.GetCustomDataType(CUSTOMDATATYPE_PRIORITY))->SetPriorityValue(PRIORITYVALUE_PRIORITY, GeData(Int32(3)));
  EXPECT_EQ(static_cast<PriorityData*>(x.GetCustomDataType(CUSTOMDATATYPE_PRIORITY))->GetPriorityValue(PRIORITYVALUE_PRIORITY).GetInt32(), 12);
  EXPECT_EQ(x.GetCustomDataType(CUSTOMDATATYPE_BITMAPBUTTON), nullptr) << "asking for another custom type gives null";
  EXPECT_NE(x, y);
}

TEST(HostContainer, LinksReadNullOnceTheNodeIsGone)
{
  BaseDocument* doc = BaseDocument::Alloc();
  BaseDocument* other = BaseDocument::Alloc();
  BaseObject* cam = BaseObject::Alloc(Ocamera);
  doc->InsertObject(cam, nullptr, nullptr);
  BaseTag* tag = cam->MakeTag(Tbase);
  ASSERT_NE(tag, nullptr);
  BaseShader* sh = BaseShader::Alloc(Xgradient);
  tag->InsertShader(sh);
  EXPECT_EQ(sh->GetDocument(), doc) << "a shader belongs to its owner's document";
  BaseContainer bc;
  bc.SetLink(1, cam);
  bc.SetLink(2, sh);
  EXPECT_EQ(bc.GetLink(1, doc), cam);
  EXPECT_EQ(bc.GetLink(2, doc), sh);
  EXPECT_EQ(bc.GetLink(1, other), nullptr) << "a link into another document doesn't resolve";
  EXPECT_EQ(bc.GetLink(1, nullptr, Osphere), nullptr) << "nor does one of another type";
  const BaseContainer copy = bc;
  cam->KillTag(Tbase);
  EXPECT_EQ(bc.GetLink(2, doc), nullptr) << "the shader went with its tag";
  cam->Remove();
  BaseObject::Free(cam);
  EXPECT_EQ(bc.GetLink(1), nullptr);
  EXPECT_EQ(copy.GetLink(1), nullptr);
  BaseDocument::Free(doc);
  BaseDocument::Free(other);
}

namespace
{
// Answers parameter 2000 itself and records what it is told.
struct RecordingData : NodeData
{
  static NodeData* Alloc() { return new RecordingData; }
  Bool Message(GeListNode*, Int32 type, void*) override
  {
    messages.push_back(type);
    return true;
  }
  Bool GetDParameter(GeListNode*, const DescID& id, GeData& d, Int32& flags) override
  {
    if (id[0].id != 2000)
      return true;
    d = GeData(String("computed"));
    flags |= DESCFLAGS_GET_PARAM_GET;
    return true;
  }
  Bool SetDParameter(GeListNode*, const DescID& id, const GeData& d, Int32& flags) override
  {
    if (id[0].id != 2000)
      return true;
    mirrored = d.GetInt32();
    flags |= DESCFLAGS_SET_PARAM_SET;
    return true;
  }
  Int32 mirrored = 0;
  std::vector<Int32> messages;
};
} // namespace

TEST(HostParameters, PassThroughNodeDataThenPostSetMessage)
{
  host::ResetApp();
  ASSERT_TRUE(host::App().plugins.Add({host::PluginEntry::Kind::VideoPost, 1999001, String(), 0, RecordingData::Alloc}));
  BaseVideoPost* vp = BaseVideoPost::Alloc(1999001);
  ASSERT_NE(vp, nullptr);
  auto* data = static_cast<RecordingData*>(vp->GetNodeData());
  GeData d;
  ASSERT_TRUE(vp->GetParameter(DescID(2000), d));
  EXPECT_EQ(d.GetString(), String("computed"));
  EXPECT_FALSE(vp->GetParameter(DescID(2001), d)) << "an id neither answered nor stored fails";
  data->messages.clear();
  ASSERT_TRUE(vp->SetParameter(DescID(2000), GeData(Int32(42))));
  EXPECT_EQ(data->mirrored, 42);
  EXPECT_EQ(vp->GetDataInstance()->GetDataPointer(2000), nullptr) << "an answered set doesn't reach the container";
  ASSERT_TRUE(vp->SetParameter(DescID(2001), GeData(Int32(7))));
  EXPECT_EQ(vp->GetDataInstance()->GetInt32(2001), 7);
  EXPECT_EQ(data->messages, (std::vector<Int32>{MSG_DESCRIPTION_POSTSETPARAMETER, MSG_DESCRIPTION_POSTSETPARAMETER}));
  BaseVideoPost::Free(vp);
  host::ResetApp();
}
