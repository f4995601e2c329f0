#include "streamer/streamer_table.h"

#include "streamer/version10.h"

namespace NPOSStreamerImpl {

const StreamerCreator kStreamerTable[] = {&NTypeAImpl::NewVersion10};

size_t StreamerTableCount() {
  return sizeof(kStreamerTable) / sizeof(kStreamerTable[0]);
}

}  // namespace NPOSStreamerImpl
