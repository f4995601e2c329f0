// moxhost::ComponentProcs: every procedure of libMOXUtils, and the runtime
// procedures a component needs around them, fetched by name through a lookup
// procedure as any foreign component fetches them.
//
//   moxhost::ComponentProcs procs;
//   std::vector<std::string> missing;
//   if (!procs.Load(moxhost::Runtime::LookupProc(), &missing)) ...
//   MOXContainer number = procs.newNumber(2.5);
//
// Each member has the C type of its proc type, so a procedure is called with
// the arguments the interface fixes. The list is the one place that names
// them; tools, benchmarks and black-box tests share it.
#ifndef MOXHOST_COMPONENT_PROCS_H_
#define MOXHOST_COMPONENT_PROCS_H_

#include <string>
#include <vector>

#include "MOXRuntimeProcs.h"
#include "POSProcs.h"
#include "POSStreamerProcs.h"
#include "POSValidatorProcs.h"

// X(member, interface, method, ProcType); the proc-type name is the C type's.
#define MOXHOST_COMPONENT_PROCS(X)                                                               \
  X(clone, "POSObjectInterface", "Clone", POSObjectCloneProc)                                    \
  X(isEqual, "POSObjectInterface", "IsEqual", POSObjectIsEqualProc)                              \
  X(debugDump, "POSObjectStatics", "DebugDump", POSObjectDebugDumpProc)                          \
  X(createFromText, "POSObjectStatics", "CreateFromText", POSObjectCreateFromTextProc)           \
  X(newNumber, "POSNumberInterface", "NewPOSNumber", POSNumberNewPOSNumberProc)                  \
  X(isNumber, "POSNumberInterface", "IsPOSNumber", POSNumberIsPOSNumberProc)                     \
  X(numberGet, "POSNumberInterface", "Get", POSNumberGetProc)                                    \
  X(newString, "POSStringInterface", "NewPOSString", POSStringNewPOSStringProc)                  \
  X(isString, "POSStringInterface", "IsPOSString", POSStringIsPOSStringProc)                     \
  X(stringGet, "POSStringInterface", "Get", POSStringGetProc)                                    \
  X(newUnicode, "POSUnicodeStringInterface", "NewPOSUnicodeString",                              \
    POSUnicodeStringNewPOSUnicodeStringProc)                                                     \
  X(isUnicode, "POSUnicodeStringInterface", "IsPOSUnicodeString",                                \
    POSUnicodeStringIsPOSUnicodeStringProc)                                                      \
  X(unicodeGet, "POSUnicodeStringInterface", "Get", POSUnicodeStringGetProc)                     \
  X(newBinData, "POSBinDataInterface", "NewPOSBinData", POSBinDataNewPOSBinDataProc)             \
  X(isBinData, "POSBinDataInterface", "IsPOSBinData", POSBinDataIsPOSBinDataProc)                \
  X(binDataType, "POSBinDataInterface", "GetTypeName", POSBinDataGetTypeNameProc)                \
  X(binDataBytes, "POSBinDataInterface", "GetBinData", POSBinDataGetBinDataProc)                 \
  X(binDataSize, "POSBinDataInterface", "GetSize", POSBinDataGetSizeProc)                        \
  X(newRawPointer, "POSRawPointerInterface", "NewPOSRawPointer",                                 \
    POSRawPointerNewPOSRawPointerProc)                                                           \
  X(isRawPointer, "POSRawPointerInterface", "IsPOSRawPointer", POSRawPointerIsPOSRawPointerProc) \
  X(rawPointerGet, "POSRawPointerInterface", "GetRawPointer", POSRawPointerGetRawPointerProc)    \
  X(rawPointerReleaseProc, "POSRawPointerInterface", "GetReleaseProc",                           \
    POSRawPointerGetReleaseProcProc)                                                             \
  X(newArray, "POSArrayInterface", "NewPOSArray", POSArrayNewPOSArrayProc)                       \
  X(isArray, "POSArrayInterface", "IsPOSArray", POSArrayIsPOSArrayProc)                          \
  X(arrayGetAt, "POSArrayInterface", "GetAt", POSArrayGetAtProc)                                 \
  X(arrayCount, "POSArrayInterface", "Count", POSArrayCountProc)                                 \
  X(arraySetAt, "POSArrayInterface", "SetAt", POSArraySetAtProc)                                 \
  X(arrayAppend, "POSArrayInterface", "Append", POSArrayAppendProc)                              \
  X(arrayRemove, "POSArrayInterface", "Remove", POSArrayRemoveProc)                              \
  X(newDict, "POSDictInterface", "NewPOSDict", POSDictNewPOSDictProc)                            \
  X(isDict, "POSDictInterface", "IsPOSDict", POSDictIsPOSDictProc)                               \
  X(dictGet, "POSDictInterface", "Get", POSDictGetProc)                                          \
  X(dictDeepGet, "POSDictInterface", "DeepGet", POSDictDeepGetProc)                              \
  X(dictPut, "POSDictInterface", "Put", POSDictPutProc)                                          \
  X(dictRemove, "POSDictInterface", "Remove", POSDictRemoveProc)                                 \
  X(newDictIterator, "POSDictIteratorInterface", "NewPOSDictIterator",                           \
    POSDictIteratorNewPOSDictIteratorProc)                                                       \
  X(iteratorBegin, "POSDictIteratorInterface", "Begin", POSDictIteratorBeginProc)                \
  X(iteratorNext, "POSDictIteratorInterface", "Next", POSDictIteratorNextProc)                   \
  X(iteratorIsDone, "POSDictIteratorInterface", "IsDone", POSDictIteratorIsDoneProc)             \
  X(iteratorKey, "POSDictIteratorInterface", "CurKey", POSDictIteratorCurKeyProc)                \
  X(newStreamer, "POSStreamerInterface", "NewPOSStreamer", POSStreamerNewPOSStreamerProc)        \
  X(serialize, "POSStreamerInterface", "Serialize", POSStreamerSerializeProc)                    \
  X(deserialize, "POSStreamerInterface", "Deserialize", POSStreamerDeserializeProc)              \
  X(newStructValidator, "POSStructValidatorInterface", "NewPOSStructValidator",                  \
    POSStructValidatorNewStructValidatorProc)                                                    \
  X(registerCallback, "POSStructValidatorInterface", "RegisterCallbackProc",                     \
    POSStructValidatorRegisterCallbackProc)                                                      \
  X(validateSchema, "POSStructValidatorInterface", "ValidateSchema",                             \
    POSStructValidatorValidateSchemaProc)                                                        \
  X(validate, "POSValidatorInterface", "Validate", POSValidatorValidateProc)                     \
  X(containerAddRef, "MOXContainerInterface", "AddRef", MOXAddRefContainerV2Proc)                \
  X(containerRelease, "MOXContainerInterface", "Release", MOXReleaseContainerProc)               \
  X(containerRefCountAddr, "MOXContainerInterface", "DebugGetRefCountAddr",                      \
    MOXGetRefCountAddrProc)                                                                      \
  X(newContainer, "MOXContainerInterface", "NewContainer", MOXNewContainerV2Proc)                \
  X(registerInstance, "MOXContainerInterface", "RegisterInstance", MOXRegisterInstanceV2Proc)    \
  X(getMethod, "MOXContainerInterface", "GetMethod", MOXGetMethodV3Proc)                         \
  X(offsetToPrimaryInstance, "MOXContainerInterface", "GetOffsetToPrimaryInstance",              \
    MOXGetOffsetToPrimaryInstProc)                                                               \
  X(newAtom, "MOXStringInterface", "NewStringAtom", MOXNewStringAtomProc)                        \
  X(deleteAtom, "MOXStringInterface", "DeleteStringAtom", MOXDeleteStringAtomProc)               \
  X(atomText, "MOXStringInterface", "GetCString", MOXGetCStringProc)                             \
  X(newError, "MOXErrorInterface", "NewError", MOXNewErrorProc)                                  \
  X(errorRelease, "MOXErrorInterface", "Release", MOXErrorReleaseProc)                           \
  X(errorMessage, "MOXErrorInterface", "GetErrorMessage", MOXErrorGetMessageProc)                \
  X(sharedBufferText, "MOXSharedBuffInterface", "GetBuffer", MOXSharedBuffGetBufferProc)         \
  X(sharedBufferSize, "MOXSharedBuffInterface", "GetSize", MOXSharedBuffGetSizeProc)             \
  X(newMemoryStream, "MOXStreamFactoryInterface", "NewPositionableMemoryStream",                 \
    MOXNewPositionableMemoryStreamProc)                                                          \
  X(newFileStream, "MOXStreamFactoryInterface", "NewPositionableFileStream",                     \
    MOXNewPositionableFileStreamProc)                                                            \
  X(newClientStream, "MOXStreamFactoryInterface", "NewClientPositionableStream",                 \
    MOXNewClientPositionableStreamProc)

namespace moxhost {

struct ComponentProcs {
#define MOXHOST_DECLARE_PROC(member, interfaceName, method, Proc) Proc member = nullptr;
  MOXHOST_COMPONENT_PROCS(MOXHOST_DECLARE_PROC)
#undef MOXHOST_DECLARE_PROC

  // Fetches every procedure with `lookup`. False when one is missing; its
  // "Interface.Method" goes to `missing` when that is non-null.
  bool Load(MOXLookupProc lookup, std::vector<std::string>* missing = nullptr);
};

}  // namespace moxhost

#endif  // MOXHOST_COMPONENT_PROCS_H_
