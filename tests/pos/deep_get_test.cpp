// DeepGet addresses, at the interface (quiet: a miss is null and says
// nothing) and in the loud mode of the internal walk, message by message.
#include <string>

#include "pos/deep_get.h"
#include "pos/dict.h"
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using MOX_T_MT::CPOSDict;
using MOX_T_MT::CPOSNumber;
using MOX_T_MT::CPOSObject;

class DeepGet : public POSFixture {
 protected:
  void SetUp() override {
    POSFixture::SetUp();
    // () is the empty key, and ] may stand inside a key.
    root_ = CPOSDict(MOX_T_MT::CPOSObjectStatics::CreateFromText(
        "<a [<b 1>] () [10 11] (k]x) 2 x <() <y 3>> n 4>"));
    ASSERT_EQ(root_.Count(), 5u);
  }
  void TearDown() override {
    root_ = CPOSDict();
    POSFixture::TearDown();
  }

  // The number reached, or a text that names the miss.
  std::string At(const char* address) {
    MOXContainer found = p.DeepGet(root_.fContainer, address);
    if (found == nullptr) return "null";
    if (p.isNumber(found)) return std::to_string(static_cast<int>(p.getNumber(found)));
    return p.isDict(found) ? "dict" : p.isArray(found) ? "array" : "other";
  }

  // The text that the loud walk raises for `address`, or "" if it reaches
  // something.
  std::string Loud(const char* address) {
    auto* dict = NPOSObjectImpl::FromContainer<NPOSObjectImpl::Dict>(root_.fContainer);
    std::string copy = address[0] == '.' ? address : std::string(".") + address;
    try {
      NPOSObjectImpl::DeepLookup(dict, &copy[0], /*quiet=*/false);
    } catch (const std::exception& e) {
      return e.what();
    }
    return "";
  }

  CPOSDict root_;
};

TEST_F(DeepGet, AddressesReachKeysAndSubscripts) {
  EXPECT_EQ(At("a[0].b"), "1");
  EXPECT_EQ(At(".a[0].b"), "1") << "the leading dot is optional";
  EXPECT_EQ(At("a[0]"), "dict");
  EXPECT_EQ(At("a"), "array");
  EXPECT_EQ(At(""), "array") << "the empty address is the empty key";
  EXPECT_EQ(At("[1]"), "11") << "a leading [ means the empty key first";
  EXPECT_EQ(At("x."), "dict") << "a trailing dot is the empty key";
  EXPECT_EQ(At("x..y"), "3");
  EXPECT_EQ(At("k]x"), "2") << "] belongs to a key";
  EXPECT_EQ(At("[4294967296]"), "10") << "2^32 is cut to 32 bits: member 0";
  EXPECT_EQ(At("[4294967297]"), "11");
  EXPECT_EQ(At("[2147483648]"), "null") << "2^31 turns negative and reads as huge";
  EXPECT_EQ(At("[99999999999999999999]"), "null");
  EXPECT_EQ(TakeReports(), Reports{});
}

TEST_F(DeepGet, EveryMissIsAQuietNull) {
  for (const char* address : {"a[1]", "a[0].c", "a[]", "a[x]", "a[1", "a[-1]", "a[0]b", "a[0]]",
                              "n.b", "n[0]", "a.b", "[0].b", "absent", "a[0].b.c"}) {
    EXPECT_EQ(At(address), "null") << address;
  }
  CPOSDict noEmptyKey = CPOSDict::New();
  EXPECT_EQ(p.DeepGet(noEmptyKey.fContainer, "[0]"), nullptr);
  EXPECT_EQ(TakeReports(), Reports{});
  MOXContainer number = p.newNumber(1);
  EXPECT_EQ(p.DeepGet(CPOSNumber(CPOSObject(number)).fContainer, "a"), nullptr);
  EXPECT_EQ(p.deepGet(root_.fContainer, nullptr), nullptr);
  EXPECT_EQ(TakeReports(), (Reports{"instance was not an POSDict", "null argument"}));
  moxhost::Runtime::Get().FailNthAllocation(1);
  EXPECT_EQ(At("a"), "null");
  EXPECT_EQ(TakeReports(), Reports{std::bad_alloc().what()}) << "the copy of the address";
}

TEST_F(DeepGet, TheLoudWalkNamesEachMiss) {
  EXPECT_EQ(Loud("a[0].b"), "");
  EXPECT_EQ(Loud("n.b"), "Dict::DeepGet entry on non-dict");
  EXPECT_EQ(Loud("absent"), "Dict::Get lookup failed") << "the lookup speaks first";
  EXPECT_EQ(Loud("n[0]"), "Dict::DeepGet subscript on non-array");
  EXPECT_EQ(Loud("a[]"), "Dict::DeepGet malformed array subscript []");
  EXPECT_EQ(Loud("a[1"), "Dict::DeepGet malformed array subscript []");
  EXPECT_EQ(Loud("a[1]"), "Dict::DeepGet subscript out of range");
  EXPECT_EQ(Loud("a[0]bcdefgh"), "Dict::DeepGet malformed address at: bcdefg");
  EXPECT_EQ(Loud("a[0]b"), "Dict::DeepGet malformed address at: b");
  auto* dict = NPOSObjectImpl::FromContainer<NPOSObjectImpl::Dict>(root_.fContainer);
  try {
    NPOSObjectImpl::DeepGetValue(dict, CMOXStringHolder("a[0]b"), /*quiet=*/false);
    ADD_FAILURE() << "a loud miss raises";
  } catch (const MOX_T_MT::POSException& e) {
    EXPECT_STREQ(e.what(), "Dict::DeepGet lookup failed") << "the one text that leaves the walk";
  }
  CPOSObject found = NPOSObjectImpl::DeepGetValue(dict, CMOXStringHolder("a[0].b"), false);
  EXPECT_EQ(CPOSNumber(found).Get(), 1.0);
}

}  // namespace
}  // namespace moxtest
