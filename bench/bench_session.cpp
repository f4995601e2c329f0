#include "bench_session.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "moxhost/Runtime.h"

namespace moxbench {

namespace {

template <typename Proc>
void Fetch(Proc& slot, const char* interfaceName, const char* method, const char* procType) {
  slot = reinterpret_cast<Proc>(moxhost::Runtime::LookupProc()(interfaceName, method, procType));
  if (slot == nullptr) {
    std::fprintf(stderr, "pos_bench: %s.%s is not registered\n", interfaceName, method);
    std::exit(2);
  }
}

moxhost::LoadedLibrary* gLibrary = nullptr;

Procs Load() {
  std::string error;
  gLibrary = moxhost::LoadedLibrary::Open(moxhost::LoadedLibrary::DefaultPath(), &error);
  if (gLibrary == nullptr || !gLibrary->Start()) {
    std::fprintf(stderr, "pos_bench: can't start libMOXUtils: %s\n", error.c_str());
    std::exit(2);
  }
  moxhost::Runtime::Get().EchoReportsTo(stderr);
  Procs p{};
#define FETCH(slot, interfaceName, method, Proc) Fetch(p.slot, interfaceName, method, #Proc)
  FETCH(clone, "POSObjectInterface", "Clone", POSObjectCloneProc);
  FETCH(isEqual, "POSObjectInterface", "IsEqual", POSObjectIsEqualProc);
  FETCH(createFromText, "POSObjectStatics", "CreateFromText", POSObjectCreateFromTextProc);
  FETCH(newNumber, "POSNumberInterface", "NewPOSNumber", POSNumberNewPOSNumberProc);
  FETCH(getNumber, "POSNumberInterface", "Get", POSNumberGetProc);
  FETCH(newString, "POSStringInterface", "NewPOSString", POSStringNewPOSStringProc);
  FETCH(newArray, "POSArrayInterface", "NewPOSArray", POSArrayNewPOSArrayProc);
  FETCH(append, "POSArrayInterface", "Append", POSArrayAppendProc);
  FETCH(getAt, "POSArrayInterface", "GetAt", POSArrayGetAtProc);
  FETCH(count, "POSArrayInterface", "Count", POSArrayCountProc);
  FETCH(newDict, "POSDictInterface", "NewPOSDict", POSDictNewPOSDictProc);
  FETCH(get, "POSDictInterface", "Get", POSDictGetProc);
  FETCH(put, "POSDictInterface", "Put", POSDictPutProc);
  FETCH(deepGet, "POSDictInterface", "DeepGet", POSDictDeepGetProc);
  FETCH(newStreamer, "POSStreamerInterface", "NewPOSStreamer", POSStreamerNewPOSStreamerProc);
  FETCH(serialize, "POSStreamerInterface", "Serialize", POSStreamerSerializeProc);
  FETCH(deserialize, "POSStreamerInterface", "Deserialize", POSStreamerDeserializeProc);
  FETCH(addRef, "MOXContainerInterface", "AddRef", MOXAddRefContainerV2Proc);
  FETCH(release, "MOXContainerInterface", "Release", MOXReleaseContainerProc);
  FETCH(newContainer, "MOXContainerInterface", "NewContainer", MOXNewContainerV2Proc);
  FETCH(registerInstance, "MOXContainerInterface", "RegisterInstance", MOXRegisterInstanceV2Proc);
  FETCH(registerInterface, "MOXContainerInterface", "RegisterInterface",
        MOXRegisterInterfaceV2Proc);
  FETCH(offsetToPrimary, "MOXContainerInterface", "GetOffsetToPrimaryInstance",
        MOXGetOffsetToPrimaryInstProc);
  FETCH(getMethod, "MOXContainerInterface", "GetMethod", MOXGetMethodV3Proc);
  FETCH(newAtom, "MOXStringInterface", "NewStringAtom", MOXNewStringAtomProc);
  FETCH(deleteAtom, "MOXStringInterface", "DeleteStringAtom", MOXDeleteStringAtomProc);
  FETCH(newMemoryStream, "MOXStreamFactoryInterface", "NewPositionableMemoryStream",
        MOXNewPositionableMemoryStreamProc);
#undef FETCH
  return p;
}

}  // namespace

const Procs& Session() {
  static const Procs procs = Load();
  return procs;
}

void EndSession() {
  delete gLibrary;  // stops the library and unloads it
  gLibrary = nullptr;
}

}  // namespace moxbench
