// String atoms: interning, reference counts, and both under many threads.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "host_test_util.h"

namespace {

using moxhost::Runtime;
using moxtest::StringProcs;

TEST(AtomsTest, EqualTextGivesOneAtomThatLivesUntilItsLastReference) {
  moxtest::ScopedCountsCheck counts;
  StringProcs atoms;
  std::string text = "POSObjectImpl";
  MOXStringAtom first = atoms.NewStringAtom(text.c_str());
  MOXStringAtom second = atoms.NewStringAtom(std::string(text).c_str());
  MOXStringAtom other = atoms.NewStringAtom("POSObjectImpl2");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_NE(first, other);
  EXPECT_NE(atoms.GetCString(first), text.c_str()) << "the atom keeps its own copy";
  EXPECT_STREQ(atoms.GetCString(first), "POSObjectImpl");
  EXPECT_EQ(atoms.AddRef(first), first);
  EXPECT_EQ(Runtime::Get().Counts().atoms, counts.before().atoms + 2);
  atoms.DeleteStringAtom(first);
  atoms.DeleteStringAtom(second);
  EXPECT_EQ(Runtime::Get().Counts().atoms, counts.before().atoms + 2) << "one reference left";
  EXPECT_STREQ(atoms.GetCString(first), "POSObjectImpl");
  atoms.DeleteStringAtom(first);
  atoms.DeleteStringAtom(other);
  EXPECT_EQ(Runtime::Get().Counts().atoms, counts.before().atoms);
}

TEST(AtomsTest, NullsAreAcceptedAndInjectedFailuresAnswerNull) {
  moxtest::ScopedCountsCheck counts;
  StringProcs atoms;
  atoms.DeleteStringAtom(nullptr);
  EXPECT_EQ(atoms.AddRef(nullptr), nullptr);
  EXPECT_EQ(atoms.NewStringAtom(nullptr), nullptr);
  EXPECT_EQ(Runtime::Get().Reports().size(), 1u);

  Runtime::Get().FailNthStringAtom(2);
  MOXStringAtom first = atoms.NewStringAtom("a");
  EXPECT_EQ(atoms.NewStringAtom("b"), nullptr);
  MOXStringAtom third = atoms.NewStringAtom("c");
  EXPECT_NE(first, nullptr);
  EXPECT_NE(third, nullptr) << "only the n-th call fails";
  atoms.DeleteStringAtom(first);
  atoms.DeleteStringAtom(third);
}

// Threads intern, retain and drop the same few names at once, as the
// components of a busy process do. Every thread must see one pointer per
// text, and everything must be gone at the end.
TEST(AtomsTest, InterningIsConsistentAcrossThreads) {
  moxtest::ScopedCountsCheck counts;
  StringProcs atoms;
  constexpr int kThreads = 8;
  constexpr int kNames = 64;
  constexpr int kRounds = 300;
  std::vector<std::string> names;
  std::vector<MOXStringAtom> held;  // one per name, held throughout
  for (int i = 0; i < kNames; ++i) {
    names.push_back("name-" + std::to_string(i));
    held.push_back(atoms.NewStringAtom(names.back().c_str()));
  }
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        for (int i = 0; i < kNames; ++i) {
          // Half the names are held, half come and go while others intern them.
          const int index = (i + t + round) % kNames;
          const std::string transient = names[index] + "-t";
          MOXStringAtom atom = atoms.NewStringAtom(names[index].c_str());
          MOXStringAtom come = atoms.NewStringAtom(transient.c_str());
          MOXStringAtom again = atoms.NewStringAtom(transient.c_str());
          if (atom != held[index] || come != again ||
              std::string(atoms.GetCString(come)) != transient) {
            mismatches.fetch_add(1);
          }
          atoms.DeleteStringAtom(again);
          atoms.DeleteStringAtom(come);
          atoms.DeleteStringAtom(atom);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
  for (MOXStringAtom atom : held) atoms.DeleteStringAtom(atom);
}

}  // namespace
