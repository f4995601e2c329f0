// moxhost::ComponentProcs: every procedure of libMOXUtils, and the runtime
// interfaces a component needs around them, fetched by name through a lookup
// procedure as any foreign component fetches them.
//
//   moxhost::ComponentProcs procs;
//   std::vector<std::string> missing;
//   if (!procs.Load(moxhost::Runtime::LookupProc(), &missing)) ...
//   MOXContainer number = procs.posNumber.NewPOSNumber(2.5);
//   procs.container.AddRef(number);
//
// The catalogue is generated from the interfaces' method lists in the public
// headers: it has one member per interface, and in it one member per method,
// named after the method and of the C type of its proc type. Nothing here
// names a method; tools, benchmarks and black-box tests share it.
//
// Threads: Load writes every member; after it, any thread may read them.
#ifndef MOXHOST_COMPONENT_PROCS_H_
#define MOXHOST_COMPONENT_PROCS_H_

#include <string>
#include <vector>

#include "MOXRuntimeProcs.h"
#include "MOXUtilsFileProcs.h"
#include "POSProcs.h"
#include "POSStreamerProcs.h"
#include "POSValidatorProcs.h"

// The interfaces of the catalogue: X(member, name macro, method list).
#define MOXHOST_CATALOGUE_INTERFACES(X)                                                        \
  X(posObject, POS_OBJECT_INTERFACE_NAME, POS_OBJECT_INTERFACE_METHODS)                        \
  X(posStatics, POS_OBJECT_STATICS_NAME, POS_OBJECT_STATICS_METHODS)                           \
  X(posNumber, POS_NUMBER_INTERFACE_NAME, POS_NUMBER_INTERFACE_METHODS)                        \
  X(posString, POS_STRING_INTERFACE_NAME, POS_STRING_INTERFACE_METHODS)                        \
  X(posUnicodeString, POS_UNICODE_STRING_INTERFACE_NAME, POS_UNICODE_STRING_INTERFACE_METHODS) \
  X(posBinData, POS_BIN_DATA_INTERFACE_NAME, POS_BIN_DATA_INTERFACE_METHODS)                   \
  X(posRawPointer, POS_RAW_POINTER_INTERFACE_NAME, POS_RAW_POINTER_INTERFACE_METHODS)          \
  X(posArray, POS_ARRAY_INTERFACE_NAME, POS_ARRAY_INTERFACE_METHODS)                           \
  X(posDict, POS_DICT_INTERFACE_NAME, POS_DICT_INTERFACE_METHODS)                              \
  X(posDictIterator, POS_DICT_ITERATOR_INTERFACE_NAME, POS_DICT_ITERATOR_INTERFACE_METHODS)    \
  X(posStreamer, POS_STREAMER_INTERFACE_NAME, POS_STREAMER_INTERFACE_METHODS)                  \
  X(posValidator, POS_VALIDATOR_INTERFACE_NAME, POS_VALIDATOR_INTERFACE_METHODS)               \
  X(posStructValidator, POS_STRUCT_VALIDATOR_INTERFACE_NAME,                                   \
    POS_STRUCT_VALIDATOR_INTERFACE_METHODS)                                                    \
  X(utilsDir, MOX_UTILS_DIR_INTERFACE_NAME, MOX_UTILS_DIR_INTERFACE_METHODS)                   \
  X(tempFileStreamFactory, MOX_UTILS_TEMP_FILE_STREAM_FACTORY_NAME,                            \
    MOX_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS)                                                \
  X(container, MOX_CONTAINER_INTERFACE_NAME, MOX_CONTAINER_INTERFACE_METHODS)                  \
  X(string, MOX_STRING_INTERFACE_NAME, MOX_STRING_INTERFACE_METHODS)                           \
  X(error, MOX_ERROR_INTERFACE_NAME, MOX_ERROR_INTERFACE_METHODS)                              \
  X(sharedBuffer, MOX_SHARED_BUFF_INTERFACE_NAME, MOX_SHARED_BUFF_INTERFACE_METHODS)           \
  X(streamFactory, MOX_STREAM_FACTORY_INTERFACE_NAME, MOX_STREAM_FACTORY_INTERFACE_METHODS)

namespace moxhost {

#define MOXHOST_PROC_MEMBER(Method, ProcType) ProcType Method = nullptr;
#define MOXHOST_INTERFACE_MEMBER(member, name, METHODS) \
  struct {                                              \
    METHODS(MOXHOST_PROC_MEMBER)                        \
  } member;

struct ComponentProcs {
  MOXHOST_CATALOGUE_INTERFACES(MOXHOST_INTERFACE_MEMBER)

  // Fetches every procedure with `lookup`. False when one is missing; its
  // "Interface.Method" goes to `missing` when that is non-null.
  bool Load(MOXLookupProc lookup, std::vector<std::string>* missing = nullptr);
};

#undef MOXHOST_INTERFACE_MEMBER
#undef MOXHOST_PROC_MEMBER

}  // namespace moxhost

#endif  // MOXHOST_COMPONENT_PROCS_H_
