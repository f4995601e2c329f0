// StreamerBase is the root of every streamer version. A version is a class
// with a name: a stream starts with that name, so a reader can pick the class
// before it touches the rest of the stream.
//
//   std::unique_ptr<StreamerBase> streamer(
//       StreamerBase::LookupStreamer(StreamerBase::DefaultVersionName()));
//   streamer->WriteStream(stream, object);
//
// A streamer lives for one call: each lookup makes a fresh one, and nothing
// is cached or shared between calls or threads.
#ifndef MOXUTILS_STREAMER_STREAMER_BASE_H_
#define MOXUTILS_STREAMER_STREAMER_BASE_H_

#include "binding/client_base.h"
#include "binding/client_streams.h"
#include "pos/pos_object.h"

namespace NPOSStreamerImpl {

class StreamerBase : public MOX_T_MT::CMOXClientBase {
 public:
  StreamerBase() = default;
  StreamerBase(const StreamerBase&) = delete;
  StreamerBase& operator=(const StreamerBase&) = delete;
  virtual ~StreamerBase() = default;

  // The name that opens the streams of this version: a static literal.
  virtual const char* VersionName() const = 0;
  // Writes `object` after the version name, which the caller has written.
  virtual void WriteStream(const CMOXPositionableStreamRef& stream,
                           const MOX_T_MT::CPOSObject& object) = 0;
  // Reads one object after the version name, which the caller has read. An
  // empty result means that the stream held no object where one should start.
  virtual MOX_T_MT::CPOSObject ReadStream(const CMOXPositionableStreamRef& stream) = 0;

  // A new streamer of the version called `name`, owned by the caller. Raises
  // "StreamerBase::LookupStreamer unrecognized version" for an unknown name.
  static StreamerBase* LookupStreamer(const char* name);
  // The name of the newest version: the last entry of the streamer table.
  static const char* DefaultVersionName();
};

}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_STREAMER_STREAMER_BASE_H_
