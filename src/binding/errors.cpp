#include "binding/errors.h"

#include <cstring>

#include "binding/host_tables.h"
#include "binding/string_holder.h"

namespace MOX_T_MT {

CMOXError::CMOXError(int32_t coreCode) : fError(MOXErrorProcs::GetCoreError(coreCode)) {}

CMOXError::CMOXError(const char* message, const char* component, int64_t id, uintptr_t a,
                     uintptr_t b)
    : fError(MOXErrorProcs::NewError(message, component, id, a, b)) {}

CMOXError::CMOXError(const std::exception* exception) : fError(MOXErrorFromException(exception)) {}

CMOXError::CMOXError(const CMOXError& other)
    : std::exception(other), fError(MOXErrorProcs::AddRef(other.fError)) {}

CMOXError& CMOXError::operator=(const CMOXError& other) {
  CMOXError copy(other);
  std::swap(fError, copy.fError);
  return *this;
}

CMOXError::~CMOXError() {
  MOXErrorProcs::Release(fError);
}

const char* CMOXError::what() const noexcept {
  // An empty error has no message of the runtime's; a literal outlives the call.
  if (fError == nullptr) return "Invalid CMOXError";
  // The error object keeps its message atom alive, so the text stays valid
  // after our own reference is dropped.
  CMOXStringHolder message = CMOXStringHolder::Retain(MOXErrorProcs::GetErrorMessage(fError));
  return message.CString();
}

}  // namespace MOX_T_MT

CMOXError gUnknownError;
CMOXError gOutOfMemoryError;

void MOXThrowBadAlloc() {
  throw std::bad_alloc();
}

void MOXThrowNewError(const char* message, const char* component, int64_t id, uintptr_t a,
                      uintptr_t b) {
  throw CMOXError(message, component, id, a, b);
}

void MOXThrowInvalidContainer() {
  MOXThrowNewError("invalid container", "", 0, 0, 0);
}

void MOXThrowNoSignature() {
  MOXThrowNewError("couldn't get signature", "", 0, 0, 0);
}

void MOXThrowMissingInterface() {
  // The container interface is bound before the error interface: a runtime
  // without containers is refused before any error object can be made. The
  // start fails all the same, with a plain exception of the same text.
  if (!gMOXErrorTable.HasSlot(0)) throw TOVException("Missing Interface");
  MOXThrowNewError("Missing Interface", "MOX", 0, 0, 0);
}

void MOXThrowCoreError(int32_t code) {
  throw CMOXError(code);
}

void MOXThrowFromError(MOXErrorRef error) {
  CMOXError taken = CMOXError::Adopt(error);
  bool outOfMemory = false;
  {
    CMOXStringHolder component =
        taken.Error() != nullptr
            ? CMOXStringHolder::Retain(MOXErrorProcs::GetComponent(taken.Error()))
            : CMOXStringHolder("");
    outOfMemory = component.CString() != nullptr && std::strcmp(component.CString(), "TOV") == 0 &&
                  taken.Error() != nullptr && MOXErrorProcs::GetID(taken.Error()) == 1;
  }
  // Exhausted memory crosses components as "TOV"/1 and becomes std::bad_alloc
  // again here; `taken` releases the error during unwinding.
  if (outOfMemory) throw std::bad_alloc();
  throw taken;
}

MOXErrorRef MOXErrorFromException(const std::exception* exception) {
  if (const auto* error = dynamic_cast<const CMOXError*>(exception)) {
    if (error->Error() == nullptr) return nullptr;
    return MOXErrorProcs::AddRef(error->Error());
  }
  if (dynamic_cast<const std::bad_alloc*>(exception) != nullptr) {
    return MOXErrorProcs::GetCoreError(1);
  }
  return MOXErrorProcs::NewError(exception->what(), "TOV", 0, 0, 0);
}

MOXErrorRef MOXErrorFromCurrentException(const std::exception& e) {
  CMOXError error(&e);
  return MOXErrorProcs::AddRef(error.Error());
}

MOXErrorRef MOXErrorFromUnknownException() {
  return MOXErrorProcs::AddRef(gUnknownError.Error());
}
