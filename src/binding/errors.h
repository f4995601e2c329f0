// Errors inside the library travel as exceptions; across a component boundary
// they become either a host error object (MOXErrorRef) or a call of
// MOXReportError. This header holds the exception classes, the throwing
// functions, the translation in both directions, and the three shapes of an
// entry point:
//
//   form A (EntryGuard): reports the exception's text and returns the neutral
//       value of the result type; used by every POS-style method.
//   form B (MOXErrorEntry): returns the exception as a MOXErrorRef, null on
//       success; used by error-returning methods and client-object adapters.
//   form C (MOXSwallowEntry): swallows everything; used by release procedures
//       and plain-valued callbacks.
#ifndef MOXUTILS_BINDING_ERRORS_H_
#define MOXUTILS_BINDING_ERRORS_H_

#include <cstdint>
#include <exception>
#include <new>

#include "MOXTypes.h"

// An exception with a static text; holds nothing and releases nothing.
class TOVException : public std::exception {
 public:
  explicit TOVException(const char* message) noexcept : fMessage(message) {}
  const char* what() const noexcept override { return fMessage; }

 protected:
  const char* fMessage;
};

namespace MOX_T_MT {

// What the POS layers throw for their own failures, with a literal message.
class POSException : public TOVException {
 public:
  using TOVException::TOVException;
};

// An exception that owns one reference to a host error object.
class CMOXError : public std::exception {
 public:
  // Empty: no error object.
  CMOXError() noexcept : fError(nullptr) {}
  // Takes over the caller's reference to `error`; no AddRef.
  static CMOXError Adopt(MOXErrorRef error) noexcept { return CMOXError(error); }
  // GetCoreError(code).
  explicit CMOXError(int32_t coreCode);
  // NewError with these five values.
  CMOXError(const char* message, const char* component, int64_t id, uintptr_t a, uintptr_t b);
  // The error that `exception` stands for (MOXErrorFromException).
  explicit CMOXError(const std::exception* exception);
  CMOXError(const CMOXError& other);
  CMOXError& operator=(const CMOXError& other);
  ~CMOXError() override;

  // The error's message. The text lives as long as the error object does.
  const char* what() const noexcept override;

  // The error object, still owned by this exception; null when empty.
  MOXErrorRef Error() const { return fError; }

 private:
  explicit CMOXError(MOXErrorRef error) noexcept : fError(error) {}

  MOXErrorRef fError;
};

}  // namespace MOX_T_MT

using MOX_T_MT::CMOXError;

// Process-wide error objects: GetCoreError(0) and GetCoreError(1) while the
// host is bound, empty otherwise. A catch-all hands out gUnknownError.
extern CMOXError gUnknownError;
extern CMOXError gOutOfMemoryError;

[[noreturn]] void MOXThrowBadAlloc();
[[noreturn]] void MOXThrowNewError(const char* message, const char* component, int64_t id,
                                   uintptr_t a, uintptr_t b);
[[noreturn]] void MOXThrowInvalidContainer();  // "invalid container", component ""
[[noreturn]] void MOXThrowNoSignature();       // "couldn't get signature", component ""
[[noreturn]] void MOXThrowMissingInterface();  // "Missing Interface", component "MOX"
[[noreturn]] void MOXThrowCoreError(int32_t code);
// Takes over the reference to `error`. An error of component "TOV" and id 1
// stands for exhausted memory and comes back as std::bad_alloc; any other
// error is thrown as a CMOXError holding it.
[[noreturn]] void MOXThrowFromError(MOXErrorRef error);

// Throws when a host call returned an error.
inline void MOXCheck(MOXErrorRef error) {
  if (error != nullptr) MOXThrowFromError(error);
}

// The error that `exception` stands for, with one reference for the caller: a
// CMOXError's own object, core error 1 for std::bad_alloc, and otherwise a new
// error of the exception's text with component "TOV" and id 0.
MOXErrorRef MOXErrorFromException(const std::exception* exception);

// ---- Entry point shapes -----------------------------------------------------

// Calls MOXReportError when the runtime has one; otherwise drops the text.
void MOXReportErrorText(const char* message);

// Form A. Runs `body`; an exception is reported and the result is R's zero.
template <typename R, typename Body>
R EntryGuard(Body&& body) {
  try {
    return body();
  } catch (const std::exception& e) {
    MOXReportErrorText(e.what());
  } catch (...) {
    MOXReportErrorText("unknown MOX error");
  }
  return R();
}

// Form A for entries without a result.
template <typename Body>
void EntryGuardVoid(Body&& body) {
  try {
    body();
  } catch (const std::exception& e) {
    MOXReportErrorText(e.what());
  } catch (...) {
    MOXReportErrorText("unknown MOX error");
  }
}

// Form B: the error for the exception in flight, one reference for the caller.
MOXErrorRef MOXErrorFromCurrentException(const std::exception& e);
MOXErrorRef MOXErrorFromUnknownException();

template <typename Body>
MOXErrorRef MOXErrorEntry(Body&& body) {
  try {
    body();
    return nullptr;
  } catch (const std::exception& e) {
    return MOXErrorFromCurrentException(e);
  } catch (...) {
    return MOXErrorFromUnknownException();
  }
}

// Form C: release procedures and plain callbacks swallow every exception.
template <typename R, typename Body>
R MOXSwallowEntry(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
  }
  return R();
}

#endif  // MOXUTILS_BINDING_ERRORS_H_
