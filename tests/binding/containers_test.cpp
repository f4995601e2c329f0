// Counted container handles and the instance lookup.
#include <string>

#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/host_tables.h"
#include "library_fixture.h"

namespace {

int gDestroyed = 0;
void CountDestroy(void*) {
  ++gDestroyed;
}

class Containers : public StartedLibrary {
 protected:
  void SetUp() override {
    StartedLibrary::SetUp();
    gDestroyed = 0;
  }
  // A fresh, unowned container around `instance`.
  MOXContainer Make(void* instance, const char* instanceName, const char* interfaceName) {
    CMOXStringHolder name(instanceName);
    CMOXStringHolder signature(interfaceName);
    return MOXNewFullContainer(instance, name, &CountDestroy, signature);
  }
};

std::string ErrorText(const CMOXError& e) {
  return e.what();
}

TEST_F(Containers, CountedHandleOfNullIsAnInvalidContainer) {
  try {
    CMOXContainerRef handle(static_cast<MOXContainer>(nullptr));
    FAIL();
  } catch (const CMOXError& e) {
    EXPECT_EQ(ErrorText(e), "invalid container");
  }
  CMOXContainerRef uncounted = CMOXContainerRef::Retain(nullptr);
  EXPECT_TRUE(uncounted.IsEmpty());
}

TEST_F(Containers, CopyOfAnEmptyHandleIsEmpty) {
  CMOXContainerRef empty;
  CMOXContainerRef copy(empty);
  EXPECT_TRUE(copy.IsEmpty());
  CMOXContainerRef assigned;
  assigned = empty;
  EXPECT_TRUE(assigned.IsEmpty());
}

TEST_F(Containers, LastReleaseDestroysOnce) {
  int instance = 0;
  MOXContainer container = Make(&instance, "TestImpl", "TestInterface");
  {
    CMOXContainerRef first(container);
    CMOXContainerRef second(first);
    CMOXContainerRef third;
    third = second;
    EXPECT_EQ(gDestroyed, 0);
  }
  EXPECT_EQ(gDestroyed, 1);
}

TEST_F(Containers, GivingAwayLeavesTheContainerAliveAtZero) {
  int instance = 0;
  MOXContainer container = Make(&instance, "TestImpl", "TestInterface");
  MOXContainer given = nullptr;
  {
    CMOXContainerRef handle(container);
    given = handle.GiveAway();
    EXPECT_TRUE(handle.IsEmpty());
  }
  EXPECT_EQ(given, container);
  EXPECT_EQ(gDestroyed, 0) << "a reference given away must not destroy";
  CMOXContainerRef owner(given);  // the next owner takes it
  owner.GuardedRelease();
  EXPECT_EQ(gDestroyed, 1);
  owner.GuardedRelease();  // empty now: no second release
  EXPECT_EQ(gDestroyed, 1);
}

TEST_F(Containers, UnownedDeleteDestroysAContainerAtZero) {
  int instance = 0;
  CMOXContainerRef handle = CMOXContainerRef::Adopt(Make(&instance, "TestImpl", "TestInterface"));
  handle.UnownedDelete();
  EXPECT_EQ(gDestroyed, 1);
  EXPECT_TRUE(handle.IsEmpty());
}

TEST_F(Containers, PrimaryRecordHoldsNamesAndInstance) {
  int instance = 0;
  CMOXStringHolder name("TestImpl");
  CMOXStringHolder signature("TestInterface");
  CMOXContainerRef handle(Make(&instance, "TestImpl", "TestInterface"));
  const MOXPrimaryInstanceRecord* record = MOXPrimaryRecord(handle.Container());
  EXPECT_EQ(record->instanceName, name.CString());
  EXPECT_EQ(record->signature, signature.CString());
  EXPECT_EQ(record->instance, &instance);
  EXPECT_EQ(MOXFindInstance(handle.Container(), name), &instance);
}

TEST_F(Containers, OtherNamesGoThroughTheRuntime) {
  int primary = 0;
  int secondary = 0;
  CMOXContainerRef handle(Make(&primary, "TestImpl", "TestInterface"));
  CMOXStringHolder otherName("TestSecondaryImpl");
  EXPECT_EQ(MOXFindInstance(handle.Container(), otherName), nullptr);
  MOXCheck(gMOXContainerTable.Proc<MOXContainerSlots::RegisterInstance>()(
      handle.Container(), &secondary, otherName.Atom(), nullptr));
  EXPECT_EQ(MOXFindInstance(handle.Container(), otherName), &secondary);
}

TEST_F(Containers, NullContainerTakesTheRuntimePath) {
  CMOXStringHolder name("TestImpl");
  void* found = reinterpret_cast<void*>(1);
  try {
    found = MOXFindInstance(nullptr, name);
  } catch (const CMOXError&) {
    found = nullptr;  // the runtime may refuse a null container with an error
  }
  EXPECT_EQ(found, nullptr);
}

}  // namespace
