// Typed values, containers and parameters passing through a node's plug-in data.
#include <gtest/gtest.h>

#include <vector>

#include "c4d.h"
#include "host_app.h"

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
  BaseContainer bc;
  bc.SetLink(1, cam);
  EXPECT_EQ(bc.GetLink(1, doc), cam);
  EXPECT_EQ(bc.GetLink(1, other), nullptr) << "a link into another document doesn't resolve";
  EXPECT_EQ(bc.GetLink(1, nullptr, Osphere), nullptr) << "nor does one of another type";
  const BaseContainer copy = bc;
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
class RecordingData : public NodeData
{
public:
  static NodeData* Alloc() { return new RecordingData; }
  Bool Message(GeListNode*, Int32 type, void*) override
  {
    messages.push_back(type);
    return true;
  }
  Bool GetDParameter(GeListNode*, const DescID& id, GeData& d, Int32& flags) override
  {
    if (id[0].id == 2000)
    {
      d = GeData(String("computed"));
      flags |= DESCFLAGS_GET_PARAM_GET;
    }
    return true;
  }
  Bool SetDParameter(GeListNode*, const DescID& id, const GeData& d, Int32& flags) override
  {
    if (id[0].id == 2000)
    {
      mirrored = d.GetInt32();
      flags |= DESCFLAGS_SET_PARAM_SET;
    }
    return true;
  }
  Int32 mirrored = 0;
  std::vector<Int32> messages;
};
} // namespace

TEST(HostParameters, PassThroughNodeDataThenPostSetMessage)
{
  host::ResetApp();
  host::PluginEntry e;
  e.kind = host::PluginEntry::Kind::VideoPost;
  e.id = 1999001;
  e.alloc = RecordingData::Alloc;
  ASSERT_TRUE(host::App().plugins.Add(e));
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
