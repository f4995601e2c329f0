// Containers: counting, destruction, the primary-instance record, instances.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "host_test_util.h"

namespace {

using moxhost::Runtime;
using moxtest::Atom;
using moxtest::TakeMessage;

// Instances record their destruction in a shared log.
struct Instance {
  std::string name;
  std::vector<std::string>* log;
};
void DestroyInstance(void* instance) {
  auto* self = static_cast<Instance*>(instance);
  self->log->push_back(self->name);
}

class ContainersTest : public ::testing::Test {
 protected:
  const MOXPrimaryInstanceRecord& RecordOf(MOXContainer container) {
    return *reinterpret_cast<const MOXPrimaryInstanceRecord*>(
        reinterpret_cast<const char*>(container) + procs_.GetOffsetToPrimaryInstance());
  }
  MOXContainer NewFull(void* instance, MOXStringAtom name, MOXStringAtom interfaceName,
                       MOXReleaseProc destroy = DestroyInstance) {
    MOXContainer container = nullptr;
    MOXErrorRef error =
        procs_.NewFullContainer(&container, instance, name, destroy, interfaceName, 0, 0, 0);
    EXPECT_EQ(error, nullptr) << TakeMessage(error);
    return container;
  }
  uint32_t CountOf(MOXContainer container) { return *procs_.DebugGetRefCountAddr(container); }

  moxtest::ScopedCountsCheck counts_;
  moxtest::ContainerProcs procs_;
  std::vector<std::string> log_;
  Instance primary_{"primary", &log_};
};

TEST_F(ContainersTest, CountingDestroysAtTheLastReleaseOnlyAndTheContainerHoldsItsAtoms) {
  MOXContainer container = nullptr;
  {
    Atom name("AtomOnlyHeldByTheContainer");
    container = NewFull(&primary_, name, nullptr);
  }
  EXPECT_EQ(procs_.AddRef(container), 1u);
  EXPECT_EQ(procs_.AddRef(container), 2u);
  procs_.Release(container);
  procs_.DecrementWithoutDelete(container);
  EXPECT_EQ(CountOf(container), 0u);
  procs_.AddRef(container);
  procs_.DeleteUnownedContainer(container);  // owned: nothing happens
  procs_.DecrementWithoutDelete(container);
  EXPECT_TRUE(log_.empty());
  EXPECT_STREQ(RecordOf(container).instanceName, "AtomOnlyHeldByTheContainer");
  EXPECT_TRUE(Runtime::Get().Reports().empty());

  // Counting below zero is reported, not applied; nulls are ignored.
  procs_.Release(nullptr);
  EXPECT_EQ(procs_.AddRef(nullptr), 0u);
  procs_.Release(container);
  procs_.DecrementWithoutDelete(container);
  EXPECT_EQ(Runtime::Get().Reports().size(), 2u);
  EXPECT_TRUE(log_.empty()) << "a container at zero is not destroyed by a stray Release";
  procs_.AddRef(container);
  procs_.Release(container);
  EXPECT_EQ(log_, std::vector<std::string>{"primary"});
}

// The destroy procedure of a dying container sees it refuse new references.
MOXContainer gDying = nullptr;
uint32_t gAddRefWhileDying = 99;
void DestroyAndTryAddRef(void*) {
  gAddRefWhileDying = moxtest::ContainerProcs().AddRef(gDying);
}

TEST_F(ContainersTest, AddRefFailsWhileTheContainerIsBeingDestroyed) {
  Atom name("TestImpl");
  gDying = NewFull(nullptr, name, nullptr, DestroyAndTryAddRef);
  procs_.AddRef(gDying);
  procs_.Release(gDying);
  EXPECT_EQ(gAddRefWhileDying, 0u);
}

TEST_F(ContainersTest, InstancesAreFoundByNameAndDestroyedPrimaryFirst) {
  Instance second{"second", &log_}, third{"third", &log_};
  Atom primaryName("PrimaryImpl"), secondName("SecondImpl"), thirdName("ThirdImpl");
  Atom unknownName("UnknownImpl");
  MOXContainer container = NewFull(&primary_, primaryName, nullptr);
  EXPECT_EQ(procs_.RegisterInstance(container, &second, secondName, DestroyInstance), nullptr);
  EXPECT_EQ(procs_.RegisterInstance(container, &third, thirdName, DestroyInstance), nullptr);
  EXPECT_NE(TakeMessage(procs_.RegisterInstance(container, &third, secondName, DestroyInstance)),
            "")
      << "names are unique within a container";

  void* found = nullptr;
  for (auto [atom, expected] : {std::pair<MOXStringAtom, void*>{primaryName, &primary_},
                                {secondName, &second},
                                {thirdName, &third},
                                {unknownName, nullptr}}) {
    EXPECT_EQ(procs_.NGetInstance(&found, container, atom), nullptr);
    EXPECT_EQ(found, expected);
  }
  // A null container answers like an absent name: no instance, no error.
  found = &primary_;
  EXPECT_EQ(procs_.NGetInstance(&found, nullptr, primaryName), nullptr);
  EXPECT_EQ(found, nullptr);

  procs_.AddRef(container);
  procs_.Release(container);
  EXPECT_EQ(log_, (std::vector<std::string>{"primary", "second", "third"}));
}

TEST_F(ContainersTest, BareContainerTakesItsFirstInstanceAndInterfaceAsPrimary) {
  Atom name("TestImpl");
  Atom interfaceName("TestInterface");
  MOXContainer container = nullptr;
  ASSERT_EQ(procs_.NewContainer(&container, 0, 0, 0, 0, 0), nullptr);
  EXPECT_EQ(RecordOf(container).instance, nullptr);
  MOXContainer refused = nullptr;
  EXPECT_NE(TakeMessage(procs_.NewContainer(&refused, 1, 0, 0, 0, 0)), "") << "reserved words";

  ASSERT_EQ(procs_.RegisterInstance(container, &primary_, name, DestroyInstance), nullptr);
  ASSERT_EQ(procs_.RegisterInterface(container, interfaceName), nullptr);
  EXPECT_EQ(RecordOf(container).instance, &primary_);
  EXPECT_STREQ(RecordOf(container).instanceName, "TestImpl");
  EXPECT_STREQ(RecordOf(container).signature, "TestInterface");
  procs_.DeleteUnownedContainer(container);
  EXPECT_EQ(log_.size(), 1u);
}

TEST_F(ContainersTest, ClonesShareInstancesUntilTheLastOneDies) {
  Atom name("TestImpl");
  Atom signature("TestInterface");
  MOXContainer original = NewFull(&primary_, name, signature);
  MOXContainer clone = nullptr, cloneOfClone = nullptr;
  ASSERT_EQ(procs_.CloneContainer(&clone, original), nullptr);
  ASSERT_EQ(procs_.CloneContainer(&cloneOfClone, clone), nullptr);
  EXPECT_EQ(CountOf(clone), 0u);
  EXPECT_EQ(RecordOf(clone).instance, &primary_);
  EXPECT_EQ(RecordOf(clone).signature, RecordOf(original).signature);

  procs_.DeleteUnownedContainer(original);
  procs_.DeleteUnownedContainer(cloneOfClone);
  EXPECT_TRUE(log_.empty());
  void* found = nullptr;
  EXPECT_EQ(procs_.NGetInstance(&found, clone, name), nullptr);
  EXPECT_EQ(found, &primary_);
  procs_.DeleteUnownedContainer(clone);
  EXPECT_EQ(log_.size(), 1u);
}

TEST_F(ContainersTest, FailedCreationDestroysTheInstance) {
  Atom name("TestImpl");
  MOXContainer container = reinterpret_cast<MOXContainer>(&log_);
  EXPECT_NE(TakeMessage(procs_.NewFullContainer(&container, &primary_, name, DestroyInstance,
                                                nullptr, 1, 0, 0)),
            "");
  EXPECT_EQ(container, nullptr);
  EXPECT_EQ(log_.size(), 1u) << "the runtime owns the instance from the call on";
  // An injected fault is out of memory, and destroys the instance the same way.
  Runtime::Get().FailNth(moxhost::FaultPoint::kContainer, 1);
  EXPECT_NE(TakeMessage(procs_.NewFullContainer(&container, &primary_, name, DestroyInstance,
                                                nullptr, 0, 0, 0)),
            "");
  EXPECT_EQ(container, nullptr);
  EXPECT_EQ(log_.size(), 2u);
}

// Many threads take and drop references to shared containers; each must be
// destroyed exactly once, after the last Release.
TEST_F(ContainersTest, ConcurrentCountingDestroysEachContainerOnce) {
  constexpr int kContainers = 64;
  constexpr int kThreads = 8;
  static std::atomic<int> destroyed{0};
  destroyed = 0;
  Atom name("TestImpl");
  std::vector<MOXContainer> containers;
  for (int i = 0; i < kContainers; ++i) {
    containers.push_back(NewFull(nullptr, name, nullptr, [](void*) { destroyed.fetch_add(1); }));
    procs_.AddRef(containers.back());  // the test's own reference
  }
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        for (MOXContainer container : containers) {
          ASSERT_NE(procs_.AddRef(container), 0u);
          procs_.AddRef(container);
          procs_.DecrementWithoutDelete(container);
          procs_.Release(container);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(destroyed.load(), 0);
  for (MOXContainer container : containers) {
    EXPECT_EQ(CountOf(container), 1u);
    procs_.Release(container);
  }
  EXPECT_EQ(destroyed.load(), kContainers);
}

}  // namespace
