// The versions that the library can write and read, oldest first. Lookup
// walks the table in order; the last entry is the default for writing.
#ifndef MOXUTILS_STREAMER_STREAMER_TABLE_H_
#define MOXUTILS_STREAMER_STREAMER_TABLE_H_

#include <cstddef>

#include "streamer/streamer_base.h"

namespace NPOSStreamerImpl {

// Makes a new streamer of one version, owned by the caller.
using StreamerCreator = StreamerBase* (*)();

extern const StreamerCreator kStreamerTable[];
// The number of entries of kStreamerTable.
size_t StreamerTableCount();

}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_STREAMER_TABLE_H_
