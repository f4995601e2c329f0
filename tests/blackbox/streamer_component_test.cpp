// The streamer as a foreign component sees it: libMOXUtils.so loaded with
// dlopen, the objects and streams made through the runtime's lookup alone.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "POSStreamerProcs.h"
#include "blackbox/pos_procs.h"
#include "moxhost/Runtime.h"
#include "support/LiveCounts.h"

namespace moxtest {
namespace {

using moxhost::Runtime;

template <typename Proc>
Proc Lookup(const char* interfaceName, const char* method, const char* procType) {
  return reinterpret_cast<Proc>(Runtime::LookupProc()(interfaceName, method, procType));
}
#define LOOKUP(interfaceName, method, Proc) Lookup<Proc>(interfaceName, method, #Proc)

class StreamerComponent : public ::testing::Test {
 protected:
  void SetUp() override {
    Runtime::Get().ClearFaults();
    Runtime::Get().ClearReports();
    loaded_ = Runtime::Get().Counts();
    std::string error;
    library_.reset(moxhost::LoadedLibrary::Open(moxhost::LoadedLibrary::DefaultPath(), &error));
    ASSERT_NE(library_, nullptr) << error;
  }
  void Start() {
    ASSERT_TRUE(library_->Start());
    ASSERT_TRUE(p.Load(Runtime::LookupProc()));
    newStreamer = LOOKUP("POSStreamerInterface", "NewPOSStreamer", POSStreamerNewPOSStreamerProc);
    serialize = LOOKUP("POSStreamerInterface", "Serialize", POSStreamerSerializeProc);
    deserialize = LOOKUP("POSStreamerInterface", "Deserialize", POSStreamerDeserializeProc);
    ASSERT_TRUE(newStreamer && serialize && deserialize);
  }
  void TearDown() override {
    library_.reset();
    EXPECT_EQ(CountsDiff(loaded_, Runtime::Get().Counts()), "");
  }

  // A runtime memory stream, kept, and its methods.
  struct Stream {
    MOXContainer handle = nullptr;
    MOXSimpleStreamReadProc read = nullptr;
    MOXPositionableStreamSeekProc seek = nullptr;
  };
  Stream NewStream() {
    Stream s;
    LOOKUP("MOXStreamFactoryInterface", "NewPositionableMemoryStream",
           MOXNewPositionableMemoryStreamProc)
    (&s.handle);
    p.addRef(s.handle);
    auto getMethod = LOOKUP("MOXContainerInterface", "GetMethod", MOXGetMethodV3Proc);
    auto method = [&](const char* name, const char* procType) {
      MOXStringAtom nameAtom = p.newAtom(name), typeAtom = p.newAtom(procType);
      void* proc = nullptr;
      getMethod(&proc, s.handle, nameAtom, typeAtom, true);
      p.deleteAtom(nameAtom);
      p.deleteAtom(typeAtom);
      return proc;
    };
    s.read = reinterpret_cast<MOXSimpleStreamReadProc>(method("Read", "MOXSimpleStreamReadProc"));
    s.seek = reinterpret_cast<MOXPositionableStreamSeekProc>(
        method("Seek", "MOXPositionableStreamSeekProc"));
    return s;
  }
  std::string Contents(const Stream& s) {
    s.seek(s.handle, 0, 0);
    std::string bytes(1 << 16, 0);
    uint64_t n = 0;
    s.read(s.handle, &n, &bytes[0], bytes.size());
    s.seek(s.handle, 0, 0);
    return bytes.substr(0, n);
  }

  POSProcs p;
  POSStreamerNewPOSStreamerProc newStreamer = nullptr;
  POSStreamerSerializeProc serialize = nullptr;
  POSStreamerDeserializeProc deserialize = nullptr;
  std::unique_ptr<moxhost::LoadedLibrary> library_;
  moxhost::LiveCounts loaded_;
};

TEST_F(StreamerComponent, WritesTheWorkedExampleAndReadsItBack) {
  Start();
  MOXContainer streamer = p.Keep(newStreamer());
  MOXContainer dict = p.Keep(p.newDict());
  const uint16_t units[] = {0x00E9, 0xABCD, 0};
  MOXContainer list = p.Keep(p.newArray());
  p.append(list, p.newNumber(7));
  p.append(list, p.newArray());
  p.Put(dict, "n", p.newNumber(2.5));
  p.Put(dict, "s", p.newString("say \"hi\"\n\x01"));
  p.Put(dict, "u", p.newUnicode(units));
  p.Put(dict, "b", p.newBinData("raw", "\x01\xAB\xFF", 3));
  p.Put(dict, "l", list);
  Stream stream = NewStream();
  ASSERT_TRUE(serialize(streamer, stream.handle, dict, nullptr));
  EXPECT_EQ(Contents(stream),
            "POSStreamerTypeA_Version1.0 <\n\t\"b\" {\"raw\" #3  \n\t\t01ABFF\n\t}\n\t\"l\" [\n"
            "\t\t#7 \n\t\t[\n\t\t]\n\t]\n\t\"n\" #2.5 \n\t\"s\" \"say \\\"hi\\\"\\n\\001\"\n"
            "\t\"u\" `00e9ABcd`\n>");
  MOXContainer back = p.Keep(deserialize(streamer, stream.handle));
  ASSERT_NE(back, nullptr);
  EXPECT_TRUE(p.isEqual(back, dict));
  EXPECT_TRUE(p.isEqual(dict, back));
  // Failures come back as a report and a neutral result.
  EXPECT_EQ(deserialize(streamer, stream.handle), nullptr);
  EXPECT_FALSE(serialize(dict, stream.handle, dict, nullptr));
  EXPECT_EQ(Runtime::Get().Reports(),
            (std::vector<std::string>{"getNextChar unexpected EOF", "invalid container"}));
  for (MOXContainer object : {back, list, dict, stream.handle, streamer}) p.release(object);
}

bool Registered(const char* name) {
  for (const std::string& registered : Runtime::Get().RegisteredInterfaces()) {
    if (registered == name) return true;
  }
  return false;
}

TEST_F(StreamerComponent, IsRegisteredAfterTheObjectModel) {
  Runtime::Get().RefuseRegistration("POSDictIteratorInterface", "CurKey");
  EXPECT_FALSE(library_->Start());
  EXPECT_FALSE(Registered("POSStreamerInterface"));
  library_->Stop();
  Runtime::Get().ClearFaults();
  Runtime::Get().RefuseRegistration("POSStreamerInterface", "Deserialize");
  EXPECT_FALSE(library_->Start());
  EXPECT_TRUE(Registered("POSDictIteratorInterface"));
  library_->Stop();
  Runtime::Get().ClearFaults();
  Start();
  EXPECT_TRUE(Registered("POSStreamerInterface"));
  library_->Stop();
  EXPECT_FALSE(Registered("POSStreamerInterface"));
}

}  // namespace
}  // namespace moxtest
