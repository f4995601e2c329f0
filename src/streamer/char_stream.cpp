#include "streamer/char_stream.h"

#include <exception>

#include "binding/host_wrappers.h"

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

SharedBlock::SharedBlock(uint64_t size)
    : fBuffer(MOXNewSharedBuffer(size, nullptr, nullptr, 0, 0)) {}

SharedBlock::~SharedBlock() {
  // The slot is tested inside: it is empty before the table's first load.
  MOXSharedBuffProcs::Release(fBuffer);
}

CharStream::CharStream(const CMOXPositionableStreamRef& source)
    : params(kOuterParams),
      stream(source),
      sharedBuffer(kCharStreamBlockSize),
      bufferData(static_cast<unsigned char*>(MOXSharedBuffProcs::GetBuffer(sharedBuffer.Get()))),
      bufferSize(kCharStreamBlockSize),
      cursor(nullptr),
      count(0),
      fUncaughtAtStart(std::uncaught_exceptions()) {}

CharStream::~CharStream() noexcept(false) = default;

bool CharStream::Unwinding() const {
  return std::uncaught_exceptions() > fUncaughtAtStart;
}

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl
