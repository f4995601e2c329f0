// Streams in both directions across the runtime boundary.
//
// The runtime defines three stream interfaces, each extending the one before:
// simple (Read, Write), rewindable (CreateIndependentlyRewindableStream,
// Rewind) and positionable (CreateIndependentlyPositionableStream, Mark,
// Seek). A stream is a container with the methods of those interfaces.
//
// Using a stream made elsewhere:
//
//   CMOXPositionableStreamRef stream(MOXNewPositionableMemoryStream());
//   stream.Write("abc", 3);
//   stream.Rewind();
//   uint64_t n = stream.Read(buffer, sizeof buffer);
//
// Offering a stream of the library's own: derive from one of the
// MOXClient...Stream classes and hand an object to NewClient...Stream, which
// gives the runtime's container for it. The runtime owns the object from then
// on and deletes it through the release procedure when the container dies.
//
// Handles hold procedure pointers that are valid only while the library is
// started: every handle must be gone before MOXUtilsTerminate.
#ifndef MOXUTILS_BINDING_CLIENT_STREAMS_H_
#define MOXUTILS_BINDING_CLIENT_STREAMS_H_

#include <cstdint>

#include "MOXRuntimeProcs.h"
#include "binding/client_base.h"
#include "binding/container_ref.h"
#include "binding/host_tables.h"
#include "binding/method_tables.h"

// ---- The runtime's stream factory ----------------------------------------------

MOX_DEFINE_SLOTS(MOXStreamFactorySlots, MOX_STREAM_FACTORY_INTERFACE_METHODS)

// "MOXStreamFactoryInterface", bound on demand: a failed load clears slot 0.
extern TMOXInterfaceTable<MOXStreamFactorySlots::Slot> gMOXStreamFactoryTable;

// A new, empty memory stream of the runtime, unowned (count zero). Null when
// the factory can't be bound (once the library is bound, a failed lookup
// throws instead); an error of the factory is thrown.
MOXContainer MOXNewPositionableMemoryStream();

// A stream on the file at `path`, opened with the fopen `mode`; unowned. Null
// when the factory can't be bound; an error of the factory (say, a file that
// can't be opened) is thrown.
MOXContainer MOXNewPositionableFileStream(const char* path, const char* mode);

// ---- Per-signature method tables of the three stream interfaces ----------------

// The slots of each level's table.
MOX_DEFINE_SLOTS(MOXSimpleStreamSlots, MOX_SIMPLE_STREAM_METHODS)
MOX_DEFINE_SLOTS(MOXRewindableStreamSlots, MOX_REWINDABLE_STREAM_METHODS)
MOX_DEFINE_SLOTS(MOXPositionableStreamSlots, MOX_POSITIONABLE_STREAM_METHODS)

namespace MOX_T_MT {

// The lists of method tables, one entry per signature seen.
MOXVTabListGeneric* MOXSimpleStreamVTabList();
MOXVTabListGeneric* MOXRewindableStreamVTabList();
MOXVTabListGeneric* MOXPositionableStreamVTabList();

// The termination-list members that own those lists: Terminate deletes the
// entries while the runtime is bound; Abandon forgets them at process exit.
class CMOXSimpleStreamTerminate : public MOXVTabListOwner {
 public:
  CMOXSimpleStreamTerminate() : MOXVTabListOwner(MOXSimpleStreamVTabList(), true) {}
};
class CMOXRewindableStreamTerminate : public MOXVTabListOwner {
 public:
  CMOXRewindableStreamTerminate() : MOXVTabListOwner(MOXRewindableStreamVTabList(), true) {}
};
class CMOXPositionableStreamTerminate : public MOXVTabListOwner {
 public:
  CMOXPositionableStreamTerminate() : MOXVTabListOwner(MOXPositionableStreamVTabList(), true) {}
};

// The methods of `stream` for one level: the table of its signature.
// "couldn't get signature" for a null stream or one without a signature,
// "invalid container" when the stream lacks a method of that level.
void** MOXLookupSimpleStreamProcs(MOXContainer stream);
void** MOXLookupRewindableStreamProcs(MOXContainer stream);
void** MOXLookupPositionableStreamProcs(MOXContainer stream);

}  // namespace MOX_T_MT

// ---- Handle on a stream made elsewhere -------------------------------------------

// Owns one reference to a positionable stream and the three method tables of
// its signature. A copy shares the tables and takes its own reference. Errors
// of the stream are thrown (MOXThrowFromError).
class CMOXPositionableStreamRef : public CMOXContainerRef {
 public:
  CMOXPositionableStreamRef() noexcept
      : fSimpleProcs(nullptr), fRewindableProcs(nullptr), fPositionableProcs(nullptr) {}
  // Takes a reference to `stream` (a null stream raises "invalid container"
  // on a runtime that refuses it) and looks up the simple, rewindable and
  // positionable tables in that order.
  explicit CMOXPositionableStreamRef(MOXContainer stream);
  CMOXPositionableStreamRef(const CMOXPositionableStreamRef& other);
  CMOXPositionableStreamRef(CMOXPositionableStreamRef&& other) noexcept;
  CMOXPositionableStreamRef& operator=(const CMOXPositionableStreamRef& other);
  CMOXPositionableStreamRef& operator=(CMOXPositionableStreamRef&& other) noexcept;
  ~CMOXPositionableStreamRef() = default;

  // Exchanges streams and tables with `other`.
  void Swap(CMOXPositionableStreamRef& other) noexcept;

  // The number of bytes read into `buffer`, at most `size`; 0 at the end.
  uint64_t Read(void* buffer, uint64_t size) const;
  void Write(const void* buffer, uint64_t size) const;
  // A new stream over the same data with a position of its own, unowned.
  MOXContainer CreateIndependentlyRewindableStream() const;
  void Rewind() const;
  MOXContainer CreateIndependentlyPositionableStream() const;
  // The current position.
  int64_t Mark() const;
  // `mode`: 0 from the start, 1 from the current position, 2 from the end.
  void Seek(int64_t position, int32_t mode) const;

  // A slot of one level's table. Another thread may refresh the entry while
  // it is read: a slot is one aligned pointer, and both values are valid.
  template <MOXSimpleStreamSlots::Slot kSlot>
  MOXProcOf<kSlot> SimpleProc() const {
    return MOXProcAt<kSlot>(fSimpleProcs);
  }
  template <MOXRewindableStreamSlots::Slot kSlot>
  MOXProcOf<kSlot> RewindableProc() const {
    return MOXProcAt<kSlot>(fRewindableProcs);
  }
  template <MOXPositionableStreamSlots::Slot kSlot>
  MOXProcOf<kSlot> PositionableProc() const {
    return MOXProcAt<kSlot>(fPositionableProcs);
  }

  // The fProcs of the list entries of the stream's signature, one per level.
  void** SimpleProcs() const { return fSimpleProcs; }
  void** RewindableProcs() const { return fRewindableProcs; }
  void** PositionableProcs() const { return fPositionableProcs; }

 private:
  void** fSimpleProcs;
  void** fRewindableProcs;
  void** fPositionableProcs;
};

// ---- Streams implemented by the library ------------------------------------------

namespace MOX_T_MT {

// Objects live in the runtime's memory. Failures are thrown; the adapters turn
// them into errors for the runtime.
class MOXClientSimpleStream : public CMOXVirtualClientBase {
 public:
  ~MOXClientSimpleStream() override = default;
  // The number of bytes read into `buffer`, at most `size`; 0 at the end.
  virtual uint64_t Read(void* buffer, uint64_t size) = 0;
  virtual void Write(const void* buffer, uint64_t size) = 0;
};

class MOXClientRewindableStream : public MOXClientSimpleStream {
 public:
  // A new stream container over the same data, unowned.
  virtual MOXContainer CreateIndependentlyRewindableStream() = 0;
  virtual void Rewind() = 0;
};

class MOXClientPositionableStream : public MOXClientRewindableStream {
 public:
  // An independent positionable stream is an independent rewindable one.
  MOXContainer CreateIndependentlyRewindableStream() override;
  // Seek(0, 0).
  void Rewind() override;
  // The default can't make one and throws core error 0.
  virtual MOXContainer CreateIndependentlyPositionableStream();
  virtual void Seek(int64_t position, int32_t mode) = 0;
  virtual int64_t Mark() = 0;
};

}  // namespace MOX_T_MT

// Hand a client object to the runtime and give back its container, unowned.
// Ownership of `client` passes to the call at once:
//  - the factory can't be bound: the object is deleted here and the result is
//    null; an exception while binding deletes it too and goes on;
//  - otherwise the runtime owns it from the call on, also when the factory
//    returns an error, which is thrown.
MOXContainer MOXNewClientSimpleStream(MOX_T_MT::MOXClientSimpleStream* client);
MOXContainer MOXNewClientRewindableStream(MOX_T_MT::MOXClientRewindableStream* client);
MOXContainer MOXNewClientPositionableStream(MOX_T_MT::MOXClientPositionableStream* client);

// The procedures through which the runtime calls a client object: the stream
// methods with the object in place of the container. Each returns the failure
// of the object's operation as an error, null on success.
namespace MOXClientStreamAdapters {
MOXErrorRef Read(void* client, uint64_t* count, void* buffer, uint64_t size);
MOXErrorRef Write(void* client, const void* buffer, uint64_t size);
MOXErrorRef CreateIndependentlyRewindableStream(void* client, MOXContainer* out);
MOXErrorRef Rewind(void* client);
MOXErrorRef CreateIndependentlyPositionableStream(void* client, MOXContainer* out);
MOXErrorRef Mark(void* client, int64_t* position);
MOXErrorRef Seek(void* client, int64_t position, int32_t mode);
// Deletes the object, if any, when its container dies.
void Release(void* client);
}  // namespace MOXClientStreamAdapters

#endif  // MOXUTILS_BINDING_CLIENT_STREAMS_H_
