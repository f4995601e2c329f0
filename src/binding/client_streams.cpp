#include "binding/client_streams.h"

#include <utility>

#include "binding/errors.h"

namespace {

void* gStreamFactorySlots[MOXStreamFactorySlots::kMethodCount];

// Constant-initialised, so that the termination members below can link their
// lists whatever the order of static construction.
MOX_T_MT::MOXVTabListGeneric gSimpleStreamList = {
    {nullptr, 0}, 0, MOXSimpleStreamSlots::kMethodCount};
MOX_T_MT::MOXVTabListGeneric gRewindableStreamList = {
    {nullptr, 0}, 0, MOXRewindableStreamSlots::kMethodCount};
MOX_T_MT::MOXVTabListGeneric gPositionableStreamList = {
    {nullptr, 0}, 0, MOXPositionableStreamSlots::kMethodCount};

MOX_T_MT::CMOXSimpleStreamTerminate gSimpleStreamTerminate;
MOX_T_MT::CMOXRewindableStreamTerminate gRewindableStreamTerminate;
MOX_T_MT::CMOXPositionableStreamTerminate gPositionableStreamTerminate;

// The factory table, or null when it can't be bound.
bool BindStreamFactory() {
  return gMOXStreamFactoryTable.Get() != nullptr;
}

// Binds the factory for a wrapper that owns `client` until the runtime takes
// it: when the factory can't be bound, or binding throws, the object goes.
template <class Client>
bool BindStreamFactoryFor(Client* client) {
  bool bound;
  try {
    bound = BindStreamFactory();
  } catch (...) {
    delete client;
    throw;
  }
  if (!bound) delete client;
  return bound;
}

// Every adapter receives the object as a MOXClientSimpleStream, the type the
// wrappers hand to the runtime.
MOX_T_MT::MOXClientSimpleStream* AsSimple(void* client) {
  return static_cast<MOX_T_MT::MOXClientSimpleStream*>(client);
}
MOX_T_MT::MOXClientRewindableStream* AsRewindable(void* client) {
  return static_cast<MOX_T_MT::MOXClientRewindableStream*>(AsSimple(client));
}
MOX_T_MT::MOXClientPositionableStream* AsPositionable(void* client) {
  return static_cast<MOX_T_MT::MOXClientPositionableStream*>(AsSimple(client));
}
void* AsClientPointer(MOX_T_MT::MOXClientSimpleStream* client) {
  return client;
}

}  // namespace

TMOXInterfaceTable<MOXStreamFactorySlots::Slot> gMOXStreamFactoryTable(
    MOX_STREAM_FACTORY_INTERFACE_NAME, gStreamFactorySlots, true);

MOXContainer MOXNewPositionableMemoryStream() {
  if (!BindStreamFactory()) return nullptr;
  MOXContainer stream = nullptr;
  MOXCheck(
      gMOXStreamFactoryTable.Proc<MOXStreamFactorySlots::NewPositionableMemoryStream>()(&stream));
  return stream;
}

MOXContainer MOXNewPositionableFileStream(const char* path, const char* mode) {
  if (!BindStreamFactory()) return nullptr;
  MOXContainer stream = nullptr;
  MOXCheck(gMOXStreamFactoryTable.Proc<MOXStreamFactorySlots::NewPositionableFileStream>()(
      &stream, path, mode));
  return stream;
}

// ---- Method tables ---------------------------------------------------------------

namespace MOX_T_MT {

MOXVTabListGeneric* MOXSimpleStreamVTabList() {
  return &gSimpleStreamList;
}
MOXVTabListGeneric* MOXRewindableStreamVTabList() {
  return &gRewindableStreamList;
}
MOXVTabListGeneric* MOXPositionableStreamVTabList() {
  return &gPositionableStreamList;
}

void** MOXLookupSimpleStreamProcs(MOXContainer stream) {
  return MOXLookupProcTable(&gSimpleStreamList, &MOXFetchSlots<MOXSimpleStreamSlots::Slot>, stream);
}
void** MOXLookupRewindableStreamProcs(MOXContainer stream) {
  return MOXLookupProcTable(&gRewindableStreamList, &MOXFetchSlots<MOXRewindableStreamSlots::Slot>,
                            stream);
}
void** MOXLookupPositionableStreamProcs(MOXContainer stream) {
  return MOXLookupProcTable(&gPositionableStreamList,
                            &MOXFetchSlots<MOXPositionableStreamSlots::Slot>, stream);
}

}  // namespace MOX_T_MT

// ---- CMOXPositionableStreamRef -------------------------------------------------------

CMOXPositionableStreamRef::CMOXPositionableStreamRef(MOXContainer stream)
    : CMOXContainerRef(stream),
      fSimpleProcs(nullptr),
      fRewindableProcs(nullptr),
      fPositionableProcs(nullptr) {
  // A throw below leaves through the base's destructor, which drops the
  // reference just taken.
  fSimpleProcs = MOX_T_MT::MOXLookupSimpleStreamProcs(Container());
  fRewindableProcs = MOX_T_MT::MOXLookupRewindableStreamProcs(Container());
  fPositionableProcs = MOX_T_MT::MOXLookupPositionableStreamProcs(Container());
}

CMOXPositionableStreamRef::CMOXPositionableStreamRef(const CMOXPositionableStreamRef& other)
    : CMOXContainerRef(other),
      fSimpleProcs(other.fSimpleProcs),
      fRewindableProcs(other.fRewindableProcs),
      fPositionableProcs(other.fPositionableProcs) {}

CMOXPositionableStreamRef::CMOXPositionableStreamRef(CMOXPositionableStreamRef&& other) noexcept
    : CMOXContainerRef(std::move(other)),
      fSimpleProcs(other.fSimpleProcs),
      fRewindableProcs(other.fRewindableProcs),
      fPositionableProcs(other.fPositionableProcs) {
  other.fSimpleProcs = nullptr;
  other.fRewindableProcs = nullptr;
  other.fPositionableProcs = nullptr;
}

CMOXPositionableStreamRef& CMOXPositionableStreamRef::operator=(
    const CMOXPositionableStreamRef& other) {
  CMOXPositionableStreamRef copy(other);
  Swap(copy);
  return *this;
}

CMOXPositionableStreamRef& CMOXPositionableStreamRef::operator=(
    CMOXPositionableStreamRef&& other) noexcept {
  CMOXPositionableStreamRef taken(std::move(other));
  Swap(taken);
  return *this;
}

void CMOXPositionableStreamRef::Swap(CMOXPositionableStreamRef& other) noexcept {
  MOXContainer mine = Detach();
  Attach(other.Detach());
  other.Attach(mine);
  std::swap(fSimpleProcs, other.fSimpleProcs);
  std::swap(fRewindableProcs, other.fRewindableProcs);
  std::swap(fPositionableProcs, other.fPositionableProcs);
}

uint64_t CMOXPositionableStreamRef::Read(void* buffer, uint64_t size) const {
  uint64_t count = 0;
  MOXCheck(SimpleProc<MOXSimpleStreamSlots::Read>()(Container(), &count, buffer, size));
  return count;
}

void CMOXPositionableStreamRef::Write(const void* buffer, uint64_t size) const {
  MOXCheck(SimpleProc<MOXSimpleStreamSlots::Write>()(Container(), buffer, size));
}

MOXContainer CMOXPositionableStreamRef::CreateIndependentlyRewindableStream() const {
  MOXContainer stream = nullptr;
  MOXCheck(RewindableProc<MOXRewindableStreamSlots::CreateIndependentlyRewindableStream>()(
      Container(), &stream));
  return stream;
}

void CMOXPositionableStreamRef::Rewind() const {
  MOXCheck(RewindableProc<MOXRewindableStreamSlots::Rewind>()(Container()));
}

MOXContainer CMOXPositionableStreamRef::CreateIndependentlyPositionableStream() const {
  MOXContainer stream = nullptr;
  MOXCheck(PositionableProc<MOXPositionableStreamSlots::CreateIndependentlyPositionableStream>()(
      Container(), &stream));
  return stream;
}

int64_t CMOXPositionableStreamRef::Mark() const {
  int64_t position = 0;
  MOXCheck(PositionableProc<MOXPositionableStreamSlots::Mark>()(Container(), &position));
  return position;
}

void CMOXPositionableStreamRef::Seek(int64_t position, int32_t mode) const {
  MOXCheck(PositionableProc<MOXPositionableStreamSlots::Seek>()(Container(), position, mode));
}

// ---- Client stream classes -------------------------------------------------------------

namespace MOX_T_MT {

MOXContainer MOXClientPositionableStream::CreateIndependentlyRewindableStream() {
  return CreateIndependentlyPositionableStream();
}

void MOXClientPositionableStream::Rewind() {
  Seek(0, 0);
}

MOXContainer MOXClientPositionableStream::CreateIndependentlyPositionableStream() {
  MOXThrowCoreError(0);
}

}  // namespace MOX_T_MT

// ---- Adapters ------------------------------------------------------------------------------

namespace MOXClientStreamAdapters {

MOXErrorRef Read(void* client, uint64_t* count, void* buffer, uint64_t size) {
  // Cleared before the work, so that a failure reports nothing read.
  *count = 0;
  return MOXErrorEntry([&] { *count = AsSimple(client)->Read(buffer, size); });
}

MOXErrorRef Write(void* client, const void* buffer, uint64_t size) {
  return MOXErrorEntry([&] { AsSimple(client)->Write(buffer, size); });
}

MOXErrorRef CreateIndependentlyRewindableStream(void* client, MOXContainer* out) {
  // Not cleared: a failure leaves the caller's value as it was.
  return MOXErrorEntry([&] { *out = AsRewindable(client)->CreateIndependentlyRewindableStream(); });
}

MOXErrorRef Rewind(void* client) {
  return MOXErrorEntry([&] { AsRewindable(client)->Rewind(); });
}

MOXErrorRef CreateIndependentlyPositionableStream(void* client, MOXContainer* out) {
  return MOXErrorEntry(
      [&] { *out = AsPositionable(client)->CreateIndependentlyPositionableStream(); });
}

MOXErrorRef Mark(void* client, int64_t* position) {
  *position = 0;
  return MOXErrorEntry([&] { *position = AsPositionable(client)->Mark(); });
}

MOXErrorRef Seek(void* client, int64_t position, int32_t mode) {
  return MOXErrorEntry([&] { AsPositionable(client)->Seek(position, mode); });
}

void Release(void* client) {
  if (client != nullptr) delete AsSimple(client);
}

}  // namespace MOXClientStreamAdapters

// ---- Handing client objects to the runtime ------------------------------------------------

MOXContainer MOXNewClientSimpleStream(MOX_T_MT::MOXClientSimpleStream* client) {
  if (!BindStreamFactoryFor(client)) return nullptr;
  // From here on the object is the runtime's, whatever the call returns.
  MOXContainer stream = nullptr;
  namespace A = MOXClientStreamAdapters;
  MOXCheck(gMOXStreamFactoryTable.Proc<MOXStreamFactorySlots::NewClientSimpleStream>()(
      &stream, AsClientPointer(client), &A::Read, &A::Write, &A::Release));
  return stream;
}

MOXContainer MOXNewClientRewindableStream(MOX_T_MT::MOXClientRewindableStream* client) {
  if (!BindStreamFactoryFor(client)) return nullptr;
  MOXContainer stream = nullptr;
  namespace A = MOXClientStreamAdapters;
  MOXCheck(gMOXStreamFactoryTable.Proc<MOXStreamFactorySlots::NewClientRewindableStream>()(
      &stream, AsClientPointer(client), &A::Read, &A::Write,
      &A::CreateIndependentlyRewindableStream, &A::Rewind, &A::Release));
  return stream;
}

MOXContainer MOXNewClientPositionableStream(MOX_T_MT::MOXClientPositionableStream* client) {
  if (!BindStreamFactoryFor(client)) return nullptr;
  MOXContainer stream = nullptr;
  namespace A = MOXClientStreamAdapters;
  MOXCheck(gMOXStreamFactoryTable.Proc<MOXStreamFactorySlots::NewClientPositionableStream>()(
      &stream, AsClientPointer(client), &A::Read, &A::Write,
      &A::CreateIndependentlyRewindableStream, &A::Rewind,
      &A::CreateIndependentlyPositionableStream, &A::Mark, &A::Seek, &A::Release));
  return stream;
}
