// "POSStreamerInterface": the streamer as the runtime offers it to every
// component (include/POSStreamerProcs.h). Each method reports a failure to
// MOXReportError and returns null or false; nothing is raised across it.
#ifndef MOXUTILS_STREAMER_STREAMER_INTERFACE_H_
#define MOXUTILS_STREAMER_STREAMER_INTERFACE_H_

#include "MOXTypes.h"
#include "binding/server_tables.h"

namespace NPOSStreamerImpl {

// The streamer's one interface, as the library registers and unregisters it;
// its table is generated from POS_STREAMER_INTERFACE_METHODS.
extern const MOXLayerInterfaces kPOSStreamerLayerInterfaces;

// The methods themselves, named after them.
namespace POSStreamerEntries {
MOXContainer NewPOSStreamer();
bool Serialize(MOXContainer streamer, MOXContainer stream, MOXContainer object,
               const char* version);
MOXContainer Deserialize(MOXContainer streamer, MOXContainer stream);
}  // namespace POSStreamerEntries

}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_STREAMER_INTERFACE_H_
