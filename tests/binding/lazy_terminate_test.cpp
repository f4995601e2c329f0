// The termination list and its walks.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "binding/lazy_terminate.h"
#include "binding/linked_list.h"

namespace {

using MOX_T_MT::LazyTerminate;

std::vector<std::string> gCalls;

class Member : public LazyTerminate {
 public:
  enum class Start { kSucceed, kFail, kThrow };
  Member(std::string name, Start start) : fName(std::move(name)), fStart(start) {}
  bool Initialize() override {
    gCalls.push_back("Initialize " + fName);
    if (fStart == Start::kThrow) throw std::runtime_error("start");
    return fStart == Start::kSucceed;
  }
  void Terminate() override { gCalls.push_back("Terminate " + fName); }
  void Abandon() override { gCalls.push_back("Abandon " + fName); }

 private:
  std::string fName;
  Start fStart;
};

// The walks reach the library's own members too; keep only ours.
std::vector<std::string> OurCalls() {
  std::vector<std::string> ours;
  for (const std::string& call : gCalls) {
    if (call.find(" test") != std::string::npos) ours.push_back(call);
  }
  return ours;
}

class TerminationList : public ::testing::TestWithParam<Member::Start> {};

TEST_P(TerminationList, FailedStartTerminatesOnlyTheMembersBeforeIt) {
  gCalls.clear();
  // New members link at the head, so the walk meets them newest first.
  Member third("test3", Member::Start::kSucceed);
  Member second("test2", GetParam());
  Member first("test1", Member::Start::kSucceed);
  EXPECT_FALSE(MOX_T_MT::MOXInitializeTerminationList());
  EXPECT_EQ(OurCalls(),
            (std::vector<std::string>{"Initialize test1", "Initialize test2", "Terminate test1"}));
}

INSTANTIATE_TEST_SUITE_P(Walks, TerminationList,
                         ::testing::Values(Member::Start::kFail, Member::Start::kThrow));

TEST(TerminationListWalks, StopAndExitReachEveryMemberFromTheHead) {
  gCalls.clear();
  Member older("test-older", Member::Start::kSucceed);
  Member newer("test-newer", Member::Start::kSucceed);
  MOX_T_MT::MOXTerminateTerminationList();
  MOX_T_MT::MOXAbandonTerminationList();
  EXPECT_EQ(OurCalls(), (std::vector<std::string>{"Terminate test-newer", "Terminate test-older",
                                                  "Abandon test-newer", "Abandon test-older"}));
}

struct Node;
using NodeList = no_construct_double_linked_list<Node, MOXDLLEParent>;
struct Node : double_linked_list_element<Node, MOXDLLEParent> {
  explicit Node(NodeList* list) : double_linked_list_element(list) {}
};

TEST(LinkedList, UnlinkingKeepsHeadCountAndLinksRight) {
  NodeList list{};
  {
    Node only(&list);
    EXPECT_EQ(list.Head(), &only);
    EXPECT_EQ(list.fCount, 1u);
  }
  EXPECT_EQ(list.fHead, nullptr);
  EXPECT_EQ(list.fCount, 0u);

  Node* a = new Node(&list);
  Node* b = new Node(&list);
  Node* c = new Node(&list);  // list: c, b, a
  delete c;                   // the head goes: b becomes the head
  EXPECT_EQ(list.Head(), b);
  EXPECT_EQ(b->fPrev, nullptr);
  delete a;  // the tail goes
  EXPECT_EQ(b->fNext, nullptr);
  EXPECT_EQ(list.fCount, 1u);
  Node* d = new Node(&list);  // d, b
  Node* e = new Node(&list);  // e, d, b
  delete d;                   // the middle goes
  EXPECT_EQ(e->Next(), b);
  EXPECT_EQ(b->Prev(), e);
  delete e;
  delete b;
  EXPECT_EQ(list.fHead, nullptr);
  EXPECT_EQ(list.fCount, 0u);
}

}  // namespace
