#include "pos/debug_dump.h"

#include "binding/errors.h"

namespace NPOSObjectImpl {

using MOX_T_MT::CPOSBorrowedObject;
using MOX_T_MT::CPOSObject;

void DebugDumpObject(const CPOSObject&, uintptr_t) {}

void DebugDumpRewindObject(const CPOSObject&, uintptr_t) {}

void POSObjectDebugDump(MOXContainer object) {
  EntryGuardVoid([&] { DebugDumpObject(CPOSBorrowedObject(object), 0); });
}

void POSObjectDebugDumpWithHeader(MOXContainer object, uintptr_t header) {
  EntryGuardVoid([&] { DebugDumpObject(CPOSBorrowedObject(object), header); });
}

void POSObjectDebugDumpRewind(MOXContainer object, uintptr_t word) {
  EntryGuardVoid([&] { DebugDumpRewindObject(CPOSBorrowedObject(object), word); });
}

}  // namespace NPOSObjectImpl
