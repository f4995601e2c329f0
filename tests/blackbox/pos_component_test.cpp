// The object model as a foreign component sees it: libMOXUtils.so loaded with
// dlopen, and nothing but the runtime's lookup procedure and the tables the
// library registered. The runtime's live counts are the witness that every
// object goes away.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "blackbox/pos_procs.h"
#include "moxhost/Runtime.h"
#include "support/LiveCounts.h"

namespace moxtest {
namespace {

using moxhost::Runtime;

int gReleaseCalls = 0;
void CountRelease(void*) {
  ++gReleaseCalls;
}

class ForeignComponent : public ::testing::Test {
 protected:
  void SetUp() override {
    Runtime::Get().ClearFaults();
    Runtime::Get().ClearReports();
    loaded_ = Runtime::Get().Counts();
    std::string error;
    library_.reset(moxhost::LoadedLibrary::Open(moxhost::LoadedLibrary::DefaultPath(), &error));
    ASSERT_NE(library_, nullptr) << error;
    ASSERT_TRUE(library_->Start());
    ASSERT_TRUE(p.Load(Runtime::LookupProc()));
    // The library keeps one method table per signature from the first use on.
    MOXContainer warm = p.Keep(p.newDict());
    p.Put(warm, "k", p.newNumber(0));
    p.release(warm);
    started_ = Runtime::Get().Counts();
  }
  void TearDown() override {
    if (library_ == nullptr) return;
    EXPECT_EQ(CountsDiff(started_, Runtime::Get().Counts()), "");
    library_->Stop();
    EXPECT_EQ(CountsDiff(loaded_, Runtime::Get().Counts()), "");
    library_.reset();
  }

  std::vector<std::string> Keys(MOXContainer dict) {
    std::vector<std::string> keys;
    MOXContainer it = p.Keep(p.newIterator(dict));
    for (p.begin(it); !p.isDone(it); p.next(it)) keys.push_back(p.curKey(it));
    p.release(it);
    return keys;
  }

  POSProcs p;
  std::unique_ptr<moxhost::LoadedLibrary> library_;
  moxhost::LiveCounts loaded_;
  moxhost::LiveCounts started_;
};

TEST_F(ForeignComponent, BuildsReadsClonesComparesAndReleasesATree) {
  gReleaseCalls = 0;
  const uint16_t units[] = {0x48, 0x49, 0};
  int target = 0;
  // <name (tree) list [1 2 <x `00480049`>] blob bytes ptr &target>
  MOXContainer root = p.Keep(p.newDict());
  MOXContainer list = p.Keep(p.newArray());
  MOXContainer inner = p.Keep(p.newDict());
  p.append(list, p.newNumber(1));
  p.append(list, p.newNumber(2));
  p.Put(inner, "x", p.newUnicode(units));
  p.append(list, inner);
  p.Put(root, "name", p.newString("tree"));
  p.Put(root, "list", list);
  p.Put(root, "blob", p.newBinData("bytes", "\x01\x02", 2));
  p.Put(root, "ptr", p.newRawPointer(&target, &CountRelease));
  p.release(inner);
  p.release(list);

  EXPECT_EQ(Keys(root), (std::vector<std::string>{"blob", "list", "name", "ptr"}));
  EXPECT_STREQ(p.getString(p.Get(root, "name")), "tree");
  EXPECT_EQ(p.count(p.Get(root, "list")), 3u);
  EXPECT_EQ(p.getNumber(p.getAt(p.Get(root, "list"), 1)), 2.0);
  EXPECT_EQ(p.getUnicode(p.DeepGet(root, "list[2].x"))[1], 0x49);
  EXPECT_EQ(p.getSize(p.Get(root, "blob")), 2u);
  EXPECT_EQ(p.getRawPointer(p.DeepGet(root, ".ptr")), &target);

  MOXContainer copy = p.Keep(p.clone(root));
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(p.isEqual(root, copy));
  EXPECT_TRUE(p.isEqual(copy, root));
  EXPECT_EQ(p.Get(copy, "name"), p.Get(root, "name")) << "leaves are shared";
  EXPECT_NE(p.Get(copy, "list"), p.Get(root, "list")) << "containers are not";
  p.Remove(p.DeepGet(copy, "list[2]"), "x");
  EXPECT_FALSE(p.isEqual(root, copy));
  EXPECT_TRUE(p.isEqual(copy, root)) << "a Dict only asks about its own keys";
  EXPECT_NE(p.DeepGet(root, "list[2].x"), nullptr);
  EXPECT_EQ(Runtime::Get().Reports(), std::vector<std::string>{});

  p.release(root);
  EXPECT_EQ(gReleaseCalls, 0) << "the clone still holds the raw pointer";
  p.release(copy);
  EXPECT_EQ(gReleaseCalls, 1) << "released once, when the object died";
}

TEST_F(ForeignComponent, ReturnedHandlesAreUnownedAndGettersBorrow) {
  MOXContainer dict = p.newDict();
  EXPECT_EQ(p.RefCount(dict), 0u) << "a new object is unowned";
  p.addRef(dict);
  MOXContainer list = p.newArray();
  MOXContainer number = p.newNumber(9);
  p.append(list, number);
  p.Put(dict, "list", list);
  EXPECT_EQ(p.RefCount(number), 1u);
  EXPECT_EQ(p.RefCount(list), 1u);
  EXPECT_EQ(p.getAt(list, 0), number);
  EXPECT_EQ(p.Get(dict, "list"), list);
  EXPECT_EQ(p.DeepGet(dict, "list[0]"), number);
  EXPECT_EQ(p.RefCount(number), 1u) << "GetAt and DeepGet leave the count alone";
  EXPECT_EQ(p.RefCount(list), 1u) << "so does Get";
  MOXContainer copy = p.clone(dict);
  EXPECT_EQ(p.RefCount(copy), 0u) << "a clone is unowned";
  EXPECT_EQ(p.clone(number), number);
  EXPECT_EQ(p.RefCount(number), 2u) << "the clone shares the number";
  MOXContainer it = p.newIterator(dict);
  EXPECT_EQ(p.RefCount(it), 0u);
  p.debugDump(dict);
  EXPECT_EQ(p.RefCount(dict), 1u);
  p.Drop(it);
  p.Drop(copy);
  EXPECT_EQ(p.RefCount(number), 1u);
  p.release(dict);
}

// Records the library's calls of the two registry procedures of the runtime.
std::vector<std::string> gCalls;
MOXRegisterProcAddressProc gRegister = nullptr;
MOXUnregisterInterfaceProc gUnregister = nullptr;
uint32_t RecordRegister(const char* interfaceName, const char* method, const char* procType,
                        void* procedure) {
  if (std::string(interfaceName).rfind("POS", 0) == 0) {
    gCalls.push_back(std::string(interfaceName) + "." + method + ":" + procType);
  }
  return gRegister(interfaceName, method, procType, procedure);
}
void RecordUnregister(const char* interfaceName) {
  gCalls.push_back(std::string("-") + interfaceName);
  gUnregister(interfaceName);
}
void* RecordingLookup(const char* interfaceName, const char* method, const char* procType) {
  void* procedure = Runtime::LookupProc()(interfaceName, method, procType);
  std::string name = method;
  if (name == "MOXRegisterProcAddress" && procedure != nullptr) {
    gRegister = reinterpret_cast<MOXRegisterProcAddressProc>(procedure);
    return reinterpret_cast<void*>(&RecordRegister);
  }
  if (name == "MOXUnregisterInterface" && procedure != nullptr) {
    gUnregister = reinterpret_cast<MOXUnregisterInterfaceProc>(procedure);
    return reinterpret_cast<void*>(&RecordUnregister);
  }
  return procedure;
}

TEST_F(ForeignComponent, RegistersTheTenInterfacesInOrderAndTakesThemBackLast) {
  library_->Stop();
  gCalls.clear();
  ASSERT_EQ(library_->StartWith(&RecordingLookup), 1u);
  std::vector<std::pair<std::string, int>> tables;  // interface and rows, in order
  for (const std::string& call : gCalls) {
    std::string name = call.substr(0, call.find('.'));
    if (tables.empty() || tables.back().first != name) tables.emplace_back(name, 0);
    ++tables.back().second;
  }
  const std::vector<std::pair<std::string, int>> expected = {
      {"POSObjectInterface", 2},      {"POSObjectStatics", 4},          {"POSNumberInterface", 3},
      {"POSStringInterface", 3},      {"POSUnicodeStringInterface", 3}, {"POSBinDataInterface", 5},
      {"POSRawPointerInterface", 4},  {"POSArrayInterface", 7},         {"POSDictInterface", 6},
      {"POSDictIteratorInterface", 5}};
  ASSERT_GE(tables.size(), expected.size());
  EXPECT_EQ(decltype(tables)(tables.begin(), tables.begin() + expected.size()), expected);
  EXPECT_EQ(gCalls[1], "POSObjectInterface.IsEqual:POSObjectIsEqualProc");
  EXPECT_EQ(gCalls[5], "POSObjectStatics.CreateFromText:POSObjectCreateFromTextProc");

  gCalls.clear();
  library_->Stop();
  ASSERT_GE(gCalls.size(), expected.size());
  std::vector<std::string> last(gCalls.end() - expected.size(), gCalls.end());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(last[i], "-" + expected[i].first) << "the object model goes last, in order";
  }
  EXPECT_EQ(Runtime::LookupProc()("POSDictInterface", "Get", "POSDictGetProc"), nullptr);
  ASSERT_TRUE(library_->Start());
  started_ = Runtime::Get().Counts();
}

}  // namespace
}  // namespace moxtest
