// Error objects and the memory interface.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host_test_util.h"

namespace {

using moxhost::Runtime;
using moxtest::ErrorProcs;
using moxtest::StringProcs;

TEST(ErrorsTest, OutOfMemoryIsTovOneAndPermanent) {
  moxtest::ScopedCountsCheck counts;
  ErrorProcs errors;
  StringProcs atoms;
  MOXErrorRef general = errors.GetCoreError(0);
  MOXErrorRef outOfMemory = errors.GetCoreError(1);
  EXPECT_STREQ(atoms.GetCString(errors.GetComponent(outOfMemory)), "TOV");
  EXPECT_EQ(errors.GetID(outOfMemory), 1);
  EXPECT_FALSE(std::strcmp(atoms.GetCString(errors.GetComponent(general)), "TOV") == 0 &&
               errors.GetID(general) == 1)
      << "a general failure must not read as exhausted memory";
  EXPECT_EQ(errors.GetCoreError(1), outOfMemory) << "made once, at start";
  errors.Release(general);
  errors.Release(outOfMemory);
  errors.Release(outOfMemory);  // extra releases of core errors are harmless
  EXPECT_EQ(errors.GetID(errors.GetCoreError(1)), 1);
}

TEST(ErrorsTest, NewErrorCopiesItsTextsAndLivesUntilItsLastRelease) {
  moxtest::ScopedCountsCheck counts;
  ErrorProcs errors;
  StringProcs atoms;
  char message[] = "disk full";
  char component[] = "MOXUtilsDir";
  MOXErrorRef error = errors.NewError(message, component, 28, 7, 9);
  ASSERT_NE(error, nullptr);
  std::memset(message, 'x', sizeof message - 1);
  std::memset(component, 'x', sizeof component - 1);
  EXPECT_STREQ(atoms.GetCString(errors.GetErrorMessage(error)), "disk full");
  EXPECT_STREQ(atoms.GetCString(errors.GetComponent(error)), "MOXUtilsDir");
  // The message is an interned atom, borrowed from the error.
  MOXStringAtom same = atoms.NewStringAtom("disk full");
  EXPECT_EQ(same, errors.GetErrorMessage(error));
  atoms.DeleteStringAtom(same);

  EXPECT_EQ(errors.AddRef(error), error);
  errors.Release(error);
  EXPECT_EQ(Runtime::Get().Counts().errors, counts.before().errors + 1);
  errors.Release(error);

  error = errors.NewError(nullptr, nullptr, 0, 0, 0);
  EXPECT_STREQ(atoms.GetCString(errors.GetErrorMessage(error)), "");
  errors.Release(error);
  errors.Release(nullptr);
}

struct MemoryProcs {
  MOXMemAllocProc Alloc = MOX_PROC(MOXMemAllocProc, "MOXMemoryInterface", "Alloc");
  MOXMemReallocProc Realloc = MOX_PROC(MOXMemReallocProc, "MOXMemoryInterface", "Realloc");
  MOXMemFreeProc Free = MOX_PROC(MOXMemFreeProc, "MOXMemoryInterface", "Free");
  MOXMemGetBlockSizeProc GetBlockSize =
      MOX_PROC(MOXMemGetBlockSizeProc, "MOXMemoryInterface", "GetBlockSize");
};

TEST(MemoryTest, BlocksAreCountedAndReallocKeepsTheirContent) {
  moxtest::ScopedCountsCheck counts;
  MemoryProcs memory;
  const moxhost::LiveCounts& before = counts.before();
  void* block = memory.Alloc(10);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
  std::memcpy(block, "0123456789", 10);
  EXPECT_EQ(Runtime::Get().Counts().memoryBlocks, before.memoryBlocks + 1);
  EXPECT_EQ(Runtime::Get().Counts().memoryBytes, before.memoryBytes + 10);

  block = memory.Realloc(block, 100000);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::memcmp(block, "0123456789", 10), 0);
  EXPECT_EQ(memory.GetBlockSize(block), 100000u);
  EXPECT_EQ(Runtime::Get().Counts().memoryBytes, before.memoryBytes + 100000);
  memory.Free(block);
  memory.Free(nullptr);
  EXPECT_TRUE(Runtime::Get().Reports().empty());

  alignas(16) char notOurs[64] = {};
  memory.Free(notOurs + 16);
  EXPECT_EQ(Runtime::Get().Reports().size(), 1u) << "a foreign block is reported, not freed";
}

TEST(MemoryTest, TheNthAllocationFailsAndLeavesTheBlockAlone) {
  moxtest::ScopedCountsCheck counts;
  MemoryProcs memory;
  const uint64_t callsBefore = Runtime::Get().AllocationCalls();
  void* block = memory.Alloc(8);
  std::memcpy(block, "abcdefg", 8);
  Runtime::Get().FailNthAllocation(2);
  void* first = memory.Alloc(8);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(memory.Realloc(block, 64), nullptr);
  EXPECT_STREQ(static_cast<char*>(block), "abcdefg") << "a failed Realloc keeps the old block";
  EXPECT_EQ(memory.GetBlockSize(block), 8u);
  void* third = memory.Alloc(8);
  EXPECT_NE(third, nullptr);
  EXPECT_EQ(Runtime::Get().AllocationCalls(), callsBefore + 4);

  Runtime::Get().FailNthAllocation(1);
  Runtime::Get().FailNthAllocation(0);
  block = memory.Realloc(block, 64);
  EXPECT_NE(block, nullptr) << "n = 0 disarms";

  // From then on: the second call and every later one fail, until cleared.
  const uint64_t counted = Runtime::Get().FaultPointCalls(moxhost::FaultPoint::kAllocation);
  Runtime::Get().FailNth(moxhost::FaultPoint::kAllocation, 2, moxhost::FaultMode::kFromThenOn);
  void* fourth = memory.Alloc(8);
  EXPECT_NE(fourth, nullptr);
  EXPECT_EQ(memory.Alloc(8), nullptr);
  EXPECT_EQ(memory.Realloc(block, 128), nullptr);
  EXPECT_EQ(memory.Alloc(8), nullptr);
  Runtime::Get().ClearFaults();
  EXPECT_EQ(Runtime::Get().FaultPointCalls(moxhost::FaultPoint::kAllocation), counted + 4);
  memory.Free(fourth);
  memory.Free(block);
  memory.Free(first);
  memory.Free(third);
}

}  // namespace
