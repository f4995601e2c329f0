// "POSValidatorInterface" and "POSStructValidatorInterface": the validator as
// the runtime offers it to every component (include/POSValidatorProcs.h).
//
// NewPOSStructValidator, RegisterCallbackProc and Validate report a failure
// to MOXReportError and return null or false. ValidateSchema has no guard on
// purpose: its exceptions leave through it to the caller.
#ifndef MOXUTILS_VALIDATOR_VALIDATOR_INTERFACE_H_
#define MOXUTILS_VALIDATOR_VALIDATOR_INTERFACE_H_

#include "MOXTypes.h"
#include "POSValidatorProcs.h"
#include "binding/server_tables.h"

namespace NPOSValidatorImpl {

// The validator's two interfaces, their tables generated from
// POS_VALIDATOR_INTERFACE_METHODS and POS_STRUCT_VALIDATOR_INTERFACE_METHODS.
// Registered "POSValidatorInterface" first, since the validators that
// "POSStructValidatorInterface" makes are containers of it; unregistered in
// the reverse order.
extern const MOXLayerInterfaces kPOSValidatorLayerInterfaces;

// The methods themselves, named after them, one namespace per interface.
namespace POSValidatorEntries {
bool Validate(MOXContainer validator, MOXContainer value, MOXStringAtom typeName,
              POSValidatorErrorProc errorProc);
}  // namespace POSValidatorEntries

namespace POSStructValidatorEntries {
MOXContainer NewPOSStructValidator(MOXContainer schema);
void RegisterCallbackProc(MOXContainer validator, MOXStringAtom typeName,
                          POSStructValidatorCallbackProc proc, void* clientData);
bool ValidateSchema(MOXContainer schema, POSValidatorErrorProc errorProc);
}  // namespace POSStructValidatorEntries

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_VALIDATOR_INTERFACE_H_
