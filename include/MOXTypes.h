/*
 * MOXTypes.h: the handle types and common procedure types that cross every
 * boundary between the runtime, libMOXUtils and the components of a host.
 *
 * Handles are pointers to distinct incomplete structures, so that a container
 * can never be passed where an error is expected. Null always means "none".
 *
 * Truth values are C `bool` (one byte, 0 or 1) unless a fixed width is given.
 * Sizes, byte counts and array indexes are uint64_t, stream positions int64_t.
 *
 * Threads: a handle is a plain pointer and may be passed between threads;
 * what may run concurrently on the object behind it is told by the header of
 * its interface.
 */
#ifndef MOXUTILS_MOXTYPES_H_
#define MOXUTILS_MOXTYPES_H_

#include <stdint.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A reference-counted runtime container that wraps an implementation instance. */
typedef struct MOXContainerOpaque* MOXContainer;
/* A reference-counted error object of the runtime; null means success. */
typedef struct MOXErrorOpaque* MOXErrorRef;
/* An interned, reference-counted 8-bit string: equal text, equal C string. */
typedef struct MOXStringAtomOpaque* MOXStringAtom;
/* A reference-counted block of bytes shared between components. */
typedef struct MOXSharedBuffOpaque* MOXSharedBuff;
/* A reference-counted identifier of an entry in the runtime's cache. */
typedef struct MOXCacheIDOpaque* MOXCacheID;
/* An iteration over the purgeable entries of the runtime's cache. */
typedef struct MOXCachePurgeOpaque* MOXCachePurge;
/* A set of cache identifiers, searchable by key. */
typedef struct MOXCacheSetOpaque* MOXCacheSet;
/* A reference-counted progress object. */
typedef struct MOXProgressOpaque* MOXProgress;
/* A reference-counted data filter or data sink. */
typedef struct MOXFilterOpaque* MOXFilter;

/* Destroys or releases a client object: a container instance, a raw pointer,
 * a block handed to a shared buffer, a client stream. */
typedef void (*MOXReleaseProc)(void* object);

/* The one procedure a host hands to MOXUtilsInitialize. Takes an interface
 * name, a method name and the proc-type name the caller expects; gives the
 * procedure's address or null. */
typedef void* (*MOXLookupProc)(const char* interfaceName, const char* methodName,
                               const char* procTypeName);

/* The primary-instance record that every container keeps at the offset given
 * by GetOffsetToPrimaryInstance. */
typedef struct MOXPrimaryInstanceRecord {
  const char* instanceName; /* C string of the instance-name atom */
  const char* signature;    /* C string of the interface-name atom, or null */
  void* instance;           /* the implementation object */
} MOXPrimaryInstanceRecord;

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_MOXTYPES_H_ */
