// "POSStreamerInterface": the streamer as the runtime offers it to every
// component (include/POSStreamerProcs.h). Each method reports a failure to
// MOXReportError and returns null or false; nothing is raised across it.
#ifndef MOXUTILS_STREAMER_STREAMER_INTERFACE_H_
#define MOXUTILS_STREAMER_STREAMER_INTERFACE_H_

#include "MOXTypes.h"
#include "binding/server_tables.h"

namespace NPOSStreamerImpl {

// NewPOSStreamer, Serialize and Deserialize, in slot order.
extern const MOXServerInterface kPOSStreamerServerInterface;
// The streamer's one interface, as the library registers and unregisters it.
extern const MOXLayerInterfaces kPOSStreamerLayerInterfaces;

// The methods themselves.
MOXContainer NewPOSStreamerEntry();
bool SerializeEntry(MOXContainer streamer, MOXContainer stream, MOXContainer object,
                    const char* version);
MOXContainer DeserializeEntry(MOXContainer streamer, MOXContainer stream);

}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_STREAMER_INTERFACE_H_
