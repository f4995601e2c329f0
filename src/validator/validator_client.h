// The client side of the validator's two interfaces, for components that
// share this code: the per-signature table of "POSValidatorInterface" (the
// methods of a validator's container) and the process-wide table of
// "POSStructValidatorInterface". The library itself never calls a validator
// through them.
#ifndef MOXUTILS_VALIDATOR_VALIDATOR_CLIENT_H_
#define MOXUTILS_VALIDATOR_VALIDATOR_CLIENT_H_

#include "MOXTypes.h"
#include "POSValidatorProcs.h"
#include "binding/host_tables.h"
#include "binding/method_rows.h"
#include "binding/method_tables.h"

namespace NPOSValidatorImpl {

// The slots of each interface, generated from its method list.
MOX_DEFINE_SLOTS(POSValidatorSlots, POS_VALIDATOR_INTERFACE_METHODS)
MOX_DEFINE_SLOTS(POSStructValidatorSlots, POS_STRUCT_VALIDATOR_INTERFACE_METHODS)

// The per-signature list of validator method tables (one method, Validate),
// owned by the termination-list member CPOSValidatorTerminate: the stop
// deletes its entries, the process exit leaves them where they are.
MOX_T_MT::MOXVTabListGeneric* POSValidatorVTabList();

// The methods of the validator `container`, in the slots of
// POSValidatorSlots: "couldn't get signature" without a signature, "invalid
// container" when a method is missing.
inline void** POSValidatorLookupProcTable(MOXContainer container) {
  return MOX_T_MT::MOXLookupProcTable(POSValidatorVTabList(),
                                      &MOX_T_MT::MOXFetchSlots<POSValidatorSlots::Slot>, container);
}

// The table of "POSStructValidatorInterface", loaded on first use and again
// whenever the runtime has unregistered something; null when the interface
// can't be bound.
extern TMOXInterfaceTable<POSStructValidatorSlots::Slot> gPOSStructValidatorTable;

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_VALIDATOR_CLIENT_H_
