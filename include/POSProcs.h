/*
 * POSProcs.h: the ten interfaces of the POS object model that libMOXUtils
 * registers at start, in the order of registration.
 *
 * Each interface is defined once, here: a macro with its name and a list of
 * its methods in slot order, one X(Method, ProcType) entry per method, where
 * ProcType is the typedef of the method and its name is the proc-type name
 * the method is registered under. Fetch a method with the runtime's lookup
 * procedure:
 *
 *   POSArrayAppendProc append = (POSArrayAppendProc)lookup(
 *       POS_ARRAY_INTERFACE_NAME, "Append", "POSArrayAppendProc");
 *
 * or walk a list to fetch them all:
 *
 *   #define FETCH(Method, ProcType) \
 *     table.Method = (ProcType)lookup(POS_ARRAY_INTERFACE_NAME, #Method, #ProcType);
 *   POS_ARRAY_INTERFACE_METHODS(FETCH)
 *
 * Every handle is a MOXContainer. Every handle a method returns is unowned:
 * its count was not raised for the caller, and a caller that keeps the object
 * calls AddRef of "MOXContainerInterface". Getters leave counts unchanged.
 * Methods never raise: a failure is sent to the runtime's MOXReportError and
 * the method returns null, 0, 0.0 or false.
 *
 * Threads: any method may be called from any thread while the library is
 * started. POS objects have no locks. Scalars (numbers, strings, Unicode
 * strings, binary data, raw pointers) are immutable and may be read by any
 * number of threads at once. An Array or a Dict needs one writer and no
 * reader beside it: while one thread calls SetAt, Append, Remove or Put, no
 * other thread may touch that object, nor walk it with an iterator, clone it
 * or compare it; Remove on a Dict restructures its tree even for an absent
 * key. Objects that share nothing may be used on different threads freely.
 */
#ifndef MOXUTILS_POSPROCS_H_
#define MOXUTILS_POSPROCS_H_

#include "MOXTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- "POSObjectInterface" ----------------------------------------------- */

#define POS_OBJECT_INTERFACE_NAME "POSObjectInterface"
/* Methods of POSObjectInterface in slot order. */
#define POS_OBJECT_INTERFACE_METHODS(X) \
  X(Clone, POSObjectCloneProc)          \
  X(IsEqual, POSObjectIsEqualProc)

typedef MOXContainer (*POSObjectCloneProc)(MOXContainer object);
typedef bool (*POSObjectIsEqualProc)(MOXContainer object, MOXContainer other);

/* ---- "POSObjectStatics" ------------------------------------------------- */

#define POS_OBJECT_STATICS_NAME "POSObjectStatics"
/* Methods of POSObjectStatics in slot order. */
#define POS_OBJECT_STATICS_METHODS(X)                      \
  X(DebugDump, POSObjectDebugDumpProc)                     \
  X(DebugDumpWithHeader, POSObjectDebugDumpWithHeaderProc) \
  X(DebugDumpRewind, POSObjectDebugDumpRewindProc)         \
  X(CreateFromText, POSObjectCreateFromTextProc)

typedef void (*POSObjectDebugDumpProc)(MOXContainer object);
typedef void (*POSObjectDebugDumpWithHeaderProc)(MOXContainer object, uintptr_t header);
typedef void (*POSObjectDebugDumpRewindProc)(MOXContainer object, uintptr_t word);
/* Parses the text notation. `position`, when non-null, receives the place in
 * `text` where parsing stopped. Null when the text is not well formed. */
typedef MOXContainer (*POSObjectCreateFromTextProc)(const char* text, const char** position);

/* ---- "POSNumberInterface" ----------------------------------------------- */

#define POS_NUMBER_INTERFACE_NAME "POSNumberInterface"
/* Methods of POSNumberInterface in slot order. */
#define POS_NUMBER_INTERFACE_METHODS(X)      \
  X(NewPOSNumber, POSNumberNewPOSNumberProc) \
  X(IsPOSNumber, POSNumberIsPOSNumberProc)   \
  X(Get, POSNumberGetProc)

typedef MOXContainer (*POSNumberNewPOSNumberProc)(double value);
typedef bool (*POSNumberIsPOSNumberProc)(MOXContainer object);
typedef double (*POSNumberGetProc)(MOXContainer object);

/* ---- "POSStringInterface" ----------------------------------------------- */

#define POS_STRING_INTERFACE_NAME "POSStringInterface"
/* Methods of POSStringInterface in slot order. */
#define POS_STRING_INTERFACE_METHODS(X)      \
  X(NewPOSString, POSStringNewPOSStringProc) \
  X(IsPOSString, POSStringIsPOSStringProc)   \
  X(Get, POSStringGetProc)

typedef MOXContainer (*POSStringNewPOSStringProc)(const char* text);
typedef bool (*POSStringIsPOSStringProc)(MOXContainer object);
typedef const char* (*POSStringGetProc)(MOXContainer object);

/* ---- "POSUnicodeStringInterface" ---------------------------------------- */

#define POS_UNICODE_STRING_INTERFACE_NAME "POSUnicodeStringInterface"
/* Methods of POSUnicodeStringInterface in slot order. */
#define POS_UNICODE_STRING_INTERFACE_METHODS(X)                   \
  X(NewPOSUnicodeString, POSUnicodeStringNewPOSUnicodeStringProc) \
  X(IsPOSUnicodeString, POSUnicodeStringIsPOSUnicodeStringProc)   \
  X(Get, POSUnicodeStringGetProc)

typedef MOXContainer (*POSUnicodeStringNewPOSUnicodeStringProc)(const uint16_t* units);
typedef bool (*POSUnicodeStringIsPOSUnicodeStringProc)(MOXContainer object);
typedef const uint16_t* (*POSUnicodeStringGetProc)(MOXContainer object);

/* ---- "POSBinDataInterface" ---------------------------------------------- */

#define POS_BIN_DATA_INTERFACE_NAME "POSBinDataInterface"
/* Methods of POSBinDataInterface in slot order. */
#define POS_BIN_DATA_INTERFACE_METHODS(X)       \
  X(NewPOSBinData, POSBinDataNewPOSBinDataProc) \
  X(IsPOSBinData, POSBinDataIsPOSBinDataProc)   \
  X(GetTypeName, POSBinDataGetTypeNameProc)     \
  X(GetBinData, POSBinDataGetBinDataProc)       \
  X(GetSize, POSBinDataGetSizeProc)

typedef MOXContainer (*POSBinDataNewPOSBinDataProc)(const char* typeName, const void* data,
                                                    uint64_t size);
typedef bool (*POSBinDataIsPOSBinDataProc)(MOXContainer object);
typedef const char* (*POSBinDataGetTypeNameProc)(MOXContainer object);
typedef const void* (*POSBinDataGetBinDataProc)(MOXContainer object);
typedef uint64_t (*POSBinDataGetSizeProc)(MOXContainer object);

/* ---- "POSRawPointerInterface" ------------------------------------------- */

#define POS_RAW_POINTER_INTERFACE_NAME "POSRawPointerInterface"
/* Methods of POSRawPointerInterface in slot order. */
#define POS_RAW_POINTER_INTERFACE_METHODS(X)             \
  X(NewPOSRawPointer, POSRawPointerNewPOSRawPointerProc) \
  X(IsPOSRawPointer, POSRawPointerIsPOSRawPointerProc)   \
  X(GetRawPointer, POSRawPointerGetRawPointerProc)       \
  X(GetReleaseProc, POSRawPointerGetReleaseProcProc)

typedef MOXContainer (*POSRawPointerNewPOSRawPointerProc)(void* pointer, MOXReleaseProc release);
typedef bool (*POSRawPointerIsPOSRawPointerProc)(MOXContainer object);
typedef void* (*POSRawPointerGetRawPointerProc)(MOXContainer object);
typedef MOXReleaseProc (*POSRawPointerGetReleaseProcProc)(MOXContainer object);

/* ---- "POSArrayInterface" ------------------------------------------------ */

#define POS_ARRAY_INTERFACE_NAME "POSArrayInterface"
/* Methods of POSArrayInterface in slot order. */
#define POS_ARRAY_INTERFACE_METHODS(X)    \
  X(NewPOSArray, POSArrayNewPOSArrayProc) \
  X(IsPOSArray, POSArrayIsPOSArrayProc)   \
  X(GetAt, POSArrayGetAtProc)             \
  X(Count, POSArrayCountProc)             \
  X(SetAt, POSArraySetAtProc)             \
  X(Append, POSArrayAppendProc)           \
  X(Remove, POSArrayRemoveProc)

typedef MOXContainer (*POSArrayNewPOSArrayProc)(void);
typedef bool (*POSArrayIsPOSArrayProc)(MOXContainer object);
typedef MOXContainer (*POSArrayGetAtProc)(MOXContainer array, uint64_t index);
typedef uint32_t (*POSArrayCountProc)(MOXContainer array);
typedef void (*POSArraySetAtProc)(MOXContainer array, uint64_t index, MOXContainer value);
typedef void (*POSArrayAppendProc)(MOXContainer array, MOXContainer value);
typedef void (*POSArrayRemoveProc)(MOXContainer array, uint64_t index);

/* ---- "POSDictInterface" ------------------------------------------------- */

#define POS_DICT_INTERFACE_NAME "POSDictInterface"
/* Methods of POSDictInterface in slot order. */
#define POS_DICT_INTERFACE_METHODS(X)  \
  X(NewPOSDict, POSDictNewPOSDictProc) \
  X(IsPOSDict, POSDictIsPOSDictProc)   \
  X(Get, POSDictGetProc)               \
  X(DeepGet, POSDictDeepGetProc)       \
  X(Put, POSDictPutProc)               \
  X(Remove, POSDictRemoveProc)

typedef MOXContainer (*POSDictNewPOSDictProc)(void);
typedef bool (*POSDictIsPOSDictProc)(MOXContainer object);
typedef MOXContainer (*POSDictGetProc)(MOXContainer dict, MOXStringAtom key);
/* Follows an address of ".key" and "[n]" steps. */
typedef MOXContainer (*POSDictDeepGetProc)(MOXContainer dict, MOXStringAtom address);
typedef void (*POSDictPutProc)(MOXContainer dict, MOXStringAtom key, MOXContainer value);
typedef void (*POSDictRemoveProc)(MOXContainer dict, MOXStringAtom key);

/* ---- "POSDictIteratorInterface" ----------------------------------------- */

#define POS_DICT_ITERATOR_INTERFACE_NAME "POSDictIteratorInterface"
/* Methods of POSDictIteratorInterface in slot order. */
#define POS_DICT_ITERATOR_INTERFACE_METHODS(X)                 \
  X(NewPOSDictIterator, POSDictIteratorNewPOSDictIteratorProc) \
  X(Begin, POSDictIteratorBeginProc)                           \
  X(Next, POSDictIteratorNextProc)                             \
  X(IsDone, POSDictIteratorIsDoneProc)                         \
  X(CurKey, POSDictIteratorCurKeyProc)

typedef MOXContainer (*POSDictIteratorNewPOSDictIteratorProc)(MOXContainer dict);
typedef void (*POSDictIteratorBeginProc)(MOXContainer iterator);
typedef void (*POSDictIteratorNextProc)(MOXContainer iterator);
typedef bool (*POSDictIteratorIsDoneProc)(MOXContainer iterator);
typedef const char* (*POSDictIteratorCurKeyProc)(MOXContainer iterator);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_POSPROCS_H_ */
