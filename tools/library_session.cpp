#include "library_session.h"

#include <cstdio>
#include <new>
#include <type_traits>

#include "diagnostics.h"
#include "moxhost/Runtime.h"

namespace posctl {
namespace {

std::string FormatVersion(uint32_t version) {
  return std::to_string((version >> 16) & 0xFF) + "." + std::to_string((version >> 8) & 0xFF) +
         "." + std::to_string(version & 0xFF) + " (" + std::to_string(version) + ")";
}

std::unique_ptr<moxhost::LoadedLibrary> OpenLibrary() {
  std::string error;
  const std::string path = moxhost::LoadedLibrary::DefaultPath();
  std::unique_ptr<moxhost::LoadedLibrary> library(moxhost::LoadedLibrary::Open(path, &error));
  if (!library) {
    throw ToolError(kExitLibrary, "posctl: error: cannot load libMOXUtils: " + error +
                                      " (set MOXUTILS_LIBRARY to its path)");
  }
  return library;
}

}  // namespace

LibrarySession::LibrarySession() {
  moxhost::Runtime& runtime = moxhost::Runtime::Get();
  runtime.EchoReportsTo(stderr);
  library_ = OpenLibrary();
  if (!library_->Start()) {
    throw ToolError(kExitLibrary, "posctl: error: libMOXUtils did not start");
  }
  BindAll();
}

LibrarySession::~LibrarySession() {
  library_.reset();
}

void LibrarySession::BindAll() {
  MOXLookupProc lookup = moxhost::Runtime::LookupProc();
  std::vector<std::string> missing;
  auto bind = [&](auto& slot, const char* interfaceName, const char* method, const char* procType) {
    slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(
        lookup(interfaceName, method, procType));
    if (slot == nullptr) missing.push_back(std::string(interfaceName) + "." + method);
  };
  // The proc-type name is the name of the C type the slot has.
#define POSCTL_BIND(slot, interfaceName, method, procType) \
  bind(procs_.slot, interfaceName, method, #procType)

  POSCTL_BIND(containerAddRef, "MOXContainerInterface", "AddRef", MOXAddRefContainerV2Proc);
  POSCTL_BIND(containerRelease, "MOXContainerInterface", "Release", MOXReleaseContainerProc);
  POSCTL_BIND(getMethod, "MOXContainerInterface", "GetMethod", MOXGetMethodV3Proc);
  POSCTL_BIND(newAtom, "MOXStringInterface", "NewStringAtom", MOXNewStringAtomProc);
  POSCTL_BIND(deleteAtom, "MOXStringInterface", "DeleteStringAtom", MOXDeleteStringAtomProc);
  POSCTL_BIND(atomText, "MOXStringInterface", "GetCString", MOXGetCStringProc);
  POSCTL_BIND(newError, "MOXErrorInterface", "NewError", MOXNewErrorProc);
  POSCTL_BIND(errorRelease, "MOXErrorInterface", "Release", MOXErrorReleaseProc);
  POSCTL_BIND(errorMessage, "MOXErrorInterface", "GetErrorMessage", MOXErrorGetMessageProc);
  POSCTL_BIND(newFileStream, "MOXStreamFactoryInterface", "NewPositionableFileStream",
              MOXNewPositionableFileStreamProc);
  POSCTL_BIND(newClientStream, "MOXStreamFactoryInterface", "NewClientPositionableStream",
              MOXNewClientPositionableStreamProc);

  POSCTL_BIND(createFromText, "POSObjectStatics", "CreateFromText", POSObjectCreateFromTextProc);
  POSCTL_BIND(newNumber, "POSNumberInterface", "NewPOSNumber", POSNumberNewPOSNumberProc);
  POSCTL_BIND(isNumber, "POSNumberInterface", "IsPOSNumber", POSNumberIsPOSNumberProc);
  POSCTL_BIND(numberGet, "POSNumberInterface", "Get", POSNumberGetProc);
  POSCTL_BIND(newString, "POSStringInterface", "NewPOSString", POSStringNewPOSStringProc);
  POSCTL_BIND(isString, "POSStringInterface", "IsPOSString", POSStringIsPOSStringProc);
  POSCTL_BIND(stringGet, "POSStringInterface", "Get", POSStringGetProc);
  POSCTL_BIND(newUnicode, "POSUnicodeStringInterface", "NewPOSUnicodeString",
              POSUnicodeStringNewPOSUnicodeStringProc);
  POSCTL_BIND(isUnicode, "POSUnicodeStringInterface", "IsPOSUnicodeString",
              POSUnicodeStringIsPOSUnicodeStringProc);
  POSCTL_BIND(unicodeGet, "POSUnicodeStringInterface", "Get", POSUnicodeStringGetProc);
  POSCTL_BIND(newBinData, "POSBinDataInterface", "NewPOSBinData", POSBinDataNewPOSBinDataProc);
  POSCTL_BIND(isBinData, "POSBinDataInterface", "IsPOSBinData", POSBinDataIsPOSBinDataProc);
  POSCTL_BIND(binDataType, "POSBinDataInterface", "GetTypeName", POSBinDataGetTypeNameProc);
  POSCTL_BIND(binDataBytes, "POSBinDataInterface", "GetBinData", POSBinDataGetBinDataProc);
  POSCTL_BIND(binDataSize, "POSBinDataInterface", "GetSize", POSBinDataGetSizeProc);
  POSCTL_BIND(isRawPointer, "POSRawPointerInterface", "IsPOSRawPointer",
              POSRawPointerIsPOSRawPointerProc);
  POSCTL_BIND(newArray, "POSArrayInterface", "NewPOSArray", POSArrayNewPOSArrayProc);
  POSCTL_BIND(isArray, "POSArrayInterface", "IsPOSArray", POSArrayIsPOSArrayProc);
  POSCTL_BIND(arrayGetAt, "POSArrayInterface", "GetAt", POSArrayGetAtProc);
  POSCTL_BIND(arrayCount, "POSArrayInterface", "Count", POSArrayCountProc);
  POSCTL_BIND(arrayAppend, "POSArrayInterface", "Append", POSArrayAppendProc);
  POSCTL_BIND(newDict, "POSDictInterface", "NewPOSDict", POSDictNewPOSDictProc);
  POSCTL_BIND(isDict, "POSDictInterface", "IsPOSDict", POSDictIsPOSDictProc);
  POSCTL_BIND(dictGet, "POSDictInterface", "Get", POSDictGetProc);
  POSCTL_BIND(dictDeepGet, "POSDictInterface", "DeepGet", POSDictDeepGetProc);
  POSCTL_BIND(dictPut, "POSDictInterface", "Put", POSDictPutProc);
  POSCTL_BIND(newDictIterator, "POSDictIteratorInterface", "NewPOSDictIterator",
              POSDictIteratorNewPOSDictIteratorProc);
  POSCTL_BIND(iteratorBegin, "POSDictIteratorInterface", "Begin", POSDictIteratorBeginProc);
  POSCTL_BIND(iteratorNext, "POSDictIteratorInterface", "Next", POSDictIteratorNextProc);
  POSCTL_BIND(iteratorIsDone, "POSDictIteratorInterface", "IsDone", POSDictIteratorIsDoneProc);
  POSCTL_BIND(iteratorKey, "POSDictIteratorInterface", "CurKey", POSDictIteratorCurKeyProc);

  POSCTL_BIND(newStreamer, "POSStreamerInterface", "NewPOSStreamer", POSStreamerNewPOSStreamerProc);
  POSCTL_BIND(serialize, "POSStreamerInterface", "Serialize", POSStreamerSerializeProc);
  POSCTL_BIND(deserialize, "POSStreamerInterface", "Deserialize", POSStreamerDeserializeProc);
#undef POSCTL_BIND

  if (!missing.empty()) {
    std::string list;
    for (const std::string& name : missing) list += (list.empty() ? "" : ", ") + name;
    throw ToolError(kExitLibrary, "posctl: error: the runtime has no procedure for " + list +
                                      " (is libMOXUtils complete?)");
  }
}

void LibrarySession::StartCollectingReports() {
  reportsBefore_ = moxhost::Runtime::Get().Reports().size();
}

std::vector<std::string> LibrarySession::CollectedReports() const {
  std::vector<std::string> all = moxhost::Runtime::Get().Reports();
  if (reportsBefore_ >= all.size()) return {};
  return std::vector<std::string>(all.begin() + static_cast<std::ptrdiff_t>(reportsBefore_),
                                  all.end());
}

std::string LibrarySession::TakeErrorText(MOXErrorRef error) const {
  if (error == nullptr) return "";
  MOXStringAtom message = procs_.errorMessage(error);
  std::string text = message != nullptr ? procs_.atomText(message) : "unknown runtime error";
  procs_.errorRelease(error);
  return text;
}

std::string DescribeLibraryVersion() {
  std::string error;
  const std::string path = moxhost::LoadedLibrary::DefaultPath();
  std::unique_ptr<moxhost::LoadedLibrary> library(moxhost::LoadedLibrary::Open(path, &error));
  if (!library) return "not loaded: " + error;
  return FormatVersion(library->Version());
}

Ref::Ref(const Procs& procs, MOXContainer container) : procs_(&procs), container_(container) {
  if (container_ != nullptr && procs_->containerAddRef(container_) == 0) {
    throw std::runtime_error("the runtime refused a reference to a container");
  }
}

Ref::Ref(const Ref& other) : procs_(other.procs_) {
  if (other.container_ != nullptr) *this = Ref(*procs_, other.container_);
}

Ref::~Ref() {
  if (container_ != nullptr) procs_->containerRelease(container_);
}

Atom::Atom(const Procs& procs, const char* text) : procs_(procs), atom_(procs.newAtom(text)) {
  if (atom_ == nullptr) throw std::bad_alloc();
}

Atom::~Atom() {
  procs_.deleteAtom(atom_);
}

}  // namespace posctl
