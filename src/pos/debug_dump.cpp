#include "pos/debug_dump.h"

#include "binding/errors.h"

namespace NPOSObjectImpl {

using MOX_T_MT::CPOSBorrowedObject;
using MOX_T_MT::CPOSObject;

void DebugDumpObject(const CPOSObject&, uintptr_t) {}

void DebugDumpRewindObject(const CPOSObject&, uintptr_t) {}

namespace POSObjectStaticsEntries {

void DebugDump(MOXContainer object) {
  EntryGuardVoid([&] { DebugDumpObject(CPOSBorrowedObject(object), 0); });
}

void DebugDumpWithHeader(MOXContainer object, uintptr_t header) {
  EntryGuardVoid([&] { DebugDumpObject(CPOSBorrowedObject(object), header); });
}

void DebugDumpRewind(MOXContainer object, uintptr_t word) {
  EntryGuardVoid([&] { DebugDumpRewindObject(CPOSBorrowedObject(object), word); });
}

}  // namespace POSObjectStaticsEntries

}  // namespace NPOSObjectImpl
