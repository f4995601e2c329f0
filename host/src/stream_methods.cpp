// The stream methods as GetMethod hands them out, and the containers that
// carry streams.
#include "atoms.h"
#include "containers.h"
#include "errors.h"
#include "faults.h"
#include "MOXRuntimeProcs.h"
#include "streams.h"

namespace moxhost {
namespace {

MOXStringAtom StreamInstanceName() {
  static MOXStringAtom name = PermanentAtom("MOXHostStreamImpl");
  return name;
}

const char* const kLevelInterfaceNames[] = {"MOXHostSimpleStreamInterface",
                                            "MOXHostRewindableStreamInterface",
                                            "MOXHostPositionableStreamInterface"};

MOXStringAtom LevelInterface(StreamLevel level) {
  static MOXStringAtom names[] = {PermanentAtom(kLevelInterfaceNames[0]),
                                  PermanentAtom(kLevelInterfaceNames[1]),
                                  PermanentAtom(kLevelInterfaceNames[2])};
  return names[static_cast<int>(level)];
}

void DestroyStream(void* instance) {
  delete static_cast<HostStream*>(instance);
}

HostStream* StreamOf(MOXContainer container) {
  return static_cast<HostStream*>(InstanceNamed(container, StreamInstanceName()));
}

MOXErrorRef NotAStream(const char* method) {
  return MakeError(kInvalidArgument, "%s: not a stream of this runtime", method);
}

MOXErrorRef InjectedFault(const char* method) {
  return MakeError(kInjectedFault, "%s: injected fault", method);
}

MOXErrorRef Read(MOXContainer container, uint64_t* count, void* buffer, uint64_t size) {
  if (count != nullptr) *count = 0;
  HostStream* stream = StreamOf(container);
  if (stream == nullptr) return NotAStream("Read");
  if (count == nullptr || (buffer == nullptr && size != 0)) {
    return MakeError(kInvalidArgument, "Read: null %s", count == nullptr ? "count" : "buffer");
  }
  if (ShouldFail(Fault::kStreamRead)) return InjectedFault("Read");
  return stream->Read(count, buffer, size);
}

MOXErrorRef Write(MOXContainer container, const void* buffer, uint64_t size) {
  HostStream* stream = StreamOf(container);
  if (stream == nullptr) return NotAStream("Write");
  if (buffer == nullptr && size != 0) return MakeError(kInvalidArgument, "Write: null buffer");
  if (ShouldFail(Fault::kStreamWrite)) return InjectedFault("Write");
  return stream->Write(buffer, size);
}

MOXErrorRef CreateIndependentlyRewindable(MOXContainer container, MOXContainer* out) {
  HostStream* stream = StreamOf(container);
  if (stream == nullptr) return NotAStream("CreateIndependentlyRewindableStream");
  if (out == nullptr) {
    return MakeError(kInvalidArgument, "CreateIndependentlyRewindableStream: null out-parameter");
  }
  return stream->CreateIndependentlyRewindable(out);
}

// A rewind is a seek to the start, and fails with the seek fault.
MOXErrorRef Rewind(MOXContainer container) {
  HostStream* stream = StreamOf(container);
  if (stream == nullptr) return NotAStream("Rewind");
  if (ShouldFail(Fault::kStreamSeek)) return InjectedFault("Rewind");
  return stream->Rewind();
}

MOXErrorRef CreateIndependentlyPositionable(MOXContainer container, MOXContainer* out) {
  HostStream* stream = StreamOf(container);
  if (stream == nullptr) return NotAStream("CreateIndependentlyPositionableStream");
  if (out == nullptr) {
    return MakeError(kInvalidArgument, "CreateIndependentlyPositionableStream: null out-parameter");
  }
  return stream->CreateIndependentlyPositionable(out);
}

MOXErrorRef Mark(MOXContainer container, int64_t* position) {
  if (position != nullptr) *position = 0;
  HostStream* stream = StreamOf(container);
  if (stream == nullptr) return NotAStream("Mark");
  if (position == nullptr) return MakeError(kInvalidArgument, "Mark: null position");
  if (ShouldFail(Fault::kStreamMark)) return InjectedFault("Mark");
  return stream->Mark(position);
}

MOXErrorRef Seek(MOXContainer container, int64_t position, int32_t mode) {
  HostStream* stream = StreamOf(container);
  if (stream == nullptr) return NotAStream("Seek");
  if (ShouldFail(Fault::kStreamSeek)) return InjectedFault("Seek");
  return stream->Seek(position, mode);
}

const MethodRow* StreamRows() {
  static const MethodRow rows[] = {
      {"Read", "MOXSimpleStreamReadProc", ProcAddress<MOXSimpleStreamReadProc>(Read)},
      {"Write", "MOXSimpleStreamWriteProc", ProcAddress<MOXSimpleStreamWriteProc>(Write)},
      {"CreateIndependentlyRewindableStream",
       "MOXRewindableStreamCreateIndependentlyRewindableStreamProc",
       ProcAddress<MOXRewindableStreamCreateIndependentlyRewindableStreamProc>(
           CreateIndependentlyRewindable)},
      {"Rewind", "MOXRewindableStreamRewindProc",
       ProcAddress<MOXRewindableStreamRewindProc>(Rewind)},
      {"CreateIndependentlyPositionableStream",
       "MOXPositionableStreamCreateIndependentlyPositionableStreamProc",
       ProcAddress<MOXPositionableStreamCreateIndependentlyPositionableStreamProc>(
           CreateIndependentlyPositionable)},
      {"Mark", "MOXPositionableStreamMarkProc", ProcAddress<MOXPositionableStreamMarkProc>(Mark)},
      {"Seek", "MOXPositionableStreamSeekProc", ProcAddress<MOXPositionableStreamSeekProc>(Seek)},
  };
  return rows;
}

}  // namespace

MOXErrorRef PositionedStream::Seek(int64_t position, int32_t mode) {
  int64_t base = 0;
  switch (mode) {
    case 0:
      break;
    case 1:
      base = position_;
      break;
    case 2:
      if (MOXErrorRef error = Size(&base)) return error;
      break;
    default:
      return MakeError(kInvalidArgument, "Seek: unknown mode %d", mode);
  }
  int64_t target = 0;
  if (__builtin_add_overflow(base, position, &target)) {
    return MakeError(kOutOfRange, "Seek: position out of range");
  }
  if (target < 0) {
    return MakeError(kOutOfRange, "Seek: position %lld is before the start",
                     static_cast<long long>(target));
  }
  position_ = target;
  return nullptr;
}

MOXErrorRef WrapStream(MOXContainer* out, HostStream* stream, StreamLevel level) {
  return NewFullContainer(out, stream, StreamInstanceName(), DestroyStream, LevelInterface(level));
}

std::vector<InterfaceRows> StreamMethodInterfaces() {
  StreamInstanceName();  // made at start, with the runtime's other permanent names
  // Rows are in slot order, so each level's methods are a prefix of the table.
  return {{kLevelInterfaceNames[0], StreamRows(), 2},
          {kLevelInterfaceNames[1], StreamRows(), 4},
          {kLevelInterfaceNames[2], StreamRows(), 7}};
}

}  // namespace moxhost
