// Dictionaries: the tree against std::map under long random sequences, the
// order of iteration, iterators across changes, and the quiet misses.
#include <map>
#include <random>
#include <string>

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
    dict_ = p.Keep(p.newDict());
    impl_ = FromContainer<Dict>(dict_);
  }
  void TearDown() override {
    p.release(dict_);
    POSFixture::TearDown();
  }

  // The keys as the iterator interface gives them.
  std::vector<std::string> IteratedKeys() {
    std::vector<std::string> keys;
    MOXContainer it = p.Keep(p.newIterator(dict_));
    for (; !p.isDone(it); p.next(it)) keys.push_back(p.curKey(it));
    p.release(it);
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

TEST_F(Dicts, StaysASearchTreeUnderRandomPutAndRemove) {
  std::mt19937 random(20240611);
  // Short keys from a small alphabet: many repeats, many absent removals,
  // and bytes above 0x7F, which sort after ASCII.
  const std::string alphabet = "aBb\xc3_";
  auto randomKey = [&] {
    std::string key;
    for (int n = random() % 4; n > 0; --n) key += alphabet[random() % alphabet.size()];
    return key;
  };
  std::map<std::string, int> model;
  MOXContainer numbers[8];
  for (int i = 0; i < 8; ++i) numbers[i] = p.Keep(p.newNumber(i));
  for (int round = 0; round < 6000; ++round) {
    std::string key = randomKey();
    // Phases of mostly inserting and mostly removing, so the tree both grows
    // and thins out.
    bool put = (round / 1000) % 2 == 0 ? random() % 4 != 0 : random() % 4 == 0;
    if (put) {
      int value = random() % 8;
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
  for (int i = 0; i < 8; ++i) p.release(numbers[i]);
  EXPECT_EQ(TakeReports(), Reports{}) << "absent keys are removed silently";
}

TEST_F(Dicts, InsertionsAloneKeepRedBlackBalance) {
  std::mt19937 random(7);
  MOXContainer value = p.Keep(p.newNumber(0));
  std::map<std::string, int> model;
  for (int i = 0; i < 3000; ++i) {
    // Ascending runs are the classic worst case for an unbalanced tree.
    std::string key = i % 2 ? std::to_string(100000 + i) : std::to_string(random());
    p.Put(dict_, key.c_str(), value);
    model[key] = 0;
  }
  TreeShape shape;
  Walk(impl_->Tree()->Root(), nullptr, shape);
  EXPECT_EQ(impl_->Tree()->Root()->fColour, kBlack);
  EXPECT_FALSE(shape.redUnderRed);
  EXPECT_FALSE(shape.blackHeightsDiffer);
  EXPECT_EQ(shape.keys, Keys(model));
  EXPECT_EQ(p.RefCount(value), 1 + model.size());
  // Removing everything, absent keys among them, empties the tree; it then
  // works as a new one.
  for (const auto& entry : model) p.Remove(dict_, entry.first.c_str());
  p.Remove(dict_, "absent");
  EXPECT_EQ(impl_->Tree()->Root(), nullptr);
  EXPECT_EQ(p.RefCount(value), 1u);
  p.Put(dict_, "again", value);
  EXPECT_EQ(IteratedKeys(), std::vector<std::string>{"again"});
  p.release(value);
}

TEST_F(Dicts, KeysIterateInByteOrderAndPutReplacesInPlace) {
  MOXContainer one = p.Keep(p.newNumber(1));
  MOXContainer two = p.Keep(p.newNumber(2));
  for (const char* key : {"a", "B", "ab", ""}) p.Put(dict_, key, one);
  EXPECT_EQ(IteratedKeys(), (std::vector<std::string>{"", "B", "a", "ab"}));
  MOXContainer it = p.Keep(p.newIterator(dict_));
  p.next(it);
  EXPECT_STREQ(p.curKey(it), "B");
  p.Put(dict_, "B", two);
  p.Put(dict_, "B", two);
  EXPECT_STREQ(p.curKey(it), "B") << "the node keeps its place";
  EXPECT_EQ(p.Get(dict_, "B"), two);
  EXPECT_EQ(p.RefCount(one), 4u) << "the old value was released";
  // Changes to other keys leave the iterator usable.
  p.Remove(dict_, "");
  p.Put(dict_, "Z", one);
  p.Put(dict_, "b", one);
  p.next(it);
  EXPECT_STREQ(p.curKey(it), "Z");
  for (p.begin(it); !p.isDone(it); p.next(it)) {
  }
  p.next(it);
  EXPECT_TRUE(p.isDone(it)) << "Next past the end is harmless";
  EXPECT_EQ(p.curKey(it), nullptr) << "and there is no key to give";
  EXPECT_EQ(IteratedKeys(), (std::vector<std::string>{"B", "Z", "a", "ab", "b"}));
  EXPECT_EQ(TakeReports(), Reports{});
  p.release(it);
  p.release(one);
  p.release(two);
}

TEST_F(Dicts, MissesAreQuietAndBadArgumentsReport) {
  MOXContainer value = p.Keep(p.newString("v"));
  MOXContainer empty = p.Keep(p.newDict());
  MOXContainer it = p.Keep(p.newIterator(empty));
  EXPECT_TRUE(p.isDone(it)) << "an empty Dict is done at once";
  p.next(it);
  EXPECT_TRUE(p.isDone(it));
  EXPECT_EQ(p.Get(dict_, "absent"), nullptr);
  p.Remove(dict_, "absent");
  EXPECT_EQ(TakeReports(), Reports{});
  p.Put(dict_, "k", nullptr);
  p.Put(value, "k", value);
  EXPECT_EQ(p.newIterator(value), nullptr);
  p.next(value);
  EXPECT_FALSE(p.isDone(nullptr));
  p.put(dict_, nullptr, value);
  EXPECT_EQ(TakeReports(), (Reports{"invalid container", "instance was not an POSDict",
                                    "instance was not an POSDict", "invalid container",
                                    "invalid container", "null argument"}));
  moxhost::Runtime::Get().FailNthAllocation(1);
  p.Put(dict_, "new", value);
  EXPECT_EQ(TakeReports(), Reports{std::bad_alloc().what()});
  EXPECT_EQ(impl_->Tree()->Root(), nullptr) << "the node comes before the tree is touched";
  EXPECT_EQ(p.RefCount(value), 1u);
  try {
    impl_->LookupValue("absent", /*quiet=*/false);
    ADD_FAILURE() << "a loud lookup raises";
  } catch (const MOX_T_MT::POSException& e) {
    EXPECT_STREQ(e.what(), "Dict::Get lookup failed");
  }
  p.release(it);
  p.release(empty);
  p.release(value);
}

}  // namespace
}  // namespace moxtest
