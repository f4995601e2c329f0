/*
 * POSProcs.h: the ten interfaces of the POS object model that libMOXUtils
 * registers at start. Fetch a method with the runtime's lookup procedure:
 *
 *   POSArrayAppendProc append = (POSArrayAppendProc)lookup(
 *       "POSArrayInterface", "Append", "POSArrayAppendProc");
 *
 * Every handle is a MOXContainer. Every handle a method returns is unowned:
 * its count was not raised for the caller, and a caller that keeps the object
 * calls AddRef of "MOXContainerInterface". Getters leave counts unchanged.
 * Methods never raise: a failure is sent to the runtime's MOXReportError and
 * the method returns null, 0, 0.0 or false.
 *
 * Interfaces and their methods, in slot order:
 *   POSObjectInterface         Clone, IsEqual
 *   POSObjectStatics           DebugDump, DebugDumpWithHeader, DebugDumpRewind,
 *                              CreateFromText
 *   POSNumberInterface         NewPOSNumber, IsPOSNumber, Get
 *   POSStringInterface         NewPOSString, IsPOSString, Get
 *   POSUnicodeStringInterface  NewPOSUnicodeString, IsPOSUnicodeString, Get
 *   POSBinDataInterface        NewPOSBinData, IsPOSBinData, GetTypeName,
 *                              GetBinData, GetSize
 *   POSRawPointerInterface     NewPOSRawPointer, IsPOSRawPointer,
 *                              GetRawPointer, GetReleaseProc
 *   POSArrayInterface          NewPOSArray, IsPOSArray, GetAt, Count, SetAt,
 *                              Append, Remove
 *   POSDictInterface           NewPOSDict, IsPOSDict, Get, DeepGet, Put, Remove
 *   POSDictIteratorInterface   NewPOSDictIterator, Begin, Next, IsDone, CurKey
 */
#ifndef MOXUTILS_POSPROCS_H_
#define MOXUTILS_POSPROCS_H_

#include "MOXTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* POSObjectInterface */
typedef MOXContainer (*POSObjectCloneProc)(MOXContainer object);
typedef bool (*POSObjectIsEqualProc)(MOXContainer object, MOXContainer other);

/* POSObjectStatics */
typedef void (*POSObjectDebugDumpProc)(MOXContainer object);
typedef void (*POSObjectDebugDumpWithHeaderProc)(MOXContainer object, uintptr_t header);
typedef void (*POSObjectDebugDumpRewindProc)(MOXContainer object, uintptr_t word);
/* Parses the text notation. `position`, when non-null, receives the place in
 * `text` where parsing stopped. Null when the text is not well formed. */
typedef MOXContainer (*POSObjectCreateFromTextProc)(const char* text, const char** position);

/* POSNumberInterface */
typedef MOXContainer (*POSNumberNewPOSNumberProc)(double value);
typedef bool (*POSNumberIsPOSNumberProc)(MOXContainer object);
typedef double (*POSNumberGetProc)(MOXContainer object);

/* POSStringInterface */
typedef MOXContainer (*POSStringNewPOSStringProc)(const char* text);
typedef bool (*POSStringIsPOSStringProc)(MOXContainer object);
typedef const char* (*POSStringGetProc)(MOXContainer object);

/* POSUnicodeStringInterface */
typedef MOXContainer (*POSUnicodeStringNewPOSUnicodeStringProc)(const uint16_t* units);
typedef bool (*POSUnicodeStringIsPOSUnicodeStringProc)(MOXContainer object);
typedef const uint16_t* (*POSUnicodeStringGetProc)(MOXContainer object);

/* POSBinDataInterface */
typedef MOXContainer (*POSBinDataNewPOSBinDataProc)(const char* typeName, const void* data,
                                                    uint64_t size);
typedef bool (*POSBinDataIsPOSBinDataProc)(MOXContainer object);
typedef const char* (*POSBinDataGetTypeNameProc)(MOXContainer object);
typedef const void* (*POSBinDataGetBinDataProc)(MOXContainer object);
typedef uint64_t (*POSBinDataGetSizeProc)(MOXContainer object);

/* POSRawPointerInterface */
typedef MOXContainer (*POSRawPointerNewPOSRawPointerProc)(void* pointer, MOXReleaseProc release);
typedef bool (*POSRawPointerIsPOSRawPointerProc)(MOXContainer object);
typedef void* (*POSRawPointerGetRawPointerProc)(MOXContainer object);
typedef MOXReleaseProc (*POSRawPointerGetReleaseProcProc)(MOXContainer object);

/* POSArrayInterface */
typedef MOXContainer (*POSArrayNewPOSArrayProc)(void);
typedef bool (*POSArrayIsPOSArrayProc)(MOXContainer object);
typedef MOXContainer (*POSArrayGetAtProc)(MOXContainer array, uint64_t index);
typedef uint32_t (*POSArrayCountProc)(MOXContainer array);
typedef void (*POSArraySetAtProc)(MOXContainer array, uint64_t index, MOXContainer value);
typedef void (*POSArrayAppendProc)(MOXContainer array, MOXContainer value);
typedef void (*POSArrayRemoveProc)(MOXContainer array, uint64_t index);

/* POSDictInterface */
typedef MOXContainer (*POSDictNewPOSDictProc)(void);
typedef bool (*POSDictIsPOSDictProc)(MOXContainer object);
typedef MOXContainer (*POSDictGetProc)(MOXContainer dict, MOXStringAtom key);
/* Follows an address of ".key" and "[n]" steps. */
typedef MOXContainer (*POSDictDeepGetProc)(MOXContainer dict, MOXStringAtom address);
typedef void (*POSDictPutProc)(MOXContainer dict, MOXStringAtom key, MOXContainer value);
typedef void (*POSDictRemoveProc)(MOXContainer dict, MOXStringAtom key);

/* POSDictIteratorInterface */
typedef MOXContainer (*POSDictIteratorNewPOSDictIteratorProc)(MOXContainer dict);
typedef void (*POSDictIteratorBeginProc)(MOXContainer iterator);
typedef void (*POSDictIteratorNextProc)(MOXContainer iterator);
typedef bool (*POSDictIteratorIsDoneProc)(MOXContainer iterator);
typedef const char* (*POSDictIteratorCurKeyProc)(MOXContainer iterator);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MOXUTILS_POSPROCS_H_ */
