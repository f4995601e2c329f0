// The library as a foreign component sees it: libMOXUtils.so loaded with
// dlopen, and nothing but the runtime's lookup procedure and the tables the
// library registered. The runtime's live counts are the witness that every
// object goes away.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "POSStreamerProcs.h"
#include "blackbox/foreign_library.h"
#include "blackbox/pos_procs.h"
#include "moxhost/runtime.h"
#include "support/live_counts.h"

namespace moxtest {
namespace {

using moxhost::Runtime;

template <typename Proc>
Proc Lookup(const char* interfaceName, const char* method, const char* procType) {
  return reinterpret_cast<Proc>(Runtime::LookupProc()(interfaceName, method, procType));
}
#define LOOKUP(interfaceName, method, Proc) Lookup<Proc>(interfaceName, method, #Proc)

int gReleaseCalls = 0;
void CountRelease(void*) {
  ++gReleaseCalls;
}

class ForeignComponent : public ForeignLibrary {
 protected:
  Strings Keys(MOXContainer dict) {
    Strings keys;
    MOXContainer it = p.posDictIterator.NewPOSDictIterator(dict);
    EXPECT_EQ(p.RefCount(it), 0u) << "a new iterator is unowned too";
    p.container.AddRef(it);
    for (p.posDictIterator.Begin(it); !p.posDictIterator.IsDone(it); p.posDictIterator.Next(it))
      keys.push_back(p.posDictIterator.CurKey(it));
    p.container.Release(it);
    return keys;
  }
};

// Every handle a method returns is unowned, and getters borrow: the counts
// stay as they were.
TEST_F(ForeignComponent, BuildsReadsClonesComparesAndReleasesATree) {
  gReleaseCalls = 0;
  const uint16_t units[] = {0x48, 0x49, 0};
  int target = 0;
  // <name (tree) list [1 2 <x `00480049`>] blob bytes ptr &target>
  MOXContainer root = p.posDict.NewPOSDict();
  MOXContainer list = p.posArray.NewPOSArray();
  MOXContainer inner = p.posDict.NewPOSDict();
  MOXContainer two = p.posNumber.NewPOSNumber(2);
  for (MOXContainer fresh : {root, list, inner, two}) EXPECT_EQ(p.RefCount(fresh), 0u);
  p.container.AddRef(root);
  p.posArray.Append(list, p.posNumber.NewPOSNumber(1));
  p.posArray.Append(list, two);
  p.Put(inner, "x", p.posUnicodeString.NewPOSUnicodeString(units));
  p.posArray.Append(list, inner);
  p.Put(root, "name", p.posString.NewPOSString("tree"));
  p.Put(root, "list", list);
  p.Put(root, "blob", p.posBinData.NewPOSBinData("bytes", "\x01\x02", 2));
  p.Put(root, "ptr", p.posRawPointer.NewPOSRawPointer(&target, &CountRelease));
  EXPECT_EQ(p.RefCount(list), 1u);
  EXPECT_EQ(p.RefCount(two), 1u);

  EXPECT_EQ(Keys(root), (Strings{"blob", "list", "name", "ptr"}));
  EXPECT_STREQ(p.posString.Get(p.Get(root, "name")), "tree");
  EXPECT_EQ(p.Get(root, "list"), list);
  EXPECT_EQ(p.posArray.Count(list), 3u);
  EXPECT_EQ(p.posArray.GetAt(list, 1), two);
  EXPECT_EQ(p.DeepGet(root, "list[1]"), two);
  EXPECT_EQ(p.posUnicodeString.Get(p.DeepGet(root, "list[2].x"))[1], 0x49);
  EXPECT_EQ(p.posBinData.GetSize(p.Get(root, "blob")), 2u);
  EXPECT_EQ(p.posRawPointer.GetRawPointer(p.DeepGet(root, ".ptr")), &target);
  EXPECT_EQ(p.RefCount(list), 1u) << "Get leaves the count alone";
  EXPECT_EQ(p.RefCount(two), 1u) << "so do GetAt and DeepGet";

  MOXContainer copy = p.posObject.Clone(root);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(p.RefCount(copy), 0u) << "a clone is unowned";
  p.container.AddRef(copy);
  EXPECT_EQ(p.RefCount(two), 2u) << "leaves are shared";
  EXPECT_TRUE(p.posObject.IsEqual(root, copy));
  EXPECT_TRUE(p.posObject.IsEqual(copy, root));
  EXPECT_NE(p.Get(copy, "list"), list) << "containers are not";
  p.Remove(p.DeepGet(copy, "list[2]"), "x");
  EXPECT_FALSE(p.posObject.IsEqual(root, copy));
  EXPECT_TRUE(p.posObject.IsEqual(copy, root)) << "a Dict only asks about its own keys";
  EXPECT_NE(p.DeepGet(root, "list[2].x"), nullptr) << "the clone's change stays in the clone";
  p.posStatics.DebugDump(root);
  EXPECT_EQ(p.RefCount(root), 1u);
  EXPECT_EQ(Runtime::Get().Reports(), Strings{});

  p.container.Release(root);
  EXPECT_EQ(gReleaseCalls, 0) << "the clone still holds the raw pointer";
  p.container.Release(copy);
  EXPECT_EQ(gReleaseCalls, 1) << "released once, when the object died";
}

TEST_F(ForeignComponent, StreamerWritesTheWorkedExampleAndReadsItBack) {
  auto newStreamer =
      LOOKUP("POSStreamerInterface", "NewPOSStreamer", POSStreamerNewPOSStreamerProc);
  auto serialize = LOOKUP("POSStreamerInterface", "Serialize", POSStreamerSerializeProc);
  auto deserialize = LOOKUP("POSStreamerInterface", "Deserialize", POSStreamerDeserializeProc);
  auto newFileStream = LOOKUP("MOXStreamFactoryInterface", "NewPositionableFileStream",
                              MOXNewPositionableFileStreamProc);
  ASSERT_TRUE(newStreamer && serialize && deserialize && newFileStream);
  char path[] = "/tmp/component_test_XXXXXX";
  ASSERT_GE(mkstemp(path), 0);
  auto open = [&](const char* mode) {
    MOXContainer stream = nullptr;
    newFileStream(&stream, path, mode);
    return p.Keep(stream);
  };
  MOXContainer streamer = p.Keep(newStreamer());
  const uint16_t units[] = {0x00E9, 0xABCD, 0};
  MOXContainer list = p.Keep(p.posArray.NewPOSArray());
  p.posArray.Append(list, p.posNumber.NewPOSNumber(7));
  p.posArray.Append(list, p.posArray.NewPOSArray());
  MOXContainer dict = p.Keep(p.posDict.NewPOSDict());
  p.Put(dict, "n", p.posNumber.NewPOSNumber(2.5));
  p.Put(dict, "s", p.posString.NewPOSString("say \"hi\"\n\x01"));
  p.Put(dict, "u", p.posUnicodeString.NewPOSUnicodeString(units));
  p.Put(dict, "b", p.posBinData.NewPOSBinData("raw", "\x01\xAB\xFF", 3));
  p.Put(dict, "l", list);
  MOXContainer out = open("wb");
  EXPECT_TRUE(serialize(streamer, out, dict, nullptr));
  EXPECT_FALSE(serialize(dict, out, dict, nullptr));
  p.container.Release(out);
  std::ostringstream written;
  written << std::ifstream(path, std::ios::binary).rdbuf();
  EXPECT_EQ(written.str(),
            "POSStreamerTypeA_Version1.0 <\n\t\"b\" {\"raw\" #3  \n\t\t01ABFF\n\t}\n\t\"l\" [\n"
            "\t\t#7 \n\t\t[\n\t\t]\n\t]\n\t\"n\" #2.5 \n\t\"s\" \"say \\\"hi\\\"\\n\\001\"\n"
            "\t\"u\" `00e9ABcd`\n>");
  MOXContainer in = open("rb");
  MOXContainer back = p.Keep(deserialize(streamer, in));
  ASSERT_NE(back, nullptr);
  EXPECT_TRUE(p.posObject.IsEqual(back, dict));
  EXPECT_TRUE(p.posObject.IsEqual(dict, back));
  // Failures come back as a report and a neutral result.
  EXPECT_EQ(deserialize(streamer, in), nullptr);
  EXPECT_EQ(Runtime::Get().Reports(), (Strings{"invalid container", "getNextChar unexpected EOF"}));
  for (MOXContainer object : {back, list, dict, in, streamer}) p.container.Release(object);
  unlink(path);
  // The streamer's method tables stay until the stop, which must give them
  // back with everything else.
  started_ = Runtime::Get().Counts();
}

// Records the library's calls of the two registry procedures of the runtime.
Strings gCalls;
MOXRegisterProcAddressProc gRegister = nullptr;
MOXUnregisterInterfaceProc gUnregister = nullptr;
uint32_t RecordRegister(const char* interfaceName, const char* method, const char* procType,
                        void* procedure) {
  const std::string name = interfaceName;
  if (name.rfind("POS", 0) == 0 || name.rfind("MOXUtils", 0) == 0) {
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

// The object model first, the streamer and the validator that build on it
// after, then the file utilities; at stop the file utilities first, then the
// validator, then the streamer, then the object model in the order of its
// registration.
TEST_F(ForeignComponent, RegistersTheInterfacesInOrderAndTakesThemBackClientsFirst) {
  library_->Stop();
  gCalls.clear();
  ASSERT_EQ(library_->StartWith(&RecordingLookup), 1u);
  std::vector<std::pair<std::string, int>> tables;  // interface and rows, in order
  for (const std::string& call : gCalls) {
    std::string name = call.substr(0, call.find('.'));
    if (tables.empty() || tables.back().first != name) tables.emplace_back(name, 0);
    ++tables.back().second;
  }
  const std::vector<std::pair<std::string, int>> expected = {{"POSObjectInterface", 2},
                                                             {"POSObjectStatics", 4},
                                                             {"POSNumberInterface", 3},
                                                             {"POSStringInterface", 3},
                                                             {"POSUnicodeStringInterface", 3},
                                                             {"POSBinDataInterface", 5},
                                                             {"POSRawPointerInterface", 4},
                                                             {"POSArrayInterface", 7},
                                                             {"POSDictInterface", 6},
                                                             {"POSDictIteratorInterface", 5},
                                                             {"POSStreamerInterface", 3},
                                                             {"POSValidatorInterface", 1},
                                                             {"POSStructValidatorInterface", 3},
                                                             {"MOXUtilsDirInterface", 8},
                                                             {"MOXUtilsTempFileStreamFactory", 1}};
  EXPECT_EQ(tables, expected);
  EXPECT_EQ(gCalls.back(),
            "MOXUtilsTempFileStreamFactory.NewTempFileStream:"
            "_MOXUtilsNewTempFileStreamProc_NewTempFileStream");
  EXPECT_EQ(gCalls[1], "POSObjectInterface.IsEqual:POSObjectIsEqualProc");
  EXPECT_EQ(gCalls[5], "POSObjectStatics.CreateFromText:POSObjectCreateFromTextProc");

  gCalls.clear();
  library_->Stop();
  ASSERT_GE(gCalls.size(), expected.size());
  Strings stopped = {"-MOXUtilsDirInterface", "-MOXUtilsTempFileStreamFactory",
                     "-POSStructValidatorInterface", "-POSValidatorInterface",
                     "-POSStreamerInterface"};
  for (size_t i = 0; i + 5 < expected.size(); ++i) stopped.push_back("-" + expected[i].first);
  EXPECT_EQ(Strings(gCalls.end() - expected.size(), gCalls.end()), stopped);
  EXPECT_EQ(Runtime::LookupProc()("POSDictInterface", "Get", "POSDictGetProc"), nullptr);
  // Started again, the library fetches its tables anew.
  ASSERT_TRUE(library_->Start());
  ASSERT_TRUE(p.Load(Runtime::LookupProc()));
  MOXContainer parsed = p.Keep(LOOKUP("POSObjectStatics", "CreateFromText",
                                      POSObjectCreateFromTextProc)("<a [1 (2)]>", nullptr));
  EXPECT_STREQ(p.posString.Get(p.DeepGet(parsed, "a[1]")), "2");
  p.container.Release(parsed);
  EXPECT_EQ(Runtime::Get().Reports(), Strings{});
  started_ = Runtime::Get().Counts();
}

}  // namespace
}  // namespace moxtest
