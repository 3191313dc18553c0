// Node trees and object matrices.
#include <gtest/gtest.h>

#include "c4d.h"

namespace
{
struct Owned
{
  BaseObject* root = BaseObject::Alloc(Onull);
  ~Owned() { BaseObject::Free(root); }
};
} // namespace

TEST(HostNodes, InsertAndRemoveKeepLinksConsistent)
{
  Owned o;
  BaseObject* a = BaseObject::Alloc(Ocamera);
  BaseObject* b = BaseObject::Alloc(Onull);
  BaseObject* c = BaseObject::Alloc(Onull);
  a->InsertUnderLast(o.root);
  c->InsertUnderLast(o.root);
  b->InsertAfter(a);
  EXPECT_EQ(o.root->GetDown(), a);
  EXPECT_EQ(a->GetNext(), b);
  EXPECT_EQ(b->GetNext(), c);
  EXPECT_EQ(c->GetPred(), b);
  EXPECT_EQ(b->GetUp(), o.root);

  a->Remove();
  EXPECT_EQ(o.root->GetDown(), b) << "removing the first child moves the parent's link";
  EXPECT_EQ(b->GetPred(), nullptr);
  a->InsertBefore(c);
  EXPECT_EQ(b->GetNext(), a);
  EXPECT_EQ(a->GetNext(), c);
  EXPECT_EQ(o.root->GetDownLast(), c);
  EXPECT_EQ(a->GetType(), Ocamera);
}

TEST(HostNodes, GlobalMatrixChainsParents)
{
  Owned o;
  o.root->SetMl(MatrixMove(Vector(0, 100, 0)) * MatrixRotY(PI05));
  BaseObject* cam = BaseObject::Alloc(Ocamera);
  cam->InsertUnder(o.root);
  cam->SetMl(MatrixMove(Vector(0, 0, 10)));
  const Matrix mg = cam->GetMg();
  EXPECT_NEAR(mg.off.x, -10.0, 1e-12);
  EXPECT_NEAR(mg.off.y, 100.0, 1e-12);
  EXPECT_NEAR(mg.off.z, 0.0, 1e-12);

  const Matrix wanted = MatrixMove(Vector(5, 6, 7)) * MatrixRotX(0.3);
  cam->SetMg(wanted);
  EXPECT_NEAR((cam->GetMg().off - wanted.off).GetLength(), 0.0, 1e-12);
  EXPECT_NEAR((cam->GetMg().v2 - wanted.v2).GetLength(), 0.0, 1e-12);
}
