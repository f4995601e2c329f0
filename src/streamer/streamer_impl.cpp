#include "streamer/streamer_impl.h"

#include <cstring>
#include <memory>

#include "binding/errors.h"
#include "streamer/ichar_stream.h"
#include "streamer/streamer_base.h"

namespace NPOSStreamerImpl {

using MOX_T_MT::CPOSObject;

void MOXImpl::Serialize(const CMOXPositionableStreamRef& stream, const CPOSObject& object,
                        const char* version) {
  if (version == nullptr) version = StreamerBase::DefaultVersionName();
  std::unique_ptr<StreamerBase> streamer(StreamerBase::LookupStreamer(version));
  stream.Write(version, std::strlen(version));
  stream.Write(" ", 1);
  streamer->WriteStream(stream, object);
}

CPOSObject MOXImpl::Deserialize(const CMOXPositionableStreamRef& stream) {
  // Byte by byte: nothing may be read ahead before the version is known.
  char name[kVersionNameLimit + 1];
  size_t length = 0;
  name[length++] = static_cast<char>(NTypeAImpl::getNextNonSpaceChar(stream));
  while (length < kVersionNameLimit) {
    const int c = NTypeAImpl::getNextChar(stream);
    if (c == ' ') break;
    name[length++] = static_cast<char>(c);
  }
  // A name that fills the buffer consumes no separator and fails the lookup.
  name[length] = 0;
  std::unique_ptr<StreamerBase> streamer(StreamerBase::LookupStreamer(name));
  CPOSObject object = streamer->ReadStream(stream);
  // Only a zero byte where the object should begin gets here: zero closes the
  // outermost level.
  if (object.IsEmpty()) throw MOX_T_MT::POSException("POSObjectStreamerImpl::Deserialize failure");
  return object;
}

}  // namespace NPOSStreamerImpl
