// What the tests of scene files share: a folder of their own, loading with the error at hand,
// saving and loading again, and comparing the documents that come back.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "c4d.h"
#include "c4d_objects.h"
#include "scene/scene_file.h"
#include "scratch_dir.h"

struct FreeDocument
{
  void operator()(BaseDocument* d) const { BaseDocument::Free(d); }
};
using DocPtr = std::unique_ptr<BaseDocument, FreeDocument>;

/// Mixed into a fixture: scene files in a scratch folder of the test's own.
struct SceneDir : ScratchDir
{
  DocPtr Load(const std::string& text, host::scene::SceneError* error) const
  {
    return DocPtr(host::scene::LoadScene(Write("scene.json", text), error));
  }
  /// `d` saved as `name` and loaded back; null, with the failure recorded, if either step fails.
  DocPtr RoundTrip(BaseDocument* d, const std::string& name = "saved.json") const
  {
    host::scene::SceneError error;
    if (!host::scene::SaveScene(d, Path(name), &error))
    {
      ADD_FAILURE() << error.Message();
      return nullptr;
    }
    DocPtr back(host::scene::LoadScene(Path(name), &error));
    EXPECT_TRUE(back) << error.Message();
    return back;
  }
  /// Loading `text` fails at JSON `path` with a problem containing `problem`.
  void ExpectError(const std::string& text, const std::string& path, const std::string& problem) const
  {
    SCOPED_TRACE(text);
    host::scene::SceneError error;
    ASSERT_FALSE(Load(text, &error)) << "loaded although bad";
    EXPECT_EQ(error.file, Path("scene.json"));
    EXPECT_EQ(error.path, path) << error.Message();
    EXPECT_NE(error.problem.find(problem), std::string::npos) << error.Message();
  }
};

inline ::testing::AssertionResult SameMatrix(const Matrix& a, const Matrix& b, double eps = 1e-9)
{
  const Vector* pa[] = {&a.off, &a.v1, &a.v2, &a.v3};
  const Vector* pb[] = {&b.off, &b.v1, &b.v2, &b.v3};
  for (int i = 0; i < 4; ++i)
    if ((*pa[i] - *pb[i]).GetLength() > eps * std::max(1.0, pa[i]->GetLength()))
      return ::testing::AssertionFailure() << "row " << i << ": " << *pa[i] << " vs " << *pb[i];
  return ::testing::AssertionSuccess();
}

/// Every setting of `a` is in `b` with the same value; links, which point into different
/// documents, match when they lead to nodes of one type with the same settings.
inline void ExpectSettingsKept(const BaseContainer& a, const BaseContainer& b, const BaseDocument* da,
                               const BaseDocument* db, const std::string& what)
{
  for (Int32 i = 0; i < a.GetDataCount(); ++i)
  {
    const Int32 id = a.GetIndexId(i);
    const GeData& va = a.GetData(id);
    const GeData* vb = b.GetDataPointer(id);
    if (!vb)
      ADD_FAILURE() << what << ": setting " << id << " is lost";
    else if (va.GetType() != DA_ALIASLINK)
      EXPECT_TRUE(va == *vb) << what << ": setting " << id << " differs";
    else
    {
      const BaseList2D* la = va.GetLink(da);
      const BaseList2D* lb = vb->GetLink(db);
      ASSERT_EQ(la == nullptr, lb == nullptr) << what << ": link " << id;
      if (la)
      {
        EXPECT_EQ(la->GetType(), lb->GetType()) << what << ": link " << id;
        EXPECT_TRUE(*la->GetDataInstance() == *lb->GetDataInstance()) << what << ": linked node of " << id;
      }
    }
  }
}

/// Compares two object trees: types, names, matrices, render modes, polygon counts, settings and
/// tags. Not `exact`: `b`, loaded from a file, may hold settings `a` lacks (numbers as written).
inline void ExpectSameTree(BaseObject* a, BaseObject* b, const BaseDocument* da, const BaseDocument* db, int& compared,
                           bool exact = true)
{
  for (; a || b; a = a->GetNext(), b = b->GetNext())
  {
    ASSERT_TRUE(a && b) << "one tree has more objects";
    const std::string name = a->GetName().GetStdString();
    EXPECT_EQ(a->GetType(), b->GetType()) << name;
    EXPECT_EQ(a->GetName(), b->GetName());
    EXPECT_TRUE(SameMatrix(a->GetMl(), b->GetMl())) << name;
    EXPECT_EQ(a->GetRenderMode(), b->GetRenderMode()) << name;
    if (exact)
      EXPECT_TRUE(*a->GetDataInstance() == *b->GetDataInstance()) << name << ": settings differ";
    else
      ExpectSettingsKept(*a->GetDataInstance(), *b->GetDataInstance(), da, db, name);
    if (a->GetType() == Opolygon && b->GetType() == Opolygon)
    {
      const auto *pa = static_cast<PolygonObject*>(a), *pb = static_cast<PolygonObject*>(b);
      EXPECT_EQ(pa->GetPointCount(), pb->GetPointCount()) << name;
      EXPECT_EQ(pa->GetPolygonCount(), pb->GetPolygonCount()) << name;
    }
    BaseTag* ta = a->GetFirstTag();
    BaseTag* tb = b->GetFirstTag();
    for (; ta || tb; ta = ta->GetNext(), tb = tb->GetNext())
    {
      ASSERT_TRUE(ta && tb) << name << ": tag counts differ";
      EXPECT_EQ(ta->GetType(), tb->GetType()) << name;
      ExpectSettingsKept(*ta->GetDataInstance(), *tb->GetDataInstance(), da, db, name + "'s tag");
    }
    ++compared;
    ExpectSameTree(a->GetDown(), b->GetDown(), da, db, compared, exact);
  }
}
