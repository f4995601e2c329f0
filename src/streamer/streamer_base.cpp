#include "streamer/streamer_base.h"

#include <cstring>
#include <memory>

#include "binding/errors.h"
#include "streamer/streamer_table.h"

namespace NPOSStreamerImpl {

StreamerBase* StreamerBase::LookupStreamer(const char* name) {
  for (size_t index = 0; index < StreamerTableCount(); ++index) {
    std::unique_ptr<StreamerBase> streamer(kStreamerTable[index]());
    if (std::strcmp(streamer->VersionName(), name) == 0) return streamer.release();
  }
  throw MOX_T_MT::POSException("StreamerBase::LookupStreamer unrecognized version");
}

const char* StreamerBase::DefaultVersionName() {
  std::unique_ptr<StreamerBase> newest(kStreamerTable[StreamerTableCount() - 1]());
  // A static literal, so it outlives the streamer.
  return newest->VersionName();
}

}  // namespace NPOSStreamerImpl
