#include "validator/validator_client.h"

#include "binding/lazy_terminate.h"

namespace NPOSValidatorImpl {

namespace {

// Constant-initialised, so that its owner can link itself whatever the order
// of static construction.
MOX_T_MT::MOXVTabListGeneric gPOSValidatorList = {{nullptr, 0}, 0, POSValidatorSlots::kMethodCount};

void* gStructValidatorSlots[POSStructValidatorSlots::kMethodCount];

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

TMOXInterfaceTable<POSStructValidatorSlots::Slot> gPOSStructValidatorTable(
    POS_STRUCT_VALIDATOR_INTERFACE_NAME, gStructValidatorSlots, /*onDemand=*/true);

MOX_T_MT::MOXVTabListGeneric* POSValidatorVTabList() {
  return &gPOSValidatorList;
}

}  // namespace NPOSValidatorImpl
