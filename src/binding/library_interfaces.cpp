// The library's interfaces, in the order of registration at start and of
// unregistration at stop. Each subsystem defines its own tables; this file
// only puts them in order.
#include "binding/server_tables.h"
#include "pos/pos_interfaces.h"
#include "streamer/streamer_interface.h"
#include "validator/validator_interface.h"

namespace {

// Registered at start, in this order; the first refusal ends the start.
const MOXServerInterface* const kRegisterOrder[] = {
    // The POS object model, "POSObjectInterface" first.
    &gPOSObjectServerInterface,        &gPOSObjectStaticsServerInterface,
    &gPOSNumberServerInterface,        &gPOSStringServerInterface,
    &gPOSUnicodeStringServerInterface, &gPOSBinDataServerInterface,
    &gPOSRawPointerServerInterface,    &gPOSArrayServerInterface,
    &gPOSDictServerInterface,          &gPOSDictIteratorServerInterface,
    // The streamer, a client of the object model.
    &NPOSStreamerImpl::kPOSStreamerServerInterface,
    // The validator, another client: "POSValidatorInterface" first.
    &NPOSValidatorImpl::kPOSValidatorServerInterface,
    &NPOSValidatorImpl::kPOSStructValidatorServerInterface,
};
constexpr size_t kRegisterCount = sizeof(kRegisterOrder) / sizeof(kRegisterOrder[0]);

// Unregistered at stop, in this order.
const char* const kUnregisterOrder[] = {
    // The validator, "POSStructValidatorInterface" first.
    "POSStructValidatorInterface", "POSValidatorInterface",
    // The streamer, before the object model it uses.
    "POSStreamerInterface",
    // The POS object model, in the order of its registration.
    "POSObjectInterface",       "POSObjectStatics",          "POSNumberInterface",
    "POSStringInterface",       "POSUnicodeStringInterface", "POSBinDataInterface",
    "POSRawPointerInterface",   "POSArrayInterface",         "POSDictInterface",
    "POSDictIteratorInterface",
};
constexpr size_t kUnregisterCount = sizeof(kUnregisterOrder) / sizeof(kUnregisterOrder[0]);

}  // namespace

MOXServerInterfaceList MOXInterfacesToRegister() {
  return {kRegisterOrder, kRegisterCount};
}

MOXInterfaceNameList MOXInterfacesToUnregister() {
  return {kUnregisterOrder, kUnregisterCount};
}
