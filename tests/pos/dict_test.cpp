// Dictionaries: the tree against std::map under long random sequences, the
// order of iteration, iterators across changes, the quiet misses, and DeepGet
// addresses, each reaching something or a null that says nothing.
#include <map>
#include <random>
#include <string>
#include <utility>

#include "pos/dict.h"
#include "pos/pos_fixture.h"

namespace moxtest {
namespace {

using NPOSObjectImpl::Dict;
using NPOSObjectImpl::DictNode;
using NPOSObjectImpl::FromContainer;
using NPOSObjectImpl::kBlack;
using NPOSObjectImpl::kRed;

class Dicts : public POSFixture {
 protected:
  void SetUp() override {
    POSFixture::SetUp();
    dict_ = p.Keep(p.posDict.NewPOSDict());
    impl_ = FromContainer<Dict>(dict_);
  }
  void TearDown() override {
    p.container.Release(dict_);
    POSFixture::TearDown();
  }

  // The keys as the iterator interface gives them.
  std::vector<std::string> IteratedKeys() {
    std::vector<std::string> keys;
    MOXContainer it = p.Keep(p.posDictIterator.NewPOSDictIterator(dict_));
    for (; !p.posDictIterator.IsDone(it); p.posDictIterator.Next(it))
      keys.push_back(p.posDictIterator.CurKey(it));
    p.container.Release(it);
    return keys;
  }

  MOXContainer dict_ = nullptr;
  Dict* impl_ = nullptr;
};

struct TreeShape {
  std::vector<std::string> keys;  // in order
  bool linksAgree = true;         // parent links, colours 0 or 1
  bool redUnderRed = false;
  bool blackHeightsDiffer = false;
};

// Walks the links (not the iterator) and returns the black height.
int Walk(const DictNode* node, const DictNode* parent, TreeShape& shape) {
  if (node == nullptr) return 1;
  if (node->fParent != parent || node->fColour > kBlack) shape.linksAgree = false;
  auto red = [](const DictNode* n) { return n != nullptr && n->fColour == kRed; };
  if (red(node) && (red(node->fLeft) || red(node->fRight))) shape.redUnderRed = true;
  int left = Walk(node->fLeft, node, shape);
  shape.keys.push_back(node->Key());
  int right = Walk(node->fRight, node, shape);
  if (left != right) shape.blackHeightsDiffer = true;
  return left + (node->fColour == kBlack ? 1 : 0);
}

std::vector<std::string> Keys(const std::map<std::string, int>& model) {
  std::vector<std::string> keys;
  for (const auto& entry : model) keys.push_back(entry.first);
  return keys;
}

TEST_F(Dicts, StaysABalancedSearchTreeUnderRandomPutAndRemove) {
  std::mt19937 random(20240611);
  std::map<std::string, int> model;
  MOXContainer numbers[8];
  for (int i = 0; i < 8; ++i) numbers[i] = p.Keep(p.posNumber.NewPOSNumber(i));
  // Short keys from a small alphabet: many repeats, many absent removals,
  // and bytes above 0x7F, which sort after ASCII. Phases of mostly inserting
  // and mostly removing, so the tree both grows and thins out. Keys that
  // share their first seven, eight or more bytes order by what follows.
  const std::string alphabet = "aBb\xc3_";
  const char* const prefixes[] = {"", "", "seven__", "eight___", "\xc3longer_than_eight"};
  for (int round = 0; round < 6000; ++round) {
    std::string key = prefixes[random() % 5];
    for (int n = random() % 4; n > 0; --n) key += alphabet[random() % alphabet.size()];
    if ((round / 1000) % 2 == 0 ? random() % 4 != 0 : random() % 4 == 0) {
      const int value = random() % 8;
      p.Put(dict_, key.c_str(), numbers[value]);
      model[key] = value;
    } else {
      p.Remove(dict_, key.c_str());
      model.erase(key);
    }
    TreeShape shape;
    Walk(impl_->Tree()->Root(), nullptr, shape);
    ASSERT_TRUE(shape.linksAgree) << "round " << round;
    ASSERT_EQ(shape.keys, Keys(model)) << "round " << round;
    if (round % 97 == 0) {
      ASSERT_EQ(IteratedKeys(), Keys(model)) << "round " << round;
      for (const auto& entry : model) {
        ASSERT_EQ(p.Get(dict_, entry.first.c_str()), numbers[entry.second]) << entry.first;
      }
    }
  }
  EXPECT_EQ(TakeReports(), Reports{}) << "absent keys are removed silently";
  // Insertions alone keep red-black balance; ascending runs are the classic
  // worst case for an unbalanced tree.
  for (const auto& entry : model) p.Remove(dict_, entry.first.c_str());
  model.clear();
  for (int i = 0; i < 3000; ++i) {
    std::string key = i % 2 ? std::to_string(100000 + i) : std::to_string(random());
    p.Put(dict_, key.c_str(), numbers[0]);
    model[key] = 0;
  }
  TreeShape shape;
  Walk(impl_->Tree()->Root(), nullptr, shape);
  EXPECT_EQ(impl_->Tree()->Root()->fColour, kBlack);
  EXPECT_FALSE(shape.redUnderRed);
  EXPECT_FALSE(shape.blackHeightsDiffer);
  EXPECT_EQ(shape.keys, Keys(model));
  EXPECT_EQ(p.RefCount(numbers[0]), 1 + model.size());
  // Removing everything empties the tree; it then works as a new one.
  for (const auto& entry : model) p.Remove(dict_, entry.first.c_str());
  EXPECT_EQ(impl_->Tree()->Root(), nullptr);
  p.Put(dict_, "again", numbers[0]);
  EXPECT_EQ(IteratedKeys(), std::vector<std::string>{"again"});
  for (int i = 0; i < 8; ++i) EXPECT_EQ(p.RefCount(numbers[i]), i == 0 ? 2u : 1u) << i;
  for (int i = 0; i < 8; ++i) p.container.Release(numbers[i]);
}

// Iteration in byte order is checked against std::map above; here an
// iterator lives across changes of the tree.
TEST_F(Dicts, PutReplacesInPlaceAndIteratorsOutliveChangesElsewhere) {
  MOXContainer one = p.Keep(p.posNumber.NewPOSNumber(1));
  MOXContainer two = p.Keep(p.posNumber.NewPOSNumber(2));
  for (const char* key : {"a", "B", "ab", ""}) p.Put(dict_, key, one);
  MOXContainer it = p.Keep(p.posDictIterator.NewPOSDictIterator(dict_));
  p.posDictIterator.Next(it);
  p.Put(dict_, "B", two);
  p.Put(dict_, "B", two);
  EXPECT_STREQ(p.posDictIterator.CurKey(it), "B") << "the node keeps its place";
  EXPECT_EQ(p.Get(dict_, "B"), two);
  EXPECT_EQ(p.RefCount(one), 4u) << "the old value was released";
  p.Remove(dict_, "");
  p.Put(dict_, "Z", one);
  p.posDictIterator.Next(it);
  EXPECT_STREQ(p.posDictIterator.CurKey(it), "Z");
  for (p.posDictIterator.Begin(it); !p.posDictIterator.IsDone(it); p.posDictIterator.Next(it)) {
  }
  p.posDictIterator.Next(it);
  EXPECT_TRUE(p.posDictIterator.IsDone(it)) << "Next past the end is harmless";
  EXPECT_EQ(p.posDictIterator.CurKey(it), nullptr) << "and there is no key to give";
  EXPECT_EQ(TakeReports(), Reports{});
  p.container.Release(it);
  p.container.Release(one);
  p.container.Release(two);
}

TEST_F(Dicts, MissesAreQuietAndAFailedPutLeavesTheTreeAlone) {
  MOXContainer value = p.Keep(p.posString.NewPOSString("v"));
  MOXContainer empty = p.Keep(p.posDict.NewPOSDict());
  MOXContainer it = p.Keep(p.posDictIterator.NewPOSDictIterator(empty));
  EXPECT_TRUE(p.posDictIterator.IsDone(it)) << "an empty Dict is done at once";
  p.posDictIterator.Next(it);
  EXPECT_TRUE(p.posDictIterator.IsDone(it));
  EXPECT_EQ(p.Get(dict_, "absent"), nullptr);
  p.Remove(dict_, "absent");
  EXPECT_EQ(TakeReports(), Reports{});
  moxhost::Runtime::Get().FailNthAllocation(1);
  p.Put(dict_, "new", value);
  EXPECT_EQ(TakeReports(), Reports{std::bad_alloc().what()});
  EXPECT_EQ(impl_->Tree()->Root(), nullptr) << "the node comes before the tree is touched";
  EXPECT_EQ(p.RefCount(value), 1u);
  p.container.Release(it);
  p.container.Release(empty);
  p.container.Release(value);
}

// DeepGet addresses: what each reaches, and every miss a null that says
// nothing.
TEST_F(Dicts, DeepGetReachesKeysAndSubscriptsAndMissesQuietly) {
  // () is the empty key, and ] may stand inside a key.
  const MOX_T_MT::CPOSObject root = MOX_T_MT::CPOSObjectStatics::CreateFromText(
      "<a [<b 1>] () [10 11] (k]x) 2 x <() <y 3>> n 4>");
  auto at = [&](const char* address) -> std::string {
    MOXContainer found = p.DeepGet(root.Container(), address);
    if (found == nullptr) return "null";
    if (p.posNumber.IsPOSNumber(found))
      return std::to_string(static_cast<int>(p.posNumber.Get(found)));
    return p.posDict.IsPOSDict(found) ? "dict" : p.posArray.IsPOSArray(found) ? "array" : "other";
  };
  const std::pair<const char*, const char*> cases[] = {
      {"a[0].b", "1"},
      {".a[0].b", "1"},  // the leading dot is optional
      {"a[0]", "dict"},
      {"a", "array"},
      {"", "array"},   // the empty address is the empty key
      {"[1]", "11"},   // a leading [ means the empty key first
      {"x.", "dict"},  // a trailing dot is the empty key
      {"x..y", "3"},
      {"k]x", "2"},            // ] belongs to a key
      {"[4294967296]", "10"},  // 2^32 is cut to 32 bits: member 0
      {"[4294967297]", "11"},
      {"[2147483648]", "null"},  // 2^31 turns negative and reads as huge
      {"[99999999999999999999]", "null"},
  };
  for (const auto& [address, expected] : cases) EXPECT_EQ(at(address), expected) << address;
  for (const char* address : {"a[1]", "a[0].c", "a[]", "a[x]", "a[1", "a[-1]", "a[0]b", "a[0]]",
                              "n.b", "n[0]", "a.b", "[0].b", "absent", "a[0].b.c"}) {
    EXPECT_EQ(at(address), "null") << address;
  }
  EXPECT_EQ(p.DeepGet(dict_, "[0]"), nullptr) << "no empty key";
  EXPECT_EQ(TakeReports(), Reports{}) << "every miss is quiet";
  EXPECT_EQ(p.DeepGet(p.Get(root.Container(), "n"), "a"), nullptr);
  EXPECT_EQ(p.posDict.DeepGet(root.Container(), nullptr), nullptr);
  EXPECT_EQ(TakeReports(), (Reports{"instance was not an POSDict", "null argument"}));
  moxhost::Runtime::Get().FailNthAllocation(1);
  EXPECT_EQ(at("a"), "null");
  EXPECT_EQ(TakeReports(), Reports{std::bad_alloc().what()}) << "the copy of the address";
}

}  // namespace
}  // namespace moxtest
