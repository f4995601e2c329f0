// The tables of procedures at every component boundary, and how the library
// makes them from the one definition of each interface.
//
// A table is a constant array of rows in slot order, closed by a row of empty
// strings that no count includes: (method name, proc-type name) for a client
// that fetches the methods, (method name, proc-type name, function) for the
// library registering its own.
//
// Each interface is defined once, in its public header under include/, by a
// name macro and a list of its methods in slot order:
//
//   #define POS_NUMBER_INTERFACE_NAME "POSNumberInterface"
//   #define POS_NUMBER_INTERFACE_METHODS(X) (continued on the lines below)
//     X(NewPOSNumber, POSNumberNewPOSNumberProc)
//     X(IsPOSNumber, POSNumberIsPOSNumberProc)
//     X(Get, POSNumberGetProc)
//
// The method name and the proc-type name of each row are the stringified
// identifiers of its entry, so no row can differ from the C typedef, and
// everything below is generated from the list:
//
//   MOX_DEFINE_SLOTS(POSNumberSlots, POS_NUMBER_INTERFACE_METHODS)
//     namespace POSNumberSlots {
//       enum Slot : size_t { NewPOSNumber, IsPOSNumber, Get };
//       kMethodCount (3), kRows (the client rows, closed by the end row)
//     }
//     and MOXProcOf<POSNumberSlots::Get> is POSNumberGetProc: a call through
//     a named slot has the type of that slot's method (see
//     TMOXInterfaceTable::Proc and MOXProcAt).
//
//   MOX_DEFINE_SERVER_INTERFACE(gPOSNumberServerInterface,  (server_tables.h)
//       POS_NUMBER_INTERFACE_NAME, POSNumberEntries, POS_NUMBER_INTERFACE_METHODS)
//     the server rows (#Method, ProcType, &POSNumberEntries::Method) and the
//     MOXServerInterface that registers them. Each entry function is named
//     after its method in a namespace of its interface; a missing function,
//     or one whose type differs from its proc type, fails to compile.
//
// So slot k is method k on both sides by construction.
#ifndef MOXUTILS_BINDING_METHOD_ROWS_H_
#define MOXUTILS_BINDING_METHOD_ROWS_H_

#include <cstddef>
#include <type_traits>

// ---- Rows ------------------------------------------------------------------

// A row of a client method table: the method and the proc type the caller
// expects. Row k fills slot k.
struct MOXMethodRow {
  const char* method;
  const char* procType;
};

// A row of a server table: what the library registers under the method and
// proc-type names.
struct MOXServerRow {
  const char* method;
  const char* procType;
  void* function;
};

// The proc-type name of a row, checked to name a C typedef: a misspelt name
// doesn't compile.
template <typename Proc>
constexpr const char* MOXProcTypeName(const char* name) {
  return name;
}
#define MOX_CLIENT_ROW(method, ProcType) \
  { method, MOXProcTypeName<ProcType>(#ProcType) }
#define MOX_CLIENT_END_ROW \
  { "", "" }

// The address of a server function, checked against its proc type at compile
// time.
template <typename Proc>
inline void* MOXServerProcAddress(Proc function) {
  return reinterpret_cast<void*>(function);
}
#define MOX_SERVER_ROW(method, ProcType, function) \
  { method, #ProcType, MOXServerProcAddress<ProcType>(function) }
#define MOX_SERVER_END_ROW \
  { "", "", nullptr }

// The rows of a table without its closing row.
template <typename Row, size_t N>
constexpr size_t MOXRowCount(const Row (&)[N]) {
  return N - 1;
}

// ---- Slots generated from a method list ------------------------------------

// The proc type of a named slot: MOXProcOf<POSNumberSlots::Get> is
// POSNumberGetProc. Found by argument-dependent lookup of the overloads that
// MOX_DEFINE_SLOTS makes in the slots' namespace, one per slot, whose result
// type is all that counts.
template <auto kSlot>
using MOXProcOf = decltype(MOXProcOfSlot(std::integral_constant<decltype(kSlot), kSlot>()));

#define MOX_SLOT_ENUMERATOR(Method, ProcType) Method,
#define MOX_SLOT_PROC_TYPE(Method, ProcType)                               \
  constexpr ProcType MOXProcOfSlot(std::integral_constant<Slot, Method>) { \
    return nullptr;                                                        \
  }
#define MOX_SLOT_CLIENT_ROW(Method, ProcType) MOX_CLIENT_ROW(#Method, ProcType),

// Defines namespace `Slots` from a method list: the enum Slot of its methods
// in slot order, kMethodCount, and kRows, the client rows closed by the end
// row; MOXSlotRows(Slot()) and MOXSlotCount(Slot()) find the last two from
// the enum. Use it at namespace scope.
#define MOX_DEFINE_SLOTS(Slots, METHODS)                                                     \
  namespace Slots {                                                                          \
  enum Slot : size_t { METHODS(MOX_SLOT_ENUMERATOR) };                                       \
  METHODS(MOX_SLOT_PROC_TYPE)                                                                \
  inline constexpr MOXMethodRow kRows[] = {METHODS(MOX_SLOT_CLIENT_ROW) MOX_CLIENT_END_ROW}; \
  inline constexpr size_t kMethodCount = MOXRowCount(kRows);                                 \
  constexpr const MOXMethodRow* MOXSlotRows(Slot) {                                          \
    return kRows;                                                                            \
  }                                                                                          \
  constexpr size_t MOXSlotCount(Slot) {                                                      \
    return kMethodCount;                                                                     \
  }                                                                                          \
  }

// Slot `kSlot` of a table of procedures, with the type of its method. Read
// with a relaxed load: a refresh may rewrite the slot while it is read, and
// both values are procedures that were valid at some time.
template <auto kSlot>
inline MOXProcOf<kSlot> MOXProcAt(void* const* procs) {
  return reinterpret_cast<MOXProcOf<kSlot>>(__atomic_load_n(&procs[kSlot], __ATOMIC_RELAXED));
}

#endif  // MOXUTILS_BINDING_METHOD_ROWS_H_
