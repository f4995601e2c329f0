/*
 * MOXRuntimeProcs.h: the procedures of the component runtime, as the lookup
 * procedure hands them out. Each typedef is named after the proc-type name
 * under which the procedure is fetched. Each interface is defined by a macro
 * with its name and a list of its methods in slot order, one X(Method,
 * ProcType) entry per method (see POSProcs.h for how to walk one).
 *
 * Reference rules:
 *  - Every procedure that returns MOXErrorRef returns null on success and
 *    otherwise an error with one reference for the caller.
 *  - A container fresh from NewFullContainer counts zero references: it is
 *    unowned until somebody calls AddRef.
 *  - Atoms, errors, shared buffers, cache identifiers, progress objects and
 *    filters returned by a New... procedure carry one reference for the caller.
 *
 * Threads: the runtime's procedures may be called from any thread; reference
 * counts of containers, atoms, errors and shared buffers are safe to change
 * from several threads at once. A stream belongs to one thread at a time.
 */
#ifndef MOXUTILS_MOXRUNTIMEPROCS_H_
#define MOXUTILS_MOXRUNTIMEPROCS_H_

#include "MOXTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Core procedures: interface "MOX", method name = proc-type name ------- */

/* Adds `procedure` to the interface; returns 0 when refused. */
typedef uint32_t (*MOXRegisterProcAddressProc)(const char* interfaceName, const char* methodName,
                                               const char* procTypeName, void* procedure);
/* Records an error raised inside a method that has no error result. */
typedef void (*MOXReportErrorProc)(const char* message);
/* Removes an interface and raises the unregister counter. */
typedef void (*MOXUnregisterInterfaceProc)(const char* interfaceName);
/* Address of the unregister counter: never 0, changes at each unregistration. */
typedef uint64_t* (*MOXGetUnregisterCountAddrProc)(void);
typedef int8_t (*MOXIsMultiThreadedProc)(void);

/* ---- "MOXContainerInterface" -------------------------------------------- */

#define MOX_CONTAINER_INTERFACE_NAME "MOXContainerInterface"
/* Methods of MOXContainerInterface in slot order. */
#define MOX_CONTAINER_INTERFACE_METHODS(X)                 \
  X(NewFullContainer, MOXNewFullContainerV5Proc)           \
  X(NewContainer, MOXNewContainerV2Proc)                   \
  X(CloneContainer, MOXCloneContainerProc)                 \
  X(AddRef, MOXAddRefContainerV2Proc)                      \
  X(Release, MOXReleaseContainerProc)                      \
  X(DecrementWithoutDelete, MOXDecrementWithoutDeleteProc) \
  X(DeleteUnownedContainer, MOXDeleteUnownedContainerProc) \
  X(RegisterInterface, MOXRegisterInterfaceV2Proc)         \
  X(RegisterInstance, MOXRegisterInstanceV2Proc)           \
  X(GetMethod, MOXGetMethodV3Proc)                         \
  X(GetParentMethod, MOXGetParentMethodV2Proc)             \
  X(GetInstance, MOXGetInstanceProc)                       \
  X(NGetInstance, MOXNGetInstanceProc)                     \
  X(GetSignature, MOXGetSignatureProc)                     \
  X(DebugGetRefCountAddr, MOXGetRefCountAddrProc)          \
  X(GetOffsetToPrimaryInstance, MOXGetOffsetToPrimaryInstProc)

/* Wraps `instance` in a new container at count zero. `destroy` receives the
 * instance when the count falls to zero, or at once when the call fails: the
 * runtime owns the instance from the call on. The container's signature is
 * the interface named by `interfaceName`. The trailing words must be 0. */
typedef MOXErrorRef (*MOXNewFullContainerV5Proc)(MOXContainer* out, void* instance,
                                                 MOXStringAtom instanceName, MOXReleaseProc destroy,
                                                 MOXStringAtom interfaceName, uintptr_t reserved1,
                                                 uintptr_t reserved2, uintptr_t reserved3);
/* A container with no instance and no signature, at count zero; instances and
 * interfaces join it later through RegisterInstance and RegisterInterface.
 * The five words must be 0. */
typedef MOXErrorRef (*MOXNewContainerV2Proc)(MOXContainer* out, uintptr_t reserved1,
                                             uintptr_t reserved2, uintptr_t reserved3,
                                             uintptr_t reserved4, uintptr_t reserved5);
/* A new container, at count zero, that shares the instances of `source`
 * (their destroy procedures run when the last container sharing them dies). */
typedef MOXErrorRef (*MOXCloneContainerProc)(MOXContainer* out, MOXContainer source);
/* Non-zero on success; 0 for null or a container that is being destroyed. */
typedef uint32_t (*MOXAddRefContainerV2Proc)(MOXContainer container);
/* Accepts null. Destroys the container when the count reaches zero. */
typedef void (*MOXReleaseContainerProc)(MOXContainer container);
/* Lowers the count without destroying at zero. */
typedef void (*MOXDecrementWithoutDeleteProc)(MOXContainer container);
/* Destroys a container whose count is zero; does nothing otherwise. */
typedef void (*MOXDeleteUnownedContainerProc)(MOXContainer container);
/* Adds a further interface whose methods GetMethod searches after the
 * signature's own; the first interface registered on a bare container becomes
 * its signature. */
typedef MOXErrorRef (*MOXRegisterInterfaceV2Proc)(MOXContainer container,
                                                  MOXStringAtom interfaceName);
/* Adds a named instance; the first one on a bare container becomes the
 * primary instance. `destroy` may be null. */
typedef MOXErrorRef (*MOXRegisterInstanceV2Proc)(MOXContainer container, void* instance,
                                                 MOXStringAtom instanceName,
                                                 MOXReleaseProc destroy);
/* Resolves a method through the container's interfaces. An absent method gives
 * a null out and no error unless `mustExist` is true. */
typedef MOXErrorRef (*MOXGetMethodV3Proc)(void** out, MOXContainer container,
                                          MOXStringAtom methodName, MOXStringAtom procTypeName,
                                          bool mustExist);
/* Resolves a method of a named interface of the container, absent or not. */
typedef MOXErrorRef (*MOXGetParentMethodV2Proc)(void** out, MOXContainer container,
                                                MOXStringAtom interfaceName,
                                                MOXStringAtom methodName,
                                                MOXStringAtom procTypeName);
/* The primary instance, or null. */
typedef void* (*MOXGetInstanceProc)(MOXContainer container);
/* The instance registered under `instanceName`; null out, and no error, if
 * there is none or the container is null. */
typedef MOXErrorRef (*MOXNGetInstanceProc)(void** out, MOXContainer container,
                                           MOXStringAtom instanceName);
/* The signature atom, borrowed; null if the container has none. */
typedef MOXStringAtom (*MOXGetSignatureProc)(MOXContainer container);
/* Address of the container's reference count, for debugging only. */
typedef const uint32_t* (*MOXGetRefCountAddrProc)(MOXContainer container);
/* Offset of the MOXPrimaryInstanceRecord from a container's address. */
typedef int64_t (*MOXGetOffsetToPrimaryInstProc)(void);

/* ---- "MOXErrorInterface" ------------------------------------------------ */

#define MOX_ERROR_INTERFACE_NAME "MOXErrorInterface"
/* Methods of MOXErrorInterface in slot order. */
#define MOX_ERROR_INTERFACE_METHODS(X)       \
  X(NewError, MOXNewErrorProc)               \
  X(GetCoreError, MOXGetCoreErrorProc)       \
  X(AddRef, MOXErrorAddRefProcV2)            \
  X(Release, MOXErrorReleaseProc)            \
  X(GetErrorMessage, MOXErrorGetMessageProc) \
  X(GetComponent, MOXErrorGetComponentProc)  \
  X(GetID, MOXErrorGetIDProc)                \
  X(GetErrorInfo, MOXGetErrorInfoProc)

/* Copies both texts. The trailing words are kept and given back by
 * GetErrorInfo. */
typedef MOXErrorRef (*MOXNewErrorProc)(const char* message, const char* component, int64_t id,
                                       uintptr_t info1, uintptr_t info2);
/* Code 0: a general failure. Code 1: out of memory, component "TOV", id 1. */
typedef MOXErrorRef (*MOXGetCoreErrorProc)(int32_t code);
/* Accepts null; returns its argument. */
typedef MOXErrorRef (*MOXErrorAddRefProcV2)(MOXErrorRef error);
/* Accepts null. */
typedef void (*MOXErrorReleaseProc)(MOXErrorRef error);
/* Borrowed atoms, alive while the error lives. */
typedef MOXStringAtom (*MOXErrorGetMessageProc)(MOXErrorRef error);
typedef MOXStringAtom (*MOXErrorGetComponentProc)(MOXErrorRef error);
typedef int64_t (*MOXErrorGetIDProc)(MOXErrorRef error);
/* The two words given to NewError (0 for core errors). */
typedef void (*MOXGetErrorInfoProc)(MOXErrorRef error, uintptr_t* info1, uintptr_t* info2);

/* ---- "MOXStringInterface" ----------------------------------------------- */

#define MOX_STRING_INTERFACE_NAME "MOXStringInterface"
/* Methods of MOXStringInterface in slot order. */
#define MOX_STRING_INTERFACE_METHODS(X)        \
  X(NewStringAtom, MOXNewStringAtomProc)       \
  X(DeleteStringAtom, MOXDeleteStringAtomProc) \
  X(GetCString, MOXGetCStringProc)             \
  X(AddRef, MOXAddRefStringAtomProc)

/* One reference for the caller, or null when out of memory. */
typedef MOXStringAtom (*MOXNewStringAtomProc)(const char* text);
/* Drops one reference. */
typedef void (*MOXDeleteStringAtomProc)(MOXStringAtom atom);
/* The text, alive as long as the atom. */
typedef const char* (*MOXGetCStringProc)(MOXStringAtom atom);
/* Adds one reference; returns its argument. */
typedef MOXStringAtom (*MOXAddRefStringAtomProc)(MOXStringAtom atom);

/* ---- "MOXMemoryInterface" ----------------------------------------------- */

#define MOX_MEMORY_INTERFACE_NAME "MOXMemoryInterface"
/* Methods of MOXMemoryInterface in slot order. */
#define MOX_MEMORY_INTERFACE_METHODS(X) \
  X(Alloc, MOXMemAllocProc)             \
  X(Realloc, MOXMemReallocProc)         \
  X(Free, MOXMemFreeProc)               \
  X(GetBlockSize, MOXMemGetBlockSizeProc)

typedef void* (*MOXMemAllocProc)(uint64_t size);
typedef void* (*MOXMemReallocProc)(void* block, uint64_t size);
typedef void (*MOXMemFreeProc)(void* block);
typedef uint64_t (*MOXMemGetBlockSizeProc)(void* block);

/* ---- "MOXSharedBuffInterface" ------------------------------------------- */

#define MOX_SHARED_BUFF_INTERFACE_NAME "MOXSharedBuffInterface"
/* Methods of MOXSharedBuffInterface in slot order. */
#define MOX_SHARED_BUFF_INTERFACE_METHODS(X)    \
  X(NewBuffer, MOXSharedBuffNewBufferV3Proc)    \
  X(DeleteUnowned, MOXSharedBuffDelUnownedProc) \
  X(AddRef, MOXSharedBuffAddRefProc)            \
  X(Release, MOXSharedBuffReleaseProc)          \
  X(GetBuffer, MOXSharedBuffGetBufferProc)      \
  X(GetSize, MOXSharedBuffGetSizeProc)

/* With `data` and `release` both non-null the buffer takes the block over and
 * calls `release(data)` when it dies; with `data` alone it copies `size`
 * bytes; with neither it holds `size` zeroed bytes. One reference for the
 * caller; null when out of memory. The trailing words must be 0. */
typedef MOXSharedBuff (*MOXSharedBuffNewBufferV3Proc)(uint64_t size, void* data,
                                                      MOXReleaseProc release, uintptr_t reserved1,
                                                      uintptr_t reserved2);
/* Destroys a buffer held by its creator alone; refused (and reported) when
 * others still hold it. */
typedef void (*MOXSharedBuffDelUnownedProc)(MOXSharedBuff buffer);
typedef void (*MOXSharedBuffAddRefProc)(MOXSharedBuff buffer);
/* Accepts null. */
typedef void (*MOXSharedBuffReleaseProc)(MOXSharedBuff buffer);
typedef void* (*MOXSharedBuffGetBufferProc)(MOXSharedBuff buffer);
typedef uint64_t (*MOXSharedBuffGetSizeProc)(MOXSharedBuff buffer);

/* ---- "MOXCacheInterface" ------------------------------------------------ */

#define MOX_CACHE_INTERFACE_NAME "MOXCacheInterface"
/* Methods of MOXCacheInterface in slot order. */
#define MOX_CACHE_INTERFACE_METHODS(X)                      \
  X(NewCacheID, MOXCacheNewCacheIDProc)                     \
  X(AddRef, MOXCacheAddRefProc)                             \
  X(Release, MOXCacheReleaseProc)                           \
  X(Attach, MOXCacheAttachProcV2)                           \
  X(Add, MOXCacheAddProc)                                   \
  X(UpdateCost, MOXCacheUpdateCostProc)                     \
  X(ReturnCost, MOXCacheReturnCostProc)                     \
  X(MarkNoPurge, MOXCacheMarkNoPurgeProcV2)                 \
  X(MarkPurge, MOXCacheMarkPurgeProc)                       \
  X(GetCacheTime, MOXCacheGetCacheTimeProc)                 \
  X(CurrentCacheSize, MOXCurrentCacheSizeProc)              \
  X(NewCachePurge, MOXCacheNewCachePurgeProc)               \
  X(PurgeNextBlock, MOXCachePurgeNextBlockProc)             \
  X(DeleteCachePurge, MOXCacheDeleteCachePurgeProc)         \
  X(PurgeAll, MOXCachePurgeAllProc)                         \
  X(PurgeAllStaticCaches, MOXCachePurgeAllStaticCachesProc) \
  X(AddClientPurge, MOXCacheAddRemoveClientPurgeProcV2)     \
  X(RemoveClientPurge, MOXCacheAddRemoveClientPurgeProcV2)  \
  X(NewCacheSet, MOXCacheNewCacheSetProc)                   \
  X(AddRefCacheSet, MOXCacheAddRefCacheSetProc)             \
  X(DeleteCacheSet, MOXCacheDeleteCacheSetProc)             \
  X(SearchForID, MOXCacheSearchForIDProc)                   \
  X(RemoveID, MOXCacheRemoveIDProc)                         \
  X(RemoveIDs, MOXCacheRemoveIDsProc)

/* Called when the cache drops the data attached to an identifier. */
typedef void (*MOXCacheItemPurgeProc)(MOXCacheID id, void* data);
/* A client's own cache, emptied when the runtime purges static caches. */
typedef void (*MOXCacheClientPurgeProc)(void);

typedef MOXCacheID (*MOXCacheNewCacheIDProc)(void);
typedef void (*MOXCacheAddRefProc)(MOXCacheID id);
typedef void (*MOXCacheReleaseProc)(MOXCacheID id);
/* Attaches client data and the procedure that drops it. */
typedef MOXErrorRef (*MOXCacheAttachProcV2)(MOXCacheID id, void* data, MOXCacheItemPurgeProc purge);
/* Enters the identifier's data into the cache at `cost`. */
typedef MOXErrorRef (*MOXCacheAddProc)(MOXCacheID id, uint64_t cost);
typedef MOXErrorRef (*MOXCacheUpdateCostProc)(MOXCacheID id, uint64_t cost);
typedef uint64_t (*MOXCacheReturnCostProc)(MOXCacheID id);
/* Raises (`mark` non-zero) or lowers the identifier's no-purge level; the
 * level before the call goes to `previous` when it is non-null. */
typedef void (*MOXCacheMarkNoPurgeProcV2)(MOXCacheID id, uintptr_t* previous, uint32_t mark);
/* Drops the identifier's data now, unless it is marked no-purge. */
typedef void (*MOXCacheMarkPurgeProc)(MOXCacheID id);
/* Monotonic tick of the identifier's last Add or UpdateCost; 0 if never. */
typedef uint64_t (*MOXCacheGetCacheTimeProc)(MOXCacheID id);
/* Sum of the costs in the cache. */
typedef uint64_t (*MOXCurrentCacheSizeProc)(void);
/* An iteration that purges the least recently used purgeable entries. */
typedef MOXCachePurge (*MOXCacheNewCachePurgeProc)(void);
/* Purges one entry; false when nothing purgeable is left. */
typedef bool (*MOXCachePurgeNextBlockProc)(MOXCachePurge purge);
typedef void (*MOXCacheDeleteCachePurgeProc)(MOXCachePurge purge);
/* Purges every purgeable entry. */
typedef void (*MOXCachePurgeAllProc)(void);
/* Calls every registered client purge procedure. */
typedef void (*MOXCachePurgeAllStaticCachesProc)(void);
/* AddClientPurge and RemoveClientPurge; `flag` must be 1. */
typedef void (*MOXCacheAddRemoveClientPurgeProcV2)(MOXCacheClientPurgeProc proc, uint32_t flag);
typedef MOXCacheSet (*MOXCacheNewCacheSetProc)(void);
typedef void (*MOXCacheAddRefCacheSetProc)(MOXCacheSet set);
/* Drops one reference to the set. */
typedef void (*MOXCacheDeleteCacheSetProc)(MOXCacheSet set);
/* The identifier stored under `key`, with a reference for the caller; with
 * `create` a missing one is made. Null when absent. */
typedef MOXCacheID (*MOXCacheSearchForIDProc)(MOXCacheSet set, uint64_t key, bool create);
typedef void (*MOXCacheRemoveIDProc)(MOXCacheSet set, MOXCacheID id);
typedef void (*MOXCacheRemoveIDsProc)(MOXCacheSet set);

/* ---- "MOXProgressInterface" --------------------------------------------- */

#define MOX_PROGRESS_INTERFACE_NAME "MOXProgressInterface"
/* Methods of MOXProgressInterface in slot order. */
#define MOX_PROGRESS_INTERFACE_METHODS(X)                \
  X(NewNullProgress, MOXProgressNewNullProgressProc)     \
  X(NewClientProgress, MOXProgressNewClientProgressProc) \
  X(AddRef, MOXProgressAddRefProc)                       \
  X(Release, MOXProgressReleaseProc)                     \
  X(Update, MOXProgressUpdateProc)

/* Calls the client's Update; false asks the caller to stop. */
typedef bool (*MOXProgressUpdateAdapterProc)(void* client, double fraction);

typedef MOXProgress (*MOXProgressNewNullProgressProc)(void);
/* `release(client)` runs when the last reference goes, or at once when the
 * call fails (null result). */
typedef MOXProgress (*MOXProgressNewClientProgressProc)(void* client,
                                                        MOXProgressUpdateAdapterProc update,
                                                        MOXReleaseProc release);
typedef void (*MOXProgressAddRefProc)(MOXProgress progress);
typedef void (*MOXProgressReleaseProc)(MOXProgress progress);
/* Reports `fraction` (0 to 1) done; false asks the caller to stop. */
typedef bool (*MOXProgressUpdateProc)(MOXProgress progress, double fraction);

/* ---- "MOXFilterInterface" ----------------------------------------------- */

#define MOX_FILTER_INTERFACE_NAME "MOXFilterInterface"
/* Methods of MOXFilterInterface in slot order. */
#define MOX_FILTER_INTERFACE_METHODS(X)                                  \
  X(NewNullDataSink, MOXFilterNewNullDataSinkV2Proc)                     \
  X(NewClientDataSink, MOXFilterNewClientDataSinkV2Proc)                 \
  X(NewIdentityFilter, MOXFilterNewIdentityFilterV2Proc)                 \
  X(NewClientFilter, MOXFilterNewClientFilterV2Proc)                     \
  X(NewFilterJPEG, MOXFilterNewFilterJPEGV2Proc)                         \
  X(AddRef, MOXFilterAddRefV2Proc)                                       \
  X(Release, MOXFilterReleaseProc)                                       \
  X(Write, MOXFilterWriteV2Proc)                                         \
  X(IsFilter, MOXFilterIsFilterProc)                                     \
  X(Close, MOXFilterCloseProc)                                           \
  X(GetPostScriptFilter, MOXFilterGetPostScriptFilterProc)               \
  X(SetDataSink, MOXFilterSetDataSinkV2Proc)                             \
  X(PeekTarget, MOXFilterPeekTargetProc)                                 \
  X(SetImageParameters, MOXFilterJPEGSetImageParametersProc)             \
  X(SetCompressionParameters, MOXFilterJPEGSetCompressionParametersProc) \
  X(GetChainState, MOXFilterGetChainStateV2Proc)                         \
  X(ResetChainState, MOXFilterResetChainStateProc)

/* A filter passes what is written to it on to its target; a data sink is the
 * end of a chain. Client filters implement write, close, chain state, image
 * parameters and compression parameters through the adapters below. The
 * close, image and compression adapters answer non-zero on success and 0 on
 * failure. A factory owns `client` from the call on: `release(client)` runs
 * when the filter dies, or at once when the call fails. */

typedef MOXErrorRef (*MOXFilterWriteAdapterProc)(void* client, MOXFilter target, const void* data,
                                                 uint64_t size);
typedef int32_t (*MOXFilterCloseAdapterProc)(void* client, MOXFilter target);
typedef uint32_t (*MOXFilterChainStateAdapterProc)(void* client);
typedef int32_t (*MOXFilterImageParamsAdapterProc)(void* client, uint32_t width,
                                                   int16_t components);
typedef int32_t (*MOXFilterCompressionParamsAdapterProc)(void* client, int32_t quality);

typedef MOXErrorRef (*MOXFilterNewNullDataSinkV2Proc)(MOXFilter* out);
typedef MOXErrorRef (*MOXFilterNewClientDataSinkV2Proc)(MOXFilter* out, void* client,
                                                        MOXFilterWriteAdapterProc write,
                                                        MOXReleaseProc release);
typedef MOXErrorRef (*MOXFilterNewIdentityFilterV2Proc)(MOXFilter* out, MOXFilter target);
typedef MOXErrorRef (*MOXFilterNewClientFilterV2Proc)(MOXFilter* out, MOXFilter target,
                                                      void* client, MOXFilterWriteAdapterProc write,
                                                      MOXFilterCloseAdapterProc close,
                                                      MOXFilterChainStateAdapterProc chainState,
                                                      MOXReleaseProc release);
typedef MOXErrorRef (*MOXFilterNewFilterJPEGV2Proc)(
    MOXFilter* out, MOXFilter target, void* client, MOXFilterWriteAdapterProc write,
    MOXFilterCloseAdapterProc close, MOXFilterChainStateAdapterProc chainState,
    MOXFilterImageParamsAdapterProc imageParams,
    MOXFilterCompressionParamsAdapterProc compressionParams, MOXReleaseProc release);
typedef void (*MOXFilterAddRefV2Proc)(MOXFilter filter);
/* Accepts null. */
typedef void (*MOXFilterReleaseProc)(MOXFilter filter);
typedef MOXErrorRef (*MOXFilterWriteV2Proc)(MOXFilter filter, const void* data, uint64_t size);
/* True for a filter, false for a data sink. */
typedef bool (*MOXFilterIsFilterProc)(MOXFilter filter);
/* Ends the data: closes the filter and then the rest of its chain. */
typedef MOXErrorRef (*MOXFilterCloseProc)(MOXFilter filter);
typedef MOXErrorRef (*MOXFilterGetPostScriptFilterProc)(MOXFilter* out, MOXFilter target,
                                                        const char* filterName);
typedef MOXErrorRef (*MOXFilterSetDataSinkV2Proc)(MOXFilter filter, MOXFilter target);
/* The next filter of the chain; with `addRef` a reference for the caller. */
typedef MOXFilter (*MOXFilterPeekTargetProc)(MOXFilter filter, bool addRef);
typedef MOXErrorRef (*MOXFilterJPEGSetImageParametersProc)(MOXFilter filter, uint32_t width,
                                                           int16_t components);
typedef MOXErrorRef (*MOXFilterJPEGSetCompressionParametersProc)(MOXFilter filter, int32_t quality);
/* Bytes written into the chain since its last reset, as seen by this filter. */
typedef uint32_t (*MOXFilterGetChainStateV2Proc)(MOXFilter filter);
typedef void (*MOXFilterResetChainStateProc)(MOXFilter filter);

/* ---- Streams: per-container methods, found with GetMethod ----------------
 * Three interfaces, each extending the one before: simple, rewindable,
 * positionable. Seek modes: 0 absolute, 1 from the current position, 2 from
 * the end. */

/* Methods of a simple stream in slot order. */
#define MOX_SIMPLE_STREAM_METHODS(X) \
  X(Read, MOXSimpleStreamReadProc)   \
  X(Write, MOXSimpleStreamWriteProc)
/* Methods of a rewindable stream in slot order. */
#define MOX_REWINDABLE_STREAM_METHODS(X)                        \
  X(CreateIndependentlyRewindableStream,                        \
    MOXRewindableStreamCreateIndependentlyRewindableStreamProc) \
  X(Rewind, MOXRewindableStreamRewindProc)
/* Methods of a positionable stream in slot order. */
#define MOX_POSITIONABLE_STREAM_METHODS(X)                          \
  X(CreateIndependentlyPositionableStream,                          \
    MOXPositionableStreamCreateIndependentlyPositionableStreamProc) \
  X(Mark, MOXPositionableStreamMarkProc)                            \
  X(Seek, MOXPositionableStreamSeekProc)

typedef MOXErrorRef (*MOXSimpleStreamReadProc)(MOXContainer stream, uint64_t* count, void* buffer,
                                               uint64_t size);
typedef MOXErrorRef (*MOXSimpleStreamWriteProc)(MOXContainer stream, const void* buffer,
                                                uint64_t size);
typedef MOXErrorRef (*MOXRewindableStreamCreateIndependentlyRewindableStreamProc)(
    MOXContainer stream, MOXContainer* out);
typedef MOXErrorRef (*MOXRewindableStreamRewindProc)(MOXContainer stream);
typedef MOXErrorRef (*MOXPositionableStreamCreateIndependentlyPositionableStreamProc)(
    MOXContainer stream, MOXContainer* out);
typedef MOXErrorRef (*MOXPositionableStreamMarkProc)(MOXContainer stream, int64_t* position);
typedef MOXErrorRef (*MOXPositionableStreamSeekProc)(MOXContainer stream, int64_t position,
                                                     int32_t mode);

/* Adapters through which the runtime calls a client-implemented stream: the
 * same forms with the client object in place of the container. */
typedef MOXErrorRef (*MOXClientStreamReadAdapterProc)(void* client, uint64_t* count, void* buffer,
                                                      uint64_t size);
typedef MOXErrorRef (*MOXClientStreamWriteAdapterProc)(void* client, const void* buffer,
                                                       uint64_t size);
typedef MOXErrorRef (*MOXClientStreamCreateRewindableAdapterProc)(void* client, MOXContainer* out);
typedef MOXErrorRef (*MOXClientStreamRewindAdapterProc)(void* client);
typedef MOXErrorRef (*MOXClientStreamCreatePositionableAdapterProc)(void* client,
                                                                    MOXContainer* out);
typedef MOXErrorRef (*MOXClientStreamMarkAdapterProc)(void* client, int64_t* position);
typedef MOXErrorRef (*MOXClientStreamSeekAdapterProc)(void* client, int64_t position, int32_t mode);

/* ---- "MOXStreamFactoryInterface" ---------------------------------------- */

#define MOX_STREAM_FACTORY_INTERFACE_NAME "MOXStreamFactoryInterface"
/* Methods of MOXStreamFactoryInterface in slot order. */
#define MOX_STREAM_FACTORY_INTERFACE_METHODS(X)                      \
  X(NewPositionableMemoryStream, MOXNewPositionableMemoryStreamProc) \
  X(NewPositionableBufferStream, MOXNewPositionableBufferStreamProc) \
  X(NewPositionableFileStream, MOXNewPositionableFileStreamProc)     \
  X(NewClientSimpleStream, MOXNewClientSimpleStreamProc)             \
  X(NewClientRewindableStream, MOXNewClientRewindableStreamProc)     \
  X(NewClientPositionableStream, MOXNewClientPositionableStreamProc)

/* Every stream comes back at count zero. */

typedef MOXErrorRef (*MOXNewPositionableMemoryStreamProc)(MOXContainer* out);
/* A stream over the bytes of `buffer`, which it holds a reference to. Reads
 * end at the buffer's size; writes beyond it fail. */
typedef MOXErrorRef (*MOXNewPositionableBufferStreamProc)(MOXContainer* out, MOXSharedBuff buffer);
/* `mode` is an fopen mode ("rb", "wb", "r+b", "ab", ...). */
typedef MOXErrorRef (*MOXNewPositionableFileStreamProc)(MOXContainer* out, const char* path,
                                                        const char* mode);
/* The runtime owns `client` from the call on and calls `release(client)` when
 * the stream dies, also when the call fails. */
typedef MOXErrorRef (*MOXNewClientSimpleStreamProc)(MOXContainer* out, void* client,
                                                    MOXClientStreamReadAdapterProc read,
                                                    MOXClientStreamWriteAdapterProc write,
                                                    MOXReleaseProc release);
typedef MOXErrorRef (*MOXNewClientRewindableStreamProc)(
    MOXContainer* out, void* client, MOXClientStreamReadAdapterProc read,
    MOXClientStreamWriteAdapterProc write,
    MOXClientStreamCreateRewindableAdapterProc createRewindable,
    MOXClientStreamRewindAdapterProc rewind, MOXReleaseProc release);
typedef MOXErrorRef (*MOXNewClientPositionableStreamProc)(
    MOXContainer* out, void* client, MOXClientStreamReadAdapterProc read,
    MOXClientStreamWriteAdapterProc write,
    MOXClientStreamCreateRewindableAdapterProc createRewindable,
    MOXClientStreamRewindAdapterProc rewind,
    MOXClientStreamCreatePositionableAdapterProc createPositionable,
    MOXClientStreamMarkAdapterProc mark, MOXClientStreamSeekAdapterProc seek,
    MOXReleaseProc release);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_MOXRUNTIMEPROCS_H_ */
