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

TEST_F(Client, HandlesCountTheirReferenceAndConversionsCheckTheClass) {
  EXPECT_EQ(Raised([] { CPOSObject object(nullptr); }), "invalid container");
  CMOXContainerRef bare;
  MOXNewContainer(bare, 0, 0, 0, 0, 0);
  MOXContainerProcs::AddRef(bare.Container());  // the handle's own, released at its end
  EXPECT_EQ(Raised([&] { CPOSObject object(bare.Container()); }), "couldn't get signature");
  CPOSNumber number = CPOSNumber::New(1);
  CPOSString string = CPOSString::New("s");
  EXPECT_EQ(number.Procs(), string.Procs()) << "one signature, one table";
  {
    CPOSObject copy(number);
    EXPECT_EQ(p.RefCount(number.Container()), 2u);
    copy = string;
    EXPECT_EQ(p.RefCount(number.Container()), 1u);
    EXPECT_EQ(p.RefCount(string.Container()), 2u);
  }
  EXPECT_EQ(p.RefCount(string.Container()), 1u);
  EXPECT_EQ(Raised([&] { CPOSNumber c(string); }), "downcast from CPOSObject to CPOSNumber failed");
  EXPECT_EQ(Raised([&] { CPOSDict c(number); }), "downcast from CPOSObject to CPOSDict failed");
  EXPECT_EQ(Raised([&] { CPOSMOXObjRef c(number); }),
            "downcast from CPOSObject to CPOSRawPointer failed");
  EXPECT_TRUE(CPOSArray(number, /*quiet=*/true).IsEmpty());
  EXPECT_TRUE(CPOSNumber(CPOSObject(), /*quiet=*/true).IsEmpty());
  EXPECT_EQ(p.RefCount(number.Container()), 1u) << "a failed conversion lets its copy go";
  EXPECT_EQ(Raised([] { CPOSString::New(nullptr); }), "invalid container");
  EXPECT_EQ(TakeReports(), Reports{"null argument"}) << "the method reports, the client raises";
}

TEST_F(Client, DictAccessorsRaiseTheirTextsOrStayQuiet) {
  CPOSDict dict(CPOSObjectStatics::CreateFromText("<n 3 s text list [3]>"));
  CPOSArray list = dict.GetArray("list");
  EXPECT_EQ(dict.GetNumber("n").Get(), 3.0);
  EXPECT_TRUE(dict.Has("s"));
  EXPECT_FALSE(dict.Has("absent"));
  EXPECT_EQ(Raised([&] { dict.GetNumber("s"); }), "downcast from CPOSObject to CPOSNumber failed");
  EXPECT_TRUE(dict.GetNumber("s", /*quiet=*/true).IsEmpty());
  EXPECT_EQ(Raised([&] { dict.Get("absent"); }), "CPOSDict::Get failed");
  EXPECT_TRUE(dict.GetDict("absent", true).IsEmpty());
  EXPECT_EQ(Raised([&] { list.GetAt(1); }), "CPOSArray::GetAt subscript failed");
  EXPECT_EQ(dict.DeepGetNumber("list[0]").Get(), 3.0);
  EXPECT_FALSE(dict.HasDeep("list[1]"));
  EXPECT_EQ(Raised([&] { dict.DeepGetString("n.x"); }), "CPOSArray::GetAt subscript failed");
  EXPECT_TRUE(dict.DeepGetString("n.x", /*quiet=*/true).IsEmpty());
  dict.Remove("s");
  std::string keys;
  for (CPOSDictIterator it(dict); !it.IsDone(); it.Next()) keys += std::string(it.CurKey()) + ";";
  EXPECT_EQ(keys, "list;n;");
  EXPECT_EQ(TakeReports(), Reports{}) << "client misses are raised, never reported";
}

}  // namespace
}  // namespace moxtest
