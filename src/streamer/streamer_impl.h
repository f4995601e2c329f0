// MOXImpl is the instance behind every streamer handle. It has no state:
// each call picks a version, makes a streamer for itself and drops it, so one
// handle serves any number of threads at once, each on its own stream.
#ifndef MOXUTILS_STREAMER_STREAMER_IMPL_H_
#define MOXUTILS_STREAMER_STREAMER_IMPL_H_

#include <cstddef>

#include "binding/client_base.h"
#include "binding/client_streams.h"
#include "pos/pos_object.h"

namespace NPOSStreamerImpl {

// Version names are read into a buffer of this many bytes and a terminator.
constexpr size_t kVersionNameLimit = 64;

class MOXImpl : public MOX_T_MT::CMOXClientBase {
 public:
  MOXImpl() = default;
  MOXImpl(const MOXImpl&) = delete;
  MOXImpl& operator=(const MOXImpl&) = delete;
  virtual ~MOXImpl() = default;

  // Writes the version name (the default one when `version` is null), one
  // space and `object`. An unknown version fails before any byte is written.
  // When writing fails, the bytes already written stay in the stream.
  void Serialize(const CMOXPositionableStreamRef& stream, const MOX_T_MT::CPOSObject& object,
                 const char* version);
  // Reads a version name (spaces before it are skipped, one space ends it)
  // and one object in that version, and leaves the stream just behind the
  // object. After a failure nothing read is kept.
  MOX_T_MT::CPOSObject Deserialize(const CMOXPositionableStreamRef& stream);
};

}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_STREAMER_IMPL_H_
