// "POSStructValidatorInterface" and "POSValidatorInterface": the validator as
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

// The two tables, each with its rows in slot order.
extern const MOXServerInterface kPOSValidatorServerInterface;
extern const MOXServerInterface kPOSStructValidatorServerInterface;

// The methods themselves.
MOXContainer NewPOSStructValidatorEntry(MOXContainer schema);
void RegisterCallbackProcEntry(MOXContainer validator, MOXStringAtom typeName,
                               POSStructValidatorCallbackProc proc, void* clientData);
bool ValidateSchemaEntry(MOXContainer schema, POSValidatorErrorProc errorProc);
bool ValidateEntry(MOXContainer validator, MOXContainer value, MOXStringAtom typeName,
                   POSValidatorErrorProc errorProc);

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_VALIDATOR_INTERFACE_H_
