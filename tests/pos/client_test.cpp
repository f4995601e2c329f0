// The client handles: CPOSObject construction and its failures, the typed
// conversions with and without quiet, and the accessors' exact texts.
#include <string>

#include "binding/container_ref.h"
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using namespace MOX_T_MT;  // NOLINT: the client classes under test

using Client = POSFixture;

// The text of what `body` raises, or "" if it raises nothing.
template <typename Body>
std::string Raised(Body body) {
  try {
    body();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}

TEST_F(Client, CPOSObjectCountsItsReferenceAndSharesTablesBySignature) {
  EXPECT_EQ(Raised([] { CPOSObject object(nullptr); }), "invalid container");
  CMOXContainerRef bare;
  MOXNewContainer(bare, 0, 0, 0, 0, 0);
  MOXContainerProcs::AddRef(bare.fContainer);  // the handle's own, released at its end
  EXPECT_EQ(Raised([&] { CPOSObject object(bare.fContainer); }), "couldn't get signature");
  CPOSObject empty;
  CPOSObject emptyCopy(empty);
  EXPECT_TRUE(emptyCopy.IsEmpty());
  EXPECT_EQ(emptyCopy.fProcs, nullptr);
  CPOSNumber number = CPOSNumber::New(1);
  CPOSString string = CPOSString::New("s");
  EXPECT_EQ(number.fProcs, string.fProcs) << "one signature, one table";
  EXPECT_EQ(p.RefCount(number.fContainer), 1u);
  {
    CPOSObject copy(number);
    EXPECT_EQ(p.RefCount(number.fContainer), 2u);
    copy = string;
    EXPECT_EQ(p.RefCount(number.fContainer), 1u);
    EXPECT_EQ(p.RefCount(string.fContainer), 2u);
  }
  EXPECT_EQ(p.RefCount(string.fContainer), 1u);
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(Client, ConversionsCheckTheClassAndNameTheTarget) {
  CPOSObject number = CPOSNumber::New(2);
  CPOSObject text = CPOSString::New("2");
  EXPECT_EQ(CPOSNumber(number).Get(), 2.0);
  EXPECT_STREQ(CPOSString(text).Get(), "2");
  struct Case {
    std::string expected;
    std::string raised;
  } cases[] = {
      {"downcast from CPOSObject to CPOSNumber failed", Raised([&] { CPOSNumber c(text); })},
      {"downcast from CPOSObject to CPOSString failed", Raised([&] { CPOSString c(number); })},
      {"downcast from CPOSObject to CPOSUnicodeString failed",
       Raised([&] { CPOSUnicodeString c(number); })},
      {"downcast from CPOSObject to CPOSBinData failed", Raised([&] { CPOSBinData c(number); })},
      {"downcast from CPOSObject to CPOSRawPointer failed",
       Raised([&] { CPOSRawPointer c(number); })},
      {"downcast from CPOSObject to CPOSRawPointer failed",
       Raised([&] { CPOSMOXObjRef c(number); })},
      {"downcast from CPOSObject to CPOSArray failed", Raised([&] { CPOSArray c(number); })},
      {"downcast from CPOSObject to CPOSDict failed", Raised([&] { CPOSDict c(number); })},
  };
  for (const Case& c : cases) EXPECT_EQ(c.raised, c.expected);
  EXPECT_TRUE(CPOSDict(number, /*quiet=*/true).IsEmpty());
  EXPECT_TRUE(CPOSNumber(CPOSObject(), /*quiet=*/true).IsEmpty());
  EXPECT_EQ(p.RefCount(number.fContainer), 1u) << "a failed conversion lets its copy go";
  EXPECT_EQ(TakeReports(), Reports{}) << "asking IsPOS of a null handle is quiet";
}

TEST_F(Client, ObjectReferencesAreRawPointersAndFailedNewsRaise) {
  int target = 0;
  CPOSMOXObjRef ref(CPOSRawPointer::New(&target, nullptr));
  EXPECT_EQ(ref.GetRawPointer(), &target);
  EXPECT_TRUE(CPOSRawPointer::Is(ref));
  EXPECT_FALSE(CPOSArray::Is(ref));
  EXPECT_EQ(Raised([] { CPOSString::New(nullptr); }), "invalid container");
  EXPECT_EQ(TakeReports(), Reports{"null argument"}) << "the method reports, the client raises";
}

TEST_F(Client, DictAccessorsRaiseTheirTextsOrStayQuiet) {
  CPOSDict dict = CPOSDict::New();
  dict.Put("n", CPOSNumber::New(3));
  dict.Put("s", CPOSString::New("text"));
  CPOSArray list = CPOSArray::New();
  list.Append(dict.Get("n"));
  dict.Put("list", list);
  EXPECT_EQ(dict.GetNumber("n").Get(), 3.0);
  EXPECT_STREQ(dict.GetString("s").Get(), "text");
  EXPECT_EQ(dict.GetArray("list").Count(), 1u);
  EXPECT_EQ(CPOSNumber(list.GetAt(0)).Get(), 3.0);
  EXPECT_TRUE(dict.Has("s"));
  EXPECT_FALSE(dict.Has("absent"));
  EXPECT_EQ(dict.Count(), 3u);
  EXPECT_EQ(Raised([&] { dict.GetNumber("s"); }), "downcast from CPOSObject to CPOSNumber failed");
  EXPECT_TRUE(dict.GetNumber("s", /*quiet=*/true).IsEmpty());
  EXPECT_EQ(Raised([&] { dict.GetNumber("absent"); }), "CPOSDict::Get failed");
  EXPECT_EQ(Raised([&] { dict.Get("absent"); }), "CPOSDict::Get failed");
  EXPECT_TRUE(dict.Get("absent", /*quiet=*/true).IsEmpty());
  EXPECT_TRUE(dict.GetDict("absent", true).IsEmpty());
  EXPECT_TRUE(dict.GetMOXObjRef("n", true).IsEmpty());
  EXPECT_EQ(Raised([&] { list.GetAt(1); }), "CPOSArray::GetAt subscript failed");
  EXPECT_EQ(dict.DeepGetNumber("list[0]").Get(), 3.0);
  EXPECT_TRUE(dict.HasDeep("list[0]"));
  EXPECT_FALSE(dict.HasDeep("list[1]"));
  EXPECT_EQ(Raised([&] { dict.DeepGetString("n.x"); }), "CPOSArray::GetAt subscript failed");
  EXPECT_TRUE(dict.DeepGetString("n.x", /*quiet=*/true).IsEmpty());
  EXPECT_EQ(Raised([&] { dict.DeepGetString("n"); }),
            "downcast from CPOSObject to CPOSString failed");
  dict.Remove("s");
  EXPECT_EQ(dict.Count(), 2u);
  std::string keys;
  for (CPOSDictIterator it(dict); !it.IsDone(); it.Next()) keys += std::string(it.CurKey()) + ";";
  EXPECT_EQ(keys, "list;n;");
  EXPECT_EQ(TakeReports(), Reports{}) << "client misses are raised, never reported";
}

TEST_F(Client, StaticsAndTablesSurviveARestart) {
  CPOSObject parsed = CPOSObjectStatics::CreateFromText("<a [1 2]>");
  EXPECT_EQ(CPOSDict(parsed).DeepGetNumber("a[1]").Get(), 2.0);
  EXPECT_TRUE(CPOSObjectStatics::CreateFromText("<a").IsEmpty());
  EXPECT_TRUE(CPOSObjectStatics::DebugDump(parsed));
  EXPECT_EQ(p.RefCount(parsed.fContainer), 1u);
  parsed.Reset();
  MOXUtilsTerminate();
  ASSERT_EQ(MOXUtilsInitialize(moxhost::Runtime::LookupProc()), 1u);
  ASSERT_TRUE(p.Load(moxhost::Runtime::LookupProc()));
  {
    CPOSDict dict = CPOSDict::New();
    dict.Put("k", CPOSNumber::New(4));
    EXPECT_EQ(dict.GetNumber("k").Get(), 4.0);
  }
  EXPECT_EQ(TakeReports(), Reports{});
  // The restart dropped the method-table entry that the fixture counted in.
  started_ = moxhost::Runtime::Get().Counts();
}

}  // namespace
}  // namespace moxtest
