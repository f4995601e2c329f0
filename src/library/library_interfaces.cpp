#include "library/library_interfaces.h"

#include <cstddef>

#include "binding/server_tables.h"
#include "fileutils/fileutils_interfaces.h"
#include "pos/pos_interfaces.h"
#include "streamer/streamer_interface.h"
#include "validator/validator_interface.h"

namespace {

// The layers that offer interfaces, bottom first. A new layer adds one line,
// above the layers it uses.
const MOXLayerInterfaces* const kLayers[] = {
    &gPOSLayerInterfaces,                              // the ten of the object model
    &NPOSStreamerImpl::kPOSStreamerLayerInterfaces,    // "POSStreamerInterface"
    &NPOSValidatorImpl::kPOSValidatorLayerInterfaces,  // the validator's two
    &kMOXFileUtilsLayerInterfaces,  // "MOXUtilsDirInterface", "MOXUtilsTempFileStreamFactory"
};
constexpr size_t kLayerCount = sizeof(kLayers) / sizeof(kLayers[0]);

}  // namespace

bool MOXRegisterLibraryInterfaces() {
  for (size_t i = 0; i < kLayerCount; ++i) {
    if (!MOXRegisterLayer(*kLayers[i])) return false;
  }
  return true;
}

void MOXUnregisterLibraryInterfaces() {
  for (size_t i = kLayerCount; i-- > 0;) MOXUnregisterLayer(*kLayers[i]);
}
