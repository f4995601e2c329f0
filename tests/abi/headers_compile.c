/* The public headers must serve a plain C component: this file includes them
 * all, compiled as C11 with warnings as errors, and checks the layouts and the
 * method lists that a foreign runtime or component relies on. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "MOXRuntimeProcs.h"
#include "MOXTypes.h"
#include "MOXUtils.h"
#include "MOXUtilsFileProcs.h"
#include "POSProcs.h"
#include "POSStreamerProcs.h"
#include "POSValidatorProcs.h"

_Static_assert(sizeof(bool) == 1, "truth values cross as one byte");
_Static_assert(sizeof(MOXPrimaryInstanceRecord) == 3 * sizeof(void*),
               "the primary-instance record is three words");
_Static_assert(offsetof(MOXPrimaryInstanceRecord, instanceName) == 0, "instance name first");
_Static_assert(offsetof(MOXPrimaryInstanceRecord, signature) == sizeof(void*), "signature second");
_Static_assert(offsetof(MOXPrimaryInstanceRecord, instance) == 2 * sizeof(void*), "instance third");

/* Each interface's methods in slot order with their proc types, expanded from
 * its list the way a component expands it. The order and the names are what
 * a component's table relies on: a list may not change once published. */
#define MOX_TEST_PAIR(Method, ProcType) " " #Method " " #ProcType
static const struct {
  const char* name;
  const char* listed;
  const char* expected;
} kLists[] = {
    {POS_OBJECT_INTERFACE_NAME, POS_OBJECT_INTERFACE_METHODS(MOX_TEST_PAIR),
     " Clone POSObjectCloneProc IsEqual POSObjectIsEqualProc"},
    {POS_OBJECT_STATICS_NAME, POS_OBJECT_STATICS_METHODS(MOX_TEST_PAIR),
     " DebugDump POSObjectDebugDumpProc DebugDumpWithHeader POSObjectDebugDumpWithHeaderProc "
     "DebugDumpRewind POSObjectDebugDumpRewindProc CreateFromText POSObjectCreateFromTextProc"},
    {POS_NUMBER_INTERFACE_NAME, POS_NUMBER_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSNumber POSNumberNewPOSNumberProc IsPOSNumber POSNumberIsPOSNumberProc Get "
     "POSNumberGetProc"},
    {POS_STRING_INTERFACE_NAME, POS_STRING_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSString POSStringNewPOSStringProc IsPOSString POSStringIsPOSStringProc Get "
     "POSStringGetProc"},
    {POS_UNICODE_STRING_INTERFACE_NAME, POS_UNICODE_STRING_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSUnicodeString POSUnicodeStringNewPOSUnicodeStringProc IsPOSUnicodeString "
     "POSUnicodeStringIsPOSUnicodeStringProc Get POSUnicodeStringGetProc"},
    {POS_BIN_DATA_INTERFACE_NAME, POS_BIN_DATA_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSBinData POSBinDataNewPOSBinDataProc IsPOSBinData POSBinDataIsPOSBinDataProc "
     "GetTypeName POSBinDataGetTypeNameProc GetBinData POSBinDataGetBinDataProc GetSize "
     "POSBinDataGetSizeProc"},
    {POS_RAW_POINTER_INTERFACE_NAME, POS_RAW_POINTER_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSRawPointer POSRawPointerNewPOSRawPointerProc IsPOSRawPointer "
     "POSRawPointerIsPOSRawPointerProc GetRawPointer POSRawPointerGetRawPointerProc GetReleaseProc "
     "POSRawPointerGetReleaseProcProc"},
    {POS_ARRAY_INTERFACE_NAME, POS_ARRAY_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSArray POSArrayNewPOSArrayProc IsPOSArray POSArrayIsPOSArrayProc GetAt "
     "POSArrayGetAtProc Count POSArrayCountProc SetAt POSArraySetAtProc Append POSArrayAppendProc "
     "Remove POSArrayRemoveProc"},
    {POS_DICT_INTERFACE_NAME, POS_DICT_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSDict POSDictNewPOSDictProc IsPOSDict POSDictIsPOSDictProc Get POSDictGetProc DeepGet "
     "POSDictDeepGetProc Put POSDictPutProc Remove POSDictRemoveProc"},
    {POS_DICT_ITERATOR_INTERFACE_NAME, POS_DICT_ITERATOR_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSDictIterator POSDictIteratorNewPOSDictIteratorProc Begin POSDictIteratorBeginProc "
     "Next POSDictIteratorNextProc IsDone POSDictIteratorIsDoneProc CurKey "
     "POSDictIteratorCurKeyProc"},
    {POS_STREAMER_INTERFACE_NAME, POS_STREAMER_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSStreamer POSStreamerNewPOSStreamerProc Serialize POSStreamerSerializeProc Deserialize "
     "POSStreamerDeserializeProc"},
    {POS_VALIDATOR_INTERFACE_NAME, POS_VALIDATOR_INTERFACE_METHODS(MOX_TEST_PAIR),
     " Validate POSValidatorValidateProc"},
    {POS_STRUCT_VALIDATOR_INTERFACE_NAME, POS_STRUCT_VALIDATOR_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewPOSStructValidator POSStructValidatorNewStructValidatorProc RegisterCallbackProc "
     "POSStructValidatorRegisterCallbackProc ValidateSchema POSStructValidatorValidateSchemaProc"},
    {MOX_UTILS_DIR_INTERFACE_NAME, MOX_UTILS_DIR_INTERFACE_METHODS(MOX_TEST_PAIR),
     " GetTempDir MOXUtilsDirGetTempDir GetCurrent MOXUtilsDirGetCurrent NewMOXUtilsDir "
     "MOXUtilsDirNewMOXUtilsDir FileExists MOXUtilsDirFileExists Delete MOXUtilsDirDelete Rename "
     "MOXUtilsDirRename GetFilePathSpec MOXUtilsDirGetFilePathSpec CreateUniqueFilename "
     "MOXUtilsDirCreateUniqueFilename"},
    {MOX_UTILS_TEMP_FILE_STREAM_FACTORY_NAME,
     MOX_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS(MOX_TEST_PAIR),
     " NewTempFileStream _MOXUtilsNewTempFileStreamProc_NewTempFileStream"},
    {MOX_CONTAINER_INTERFACE_NAME, MOX_CONTAINER_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewFullContainer MOXNewFullContainerV5Proc NewContainer MOXNewContainerV2Proc "
     "CloneContainer MOXCloneContainerProc AddRef MOXAddRefContainerV2Proc Release "
     "MOXReleaseContainerProc DecrementWithoutDelete MOXDecrementWithoutDeleteProc "
     "DeleteUnownedContainer MOXDeleteUnownedContainerProc RegisterInterface "
     "MOXRegisterInterfaceV2Proc RegisterInstance MOXRegisterInstanceV2Proc GetMethod "
     "MOXGetMethodV3Proc GetParentMethod MOXGetParentMethodV2Proc GetInstance MOXGetInstanceProc "
     "NGetInstance MOXNGetInstanceProc GetSignature MOXGetSignatureProc DebugGetRefCountAddr "
     "MOXGetRefCountAddrProc GetOffsetToPrimaryInstance MOXGetOffsetToPrimaryInstProc"},
    {MOX_ERROR_INTERFACE_NAME, MOX_ERROR_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewError MOXNewErrorProc GetCoreError MOXGetCoreErrorProc AddRef MOXErrorAddRefProcV2 "
     "Release MOXErrorReleaseProc GetErrorMessage MOXErrorGetMessageProc GetComponent "
     "MOXErrorGetComponentProc GetID MOXErrorGetIDProc GetErrorInfo MOXGetErrorInfoProc"},
    {MOX_STRING_INTERFACE_NAME, MOX_STRING_INTERFACE_METHODS(MOX_TEST_PAIR),
     " NewStringAtom MOXNewStringAtomProc DeleteStringAtom MOXDeleteStringAtomProc GetCString "
     "MOXGetCStringProc AddRef MOXAddRefStringAtomProc"},
    {MOX_MEMORY_INTERFACE_NAME, MOX_MEMORY_INTERFACE_METHODS(MOX_TEST_PAIR),
     " Alloc MOXMemAllocProc Realloc MOXMemReallocProc Free MOXMemFreeProc GetBlockSize "
     "MOXMemGetBlockSizeProc"},
};

int main(void) {
  /* A component binds procedures by casting what the lookup gives. */
  MOXUtilsInitializeProc initialize = MOXUtilsInitialize;
  POSNumberNewPOSNumberProc newNumber = NULL;
  POSStreamerSerializeProc serialize = NULL;
  _MOXUtilsNewTempFileStreamProc_NewTempFileStream newTempFileStream = NULL;
  MOXNewFullContainerV5Proc newContainer = NULL;
  (void)newNumber;
  (void)serialize;
  (void)newTempFileStream;
  (void)newContainer;
  int failures = 0;
  for (size_t i = 0; i < sizeof kLists / sizeof kLists[0]; ++i) {
    if (strcmp(kLists[i].listed, kLists[i].expected) != 0) {
      fprintf(stderr, "%s lists%s\n  expected%s\n", kLists[i].name, kLists[i].listed,
              kLists[i].expected);
      ++failures;
    }
  }
  return initialize == NULL || failures != 0;
}
