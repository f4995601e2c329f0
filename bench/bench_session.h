// The library loaded through the reference runtime, with the procedures the
// benchmarks call, fetched by name as any component would.
#ifndef MOXUTILS_BENCH_BENCH_SESSION_H_
#define MOXUTILS_BENCH_BENCH_SESSION_H_

#include "MOXRuntimeProcs.h"
#include "POSProcs.h"
#include "POSStreamerProcs.h"

namespace moxbench {

struct Procs {
  POSObjectCloneProc clone;
  POSObjectIsEqualProc isEqual;
  POSObjectCreateFromTextProc createFromText;
  POSNumberNewPOSNumberProc newNumber;
  POSNumberGetProc getNumber;
  POSStringNewPOSStringProc newString;
  POSArrayNewPOSArrayProc newArray;
  POSArrayAppendProc append;
  POSArrayGetAtProc getAt;
  POSArrayCountProc count;
  POSDictNewPOSDictProc newDict;
  POSDictGetProc get;
  POSDictPutProc put;
  POSDictDeepGetProc deepGet;
  POSStreamerNewPOSStreamerProc newStreamer;
  POSStreamerSerializeProc serialize;
  POSStreamerDeserializeProc deserialize;
  MOXAddRefContainerV2Proc addRef;
  MOXReleaseContainerProc release;
  MOXNewContainerV2Proc newContainer;
  MOXRegisterInstanceV2Proc registerInstance;
  MOXRegisterInterfaceV2Proc registerInterface;
  MOXGetOffsetToPrimaryInstProc offsetToPrimary;
  MOXNewStringAtomProc newAtom;
  MOXDeleteStringAtomProc deleteAtom;
  MOXNewPositionableMemoryStreamProc newMemoryStream;
  MOXGetMethodV3Proc getMethod;
};

// Starts the runtime and the library once for the process; aborts with a
// message when either can't be had.
const Procs& Session();
// Stops the library and unloads it; every object must have been let go.
void EndSession();

// Takes a reference to an unowned result, as a component that keeps it does.
inline MOXContainer Keep(MOXContainer object) {
  Session().addRef(object);
  return object;
}

}  // namespace moxbench

#endif  // MOXUTILS_BENCH_BENCH_SESSION_H_
