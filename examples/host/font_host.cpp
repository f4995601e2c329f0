// A minimal host of an installed libMOXUtils. It has no runtime of its own, so
// the reference runtime (libmoxhost) loads the library; then, through the
// procedures the library registered, it makes a value in the text notation,
// validates it against a schema and writes it to standard output as TypeA,
// followed by a line feed.
//
//   font_host [LIBRARY]
//
// LIBRARY defaults to the libMOXUtils.so.1 this host was built against.
// Exit status: 0 written, 1 the value is invalid or a step failed, 3 the
// library can't be loaded or started.
#include <cstdio>
#include <memory>
#include <string>

#include "MOXRuntimeProcs.h"
#include "POSProcs.h"
#include "POSStreamerProcs.h"
#include "POSValidatorProcs.h"
#include "moxhost/runtime.h"

namespace {

// A font, and the schema it must satisfy, in the text notation.
const char kFont[] = "<family (Book Serif) size 12 weight bold>";
const char kSchema[] =
    "<Font <category dict required <family string size Size> optional <weight Weight>>"
    " Size <category real min 4 max 96>"
    " Weight <category string oneof [regular bold]>>";

// Every procedure is fetched by interface, method and proc-type name, as any
// component fetches what another registered.
template <typename Proc>
Proc Fetch(const char* interfaceName, const char* method, const char* procType) {
  return reinterpret_cast<Proc>(moxhost::Runtime::LookupProc()(interfaceName, method, procType));
}
#define FETCH(interfaceName, Method, ProcType) Fetch<ProcType>(interfaceName, #Method, #ProcType)

void PrintFault(const char* line) {
  std::fprintf(stderr, "font_host: invalid: %s\n", line);
}

// Prints the runtime's error text and lets the error go.
bool Failed(MOXErrorRef error, const char* step) {
  if (error == nullptr) return false;
  auto message = FETCH(MOX_ERROR_INTERFACE_NAME, GetErrorMessage, MOXErrorGetMessageProc);
  auto text = FETCH(MOX_STRING_INTERFACE_NAME, GetCString, MOXGetCStringProc);
  auto release = FETCH(MOX_ERROR_INTERFACE_NAME, Release, MOXErrorReleaseProc);
  std::fprintf(stderr, "font_host: %s: %s\n", step, text(message(error)));
  release(error);
  return true;
}

// A method of a stream, which streams find through their container.
template <typename Proc>
Proc StreamMethod(MOXContainer stream, const char* method, const char* procType) {
  auto newAtom = FETCH(MOX_STRING_INTERFACE_NAME, NewStringAtom, MOXNewStringAtomProc);
  auto deleteAtom = FETCH(MOX_STRING_INTERFACE_NAME, DeleteStringAtom, MOXDeleteStringAtomProc);
  auto getMethod = FETCH(MOX_CONTAINER_INTERFACE_NAME, GetMethod, MOXGetMethodV3Proc);
  MOXStringAtom methodName = newAtom(method);
  MOXStringAtom procTypeName = newAtom(procType);
  void* proc = nullptr;
  const bool failed =
      Failed(getMethod(&proc, stream, methodName, procTypeName, true), "stream method");
  deleteAtom(procTypeName);
  deleteAtom(methodName);
  return failed ? nullptr : reinterpret_cast<Proc>(proc);
}

// The TypeA text of `object`, written to a memory stream of the runtime and
// read back; empty on failure.
std::string ToTypeA(MOXContainer object) {
  auto newStreamer =
      FETCH(POS_STREAMER_INTERFACE_NAME, NewPOSStreamer, POSStreamerNewPOSStreamerProc);
  auto serialize = FETCH(POS_STREAMER_INTERFACE_NAME, Serialize, POSStreamerSerializeProc);
  auto newMemoryStream = FETCH(MOX_STREAM_FACTORY_INTERFACE_NAME, NewPositionableMemoryStream,
                               MOXNewPositionableMemoryStreamProc);
  auto addRef = FETCH(MOX_CONTAINER_INTERFACE_NAME, AddRef, MOXAddRefContainerV2Proc);
  auto release = FETCH(MOX_CONTAINER_INTERFACE_NAME, Release, MOXReleaseContainerProc);

  std::string text;
  MOXContainer stream = nullptr;
  if (Failed(newMemoryStream(&stream), "memory stream")) return text;
  addRef(stream);
  MOXContainer streamer = newStreamer();
  addRef(streamer);
  // A null version name asks for the streamer's current version.
  if (serialize(streamer, stream, object, nullptr)) {
    auto seek = StreamMethod<MOXPositionableStreamSeekProc>(stream, "Seek",
                                                            "MOXPositionableStreamSeekProc");
    auto read = StreamMethod<MOXSimpleStreamReadProc>(stream, "Read", "MOXSimpleStreamReadProc");
    if (seek != nullptr && read != nullptr && !Failed(seek(stream, 0, 0), "seek")) {
      char block[4096];
      uint64_t count = 0;
      do {
        if (Failed(read(stream, &count, block, sizeof block), "read")) {
          text.clear();
          break;
        }
        text.append(block, count);
      } while (count > 0);
    }
  } else {
    std::fprintf(stderr, "font_host: the streamer wrote nothing\n");
  }
  release(streamer);
  release(stream);
  return text;
}

// Makes the font, validates it and prints it; the exit status.
int Run() {
  auto createFromText = FETCH(POS_OBJECT_STATICS_NAME, CreateFromText, POSObjectCreateFromTextProc);
  auto newValidator = FETCH(POS_STRUCT_VALIDATOR_INTERFACE_NAME, NewPOSStructValidator,
                            POSStructValidatorNewStructValidatorProc);
  auto validate = FETCH(POS_VALIDATOR_INTERFACE_NAME, Validate, POSValidatorValidateProc);
  auto addRef = FETCH(MOX_CONTAINER_INTERFACE_NAME, AddRef, MOXAddRefContainerV2Proc);
  auto release = FETCH(MOX_CONTAINER_INTERFACE_NAME, Release, MOXReleaseContainerProc);
  auto newAtom = FETCH(MOX_STRING_INTERFACE_NAME, NewStringAtom, MOXNewStringAtomProc);
  auto deleteAtom = FETCH(MOX_STRING_INTERFACE_NAME, DeleteStringAtom, MOXDeleteStringAtomProc);
  if (createFromText == nullptr || newValidator == nullptr || validate == nullptr) {
    std::fprintf(stderr, "font_host: the library registered no object model or validator\n");
    return 1;
  }

  // Handles come back unowned: the host takes a reference to keep them.
  MOXContainer font = createFromText(kFont, nullptr);
  MOXContainer schema = createFromText(kSchema, nullptr);
  addRef(font);
  addRef(schema);
  MOXContainer validator = newValidator(schema);
  addRef(validator);
  MOXStringAtom typeName = newAtom("Font");
  int status = 1;
  if (font != nullptr && validator != nullptr && validate(validator, font, typeName, PrintFault)) {
    const std::string typeA = ToTypeA(font);
    if (!typeA.empty()) {
      std::fwrite(typeA.data(), 1, typeA.size(), stdout);
      std::fputc('\n', stdout);
      status = std::fflush(stdout) == 0 ? 0 : 1;
    }
  }
  deleteAtom(typeName);
  release(validator);
  release(schema);
  release(font);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string path = argc > 1 ? argv[1] : MOXUTILS_LIBRARY_PATH;
  std::string error;
  std::unique_ptr<moxhost::LoadedLibrary> library(moxhost::LoadedLibrary::Open(path, &error));
  if (library == nullptr) {
    std::fprintf(stderr, "font_host: can't load libMOXUtils: %s\n", error.c_str());
    return 3;
  }
  if (!library->Start()) {
    std::fprintf(stderr, "font_host: libMOXUtils did not start\n");
    return 3;
  }
  const int status = Run();
  library->Stop();
  return status;
}
