#include <gtest/gtest.h>
#include <memory>

#include "support/BaseObject.h"

namespace {

struct Part : CObj {};
struct Sterile : CMetaClassTemplate<CObj> {
  CObj* Create() const override { return nullptr; }
};

struct Replica : CReplicableObject, CAllocationChecker {
  explicit Replica(int number) : value(number) {}
  CReplicableObject* Copy() const override { return new Replica(value); }
  int value;
};

TEST(BaseObject, CopiesThroughTheBaseClassAndNamesTheDynamicType) {
  const Replica source(7);
  const std::unique_ptr<CReplicableObject> copy(CReplicableObject::Copy(&source));
  const auto* replica = dynamic_cast<const Replica*>(copy.get());
  ASSERT_NE(replica, nullptr);
  EXPECT_EQ(replica->value, 7);
  EXPECT_TRUE(replica->Allocated());
  EXPECT_STREQ(copy->ClassName(), typeid(Replica).name());
}

TEST(BaseObject, FactoryMakesPlainObjectsOfUnknownNames) {
  const std::unique_ptr<CObj> unknown(CClassFactory::Create("no such class"));
  EXPECT_STREQ(unknown->ClassName(), typeid(CObj).name());

  CClassFactory::RegisterClassA(CMetaClass(new CMetaClassTemplate<Part>));
  const std::unique_ptr<CObj> part(CClassFactory::Create(typeid(Part).name()));
  EXPECT_NE(dynamic_cast<Part*>(part.get()), nullptr);
  EXPECT_STREQ(CClassFactory::FindMetaClass(typeid(CMetaClassTemplate<Part>)).ClassName(), typeid(Part).name());
  EXPECT_STREQ(CClassFactory::FindMetaClass(typeid(Part)).ClassName(), typeid(CObj).name());
}

TEST(BaseObject, MetaClassesCopyCompareAndInherit) {
  CMetaClass plain(nullptr);
  CMetaClass part(new CMetaClassTemplate<Part>);
  EXPECT_EQ(plain, CMetaClass(nullptr));
  EXPECT_NE(plain, part);
  EXPECT_TRUE(plain.Inherit(part));
  EXPECT_FALSE(plain.Inherit(CMetaClass(new Sterile)));
  EXPECT_EQ(CMetaClass(&part), part);
  plain = part;
  EXPECT_EQ(plain, part);
  part = new CMetaClassTemplate<CObj>;
  EXPECT_EQ(part, CMetaClass(nullptr));
}

}  // namespace
