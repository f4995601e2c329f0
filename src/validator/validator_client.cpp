#include "validator/validator_client.h"

#include "binding/lazy_terminate.h"

namespace NPOSValidatorImpl {

namespace {

// Client rows, generated from the interfaces' method lists.
#define MOX_VALIDATOR_CLIENT_ROW(Method, ProcType) MOX_CLIENT_ROW(#Method, ProcType),
constexpr MOXMethodRow kValidatorRows[] = {POS_VALIDATOR_INTERFACE_METHODS(MOX_VALIDATOR_CLIENT_ROW)
                                               MOX_CLIENT_END_ROW};
constexpr MOXMethodRow kStructValidatorRows[] = {
    POS_STRUCT_VALIDATOR_INTERFACE_METHODS(MOX_VALIDATOR_CLIENT_ROW) MOX_CLIENT_END_ROW};
#undef MOX_VALIDATOR_CLIENT_ROW
static_assert(MOXRowCount(kValidatorRows) == kPOSValidatorMethodCount, "validator rows");
static_assert(MOXRowCount(kStructValidatorRows) == kPOSStructValidatorMethodCount,
              "struct validator rows");

// Constant-initialised, so that its owner can link itself whatever the order
// of static construction.
MOX_T_MT::MOXVTabListGeneric gPOSValidatorList = {{nullptr, 0}, 0, kPOSValidatorMethodCount};

void* gStructValidatorSlots[kPOSStructValidatorMethodCount];

}  // namespace
}  // namespace NPOSValidatorImpl

namespace MOX_T_MT {
namespace {

// Owns the validator list in the termination family. The stop deletes the
// entries; at process exit they stay where they are (the default Abandon).
class CPOSValidatorTerminate : public MOXVTabListOwner {
 public:
  CPOSValidatorTerminate()
      : MOXVTabListOwner(&NPOSValidatorImpl::gPOSValidatorList, /*abandonClears=*/false) {}
};

CPOSValidatorTerminate gPOSValidatorTerminate;

}  // namespace
}  // namespace MOX_T_MT

namespace NPOSValidatorImpl {

MOXInterfaceTable gPOSStructValidatorTable(POS_STRUCT_VALIDATOR_INTERFACE_NAME,
                                           kStructValidatorRows, MOXRowCount(kStructValidatorRows),
                                           gStructValidatorSlots, /*onDemand=*/true);

MOX_T_MT::MOXVTabListGeneric* POSValidatorVTabList() {
  return &gPOSValidatorList;
}

bool POSValidatorFetchMethods(MOXContainer container, bool quiet, void** procs) {
  return MOX_T_MT::MOXFetchMethods(kValidatorRows, kPOSValidatorMethodCount, container, quiet,
                                   procs);
}

}  // namespace NPOSValidatorImpl
