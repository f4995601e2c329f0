#include "streamer/streamer_interface.h"

#include "POSStreamerProcs.h"
#include "binding/container_ref.h"
#include "binding/errors.h"
#include "binding/utils_names.h"
#include "streamer/streamer_impl.h"

namespace NPOSStreamerImpl {

using MOX_T_MT::CPOSObject;

namespace {

void DeleteMOXImpl(void* instance) {
  if (instance != nullptr) delete static_cast<MOXImpl*>(instance);
}

// The streamer behind `handle`. A handle that is not a streamer raises
// "invalid container" rather than reaching a method with no instance.
MOXImpl* FindStreamer(MOXContainer handle) {
  void* instance = MOXFindInstance(handle, gMOXUtilsNames->fStreamerImpl);
  if (instance == nullptr) MOXThrowInvalidContainer();
  return static_cast<MOXImpl*>(instance);
}

MOX_DEFINE_SERVER_INTERFACE(kPOSStreamerServerInterface, POS_STREAMER_INTERFACE_NAME,
                            POSStreamerEntries, POS_STREAMER_INTERFACE_METHODS);

const MOXServerInterface* const kStreamerInterfaces[] = {&kPOSStreamerServerInterface};

}  // namespace

const MOXLayerInterfaces kPOSStreamerLayerInterfaces =
    MOXMakeLayerInterfaces(kStreamerInterfaces, kStreamerInterfaces);

namespace POSStreamerEntries {

MOXContainer NewPOSStreamer() {
  return EntryGuard<MOXContainer>([] {
    // On failure the runtime destroys the instance through DeleteMOXImpl.
    return MOXNewFullContainer(new MOXImpl, gMOXUtilsNames->fStreamerImpl, &DeleteMOXImpl,
                               gMOXUtilsNames->fStreamerInterface);
  });
}

bool Serialize(MOXContainer streamer, MOXContainer stream, MOXContainer object,
               const char* version) {
  return EntryGuard<bool>([&] {
    CPOSObject objectRef(object);
    CMOXPositionableStreamRef streamRef(stream);
    FindStreamer(streamer)->Serialize(streamRef, objectRef, version);
    return true;
  });
}

MOXContainer Deserialize(MOXContainer streamer, MOXContainer stream) {
  return EntryGuard<MOXContainer>([&] {
    CMOXPositionableStreamRef streamRef(stream);
    CPOSObject object = FindStreamer(streamer)->Deserialize(streamRef);
    // The caller gets the object unowned, its count as it was.
    return object.GiveAway();
  });
}

}  // namespace POSStreamerEntries

}  // namespace NPOSStreamerImpl
